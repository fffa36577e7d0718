// Import of MDT routes: cross values one per call, the copy of the community list.
#include "mdt_cases.h"

namespace qel::test {
namespace {

const std::string kRt1 = " 0002 fde9 00000064 ";      // 65001:100
const std::string kRt4 = " 0102 c0000201 0007 ";      // 192.0.2.1:7
const std::string kRtOdd = " 4302 01020304 0506 ";    // sub-type 2 of a type that is no route target on the wire
const std::string kSourceAs = " 0009 fde9 00000000 "; // 65001:0
const std::string kHigh = " 0203 fde9 0000 0000 ";    // 2 stands in its Type octet alone

constexpr std::string_view kGroup = "010101ef"; // the host word of the share group

// A buffer that the host owns from now on.
using Owned = std::unique_ptr<std::uint8_t, PlatformFree>;

struct Crossed {
    std::uint32_t code = 0;
    bool stored = false; // the cross pointer was written
    Owned value;
    std::uint32_t length = 0;
    std::uint32_t cursor = 0;
    std::uint32_t more = 0;
    std::size_t asserts = 0;
    Bytes bytes() const { return {value.get(), value.get() + length}; }
};

Crossed cross(const QEL_ROUTE_INFO_S &route, std::uint32_t cursor, QEL_FAMILY_CTX_S *ctx)
{
    static std::uint8_t marker = 0;
    std::uint8_t *value = &marker;
    Crossed got;
    got.length = kUnwritten;
    got.cursor = cursor;
    got.more = kUnwritten;
    const platform::Recorder recorder;
    got.code = QEL_MDT_GetCross(&route, &value, &got.length, &got.cursor, &got.more, ctx);
    got.asserts = recorder.asserts().size();
    EXPECT_TRUE(recorder.debugs().empty());
    EXPECT_NE(value, &marker) << "null is stored ahead of everything";
    if (value != &marker) {
        got.value = Owned(value);
    }
    got.stored = got.value != nullptr;
    return got;
}

void expect_value(const Crossed &got, const Bytes &value, std::uint32_t cursor, std::uint32_t more)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    ASSERT_NE(got.value, nullptr);
    ASSERT_EQ(got.length, value.size());
    EXPECT_EQ(hex(got.bytes()), hex(value));
    EXPECT_EQ(got.cursor, cursor);
    EXPECT_EQ(got.more, more);
}

void expect_end(const Crossed &got, std::uint32_t cursor)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    EXPECT_EQ(got.value, nullptr);
    EXPECT_EQ(got.length, 0U);
    EXPECT_EQ(got.cursor, cursor);
    EXPECT_EQ(got.more, 0U);
}

// Refused behind the end: nothing but the code and the null pointer.
void expect_behind_the_end(const Crossed &got, std::uint32_t cursor)
{
    EXPECT_EQ(got.code, kFailed);
    EXPECT_EQ(got.asserts, 0U);
    EXPECT_EQ(got.value, nullptr);
    EXPECT_EQ(got.length, kUnwritten);
    EXPECT_EQ(got.cursor, cursor);
    EXPECT_EQ(got.more, kUnwritten);
}

Sections with_list(const std::string &wire)
{
    Sections sections = whole_route();
    sections.list = host_list(wire);
    return sections;
}

using MdtImport = MdtTest;

TEST_F(MdtImport, ARouteWithoutAListIsImportedByItsShareGroup)
{
    Held held(whole_route());
    held.info.uiExtCommLen = 16; // says nothing without a list
    expect_value(cross(held.info, 0, ctx_), bytes(kGroup), 0, 0);
    expect_value(cross(held.info, 3, ctx_), bytes(kGroup), 0, 0); // the cursor is set, not kept
    const Held other({.nonkey = bytes("0000 0000 04030201")});    // whatever the flags say
    expect_value(cross(other.info, 0, ctx_), bytes("04030201"), 0, 0);
}

