// Route import of the MCAST-VPN family from any octets: the walk over a route's cross values, their compare, the TLVs
// that carry them, the route keys inside them. The first octet of an input picks one of the four.
#include "check.h"
#include "import_model.h"
#include "import_policy_common.h"

#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"
#include "ngmvpn/qel_ngmvpn_cross.h"

#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

namespace qel::fuzz {
namespace {

using host::BlockPtr;
using host::Family;

// ---- the walk ----

// A route as the host holds it, every section exactly as long as it says.
class HeldRoute {
public:
    explicit HeldRoute(const CrossRoute &route, const Bytes &non_key, std::uint8_t presence, bool odd)
        : non_key_(non_key, odd), list_(route.list, odd), ipv6_list_(route.ipv6_list, odd)
    {
        info_.uiValidMask = (presence & 0x1) != 0 ? 0 : QEL_SECTION_NONKEY;
        info_.pucNonKey = (presence & 0x2) != 0 ? nullptr : non_key_.data();
        info_.uiNonKeyLen = non_key_.size();
        info_.pucExtComm = (presence & 0x4) != 0 ? nullptr : list_.data();
        info_.uiExtCommLen = list_.size();
        info_.pucIpv6ExtComm = (presence & 0x8) != 0 ? nullptr : ipv6_list_.data();
        info_.uiIpv6ExtCommLen = ipv6_list_.size();
    }
    const QEL_ROUTE_INFO_S &info() const { return info_; }

private:
    Section non_key_;
    Section list_;
    Section ipv6_list_;
    QEL_ROUTE_INFO_S info_{};
};

// One call of pfGetCross.
struct Given {
    std::uint8_t untouched = 0; // where the value pointer stands before the call
    std::uint32_t code = 0;
    std::uint8_t *cross = &untouched;
    std::uint32_t length = kUnwritten;
    std::uint32_t more = kUnwritten;
    std::uint32_t cursor = 0;
    std::uint64_t asserts = 0;
    std::int64_t blocks = 0;
    std::int64_t bytes = 0;

