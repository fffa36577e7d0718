// The rules of result blocks of the MDT family, one by one.
#include "mdt_cases.h"

#include "dirty_heap.h"

namespace qel::test {
namespace {

using MdtBlock = MdtTest;

// A view whose sections end where their heap blocks end.
struct Viewed {
    explicit Viewed(const Sections &from)
        : rd(from.rd.value_or(Bytes{})), key(from.key.value_or(Bytes{})), nonkey(from.nonkey.value_or(Bytes{})),
          list(from.list.value_or(Bytes{})), cross(from.cross.value_or(Bytes{}))
    {
        std::memset(&view, 0, sizeof(view));
        view.pucRd = from.rd ? rd.data() : nullptr;
        view.uiRdLen = rd.size();
        view.pucKey = from.key ? key.data() : nullptr;
        view.uiKeyLen = key.size();
        view.pucNonKey = from.nonkey ? nonkey.data() : nullptr;
        view.uiNonKeyLen = nonkey.size();
        view.pucAttr = from.list ? list.data() : nullptr;
        view.usAttrLen = static_cast<std::uint16_t>(list.size());
        view.ucAttrType = from.list ? 16 : 0;
        view.pucCross = from.cross ? cross.data() : nullptr;
        view.uiCrossLen = cross.size();
    }
    OddBytes rd;
    OddBytes key;
    OddBytes nonkey;
    OddBytes list;
    OddBytes cross;
    QEL_ROUTE_VIEW_S view;
};

const Sections kAll{.rd = bytes("0102030405060708"),
                    .key = bytes("1112131415"),
                    .nonkey = bytes("212223"),
                    .list = bytes("31323334"),
                    .cross = bytes("4142434445464748")};

Made output(const QEL_ROUTE_VIEW_S &view)
{
    return make([&](auto result) { return QEL_MDT_OutputData(result, &view, kMemHandle); });
}

TEST_F(MdtBlock, SectionsFollowOneAnotherWithoutGapsInAFixedOrder)
{
    expect_made(output(Viewed(kAll).view), kAll);
    Sections some = kAll;
    some.key.reset();
    some.list.reset();
    expect_made(output(Viewed(some).view), some);
}

TEST_F(MdtBlock, EachSectionIsCountedAndMarkedAlone)
{
    for (const Sections &one : {Sections{.rd = kAll.rd}, Sections{.key = kAll.key}, Sections{.nonkey = kAll.nonkey},
                                Sections{.list = kAll.list}, Sections{.cross = kAll.cross}}) {
        const Viewed viewed(one);
        expect_made(output(viewed.view), one);
        std::uint32_t length = 0;
        EXPECT_EQ(QEL_MDT_CalcOutputLen(&viewed.view, &length), 0U);
        EXPECT_EQ(length, block_of(one).size());
    }
}

TEST_F(MdtBlock, ALengthBesideANullPointerCountsForNothing)
{
    Viewed viewed({.rd = kAll.rd});
    viewed.view.uiKeyLen = 100;
    viewed.view.uiNonKeyLen = 100;
    viewed.view.usAttrLen = 100;
    viewed.view.uiCrossLen = 100;
    viewed.view.ucAttrFlag = 3;
    viewed.view.ucAttrType = 16;
    expect_made(output(viewed.view), {.rd = kAll.rd});
}

TEST_F(MdtBlock, AnEmptySectionIsMarkedUnlessItStandsAtTheVeryEnd)
{
    Sections front = kAll;
    front.rd = Bytes{};
    expect_made(output(Viewed(front).view), front);
    Sections end = kAll;
    end.cross = Bytes{};
    Sections want = kAll;
    want.cross.reset();
    expect_made(output(Viewed(end).view), want);
}

TEST_F(MdtBlock, AViewWithoutAByteIsRefusedWithNothingStored)
{
    for (const Sections &nothing : {Sections{}, Sections{.list = Bytes{}}}) {
        const Viewed viewed(nothing);
        std::uint32_t length = kUnwritten;
        EXPECT_EQ(QEL_MDT_CalcOutputLen(&viewed.view, &length), kNull);
        EXPECT_EQ(length, kUnwritten);
        const Made got = output(viewed.view);
        expect_not_made(got, kNull);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(MdtBlock, ALengthThatWrapsBelowAHeaderIsASuccessWithoutABlock)
{
    Viewed viewed({.rd = kAll.rd, .key = kAll.key});
    viewed.view.uiRdLen = 0xffffffff;
    viewed.view.uiKeyLen = 0xfffffff0;
    const Made got = output(viewed.view);
    expect_not_made(got, 0);
    EXPECT_EQ(got.allocations, 0U);
}

TEST_F(MdtBlock, ALengthThatWrapsBehindAHeaderIsLikeNoMemory)
{
    Viewed viewed({.rd = kAll.rd, .key = kAll.key});
    viewed.view.uiRdLen = 0xffffffff;
    viewed.view.uiKeyLen = 9;
    expect_not_made(output(viewed.view), kNoBlock, 1);
}

TEST_F(MdtBlock, ABlockThatCannotBeHadIsReportedAndNothingIsStored)
{
    expect_each_allocation_fails({kNoBlock}, [&] { return output(Viewed(kAll).view); });
}

TEST_F(MdtBlock, ABlockIsZeroWhereNothingWasWritten)
{
    dirty_the_heap(40);
    expect_made(output(Viewed({.rd = kAll.rd}).view), {.rd = kAll.rd});
}

TEST_F(MdtBlock, ABlockIsNotMadeWithoutItsArguments)
{
    const Viewed viewed(kAll);
    expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
        QEL_ROUTE_BLOCK_S *result = block_marker();
        return QEL_MDT_OutputData(unless(nulls, 0, &result), unless(nulls, 1, &viewed.view),
                                  (nulls & 4) != 0 ? 0 : kMemHandle);
    });
    std::uint32_t length = kUnwritten;
    expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) {
        return QEL_MDT_CalcOutputLen(unless(nulls, 0, &viewed.view), unless(nulls, 1, &length));
    });
}

