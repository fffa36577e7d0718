#include "host/route.h"

#include "../support.h"

#include <utility>

namespace qel::host {
namespace {

using test::Bytes;
using test::bytes;
using test::kMemHandle;
using test::LeakCheck;

// The sections of a block to be, in the order in which they stand in it.
struct Parts {
    Bytes rd;
    Bytes key;
    Bytes non_key;
    Bytes label;
    std::uint8_t flag = 0;
    std::uint8_t type = 0;
    Bytes attribute;
    Bytes cross;
};

BlockPtr make_block(const Parts &parts)
{
    QEL_ROUTE_BLOCK_S header{};
    Bytes body;
    const auto put = [&](std::uint32_t bit, const Bytes &section, std::uint16_t &offset, std::uint16_t &length) {
        if (!section.empty()) {
            header.uiValidMask |= bit;
            offset = static_cast<std::uint16_t>(sizeof(header) + body.size());
            length = static_cast<std::uint16_t>(section.size());
            body.insert(body.end(), section.begin(), section.end());
        }
    };
    put(QEL_SECTION_RD, parts.rd, header.usRdOffset, header.usRdLen);
    put(QEL_SECTION_KEY, parts.key, header.usKeyOffset, header.usKeyLen);
    put(QEL_SECTION_NONKEY, parts.non_key, header.usNonKeyOffset, header.usNonKeyLen);
    put(QEL_SECTION_LABEL, parts.label, header.usLabelOffset, header.usLabelLen);
    put(QEL_SECTION_ATTR, parts.attribute, header.usAttrOffset, header.usAttrLen);
    put(QEL_SECTION_CROSS, parts.cross, header.usCrossOffset, header.usCrossLen);
    header.ucAttrFlag = parts.flag;
    header.ucAttrType = parts.type;
    const auto size = static_cast<std::uint32_t>(sizeof(header) + body.size());
    void *memory = ZVK_SimpleAlloc_F(kMemHandle, size, __FILE__, __LINE__);
    std::memcpy(memory, &header, sizeof(header));
    if (!body.empty()) {
        std::memcpy(static_cast<std::uint8_t *>(memory) + sizeof(header), body.data(), body.size());
    }
    return BlockPtr(static_cast<QEL_ROUTE_BLOCK_S *>(memory));
}

BlockPtr make_attribute(std::uint8_t flag, std::uint8_t type, const Bytes &value)
{
    Parts parts;
    parts.flag = flag;
    parts.type = type;
    parts.attribute = value;
    return make_block(parts);
}

// Attribute 16 is there and carries no value.
BlockPtr make_no_value()
{
    BlockPtr block = make_block({});
    block->uiValidMask = QEL_SECTION_ATTR;
    block->ucAttrType = QEL_ATTR_TYPE_EXTCOMM;
    return block;
}

BlockPtr make_route(std::string_view rd, std::string_view key, std::string_view non_key)
{
    Parts parts;
    parts.rd = bytes(rd);
    parts.key = bytes(key);
    parts.non_key = bytes(non_key);
    return make_block(parts);
}

Bytes section(const void *data, std::uint32_t length)
{
    const auto *start = static_cast<const std::uint8_t *>(data);
    return {start, start + length};
}

std::uint64_t live_blocks()
{
    return platform::usage(kMemHandle).live_blocks;
}

TEST(RouteTest, EmptyRouteHasNoSectionAndNoPolicy)
{
    const Route route;
    EXPECT_EQ(route.info().uiValidMask, 0U);
    EXPECT_EQ(route.info().pucKey, nullptr);
    EXPECT_EQ(route.info().uiPolicyId, 0xFFFFFFFFU);
    EXPECT_EQ(route.info().uiUserDataKind, 0U);
}

TEST(RouteTest, SectionsOfABlockBecomeFields)
{
    const LeakCheck leaks;
    Parts parts;
    parts.rd = bytes("0000640063000000");
    parts.key = bytes("0102030405");
    parts.non_key = bytes("0a0b0c");
    parts.flag = QEL_ATTR_FLAG_EXTCOMM;
    parts.type = QEL_ATTR_TYPE_EXTCOMM;
    parts.attribute = bytes("0201640005000000");
    parts.cross = bytes("deadbeef");
    const Route route(make_block(parts));
    const QEL_ROUTE_INFO_S &info = route.info();
    EXPECT_EQ(info.uiValidMask, 0x1fU);
    EXPECT_EQ(section(info.pucRd, info.uiRdLen), parts.rd);
    EXPECT_EQ(section(info.pucKey, info.uiKeyLen), parts.key);
    EXPECT_EQ(section(info.pucNonKey, info.uiNonKeyLen), parts.non_key);
    EXPECT_EQ(section(info.pucExtComm, info.uiExtCommLen), parts.attribute);
    EXPECT_EQ(section(info.pucCross, info.uiCrossLen), parts.cross);
    EXPECT_EQ(info.uiLabelLen, 0U);
    EXPECT_EQ(info.uiPolicyId, QEL_POLICY_ID_NONE);
}

TEST(RouteTest, LabelIsHeldAsItsValueAndOutlivesItsBlock)
{
    const LeakCheck leaks;
    Parts parts;
    parts.label = bytes("45230100");
    Route route;
    const std::uint64_t before = live_blocks();
    route.add(make_block(parts));
    EXPECT_EQ(live_blocks(), before);
    EXPECT_EQ(route.info().uiMplsLabel, 0x12345U);
    EXPECT_EQ(route.info().uiLabelLen, 4U);
    EXPECT_EQ(route.info().uiValidMask, QEL_SECTION_LABEL);

    route.add(make_route("0000000000000001", "02", ""));
    EXPECT_EQ(route.info().uiMplsLabel, 0x12345U);
    EXPECT_EQ(route.info().uiValidMask, QEL_SECTION_LABEL | QEL_SECTION_RD | QEL_SECTION_KEY);
}

TEST(RouteTest, EachAttributeGoesToTheFieldOfItsFlagAndType)
{
    const LeakCheck leaks;
    struct Row {
        std::uint8_t flag;
        std::uint8_t type;
        std::uint32_t QEL_ROUTE_INFO_S::*length;
        const std::uint8_t *QEL_ROUTE_INFO_S::*data;
    };
    const Row rows[] = {
        {0, 16, &QEL_ROUTE_INFO_S::uiExtCommLen, &QEL_ROUTE_INFO_S::pucExtComm},
        {1, 22, &QEL_ROUTE_INFO_S::uiPmsiLen, &QEL_ROUTE_INFO_S::pucPmsi},
        {3, 25, &QEL_ROUTE_INFO_S::uiIpv6ExtCommLen, &QEL_ROUTE_INFO_S::pucIpv6ExtComm},
        {4, 40, &QEL_ROUTE_INFO_S::uiPfxSidLen, &QEL_ROUTE_INFO_S::pucPfxSid},
        {5, 66, &QEL_ROUTE_INFO_S::uiMsidLen, &QEL_ROUTE_INFO_S::pucMsid},
    };
    Route route;
    for (const Row &row : rows) {
        route.add(make_attribute(row.flag, row.type, Bytes(row.type, row.flag)));
    }
    route.add(make_attribute(2, 243, Bytes(152, 9)));
    for (const Row &row : rows) {
        EXPECT_EQ(section(route.info().*row.data, route.info().*row.length), Bytes(row.type, row.flag));
    }
    EXPECT_EQ(section(route.info().pstImportAttr, route.info().uiImportAttrLen), Bytes(152, 9));
    EXPECT_EQ(route.info().uiValidMask, QEL_SECTION_ATTR);
}

TEST(RouteTest, AttributeOfAnUnknownFlagAndTypeIsDroppedAndFreed)
{
    const LeakCheck leaks;
    Route route;
    const std::uint64_t before = live_blocks();
    for (const auto &[flag, type] : {std::pair<std::uint8_t, std::uint8_t>{0, 22}, {1, 16}, {6, 16}, {2, 22}}) {
        route.add(make_attribute(flag, type, Bytes(8)));
    }
    EXPECT_EQ(live_blocks(), before);
    EXPECT_EQ(route.info().uiValidMask, 0U);
    EXPECT_EQ(route.info().pucExtComm, nullptr);
    EXPECT_EQ(route.info().pucPmsi, nullptr);
}

TEST(RouteTest, SeveralBlocksMakeOneRoute)
{
    const LeakCheck leaks;
    Route route(make_route("0000000000000001", "0203", "04"));
    route.add(make_attribute(0, 16, Bytes(8, 1)));
    route.add(make_attribute(1, 22, Bytes(20, 2)));
    EXPECT_EQ(route.info().uiValidMask, 0xfU);
    EXPECT_EQ(section(route.info().pucKey, route.info().uiKeyLen), bytes("0203"));
    EXPECT_EQ(section(route.info().pucExtComm, route.info().uiExtCommLen), Bytes(8, 1));
    EXPECT_EQ(section(route.info().pucPmsi, route.info().uiPmsiLen), Bytes(20, 2));
}

TEST(RouteTest, LaterSectionReplacesTheEarlierOne)
{
    const LeakCheck leaks;
    Route route(make_route("0000000000000001", "0203", "04"));
    route.add(make_attribute(0, 16, Bytes(8, 1)));
    route.add(make_attribute(0, 16, Bytes(16, 2)));
    EXPECT_EQ(section(route.info().pucExtComm, route.info().uiExtCommLen), Bytes(16, 2));

    Parts parts;
    parts.key = bytes("0908");
    route.add(make_block(parts));
    EXPECT_EQ(section(route.info().pucKey, route.info().uiKeyLen), bytes("0908"));
    EXPECT_EQ(section(route.info().pucRd, route.info().uiRdLen), bytes("0000000000000001"));
    EXPECT_EQ(section(route.info().pucNonKey, route.info().uiNonKeyLen), bytes("04"));
}

TEST(RouteTest, BlockIsFreedOnceNoSectionLiesInIt)
{
    const LeakCheck leaks;
    const std::uint64_t before = live_blocks();
    Route route(make_route("0000000000000001", "0203", "04"));
    EXPECT_EQ(live_blocks(), before + 1);
    for (int i = 0; i < 100; ++i) {
        route.add(make_attribute(0, 16, Bytes(8, 1)));
        EXPECT_EQ(live_blocks(), before + 2);
    }
    route.add(make_route("0000000000000002", "0405", ""));
    EXPECT_EQ(live_blocks(), before + 3) << "the non-key still lies in the first block";
    route.add(make_route("0000000000000003", "0405", "06"));
    EXPECT_EQ(live_blocks(), before + 2);
}

TEST(RouteTest, NoValueBlockRemovesTheCommunitiesAlone)
{
    const LeakCheck leaks;
    const std::uint64_t before = live_blocks();
    Route route(make_attribute(0, 16, Bytes(8, 1)));
    route.add(make_attribute(1, 22, Bytes(20, 2)));
    route.add(make_no_value());
    EXPECT_EQ(route.info().pucExtComm, nullptr);
    EXPECT_EQ(route.info().uiExtCommLen, 0U);
    EXPECT_EQ(section(route.info().pucPmsi, route.info().uiPmsiLen), Bytes(20, 2));
    EXPECT_EQ(route.info().uiValidMask, QEL_SECTION_ATTR);
    EXPECT_EQ(live_blocks(), before + 1);
}

TEST(RouteTest, NoValueBlockOnARouteWithoutCommunitiesChangesNothing)
{
    const LeakCheck leaks;
    Route route(make_route("0000000000000001", "0203", "04"));
    route.add(make_no_value());
    EXPECT_EQ(route.info().uiValidMask, 0x7U);
    EXPECT_EQ(route.info().pucExtComm, nullptr);
}

TEST(RouteTest, EmptyAttributeSectionIsPresentWithLengthZero)
{
    const LeakCheck leaks;
    Parts parts;
    parts.attribute = Bytes(4);
    parts.cross = Bytes(4);
    BlockPtr block = make_block(parts);
    block->usAttrLen = 0;
    block->ucAttrType = 16;
    const Route route(std::move(block));
    EXPECT_NE(route.info().pucExtComm, nullptr);
    EXPECT_EQ(route.info().uiExtCommLen, 0U);
}

TEST(RouteTest, NullBlockIsNoBlock)
{
    Route route{BlockPtr()};
    route.add(BlockPtr());
    EXPECT_EQ(route.info().uiValidMask, 0U);
}

TEST(RouteTest, MovingPassesTheBlocksOn)
{
    const LeakCheck leaks;
    const std::uint64_t before = live_blocks();
    Route first(make_route("0000000000000001", "0203", "04"));
    Route second(std::move(first));
    EXPECT_EQ(first.info().pucKey, nullptr); // NOLINT(bugprone-use-after-move): a moved-from route is an empty one
    EXPECT_EQ(first.info().uiPolicyId, QEL_POLICY_ID_NONE);
    EXPECT_EQ(section(second.info().pucKey, second.info().uiKeyLen), bytes("0203"));

    Route third(make_route("0000000000000002", "0506", "07"));
    EXPECT_EQ(live_blocks(), before + 2);
    third = std::move(second);
    EXPECT_EQ(live_blocks(), before + 1);
    EXPECT_EQ(section(third.info().pucKey, third.info().uiKeyLen), bytes("0203"));
}

TEST(RouteTest, LabelCanBeWrittenBack)
{
    Route route;
    route.mutable_info().uiMplsLabel = 17;
    EXPECT_EQ(route.info().uiMplsLabel, 17U);
}

} // namespace
} // namespace qel::host
