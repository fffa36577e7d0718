// Path attributes of NG-MVPN routes from any octets: parsed, held against a model, written back, parsed again. The
// first octet of an input picks the attribute, the others are its value.
#include "attribute_model.h"
#include "check.h"
#include "ngmvpn_door.h"

#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"

#include <array>
#include <utility>
#include <vector>

namespace qel::fuzz {
namespace {

using host::BlockPtr;
using host::Family;

struct Attribute {
    std::uint8_t type;
    std::uint8_t flag; // of its section
    const std::uint8_t *QEL_ROUTE_INFO_S::*data;
    std::uint32_t QEL_ROUTE_INFO_S::*length;
};

constexpr std::array kAttributes{
    Attribute{kExtComm, QEL_ATTR_FLAG_EXTCOMM, &QEL_ROUTE_INFO_S::pucExtComm, &QEL_ROUTE_INFO_S::uiExtCommLen},
    Attribute{kPmsi, QEL_ATTR_FLAG_PMSI, &QEL_ROUTE_INFO_S::pucPmsi, &QEL_ROUTE_INFO_S::uiPmsiLen},
    Attribute{kIpv6ExtComm, QEL_ATTR_FLAG_IPV6_EXTCOMM, &QEL_ROUTE_INFO_S::pucIpv6ExtComm,
              &QEL_ROUTE_INFO_S::uiIpv6ExtCommLen},
    Attribute{kPrefixSid, QEL_ATTR_FLAG_PFXSID, &QEL_ROUTE_INFO_S::pucPfxSid, &QEL_ROUTE_INFO_S::uiPfxSidLen},
    Attribute{kMsid, QEL_ATTR_FLAG_MSID, &QEL_ROUTE_INFO_S::pucMsid, &QEL_ROUTE_INFO_S::uiMsidLen},
};

bool is_list(const Attribute &attribute)
{
    return attribute.type == kExtComm || attribute.type == kIpv6ExtComm;
}

const Family &instance()
{
    static const Family family(*host::find_family(1, 5), kMemHandle);
    return family;
}

// One call of pfFormatPkt that has to leave the cursor inside its room.
struct Written {
    std::uint32_t code = 0;
    std::size_t advance = 0;
};

Written format(host::Route &route, std::uint8_t type, std::uint8_t *start, std::size_t room)
{
    std::uint8_t *cursor = start;
    const std::uint32_t code = instance().desc().pfFormatPkt(&route.mutable_info(), type, &cursor,
                                                             static_cast<std::uint32_t>(room), instance().ctx());
    require(cursor >= start && cursor <= start + room, "the cursor stays in its room");
    return {code, static_cast<std::size_t>(cursor - start)};
}

void check_step(const AttributeVerdict &verdict, const Step &step)
{
    require(step.code == verdict.code, "the code that the value's octets call for");
    require(step.advance == verdict.advance, "the cursor stands where this code says");
    require(step.more == (verdict.more_written ? 0 : kUnwritten), "nothing more follows an attribute");
    require((step.block != nullptr) == !verdict.section.empty(), "a block with success and with nothing else");
}

void check_block(const Attribute &attribute, const QEL_ROUTE_BLOCK_S &block, Octets section)
{
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = QEL_SECTION_ATTR;
    header.ucAttrFlag = attribute.flag;
    header.ucAttrType = attribute.type;
    header.usAttrOffset = sizeof(header);
    header.usAttrLen = static_cast<std::uint16_t>(section.size());
    require(equal(bytes_of(block), bytes_of(header)), "the header of an attribute's block");
    const auto *start = reinterpret_cast<const std::uint8_t *>(&block);
    require(equal({start + sizeof(block), section.size()}, section), "the section that the value's octets call for");
}

// Whatever allocation fails: the code says so, and nothing has happened.
void check_lost(const Attribute &attribute, Octets value)
{
    for (std::uint64_t number = 0;; ++number) {
        const platform::HandleUsage before = platform::usage(kMemHandle);
        const platform::FailAllocation no_memory(number);
        const Step step = parse(instance(), attribute.type, value);
        if (!no_memory.fired()) {
            require(number == 2 && step.code == QEL_OK, "a work buffer and a block, and no more");
            return;
        }
        require(step.code == QEL_ERR_ALLOC && step.advance == 0 && step.more == kUnwritten && step.block == nullptr,
                "without memory there is no route");
        require(platform::usage(kMemHandle).live_blocks == before.live_blocks, "nothing is kept of a lost route");
    }
}

// The room ends where the buffer ends.
void check_short_rooms(const Attribute &attribute, host::Route &route, std::size_t need)
{
    Bytes out(need, kFill);
    const Bytes before = out;
    for (std::size_t room = 0; room < need; ++room) {
        const Written step = format(route, attribute.type, out.data() + (need - room), room);
        require(step.code == QEL_ERR_SPACE && step.advance == 0, "no room below the need");
    }
    require(out == before, "nothing is written where there is no room");
}

void check_written(const Attribute &attribute, host::Route &route, Octets expected)
{
    const std::uint64_t assertions = platform::assert_count();
    check_short_rooms(attribute, route, expected.size());
    Bytes exact(expected.size(), kFill);
    const Written step = format(route, attribute.type, exact.data(), exact.size());
    require(step.code == QEL_OK && step.advance == expected.size(), "what was parsed can be written");
    require(equal(exact, expected), "the octets that the section calls for");
    Bytes wide(expected.size() + 3, kFill);
    require(format(route, attribute.type, wide.data(), wide.size()).code == QEL_OK, "more room is welcome");
    require(equal(Octets(wide).first(expected.size()), expected) && wide[expected.size()] == kFill,
            "nothing is written behind the attribute");
    for (const Attribute &other : kAttributes) {
        if (other.type != attribute.type) {
            const Written none = format(route, other.type, exact.data(), 0);
            require(none.code == QEL_OK && none.advance == 0, "an attribute that is not there is nothing to write");
        }
    }
    require(platform::assert_count() == assertions, "no failed check on a route that was parsed");
    if (is_list(attribute)) {
        const platform::FailAllocation no_memory(0);
        const Written lost = format(route, attribute.type, wide.data(), wide.size());
        require(no_memory.fired() && lost.code == QEL_ERR_MEMORY && lost.advance == 0, "no list without a copy");
    }
}

void check_again(const Attribute &attribute, const AttributeVerdict &verdict)
{
    const ExactCopy copy(verdict.written);
    const Step again = parse(instance(), attribute.type, copy.octets());
    if (!verdict.again) {
        require(again.code == QEL_ERR_PMSI_LEN && again.advance == 0, "an IPv6 root does not come back");
        return;
    }
    require(again.code == QEL_OK && again.advance == verdict.written.size() && again.more == 0 &&
                again.block != nullptr,
            "what was written is an attribute");
    check_block(attribute, *again.block, verdict.section);
}

void check_way_back(const Attribute &attribute, const AttributeVerdict &verdict, BlockPtr block)
{
    host::Route route(std::move(block));
    const QEL_ROUTE_INFO_S &info = route.info();
    require(info.uiValidMask == QEL_SECTION_ATTR &&
                equal({info.*attribute.data, info.*attribute.length}, verdict.section),
            "the route holds the section");
    check_written(attribute, route, verdict.written);
    require(equal({info.*attribute.data, info.*attribute.length}, verdict.section), "writing leaves the route alone");
    check_again(attribute, verdict);
}

void run(Octets input)
{
    if (input.empty()) {
        return;
    }
    const Attribute &attribute = kAttributes[input[0] % kAttributes.size()];
    const ExactCopy value(input.subspan(1));
    const AttributeVerdict verdict = AttributeModel(attribute.type, value.octets()).judge();
    const QEL_FAMILY_CTX_S &context = *instance().ctx();
    const platform::HandleUsage before = platform::usage(kMemHandle);
    const std::uint64_t assertions = platform::assert_count();

    Step step = parse(instance(), attribute.type, value.octets());
    check_step(verdict, step);
    require(equal(value.octets(), input.subspan(1)), "the wire is only read");
    require(platform::assert_count() == assertions, "no octets of the wire fail a check");
    const std::uint64_t kept = step.block != nullptr ? 1 : 0;
    const platform::HandleUsage after = platform::usage(kMemHandle);
    require(after.live_blocks == before.live_blocks + kept, "the block alone stays allocated");
    if (step.block != nullptr) {
        require(after.live_bytes == before.live_bytes + sizeof(QEL_ROUTE_BLOCK_S) + verdict.section.size(),
                "a block of header and section");
        check_block(attribute, *step.block, verdict.section);
        check_lost(attribute, value.octets());
        check_way_back(attribute, verdict, std::move(step.block));
    }
    require(platform::usage(kMemHandle).live_blocks == before.live_blocks, "nothing stays allocated");
    require(context.uiInlineBufUsed == 0, "the inline buffer is back");
}

} // namespace
} // namespace qel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    qel::fuzz::run({data, size});
    return 0;
}