TEST_F(MdtBlock, AStepIsNotTakenWithoutItsArguments)
{
    const Viewed viewed(kAll);
    for (const auto step :
         {QEL_MDT_OutputRd, QEL_MDT_OutputKey, QEL_MDT_OutputNonKey, QEL_MDT_OutputAttr, QEL_MDT_OutputCross}) {
        expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
            std::array<std::uint8_t, 64> block{};
            std::uint32_t remain = 32;
            std::uint16_t offset = 32;
            return step(unless(nulls, 0, reinterpret_cast<QEL_ROUTE_BLOCK_S *>(block.data())),
                        unless(nulls, 1, &remain), unless(nulls, 2, &viewed.view), unless(nulls, 3, &offset));
        });
    }
}

TEST_F(MdtBlock, TheAttributesFlagAndTypeStandInTheHeaderWithItsSectionAlone)
{
    Viewed viewed({.rd = kAll.rd, .list = kAll.list});
    viewed.view.ucAttrFlag = 3;
    viewed.view.ucAttrType = 25;
    Made got = output(viewed.view);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->ucAttrFlag, 3U);
    EXPECT_EQ(got.block->ucAttrType, 25U);
    viewed.view.pucAttr = nullptr;
    got = output(viewed.view);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->ucAttrFlag, 0U);
    EXPECT_EQ(got.block->ucAttrType, 0U);
}

TEST_F(MdtBlock, ASectionThatDoesNotFitIsReportedAndTheWorkGoesOn)
{
    const Viewed viewed(kAll);
    std::array<std::uint8_t, 48> octets{};
    auto *block = reinterpret_cast<QEL_ROUTE_BLOCK_S *>(octets.data());
    std::uint32_t remain = 4;
    std::uint16_t offset = 32;
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_MDT_OutputRd(block, &remain, &viewed.view, &offset), 0U);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(block->uiValidMask, 1U);
    EXPECT_EQ(offset, 40U);
    EXPECT_EQ(remain, 0xfffffffcU);
}

} // namespace
} // namespace qel::test
