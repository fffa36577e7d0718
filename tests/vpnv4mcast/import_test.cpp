// Route import of the VPNv4 multicast family: the walk over a route's route targets, and the copy of its list.
#include "vpnv4mcast_cases.h"

namespace qel::test {
namespace {

const std::string kRt1 = " 0002 fde9 00000064 ";      // 65001:100
const std::string kRt2 = " 0002 fde9 00000065 ";      // 65001:101
const std::string kRt4 = " 0102 c0000201 0007 ";      // 192.0.2.1:7
const std::string kSourceAs = " 0009 fde9 00000000 "; // 65001:0
const std::string kImport = " 010b c0a80a0b 0001 ";   // 192.168.10.11:1

using Vpnv4McastImport = Vpnv4McastTest;

std::uint8_t *buffer_marker()
{
    static std::uint8_t marker = 0;
    return &marker;
}

// What a call for a copy of a part of the list did.
struct Copied {
    std::uint32_t code = 0;
    bool stored = false; // the pointer holds memory
    Bytes value;
    std::uint32_t length = kUnwritten; // in octets, or the count of elements
    std::uint32_t cursor = 0;
    std::uint32_t more = kUnwritten;
    std::size_t asserts = 0;
};

Copied cross(const QEL_ROUTE_INFO_S &route, std::uint32_t cursor, QEL_FAMILY_CTX_S *ctx)
{
    std::uint8_t *value = buffer_marker();
    Copied got;
    got.cursor = cursor;
    const platform::Recorder recorder;
    got.code = QEL_VPNV4MCAST_GetCross(&route, &value, &got.length, &got.cursor, &got.more, ctx);
    EXPECT_NE(value, buffer_marker()) << "the pointer is cleared at the least";
    got.stored = value != nullptr && value != buffer_marker();
    if (got.stored) {
        got.value.assign(value, value + got.length); // the memory has exactly that many octets
        ZVK_Free_F(value, __FILE__, __LINE__);
    }
    got.asserts = recorder.asserts().size();
    EXPECT_TRUE(recorder.debugs().empty());
    return got;
}

void expect_cross(const Copied &got, const std::string &element, std::uint32_t cursor, std::uint32_t more)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_TRUE(got.stored);
    EXPECT_EQ(hex(got.value), hex(host_list(element)));
    EXPECT_EQ(got.length, 8U);
    EXPECT_EQ(got.cursor, cursor);
    EXPECT_EQ(got.more, more);
    EXPECT_EQ(got.asserts, 0U);
}

void expect_no_cross(const Copied &got, std::uint32_t code, std::uint32_t cursor, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_FALSE(got.stored);
    EXPECT_EQ(got.length, 0U);
    EXPECT_EQ(got.cursor, cursor);
    EXPECT_EQ(got.more, 0U);
    EXPECT_EQ(got.asserts, asserts);
}

TEST_F(Vpnv4McastImport, ARouteTargetIsGivenAsItStandsAndIsTheHosts)
{
    for (const std::string &target : {kRt1, kRt4, std::string("0202 00010203 0009")}) {
        const Held held({.list = host_list(target)});
        expect_cross(cross(held.info, 0, ctx_), target, 1, 0);
    }
}

TEST_F(Vpnv4McastImport, TwoRouteTargetsComeInTwoCalls)
{
    const Held held({.list = host_list(kRt1 + kRt4)});
    expect_cross(cross(held.info, 0, ctx_), kRt1, 1, 1);
    expect_cross(cross(held.info, 1, ctx_), kRt4, 2, 0);
    expect_no_cross(cross(held.info, 2, ctx_), kFailed, 2);
}

TEST_F(Vpnv4McastImport, ElementsOfOtherKindsAreSteppedOver)
{
    const Held held({.list = host_list(kSourceAs + kImport + kRt2 + kSourceAs + kRt4 + kImport)});
    expect_cross(cross(held.info, 0, ctx_), kRt2, 3, 1);
    expect_cross(cross(held.info, 1, ctx_), kRt2, 3, 1);
    expect_cross(cross(held.info, 2, ctx_), kRt2, 3, 1);
    expect_cross(cross(held.info, 3, ctx_), kRt4, 5, 1);
    expect_cross(cross(held.info, 4, ctx_), kRt4, 5, 1);
    expect_no_cross(cross(held.info, 5, ctx_), 0, 6);
    expect_no_cross(cross(held.info, 6, ctx_), kFailed, 6);
}

// kept: more is said of the elements that remain, whatever they are
TEST_F(Vpnv4McastImport, TheLastCallOfAWalkMayFindNothing)
{
    const Held held({.list = host_list(kRt1 + kSourceAs)});
    expect_cross(cross(held.info, 0, ctx_), kRt1, 1, 1);
    expect_no_cross(cross(held.info, 1, ctx_), 0, 2);
}

TEST_F(Vpnv4McastImport, AListWithoutARouteTargetGivesNothingAndNothingElseStandsIn)
{
    for (const std::string &list : {kSourceAs, kSourceAs + kImport}) {
        const Held held({.rd = bytes(kRdMem), .key = bytes(kKeyMem), .label = kLabel, .list = host_list(list)});
        expect_no_cross(cross(held.info, 0, ctx_), 0, held.info.uiExtCommLen / 8);
    }
}

TEST_F(Vpnv4McastImport, ARouteWithoutAListGivesNothingAndLeavesTheCursor)
{
    Held none({});
    none.info.uiExtCommLen = 16;
    Held empty({.list = host_list(kRt1)});
    empty.info.uiExtCommLen = 0;
    for (const std::uint32_t cursor : {0U, 1U, 7U}) {
        expect_no_cross(cross(none.info, cursor, ctx_), 0, cursor);
        expect_no_cross(cross(empty.info, cursor, ctx_), 0, cursor);
    }
}

TEST_F(Vpnv4McastImport, ACursorBehindTheWholeElementsFails)
{
    const Bytes two = host_list(kRt1 + kRt2);
    for (std::size_t length = 1; length <= 16; ++length) {
        const Held held({.list = slice(two, 0, length)});
        const auto count = static_cast<std::uint32_t>(length / 8);
        for (const std::uint32_t cursor : {count, count + 1, 0xffffffffU}) {
            expect_no_cross(cross(held.info, cursor, ctx_), kFailed, cursor);
        }
    }
}

TEST_F(Vpnv4McastImport, TheOddTailOfAListIsNoElement)
{
    const Held held({.list = host_list(kRt1) + Bytes(7, 2)});
    expect_cross(cross(held.info, 0, ctx_), kRt1, 1, 0);
}

// kept: the non-key bit is not asked for, as this family has no such section
TEST_F(Vpnv4McastImport, ARouteTargetIsGivenWhateverSectionsAreMarked)
{
    Held held({.list = host_list(kRt1)});
    for (const std::uint32_t mask : {0U, 0x4U, 0x2fU, 0xffffffffU}) {
        held.info.uiValidMask = mask;
        expect_cross(cross(held.info, 0, ctx_), kRt1, 1, 0);
    }
}

// kept: the sub-type alone makes a route target, whatever the type
TEST_F(Vpnv4McastImport, ARouteTargetIsAnyElementOfSubType2)
{
    for (unsigned type = 0; type <= 0xff; ++type) {
        for (const unsigned sub_type : {0U, 1U, 2U, 3U, 9U, 0x0aU, 0x42U, 0x82U}) {
            Bytes list = bytes("0000 020202020202");
            list[0] = static_cast<std::uint8_t>(sub_type);
            list[1] = static_cast<std::uint8_t>(type);
            const Copied got = cross(Held({.list = list}).info, 0, ctx_);
            EXPECT_EQ(got.stored, sub_type == 2) << type;
            EXPECT_EQ(got.value, sub_type == 2 ? list : Bytes{});
            EXPECT_EQ(got.cursor, 1U);
        }
    }
}

TEST_F(Vpnv4McastImport, TheCopyOfARouteTargetFailsOnce)
{
    for (const bool lent : {false, true}) { // it never comes from the inline buffer
        const auto keep = lend_if(lent, ctx_);
        const Held held({.list = host_list(kSourceAs + kRt1 + kRt2)});
        const LeakCheck leaks;
        const platform::FailAllocation failure(0);
        expect_no_cross(cross(held.info, 0, ctx_), kOutOfMemory, 0, 1);
        EXPECT_TRUE(failure.fired());
        expect_cross(cross(held.info, 0, ctx_), kRt1, 2, 1);
    }
}

TEST_F(Vpnv4McastImport, TheOperationIsTheWalkItself)
{
    EXPECT_EQ(desc_.pfGetCross, QEL_VPNV4MCAST_GetCross);
}

// --- the copy of the list -------------------------------------------------------------------------------------------

Copied list_copy(const QEL_ROUTE_INFO_S &route, QEL_FAMILY_CTX_S *ctx)
{
    std::uint8_t *list = buffer_marker();
    Copied got;
    const platform::Recorder recorder;
    got.code = QEL_VPNV4MCAST_GetExtCommunity(&route, &list, &got.length, ctx);
    got.stored = list != nullptr && list != buffer_marker();
    if (got.code == 0 && !got.stored) {
        EXPECT_EQ(list, nullptr);
    }
    if (got.stored) {
        got.value.assign(list, list + route.uiExtCommLen);
        ZVK_Free_F(list, __FILE__, __LINE__);
    }
    got.asserts = recorder.asserts().size();
    return got;
}

TEST_F(Vpnv4McastImport, TheListIsCopiedAsItStandsAndIsTheHosts)
{
    for (const Bytes &list : {host_list(kRt1), host_list(kSourceAs + kRt4 + kRt1 + kRt1), host_list(kRt1) + Bytes(7, 2),
                              Bytes(7, 2), Bytes(400, 9)}) {
        const Copied got = list_copy(Held({.list = list}).info, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.value, list);
        EXPECT_EQ(got.length, list.size() / 8);
        EXPECT_EQ(got.asserts, 0U);
    }
}

TEST_F(Vpnv4McastImport, NoListIsNullAndNoElements)
{
    Held held({});
    held.info.uiExtCommLen = 16;
    const Copied got = list_copy(held.info, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_FALSE(got.stored);
    EXPECT_EQ(got.length, 0U);
    EXPECT_EQ(got.asserts, 0U);
}

TEST_F(Vpnv4McastImport, TheCopyOfTheListFailsOnce)
{
    const Held held({.list = host_list(kRt1)});
    for (const bool lent : {false, true}) {
        const auto keep = lend_if(lent, ctx_);
        expect_each_allocation_fails({kOutOfMemory}, [&] { return list_copy(held.info, ctx_); });
    }
}

TEST_F(Vpnv4McastImport, TheCopyOfTheListRefusesMissingArgumentsWithOneReport)
{
    for (const Sections &sections : {Sections{.list = host_list(kRt1)}, Sections{}}) {
        const Held held(sections);
        expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
            std::uint8_t *list = buffer_marker();
            std::uint32_t count = kUnwritten;
            const std::uint32_t code =
                QEL_VPNV4MCAST_GetExtCommunity(unless(nulls, 0, &held.info), unless(nulls, 1, &list),
                                               unless(nulls, 2, &count), unless(nulls, 3, ctx_));
            EXPECT_EQ(list, buffer_marker());
            EXPECT_EQ(count, kUnwritten);
            return code;
        });
    }
}

} // namespace
} // namespace qel::test