    Given(const Family &family, const QEL_ROUTE_INFO_S &route, std::uint32_t from) : cursor(from)
    {
        const Effect effect;
        code = family.desc().pfGetCross(&route, &cross, &length, &cursor, &more, family.ctx());
        asserts = effect.asserts();
        blocks = effect.blocks();
        bytes = effect.bytes();
    }
    Given(const Given &) = delete;
    Given &operator=(const Given &) = delete;
    ~Given()
    {
        if (code == QEL_OK && cross != &untouched) {
            Value(cross).reset();
        }
    }
};

void check_value(const CrossStep &expected, const Given &given)
{
    const Bytes &value = *expected.value;
    require(given.code == QEL_OK && given.more == 1, "a value, and the walk goes on");
    require(given.cross != nullptr && given.cross != &given.untouched, "the value is handed out");
    require(given.length == value.size() && equal({given.cross, given.length}, value), "the value of the element");
    require(given.blocks == 1 && given.bytes == static_cast<std::int64_t>(value.size()), "a block of the value's size");
    const std::uint64_t empty = value.empty() ? 1 : 0; // nothing to copy is reported
    require(given.asserts == expected.asserts + empty, "reports of what does not fit alone");
}

void check_lost_value(const Family &family, const QEL_ROUTE_INFO_S &route, std::uint32_t from, const CrossStep &kept)
{
    const platform::FailAllocation no_memory(0);
    const Given lost(family, route, from);
    require(no_memory.fired() && lost.code == QEL_ERR_MEMORY, "no value without memory");
    require(lost.more == kUnwritten && lost.length == kUnwritten, "a lost value says nothing of the walk");
    require(kept.marker ? lost.cross == &lost.untouched : lost.cross == nullptr, "no value is handed out");
    require(lost.cursor == (kept.marker ? from : kept.cursor), "a lost marker leaves the cursor, a lost element not");
    require(lost.asserts == kept.asserts + 1 && lost.blocks == 0, "a report and nothing kept");
}

bool check_cross(const CrossModel &model, const Family &family, const QEL_ROUTE_INFO_S &route, std::uint32_t &cursor)
{
    const CrossStep expected = model.step(cursor);
    if (expected.value) {
        check_lost_value(family, route, cursor, expected);
    }
    const Given given(family, route, cursor);
    require(given.cursor == expected.cursor, "the cursor stands behind the element");
    cursor = given.cursor;
    if (expected.value) {
        check_value(expected, given);
        return true;
    }
    require(given.code == QEL_OK && given.cross == nullptr && given.length == 0 && given.more == 0, "the walk is over");
    require(given.asserts == 0 && given.blocks == 0, "the end costs nothing");
    return false;
}

void run_walk(Fields fields)
{
    const Kind kind = kind_of(fields.u8());
    const std::uint8_t presence = fields.u8();
    const std::uint8_t start = fields.u8();
    CrossRoute route{.has_non_key = (presence & 0x3) == 0, .flags = fields.u8(), .key_type = fields.u8()};
    const std::uint8_t list_size = fields.u8();
    const std::uint8_t ipv6_list_size = fields.u8();
    route.rd = fields.take(8);
    route.embedded = {fields.u8(), fields.u8()};
    const std::size_t key_size = std::min<std::size_t>(route.embedded[1], kLongestKey);
    const Bytes key = fields.take(key_size);
    route.embedded.insert(route.embedded.end(), key.begin(), key.end());
    route.embedded.resize(kLongestKey + 2);
    route.list = fields.take(list_size);
    route.ipv6_list = fields.take(ipv6_list_size);

    Bytes non_key(100);
    non_key[0] = static_cast<std::uint8_t>(route.flags);
    non_key[4] = static_cast<std::uint8_t>(route.key_type);
    std::copy(route.rd.begin(), route.rd.end(), non_key.begin() + 32);
    std::copy(route.embedded.begin(), route.embedded.end(), non_key.begin() + 40);
    const HeldRoute held(route, non_key, presence, (presence & 0x10) != 0);
    if ((presence & 0x4) != 0) {
        route.list.clear();
    }
    if ((presence & 0x8) != 0) {
        route.ipv6_list.clear();
    }
    const CrossModel model(route, kind);
    const Family &family = instance_of(kind);
    std::uint32_t cursor = 0;
    for (std::size_t calls = 0; check_cross(model, family, held.info(), cursor); ++calls) {
        require(calls <= model.elements(), "no more values than elements and a marker");
    }
    // Anywhere else the cursor is an index like any other.
    cursor = start == 255 ? std::numeric_limits<std::uint32_t>::max() : start;
    check_cross(model, family, held.info(), cursor);
}

// ---- the compare ----

void check_order(const Family &family, Octets a, Octets b, bool odd)
{
    const Section left(a, odd);
    const Section right(b);
    const auto order = [&](std::uint32_t attribute) {
        return attribute == 0 ? family.desc().pfCmpData(left.data(), left.size(), right.data(), right.size(), 16)
                              : family.desc().pfCmpDataForAttrType(left.data(), left.size(), right.data(), right.size(),
                                                                   16, attribute);
    };
    const Effect effect;
    const std::int32_t expected = cross_order(a, b);
    require(order(0) == expected, "the order that the two values call for");
    require(effect.asserts() == (expected == -2 ? 1U : 0U), "a report of a failed check alone");
    require(order(16) == expected, "the same order for an attribute's type");
    require(effect.blocks() == 0 && effect.allocations() == 0, "a compare needs no memory");
}

// The second value of a pair may be made of the first: some octets of it changed.
void run_compare(Fields fields)
{
    const Family &family = instance_of(kind_of(fields.u8()));
    const std::uint8_t form = fields.u8();
    const std::size_t size = fields.u8() % (kLongestIrt + 9);
    const std::size_t other_size = fields.u8() % (kLongestIrt + 9);
    const std::size_t changes = fields.u8() % 8;
    const Bytes a = fields.take(size);
    Bytes b;
    if ((form & 0x1) != 0) {
        b = fields.take(other_size);
    } else {
        b = a;
        if ((form & 0x2) != 0) { // as a search key without addresses
            b.resize(std::max<std::size_t>(size, 19));
            std::fill_n(b.begin() + 9, 10, std::uint8_t{0});
            b.resize(size);
        }
        for (std::size_t i = 0; i < changes && !b.empty(); ++i) {
            const std::size_t at = fields.u8() % b.size();
            b[at] = fields.u8();
        }
        if ((form & 0x4) != 0) { // the other length, the last octets alike
            Bytes longer(other_size);
            for (std::size_t i = 0; i < std::min(other_size, b.size()); ++i) {
                longer[other_size - 1 - i] = b[b.size() - 1 - i];
            }
            b = longer;
        }
    }
    check_order(family, a, b, (form & 0x8) != 0);
    check_order(family, b, a, (form & 0x8) != 0);
    check_order(family, a, a, false);
    if (!a.empty()) {
        const Effect effect;
        require(family.desc().pfCmpData(a.data(), 8, nullptr, 8, 16) == -2 &&
                    family.desc().pfCmpData(nullptr, 8, a.data(), 8, 16) == -2 && effect.asserts() == 2,
                "no order without a value");
    }
}

// ---- TLVs ----

struct TlvType {
    bool high_availability;
    std::uint32_t type;
    IrtForm form;
};

constexpr std::array kReaders{
    TlvType{false, 56, IrtForm::target}, TlvType{false, 57, IrtForm::target}, TlvType{false, 18, IrtForm::target},
    TlvType{false, 20, IrtForm::target}, TlvType{false, 19, IrtForm::target}, TlvType{false, 21, IrtForm::target},
    TlvType{false, 157, IrtForm::vrf},   TlvType{false, 158, IrtForm::vrf},   TlvType{true, 6, IrtForm::target},
    TlvType{true, 7, IrtForm::target},   TlvType{true, 10, IrtForm::vrf},     TlvType{true, 11, IrtForm::vrf},
    TlvType{false, 9999, IrtForm::none}, TlvType{true, 9999, IrtForm::none},
};
constexpr std::array kWriters{
    TlvType{false, 56, IrtForm::target}, TlvType{false, 57, IrtForm::target}, TlvType{true, 6, IrtForm::target},
    TlvType{true, 7, IrtForm::target},   TlvType{true, 10, IrtForm::vrf},     TlvType{true, 11, IrtForm::vrf},
    TlvType{false, 9999, IrtForm::none}, TlvType{true, 9999, IrtForm::none},
};

struct Read {
    std::uint32_t code = 0;
    BlockPtr block;
};

Read read(const Family &family, const TlvType &tlv, const Section &value)
{
    Read out;
    QEL_ROUTE_BLOCK_S *block = nullptr;
    const auto parse = tlv.high_availability ? family.desc().pfParseHaMsg : family.desc().pfParseMsg;
    out.code = parse(value.data(), value.size(), tlv.type, &block, family.ctx());
    out.block.reset(block);
    return out;
}

IrtVerdict judge(const TlvType &tlv, Octets value)
{
    switch (tlv.form) {
    case IrtForm::target:
        return parse_target(value);
    case IrtForm::vrf:
        return parse_vrf(value);
    default:
        return {.code = QEL_ERR_NO_ENTRY};
    }
}

void check_cross_block(const QEL_ROUTE_BLOCK_S &block, Octets cross)
{
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = QEL_SECTION_CROSS;
    header.usCrossOffset = sizeof(header);
    header.usCrossLen = static_cast<std::uint16_t>(cross.size());
    require(equal(bytes_of(block), bytes_of(header)), "the header of a cross value's block");
    const auto *start = reinterpret_cast<const std::uint8_t *>(&block);
    require(equal({start + sizeof(block), cross.size()}, cross), "the cross value that the TLV calls for");
}

void check_lost_tlv(const Family &family, const TlvType &tlv, const Section &value)
{
    const Effect effect;
    const platform::FailAllocation no_memory(0);
    const Read lost = read(family, tlv, value);
    require(no_memory.fired() && lost.code == QEL_ERR_ALLOC && lost.block == nullptr, "no block without memory");
    require(effect.asserts() == 1 && effect.blocks() == 0, "a report and nothing kept");
}

void check_read(const Family &family, const TlvType &tlv, Octets octets, bool odd)
{
    const Section value(octets, odd, QEL_MSG_READ_SLACK);
    const IrtVerdict verdict = judge(tlv, octets);
    const Effect effect;
    const Read out = read(family, tlv, value);
    require(out.code == verdict.code, "the code that the TLV's octets call for");
    require((out.block != nullptr) == (verdict.code == QEL_OK), "a block with success and with nothing else");
    require(effect.asserts() == verdict.asserts, "a report where a check failed alone");
    require(equal(value.octets(), octets), "a message is only read");
    if (out.block == nullptr) {
        require(effect.allocations() == 0, "a refusal costs no memory");
        return;
    }
    require(effect.allocations() == 1 &&
                effect.bytes() == static_cast<std::int64_t>(sizeof(QEL_ROUTE_BLOCK_S) + verdict.cross.size()),
            "one block of header and value");
    check_cross_block(*out.block, verdict.cross);
    check_lost_tlv(family, tlv, value);
}

void check_written_back(const Family &family, const TlvType &tlv, Octets wire, Octets cross)
{
    const TlvType &reader = tlv.high_availability ? kReaders[8] : kReaders[0];
    const IrtVerdict again = judge(reader, wire);
    if (again.code == QEL_OK) {
        require(equal(again.cross, cross), "both ways tell of one value");
        check_read(family, reader, wire, false);
    }
}

void check_write(const Family &family, const TlvType &tlv, const Section *cross, std::size_t room)
{
    QEL_ROUTE_INFO_S route{};
    route.uiValidMask = QEL_SECTION_CROSS;
    route.pucCross = cross != nullptr ? cross->data() : nullptr;
    route.uiCrossLen = cross != nullptr ? cross->size() : 9; // a length without a value means nothing
    const Bytes before(room, kFill);
    Section out(before);
    std::uint8_t *cursor = out.data();
    const Effect effect;
    const auto format = tlv.high_availability ? family.desc().pfFormatHaMsg : family.desc().pfFormatMsg;
    const std::uint32_t code = format(&route, tlv.type, &cursor, out.size(), family.ctx());
    const std::size_t written = static_cast<std::size_t>(cursor - out.data());
    require(effect.allocations() == 0, "writing needs no memory");
    if (tlv.form == IrtForm::none || cross == nullptr) {
        require(code == (tlv.form == IrtForm::none ? QEL_ERR_NO_ENTRY : QEL_OK) && written == 0, "nothing to write");
        require(effect.asserts() == 0 && equal(out.octets(), before), "nothing happens");
        return;
    }
    const std::uint64_t short_value = cross->size() < 4 ? 1 : 0;
    if (cross->size() > room) {
        require(code == QEL_ERR_SPACE && written == 0 && equal(out.octets(), before), "no room");
        require(effect.asserts() == short_value, "a report of a short value alone");
        return;
    }
    const Bytes expected = written_irt(cross->octets());
    require(code == QEL_OK && written == cross->size(), "the whole value is written");
    require(equal(out.octets().first(written), expected), "the octets that the value calls for");
    require(equal(out.octets().subspan(written), Octets(before).subspan(written)), "nothing is written behind it");
    const std::uint64_t no_copy = room == 0 ? 1 : 0; // of nothing into no room
    require(effect.asserts() == short_value + no_copy, "a report of a short value alone");
    check_written_back(family, tlv, expected, cross->octets());
}

void run_tlv(Fields fields)
{
    const Family &family = instance_of(kind_of(fields.u8()));
    const TlvType &reader = kReaders[fields.u8() % kReaders.size()];
    const TlvType &writer = kWriters[fields.u8() % kWriters.size()];
    const std::uint8_t form = fields.u8();
    const std::size_t size = fields.u8();
    const std::size_t room = fields.u8();
    const bool huge = form == 0x5a; // a length that its 16-bit words can't tell
    const Bytes value = fields.take(huge ? size + 65536 : size);
    check_read(family, reader, value, (form & 0x1) != 0);
    const Section cross(value, (form & 0x1) != 0);
    check_write(family, writer, (form & 0x2) != 0 ? nullptr : &cross, huge ? room + 65536 : room);
    check_write(family, writer, &cross, value.size());
}

// ---- route keys ----

constexpr std::array<std::uint16_t, 6> kKinds{0, 985, 298, 1793, 299, 986};

void check_key(std::uint16_t code, Kind kind, Octets octets, bool odd)
{
    const Section key(octets, odd);
    const Bytes before(kLongestKey, kFill);
    Section out(before);
    std::uint8_t size = static_cast<std::uint8_t>(octets.size());
    const Effect effect;
    QEL_NGMVPN_AddRouteKey(out.data(), key.data(), &size, code);
    const std::optional<Bytes> expected = key_in_irt(octets, kind);
    require(effect.asserts() == (expected ? 0U : 1U), "a report of a key that is too long alone");
    const std::size_t written = expected ? expected->size() : 0;
    require(size == (expected ? written : octets.size()), "the length of the key as it is written");
    require(equal(out.octets().first(written), expected.value_or(Bytes{})), "the key as the instance holds it");
    require(equal(out.octets().subspan(written), Octets(before).subspan(written)), "nothing is written behind the key");

    std::uint8_t type = kFill;
    require(QEL_NGMVPN_AddIrtType(&type, static_cast<std::uint8_t>(octets.size()), code) == 1, "always 1");
    const std::uint8_t number = irt_type(static_cast<std::uint32_t>(octets.size()), kind);
    require(type == (number != 0 ? number : kFill), "the type of a key of that length, or none");
}

// The full shape for any choice of the four words, from a key that has every octet that may be asked for.
void check_full_key(std::uint8_t words, const Bytes &octets)
{
    const Wildcards open{(words & 0x1) != 0, (words & 0x2) != 0, (words & 0x4) != 0, (words & 0x8) != 0};
    const QEL_NGMVPN_WC_TYPE_S held{.bStarStar = open.any_any ? 1U : 0U,
                                    .bStarG = open.any_group ? 1U : 0U,
                                    .bSourceStar = open.source_any ? 1U : 0U,
                                    .bOrigIpv6 = open.ipv6_originator ? 1U : 0U};
    const Bytes expected = full_key(octets, open);
    const Section key(octets);
    Section out(expected);
    std::fill_n(out.data(), out.size(), kFill);
    std::uint8_t size = 0;
    const Effect effect;
    QEL_NGMVPN_ChangeRouteKeyFormat(out.data(), key.data(), &size, &held);
    require(size == expected.size() && equal(out.octets(), expected), "the fields in their places");
    require(effect.asserts() == ((words & 0x7) == 0 ? 1U : 0U), "a report of a key without a wildcard alone");
}

void run_keys(Fields fields)
{
    const std::size_t kind = fields.u8() % kKinds.size();
    const std::uint8_t form = fields.u8();
    const std::size_t size = fields.u8();
    const Bytes key = fields.take(size);
    check_key(kKinds[kind], kind < 5 ? static_cast<Kind>(kind) : Kind::plain, key, (form & 0x80) != 0);
    Bytes whole = key;
    whole.resize(30);
    check_full_key(form, whole);
}

constexpr Branch kBranches[] = {run_walk, run_compare, run_tlv, run_keys};

} // namespace
} // namespace qel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return qel::fuzz::run_branch_without_loss(qel::fuzz::kBranches, {data, size});
}