TEST_F(MdtImport, AListWithoutARouteTargetGivesTheShareGroupOnce)
{
    expect_value(cross(Held(with_list(kSourceAs)).info, 0, ctx_), bytes(kGroup), 1, 0);
    const Held held(with_list(kSourceAs + kHigh + kSourceAs));
    expect_value(cross(held.info, 0, ctx_), bytes(kGroup), 3, 0);
    expect_behind_the_end(cross(held.info, 3, ctx_), 3);
}

TEST_F(MdtImport, RouteTargetsAreGivenOnePerCallAsTheyStand)
{
    const Held held(with_list(kRt1 + kRt4));
    expect_value(cross(held.info, 0, ctx_), host_list(kRt1), 1, 1);
    expect_value(cross(held.info, 1, ctx_), host_list(kRt4), 2, 0);
    expect_behind_the_end(cross(held.info, 2, ctx_), 2);
    const Held mixed(with_list(kSourceAs + kRt4 + kHigh + kSourceAs + kRt1));
    expect_value(cross(mixed.info, 0, ctx_), host_list(kRt4), 2, 1);
    expect_value(cross(mixed.info, 1, ctx_), host_list(kRt4), 2, 1);
    expect_value(cross(mixed.info, 2, ctx_), host_list(kRt1), 5, 0);
    expect_value(cross(mixed.info, 4, ctx_), host_list(kRt1), 5, 0);
}

// kept: more is told by the elements behind, whatever they are, so that the last call may find nothing
TEST_F(MdtImport, TheLastCallOfAWalkMayFindNothing)
{
    const Held held(with_list(kRt1 + kSourceAs));
    expect_value(cross(held.info, 0, ctx_), host_list(kRt1), 1, 1);
    expect_end(cross(held.info, 1, ctx_), 2);
    const Held longer(with_list(kRt1 + kSourceAs + kHigh + kSourceAs));
    expect_value(cross(longer.info, 0, ctx_), host_list(kRt1), 1, 1);
    expect_end(cross(longer.info, 1, ctx_), 4);
    expect_end(cross(longer.info, 3, ctx_), 4);
}

// kept: the sub-type alone makes a route target
TEST_F(MdtImport, ARouteTargetIsAnyElementOfSubType2)
{
    expect_value(cross(Held(with_list(kSourceAs + kRtOdd)).info, 0, ctx_), host_list(kRtOdd), 2, 0);
    for (const std::string_view type : {"0002", "0102", "0202", "0302", "4002", "8002", "ff02"}) {
        const std::string wire = std::string(type) + "010203040506";
        expect_value(cross(Held(with_list(wire)).info, 0, ctx_), host_list(wire), 1, 0);
    }
    for (const std::string_view type : {"0200", "0203", "0201", "0009", "010a", "010b", "0212"}) {
        const std::string wire = std::string(type) + "010203040506";
        expect_value(cross(Held(with_list(wire)).info, 0, ctx_), bytes(kGroup), 1, 0);
    }
}

// kept: a route target takes the place of the share group
TEST_F(MdtImport, ARouteTargetChangesTheImportFromGroupToTarget)
{
    expect_value(cross(Held(with_list(kSourceAs)).info, 0, ctx_), bytes(kGroup), 1, 0);
    expect_value(cross(Held(with_list(kSourceAs + kRt1)).info, 0, ctx_), host_list(kRt1), 2, 0);
}

TEST_F(MdtImport, WithoutANonKeyThereIsNoValueEvenWithRouteTargets)
{
    for (const std::uint32_t cursor : {0U, 1U, 9U}) {
        Sections sections{.key = bytes(kKeyMem), .list = host_list(kRt1)};
        Held none(sections);
        none.info.uiValidMask = 0xffffffff;
        expect_end(cross(none.info, cursor, ctx_), cursor);
        sections.nonkey = bytes(kNonKeyMem);
        Held invalid(sections);
        invalid.info.uiValidMask = 0xfffffffb;
        expect_end(cross(invalid.info, cursor, ctx_), cursor);
        sections.list.reset();
        Held no_list(sections);
        no_list.info.uiValidMask = 0;
        expect_end(cross(no_list.info, cursor, ctx_), cursor);
    }
}

