// Routing policy of the MCAST-VPN family from any octets: the match buffer, the prefix entry, the actions on the
// community list. The first octet of an input picks one of the three.
#include "check.h"
#include "import_policy_common.h"
#include "policy_model.h"

#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"
#include "ngmvpn/qel_ngmvpn_policy.h"

#include <array>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace qel::fuzz {
namespace {

using host::BlockPtr;
using host::Family;

constexpr std::size_t kKeySize = 104;
constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

// Whether an input gets a length that 16-bit words can't tell. Of those that ask for it one in 32: it takes its time.
bool is_huge(const Fields &fields, std::uint8_t form)
{
    return form == 0x5a && fields.sum() % 32 == 0;
}

// Debug output to the recorder while it lives.
class Logged {
public:
    Logged(const Family &family, bool on) : family_(family), on_(on)
    {
        family.desc().pfSetLibDebug(3, on ? 4 : 0, family.ctx());
    }
    ~Logged() { family_.desc().pfSetLibDebug(0, 0, family_.ctx()); }
    Logged(const Logged &) = delete;
    Logged &operator=(const Logged &) = delete;

    void check(const std::vector<std::string> &log) const
    {
        static const std::vector<std::string> nothing;
        const std::vector<std::string> &expected = on_ ? log : nothing;
        require(recorder_.debugs().size() == expected.size(), "as many log lines as there are messages");
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const std::string_view text = recorder_.debugs()[i].text;
            const std::size_t end = text.find("]:");
            require(text.starts_with("[MCAST][Line:") && end != std::string_view::npos &&
                        text.substr(end + 2) == expected[i],
                    "the log lines of the steps");
        }
    }

private:
    const Family &family_;
    bool on_;
    platform::Recorder recorder_;
};

std::optional<platform::FailAllocation> failing(std::size_t number)
{
    return number == kNever ? std::optional<platform::FailAllocation>()
                            : std::optional<platform::FailAllocation>(std::in_place, number);
}

// A route as the host holds it, every section exactly as long as it says.
class HeldRoute {
public:
    HeldRoute(const PolicyRoute &route, bool odd)
        : rd_(route.rd.value_or(Bytes{}), odd), key_(route.key.value_or(Bytes{}), odd),
          list_(route.list.value_or(Bytes{}), odd)
    {
        info_.pucRd = route.rd ? rd_.data() : nullptr;
        info_.uiRdLen = rd_.size();
        info_.pucKey = route.key ? key_.data() : nullptr;
        info_.uiKeyLen = key_.size();
        info_.pucExtComm = route.list ? list_.data() : nullptr;
        info_.uiExtCommLen = list_.size();
    }
    const QEL_ROUTE_INFO_S &info() const { return info_; }
    void check(const PolicyRoute &route) const
    {
        require(equal(rd_.octets(), route.rd.value_or(Bytes{})) && equal(key_.octets(), route.key.value_or(Bytes{})) &&
                    equal(list_.octets(), route.list.value_or(Bytes{})),
                "the route is only read");
    }

private:
    Section rd_;
    Section key_;
    Section list_;
    QEL_ROUTE_INFO_S info_{};
};

// As many octets as asked for, of which the input tells the first. The blocks behind them repeat those, and each block
// has a number in its first element.
Bytes list_of(Fields &fields, std::size_t size)
{
    constexpr std::size_t told = 256;
    const Bytes block = fields.take(std::min(size, told));
    Bytes out;
    out.reserve(size);
    while (out.size() < size) {
        const std::size_t at = out.size();
        const auto count = static_cast<std::ptrdiff_t>(std::min(size - at, told));
        out.insert(out.end(), block.begin(), block.begin() + count);
        if (count > 3) {
            out[at + 3] = static_cast<std::uint8_t>(out[at + 3] + at / told);
        }
    }
    return out;
}

std::size_t size_of_list(Fields &fields, std::uint8_t form)
{
    const std::size_t size = fields.u8();
    return (form & 0x1) != 0 ? size * 3 : size;
}

// ---- match buffer ----

