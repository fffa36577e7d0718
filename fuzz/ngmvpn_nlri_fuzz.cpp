// Routes of the MCAST-VPN family from any octets: parsed, written back, parsed again. The first octet of an input picks
// the instance, the others are the NLRI of one attribute.
#include "check.h"
#include "ngmvpn_door.h"
#include "ngmvpn_nlri_model.h"

#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"
#include "ngmvpn/qel_ngmvpn_nlri.h"
#include "ngmvpn/qel_ngmvpn_records.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace qel::fuzz {
namespace {

constexpr std::size_t kHeader = 2;
constexpr std::size_t kBlockLength = 244;

using host::BlockPtr;
using host::Family;
using host::FamilyInfo;
using host::FamilyKind;

constexpr FamilyInfo way(FamilyInfo::Construct construct, std::uint16_t address_family)
{
    return {FamilyKind::ng_mvpn, address_family, 5, "ng-mvpn", "NG-MVPN", construct, QEL_NGMVPN_Destruct};
}

// Every way to construct an instance that makes a difference to its routes.
constexpr std::array kWays{
    way(QEL_NGMVPN_Construct, 0),      way(QEL_NGMVPN_Construct, 1),      way(QEL_NGMVPN_Construct, 2),
    way(QEL_NGMVPN_Construct4Mvrf, 0), way(QEL_NGMVPN_Construct4Mvrf, 1), way(QEL_NGMVPN_Construct4Mvrf, 2),
    way(QEL_NGMVPN_Construct4Mvpn, 1), way(QEL_NGMVPN_Construct4Mvpn, 2),
};

Component component_of(const FamilyInfo &info)
{
    if (info.construct == QEL_NGMVPN_Construct) {
        return Component::none;
    }
    return info.afi == 1 ? Component::ipv4 : Component::ipv6;
}

const Family &instance(std::size_t number)
{
    static const std::vector<Family> instances = [] {
        std::vector<Family> all;
        for (const FamilyInfo &info : kWays) {
            all.emplace_back(info, kMemHandle);
        }
        return all;
    }();
    return instances[number % instances.size()];
}

bool is_leaf(Octets route)
{
    return route[0] == QEL_NGMVPN_WIRE_LEAF_AD;
}

void check_step(const Verdict &verdict, Octets left, const Step &step)
{
    require(step.code == verdict.code, "the code that the route's octets call for");
    require(step.advance == verdict.advance, "the cursor stands where this code says");
    require((step.more != kUnwritten) == verdict.more_written, "the more-word is written where this code says");
    if (verdict.more_written) {
        const bool more = left[1] + std::size_t{2} < left.size() - kHeader;
        require(step.more == (more ? 1U : 0U), "the more-word tells whether more than two octets follow");
    }
    require((step.block != nullptr) == (step.code == QEL_OK), "a block with success and with nothing else");
}

Octets octets_of(const QEL_ROUTE_BLOCK_S &block)
{
    return {reinterpret_cast<const std::uint8_t *>(&block), kBlockLength};
}

void check_block(const QEL_ROUTE_BLOCK_S &block, Octets wire)
{
    constexpr QEL_ROUTE_BLOCK_S header{.uiValidMask = 7,
                                       .ucAttrFlag = 0,
                                       .ucAttrType = 0,
                                       .usNeedProc = 0,
                                       .usRdOffset = 32,
                                       .usRdLen = 8,
                                       .usKeyOffset = 40,
                                       .usKeyLen = 104,
                                       .usNonKeyOffset = 144,
                                       .usNonKeyLen = 100,
                                       .usLabelOffset = 0,
                                       .usLabelLen = 0,
                                       .usAttrOffset = 0,
                                       .usAttrLen = 0,
                                       .usCrossOffset = 0,
                                       .usCrossLen = 0};
    require(equal(bytes_of(block), bytes_of(header)), "the header of a route's block");

    QEL_NGMVPN_KEY_S key;
    QEL_NGMVPN_NONKEY_S non_key;
    const Octets whole = octets_of(block);
    std::memcpy(&key, whole.data() + block.usKeyOffset, sizeof(key));
    std::memcpy(&non_key, whole.data() + block.usNonKeyOffset, sizeof(non_key));
    require(equal(whole.subspan(block.usRdOffset, block.usRdLen), bytes_of(key.stRd)), "the RD stands twice");
    require(key.ucRdKind == QEL_NGMVPN_RD_KIND_KEY, "the RD belongs to the key");
    require(non_key.uiKeyType == key.uiKeyType, "key and non-key are of one type");
    if (is_leaf(wire)) {
        const std::size_t embedded = kHeader + wire[3];
        require(non_key.usFlags == (QEL_NGMVPN_NONKEY_TYPE | QEL_NGMVPN_NONKEY_EMBEDDED_KEY), "flags of a Leaf A-D");
        require(equal({non_key.aucEmbeddedKey, embedded}, wire.subspan(kHeader, embedded)), "the embedded route");
    } else {
        require(non_key.usFlags == (QEL_NGMVPN_NONKEY_TYPE | QEL_NGMVPN_NONKEY_RD), "flags of all other routes");
        require(equal(bytes_of(non_key.stRd), bytes_of(key.stRd)), "the RD stands in the non-key");
    }
}

// The room that the formatter of a route type asks for.
std::size_t largest_form(std::uint8_t wire_type)
{
    static constexpr std::array<std::size_t, 8> room{0, 26, 14, 60, 78, 44, 48, 48};
    return room[wire_type];
}

void check_short_rooms(const Family &family, host::Route &route, std::uint32_t attribute_type, std::size_t bound)
{
    std::vector<std::uint8_t> out(bound, kFill);
    const std::vector<std::uint8_t> before = out;
    for (std::size_t room = 0; room < bound; ++room) {
        std::uint8_t *const start = out.data() + (bound - room);
        std::uint8_t *cursor = start;
        const std::uint32_t code = family.desc().pfFormatPkt(&route.mutable_info(), attribute_type, &cursor,
                                                             static_cast<std::uint32_t>(room), family.ctx());
        require(code == QEL_ERR_SPACE && cursor == start, "no room below the largest form");
    }
    require(out == before, "nothing is written where there is no room");
}

std::vector<std::uint8_t> format(const Family &family, host::Route &route, std::uint32_t attribute_type,
                                 std::size_t bound)
{
    std::vector<std::uint8_t> out(bound, kFill);
    std::uint8_t *cursor = out.data();
    const std::uint32_t code = family.desc().pfFormatPkt(&route.mutable_info(), attribute_type, &cursor,
                                                         static_cast<std::uint32_t>(bound), family.ctx());
    require(code == QEL_OK, "what was parsed can be written");
    require(cursor > out.data() && cursor <= out.data() + bound, "a route fits the room of the largest form");
    const auto written = static_cast<std::size_t>(cursor - out.data());
    for (std::size_t i = written; i < bound; ++i) {
        require(out[i] == kFill, "nothing is written behind the route");
    }
    out.resize(written);
    out.shrink_to_fit();
    return out;
}

void check_equal(const Family &family, const QEL_ROUTE_INFO_S &a, const QEL_ROUTE_INFO_S &b)
{
    const QEL_CMP_DATA_F compare = family.desc().pfCmpData;
    require(equal({a.pucKey, a.uiKeyLen}, {b.pucKey, b.uiKeyLen}), "the same key again");
    require(equal({a.pucNonKey, a.uiNonKeyLen}, {b.pucNonKey, b.uiNonKeyLen}), "the same non-key again");
    require(compare(a.pucRd, a.uiRdLen, b.pucRd, b.uiRdLen, 1) == QEL_CMP_EQUAL, "equal RDs");
    require(compare(a.pucKey, a.uiKeyLen, b.pucKey, b.uiKeyLen, 2) == QEL_CMP_EQUAL, "equal keys");
    require(compare(a.pucNonKey, a.uiNonKeyLen, b.pucNonKey, b.uiNonKeyLen, 4) == QEL_CMP_EQUAL, "equal non-keys");
}

// Writes an accepted route in every room and reads what was written. `unread`: octets of the route that nobody read.
void check_way_back(const Family &family, std::uint32_t attribute_type, Octets wire, std::size_t unread, BlockPtr block)
{
    host::Route route(std::move(block));
    const std::uint64_t assertions = platform::assert_count();
    std::uint32_t wire_type = 0;
    require(family.desc().pfGetRouteType(&route.info(), &wire_type) == QEL_OK && wire_type == wire[0], "route type");

    const std::size_t bound = largest_form(wire[0]);
    check_short_rooms(family, route, attribute_type, bound);
    const std::vector<std::uint8_t> written = format(family, route, attribute_type, bound);
    require(format(family, route, 29 - attribute_type, bound) == written, "announced and withdrawn alike");
    require(platform::assert_count() == assertions, "no failed check on a route that was parsed");

    if (unread != 0) {
        const Octets read = wire.first(wire.size() - unread);
        require(written[0] == read[0] && written[1] + unread == read[1] &&
                    equal(Octets(written).subspan(kHeader), read.subspan(kHeader)),
                "the octets that were read come back");
        return; // shorter than this instance takes
    }
    require(equal(written, wire), "the route's octets come back");
    const ExactCopy copy(written);
    Step again = parse(family, attribute_type, copy.octets());
    require(again.code == QEL_OK && again.advance == written.size() && again.more == 0, "what was written is a route");
    check_equal(family, route.info(), host::Route(std::move(again.block)).info());
}

void check_lost_route(const Family &family, std::uint32_t attribute_type, Octets left, const Step &kept)
{
    const platform::FailAllocation no_memory(0);
    const Step lost = parse(family, attribute_type, left);
    require(no_memory.fired() && lost.code == QEL_OK && lost.block == nullptr && lost.more == kUnwritten &&
                lost.advance == kept.advance,
            "without memory a route is lost quietly");
}

// What the walks of the two attributes have to agree in.
struct Seen {
    std::uint32_t code;
    std::size_t advance;
    std::uint32_t more;
    std::vector<std::uint8_t> block;

