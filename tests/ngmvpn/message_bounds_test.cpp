// Messages that are wrong in any way: no reader goes further behind one than hosts keep readable, none leaks, and none
// hands out a block together with a failure. Run under the sanitizers this is the test of every read.
#include "intercomp_cases.h"

#include <algorithm>
#include <random>

namespace qel::test {
namespace {

struct Door {
    const char *name;
    MessageParser parser;
};

const Door kDoors[] = {
    {"from Mvrf", QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv},
    {"from Mvpn", QEL_NGMVPN_MvrfParseFromMvpnRtPrefixTlv},
    {"from Mc", QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv},
    {"HA", QEL_NGMVPN_ParseHARtPrefixTlv},
    {"HA 8", QEL_NGMVPN_ParseHARtPrefixTlvGlbal},
    {"route path", QEL_NGMVPN_ParseMcRoutePathTlv},
    {"non-key", QEL_NGMVPN_ParseRtNonKeyTlv},
    {"list", QEL_NGMVPN_ParseRtExtCommunityTlv},
    {"IPv6 list", QEL_NGMVPN_ParseRtIPv6ExtCommunityTlv},
    {"tunnel", QEL_NGMVPN_ParsePmsiTnlTlv},
    {"Prefix-SID", QEL_NGMVPN_ParseRtPfxSidTlv},
    {"MSID", QEL_NGMVPN_ParseRtMsidTlv},
};

std::vector<Bytes> good_messages()
{
    std::vector<Bytes> out;
    for (const NlriCase &route : one_of_each()) {
        out.push_back(route.octets());
        out.push_back(tlv(11, route.octets()));
        out.push_back(bytes("0015 0004 01000000") + tlv(11, route.octets()));
    }
    const Bytes hop4 = tlv(14, bytes("0a000001 05 818283"));
    const Bytes hop6 = tlv(14, Bytes(8, 1) + Bytes(16, 2));
    const Bytes attributes[] = {
        tlv(13, wire_of({kSnh, kRtAs2, kSnh})),
        tlv(15, kSnh.wire),
        tlv(22, wire_of({kRt6, kRt6Type1})),
        tlv(12, bytes(kRsvpText)),
        tlv(12, bytes(kMldpText)),
        tlv(12, bytes(kBier6Text)),
        tlv(23, bytes(kPfxSidText)),
        tlv(24, bytes(kMsid28Text)),
    };
    for (const Bytes &attribute : attributes) {
        out.push_back(hop4 + attribute + hop6);
        out.push_back(attribute + hop6 + attribute);
        out.push_back(hop6 + tlv(99, attribute) + Bytes(40, 3));
        out.push_back(slice(attribute, 4, attribute.size() - 4));
    }
    out.push_back(bytes("0017 0060") + tlv(1, bytes("00000003")) + tlv(2, Bytes(8, 1)) + tlv(4, Bytes(60, 2)) +
                  tlv(16, Bytes(8, 3)));
    return out;
}

Bytes spoiled(Bytes message, std::mt19937 &random)
{
    const auto below = [&random](std::size_t limit) { return static_cast<std::size_t>(random()) % limit; };
    for (std::size_t edits = below(4); edits > 0 && !message.empty(); --edits) {
        const std::size_t at = below(message.size());
        switch (below(4)) {
        case 0:
            message[at] = static_cast<std::uint8_t>(random());
            break;
        case 1: // small numbers are lengths and types
            message[at] = static_cast<std::uint8_t>(below(30));
            break;
        case 2:
            message.resize(at);
            break;
        default:
            message.insert(message.begin() + static_cast<std::ptrdiff_t>(at), below(9), 0);
            break;
        }
    }
    return message;
}

TEST(MessageBounds, NoReaderGoesFurtherThanTheOctetsThatAreKeptReadable)
{
    std::mt19937 random(4);
    const std::vector<Bytes> good = good_messages();
    const LeakCheck leaks;
    for (const Side &side : {kMvrf4, kMvpn6, kPlain}) {
        const NgmvpnInstance instance(side);
        for (unsigned round = 0; round < 4000; ++round) {
            const Bytes message = spoiled(good[round % good.size()], random);
            // what stands behind it may look like a message too
            const Bytes behind = round % 2 == 0
                                     ? slack()
                                     : slice(good[random() % good.size()] + slack() + slack(), 0, QEL_MSG_READ_SLACK);
            for (const Door &door : kDoors) {
                const MessageGot got = read_message(Message(message, behind), [&](auto data, auto length, auto result) {
                    return door.parser(data, length, result, instance.ctx);
                });
                ASSERT_EQ(got.result_written, got.code == 0) << door.name << ", " << hex(message);
                ASSERT_EQ(instance.ctx->uiInlineBufUsed, 0U) << door.name << ", " << hex(message);
            }
        }
    }
}

TEST(MessageBounds, MergesStayWithinTheirLists)
{
    std::mt19937 random(5);
    const LeakCheck leaks;
    const NgmvpnInstance instance(kMvrf4);
    for (unsigned round = 0; round < 2000; ++round) {
        Bytes held(random() % 70);
        Bytes added(random() % 70);
        for (Bytes *list : {&held, &added}) {
            std::generate(list->begin(), list->end(), [&random] { return static_cast<std::uint8_t>(random() % 3); });
        }
        const CrossRoute route(
            nonkey_of(static_cast<std::uint32_t>(random() % 10), static_cast<std::uint16_t>(random() % 32)), held);
        for (const auto handler : {&QEL_NGMVPN_ParseAddAttrTlv, &QEL_NGMVPN_ParseNonkeyTlv}) {
            const MessageGot got = read_message(Message(added), [&](auto data, auto length, auto result) {
                return handler(&route.info, data, length, result, instance.ctx);
            });
            ASSERT_EQ(got.code, 0U);
            ASSERT_EQ(got.asserts, 0U);
        }
    }
}

} // namespace
} // namespace qel::test