void check_match(const Family &family, const PolicyRoute &route, std::uint32_t mask, std::uint8_t form,
                 std::size_t fails)
{
    const MatchVerdict verdict = MatchModel(route, mask, fails).judge();
    const HeldRoute held(route, (form & 0x2) != 0);
    const Logged logged(family, (form & 0x4) != 0);
    std::uint8_t untouched = 0;
    std::uint8_t *match = &untouched;
    std::uint32_t length = kUnwritten;
    const Effect effect;
    std::uint32_t code = 0;
    {
        const std::optional<platform::FailAllocation> no_memory = failing(fails);
        code = family.desc().pfConstructMatch(&held.info(), mask, &match, &length, family.ctx());
    }
    const bool made = verdict.stored && verdict.code == QEL_OK;
    require(code == verdict.code, "the code that route and mask call for");
    require((match == &untouched) == !verdict.stored && (length == kUnwritten) == !verdict.stored,
            "outputs as the code says");
    require(!verdict.stored || (match != nullptr) == made, "a buffer with success and with nothing else");
    const Value owner(made ? match : nullptr);
    require(effect.asserts() == verdict.asserts, "a report of what failed alone");
    require(effect.blocks() == (made ? 1 : 0), "the match buffer alone stays allocated");
    logged.check(verdict.log);
    held.check(route);
    if (verdict.stored) {
        require(length == verdict.length, "the length that route and mask call for");
        require(effect.bytes() == static_cast<std::int64_t>(verdict.length), "no room beyond the length");
        require(equal({match, made ? verdict.written.size() : 0}, verdict.written), "the TLVs that the mask asks for");
    }
}

std::uint32_t mask_of(std::uint8_t octet)
{
    static constexpr std::array<std::uint32_t, 8> bits{0x800, 0x4, 0x100000, 0x100, 0x200000, 0x1, 0x80000000, 0x400};
    std::uint32_t mask = 0;
    for (std::size_t i = 0; i < bits.size(); ++i) {
        mask |= (octet >> i & 1) != 0 ? bits[i] : 0;
    }
    return mask;
}

// A key with an originator of its own for each of the two places where one may stand.
Bytes key_of(Fields &fields)
{
    Bytes key(kKeySize, kFill);
    const Bytes type = {fields.u8(), 0, fields.u8(), 0};
    std::copy(type.begin(), type.end(), key.begin());
    for (const std::size_t at : {std::size_t{8}, std::size_t{48}}) {
        key[at] = fields.u8();
        const Bytes address = fields.take(16);
        std::copy(address.begin(), address.end(), key.begin() + static_cast<std::ptrdiff_t>(at + 4));
    }
    return key;
}

void run_match(Fields fields)
{
    const Family &family = instance_of(kind_of(fields.u8()));
    const std::uint8_t form = fields.u8();
    const std::uint8_t missing = fields.u8();
    const std::uint32_t mask = mask_of(fields.u8());
    const std::size_t fails = fields.u8() % 4;
    const std::size_t size = size_of_list(fields, form);
    PolicyRoute route{.rd = fields.take(8), .key = key_of(fields)};
    route.list = list_of(fields, is_huge(fields, form) ? size + 65536 : size);
    if ((missing & 0x1) != 0) {
        route.rd.reset();
    }
    if ((missing & 0x2) != 0) {
        route.key.reset();
    }
    if ((missing & 0x4) != 0) {
        route.list.reset();
    }
    check_match(family, route, mask, form, kNever);
    check_match(family, route, mask, form, fails);
}

// ---- prefix entry ----

void run_entry(Fields fields)
{
    const Family &family = instance_of(kind_of(fields.u8()));
    const std::uint8_t form = fields.u8();
    PolicyRoute route{.key = key_of(fields)};
    const Bytes before = fields.take(kEntrySize);
    const Bytes expected = entry_of(*route.key, before);
    const HeldRoute held(route, (form & 0x1) != 0);
    Section entry(before);
    auto *place = static_cast<QEL_RTP_ENTRY_S *>(static_cast<void *>(entry.data()));
    const Effect effect;
    require(family.desc().pfConstructRtpEntry(&held.info(), place) == QEL_OK && effect.asserts() == 0,
            "any key will do");
    require(equal(entry.octets(), expected), "the four fields and nothing else");
    const QEL_ROUTE_INFO_S none{};
    require(family.desc().pfConstructRtpEntry(&none, place) == QEL_ERR_NULL && effect.asserts() == 1,
            "no entry without a key");
    require(equal(entry.octets(), expected) && effect.allocations() == 0, "nothing happens without a key");
}

// ---- actions ----

// What the actions of one input are done with.
struct Action {
    std::uint32_t code;
    Bytes value;
    bool direct; // past the operation's table
    bool odd;
    bool logged;
};