TEST_F(MdtImport, ACursorAtOrBehindTheCountFails)
{
    const Held held(with_list(kRt1 + kRt4));
    for (const std::uint32_t cursor : {2U, 3U, 0x10000U, 0xffffffffU}) {
        expect_behind_the_end(cross(held.info, cursor, ctx_), cursor);
    }
    for (const std::string_view list : {"", "02", "02000102030405"}) { // no whole element
        Sections sections = whole_route();
        sections.list = bytes(list);
        expect_behind_the_end(cross(Held(sections).info, 0, ctx_), 0);
    }
}

TEST_F(MdtImport, TheOddTailOfAListIsNoElement)
{
    Sections sections = with_list(kSourceAs);
    sections.list = *sections.list + bytes("02000102030405");
    expect_value(cross(Held(sections).info, 0, ctx_), bytes(kGroup), 1, 0);
    sections.list = host_list(kRt1) + bytes("02000102030405");
    expect_value(cross(Held(sections).info, 0, ctx_), host_list(kRt1), 1, 0);
}

TEST_F(MdtImport, ACrossValueThatCannotBeAllocatedIsReported)
{
    for (const bool lent : {false, true}) { // the inline buffer has no part in it
        const auto keep = lend_if(lent, ctx_);
        for (const Sections &sections : {whole_route(), with_list(kSourceAs), with_list(kRt1 + kRt4)}) {
            const Held held(sections);
            expect_each_allocation_fails({kOutOfMemory}, [&] {
                Crossed got = cross(held.info, 0, ctx_);
                if (got.code != 0) {
                    EXPECT_EQ(got.cursor, 0U);
                    EXPECT_EQ(got.length, kUnwritten);
                    EXPECT_EQ(got.more, kUnwritten);
                }
                return got;
            });
        }
    }
}

TEST_F(MdtImport, CrossRefusesMissingArgumentsWithOneReport)
{
    for (const Sections &sections : {whole_route(), with_list(kRt1), Sections{}}) {
        const Held held(sections);
        expect_null_arguments_refused(5, kFrameSource, [&](unsigned nulls) {
            std::uint8_t marker = 0;
            std::uint8_t *value = &marker;
            std::uint32_t length = kUnwritten;
            std::uint32_t cursor = 0;
            std::uint32_t more = kUnwritten;
            const std::uint32_t code =
                QEL_MDT_GetCross(unless(nulls, 0, &held.info), unless(nulls, 1, &value), unless(nulls, 2, &length),
                                 unless(nulls, 3, &cursor), &more, unless(nulls, 4, ctx_));
            EXPECT_EQ(value, &marker);
            EXPECT_EQ(length, kUnwritten);
            EXPECT_EQ(cursor, 0U);
            EXPECT_EQ(more, kUnwritten);
            return code;
        });
    }
}

// kept: a call that tells no more does not ask for the word either
TEST_F(MdtImport, TheMoreWordIsNotLookedAt)
{
    const Held held(with_list(kRt1));
    std::uint8_t *value = nullptr;
    std::uint32_t length = kUnwritten;
    std::uint32_t cursor = 1;
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_MDT_GetCross(&held.info, &value, &length, &cursor, nullptr, ctx_), kFailed);
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(MdtImport, ValuesReadByOneSideAreComparedAndWrittenByTheOther)
{
    const Crossed group = cross(Held(whole_route()).info, 0, ctx_);
    const Crossed target = cross(Held(with_list(kRt1)).info, 0, ctx_);
    EXPECT_EQ(desc_.pfCmpData(group.value.get(), group.length, target.value.get(), target.length, 16), -1);
    for (const auto &[value, wire] : {std::pair{group.bytes(), bytes("ef010101")}, {target.bytes(), bytes(kRt1)}}) {
        expect_written(write_message(QEL_MDT_FormatIrtTlv, Held({.cross = value}).info, 8, ctx_), wire);
        expect_made(read_message(QEL_MDT_ParseIrtTlv, wire, ctx_), {.cross = value});
    }
}