    bool operator==(const Seen &) const = default;
};

std::vector<Seen> walk(const Family &family, Component component, std::uint32_t attribute_type, Octets nlri)
{
    std::vector<Seen> seen;
    bool more = true;
    for (Octets left = nlri; more && !left.empty();) {
        const Verdict verdict = RouteModel(component, family.info().afi, left).judge();
        const platform::HandleUsage before = platform::usage(kMemHandle);
        Step step = parse(family, attribute_type, left);
        const platform::HandleUsage after = platform::usage(kMemHandle);
        check_step(verdict, left, step);
        seen.push_back({step.code, step.advance, step.more, {}});
        more = step.more == 1;
        if (step.block == nullptr) {
            require(after.allocations == before.allocations, "a refusal costs no memory");
        } else {
            require(after.allocations == before.allocations + 1 && after.live_bytes == before.live_bytes + kBlockLength,
                    "one allocation of the block's size");
            const Octets wire = left.first(step.advance);
            const Octets block = octets_of(*step.block);
            seen.back().block.assign(block.begin(), block.end());
            check_block(*step.block, wire);
            check_lost_route(family, attribute_type, left, step);
            check_way_back(family, attribute_type, wire, verdict.unread, std::move(step.block));
        }
        require(!more || step.advance <= left.size(), "more follows inside the attribute alone");
        left = left.subspan(std::min(step.advance, left.size()));
    }
    return seen;
}

void check_empty(const Family &family, std::uint32_t attribute_type)
{
    const ExactCopy nothing({});
    const Step step = parse(family, attribute_type, nothing.octets());
    require(step.code == QEL_OK && step.advance == 0 && step.more == kUnwritten && step.block == nullptr,
            "nothing to do");
}

void run(Octets input)
{
    if (input.empty()) {
        return;
    }
    const Family &family = instance(input[0]);
    const Component component = component_of(family.info());
    const std::uint64_t blocks = platform::usage(kMemHandle).live_blocks;
    const ExactCopy announced(input.subspan(1));
    const ExactCopy withdrawn(input.subspan(1));
    check_empty(family, 14);
    check_empty(family, 15);
    require(walk(family, component, 14, announced.octets()) == walk(family, component, 15, withdrawn.octets()),
            "announced and withdrawn routes are read alike");
    require(platform::usage(kMemHandle).live_blocks == blocks, "nothing stays allocated");
}

} // namespace
} // namespace qel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    qel::fuzz::run({data, size});
    return 0;
}