void check_result(const ActionVerdict &verdict, const QEL_ROUTE_BLOCK_S *block, const QEL_ROUTE_BLOCK_S *untouched,
                  const Effect &effect)
{
    if (verdict.outcome == Outcome::untouched || verdict.outcome == Outcome::null) {
        require(block == (verdict.outcome == Outcome::null ? nullptr : untouched), "no block, and the word for it");
        require(effect.blocks() == 0, "nothing is kept");
        return;
    }
    require(block != nullptr && block != untouched, "a block");
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = QEL_SECTION_ATTR;
    header.ucAttrType = 16;
    header.usAttrOffset = verdict.outcome == Outcome::list ? sizeof(header) : 0;
    header.usAttrLen = static_cast<std::uint16_t>(verdict.list.size());
    require(equal(bytes_of(*block), bytes_of(header)), "the header of the block");
    const auto *start = reinterpret_cast<const std::uint8_t *>(block);
    require(equal({start + sizeof(header), verdict.list.size()}, verdict.list), "the list that the action calls for");
    require(effect.blocks() == 1 && effect.bytes() == static_cast<std::int64_t>(sizeof(header) + verdict.list.size()),
            "the block alone stays allocated");
}

std::size_t check_action(const Family &family, const PolicyRoute &route, const Action &action, std::size_t fails)
{
    const bool known = action.code == kReplace || action.code == kAdd || action.code == kDelete;
    ActionVerdict verdict{.code = QEL_ERR_NO_ACTION,
                          .log = {"Process ApplyAction, ApplyActionEntry or ApplyAction is NULL"}};
    if (known || action.direct) {
        verdict = ActionModel(route.list.value_or(Bytes{}), action.code, fails).judge(action.value);
    }
    const HeldRoute held(route, action.odd);
    const Section value(action.value, action.odd, QEL_MSG_READ_SLACK);
    const Logged logged(family, action.logged);
    QEL_ROUTE_BLOCK_S untouched{};
    QEL_ROUTE_BLOCK_S *block = &untouched;
    const Effect effect;
    std::uint32_t code = 0;
    {
        const std::optional<platform::FailAllocation> no_memory = failing(fails);
        const auto apply = action.direct ? QEL_NGMVPN_ApplyExtCommunity : family.desc().pfApplyAction;
        code = apply(&held.info(), action.code, value.data(), value.size(), &block, family.ctx());
    }
    const BlockPtr owner(block != &untouched ? block : nullptr);
    require(code == verdict.code, "the code that route and action call for");
    require(effect.asserts() == verdict.asserts, "a report of what failed alone");
    check_result(verdict, block, &untouched, effect);
    logged.check(verdict.log);
    held.check(route);
    require(equal(value.octets(), action.value), "the value is only read");
    require(family.ctx()->uiInlineBufUsed == 0, "the inline buffer is back");
    return verdict.allocations;
}

void run_action(Fields fields)
{
    static constexpr std::array<std::uint32_t, 8> codes{kReplace, kAdd, kDelete, kReplace, kAdd, kDelete, 5, 36};
    const Family &family = instance_of(kind_of(fields.u8()));
    const std::uint8_t form = fields.u8();
    const std::uint8_t how = fields.u8();
    const std::uint32_t code = codes[fields.u8() % codes.size()];
    const std::size_t fails = fields.u8() % 5;
    const std::size_t huge = is_huge(fields, form) ? std::size_t{65536} * 8 : 0; // elements that 16 bits don't count
    const std::size_t list_size = size_of_list(fields, form);
    const std::size_t value_size = size_of_list(fields, static_cast<std::uint8_t>(form >> 1));
    PolicyRoute route;
    route.list = list_of(fields, list_size + ((how & 0x1) != 0 ? huge : 0));
    const Action action{.code = code,
                        .value = list_of(fields, value_size + ((how & 0x2) != 0 ? huge : 0)),
                        .direct = (how & 0x4) != 0,
                        .odd = (how & 0x8) != 0,
                        .logged = (how & 0x10) != 0};
    if ((how & 0x20) != 0) {
        route.list.reset();
    }
    const std::size_t allocations = check_action(family, route, action, kNever);
    if (fails < allocations) {
        check_action(family, route, action, fails);
    }
    const HeldRoute held(route, false);
    QEL_ROUTE_BLOCK_S *block = nullptr;
    const Effect effect;
    require(family.desc().pfApplyAction(&held.info(), code, nullptr, 0, &block, family.ctx()) == QEL_ERR_NULL &&
                effect.asserts() == 1 && effect.allocations() == 0,
            "no action without a value");
}

constexpr Branch kBranches[] = {run_match, run_entry, run_action, run_action};

} // namespace
} // namespace qel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return qel::fuzz::run_branch_without_loss(qel::fuzz::kBranches, {data, size});
}