TEST_F(MdtImport, IsReachedThroughTheDescriptor)
{
    const Held held(whole_route());
    std::uint8_t *value = nullptr;
    std::uint32_t length = 0;
    std::uint32_t cursor = 0;
    std::uint32_t more = 9;
    ASSERT_EQ(desc_.pfGetCross(&held.info, &value, &length, &cursor, &more, ctx_), 0U);
    const Owned owned(value);
    EXPECT_EQ(hex({value, length}), kGroup);
}

// --- the copy of the list -------------------------------------------------------------------------------------------

struct Copied {
    std::uint32_t code = 0;
    bool stored = false;
    Owned list;
    std::uint32_t count = 0;
    std::size_t asserts = 0;
};

Copied copy_list(const QEL_ROUTE_INFO_S &route, QEL_FAMILY_CTX_S *ctx)
{
    static std::uint8_t marker = 0;
    std::uint8_t *list = &marker;
    Copied got;
    got.count = kUnwritten;
    const platform::Recorder recorder;
    got.code = QEL_MDT_GetExtCommunity(&route, &list, &got.count, ctx);
    got.asserts = recorder.asserts().size();
    if (list != &marker) {
        got.list = Owned(list);
    }
    got.stored = list != &marker;
    return got;
}

TEST_F(MdtImport, TheListIsCopiedInHostOrderWithItsCount)
{
    for (const std::string &wire : {kRt1, kSourceAs + kRt4 + kRt4}) {
        const Bytes list = host_list(wire);
        const Copied got = copy_list(Held({.list = list}).info, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.asserts, 0U);
        ASSERT_NE(got.list, nullptr);
        EXPECT_EQ(got.count, list.size() / 8);
        EXPECT_EQ(hex({got.list.get(), list.size()}), hex(list));
    }
    const Bytes odd = host_list(kRt1) + bytes("01020304");
    const Copied got = copy_list(Held({.list = odd}).info, ctx_);
    EXPECT_EQ(got.count, 1U);
    EXPECT_EQ(hex({got.list.get(), odd.size()}), hex(odd));
}

TEST_F(MdtImport, ARouteWithoutAListGivesNoneAndZero)
{
    Held held({});
    held.info.uiExtCommLen = 8;
    const Copied got = copy_list(held.info, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_TRUE(got.stored);
    EXPECT_EQ(got.list, nullptr);
    EXPECT_EQ(got.count, 0U);
    EXPECT_EQ(got.asserts, 0U);
}

TEST_F(MdtImport, TheCopyOfTheListFailsOnce)
{
    const Held held({.list = host_list(kRt1)});
    expect_each_allocation_fails({kOutOfMemory}, [&] { return copy_list(held.info, ctx_); });
    const LentBuffer lent(ctx_);
    expect_each_allocation_fails({kOutOfMemory}, [&] { return copy_list(held.info, ctx_); });
}

TEST_F(MdtImport, TheCopyOfTheListRefusesMissingArgumentsWithOneReport)
{
    for (const Sections &sections : {Sections{.list = host_list(kRt1)}, Sections{}}) {
        const Held held(sections);
        expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
            std::uint8_t marker = 0;
            std::uint8_t *list = &marker;
            std::uint32_t count = kUnwritten;
            const std::uint32_t code = desc_.pfGetExtCommunity(unless(nulls, 0, &held.info), unless(nulls, 1, &list),
                                                               unless(nulls, 2, &count), unless(nulls, 3, ctx_));
            EXPECT_EQ(list, &marker);
            EXPECT_EQ(count, kUnwritten);
            return code;
        });
    }
}

} // namespace
} // namespace qel::test
