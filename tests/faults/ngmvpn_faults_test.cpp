#include "family_faults.h"

#include "loss_on_purpose.h"

namespace qel::test {
namespace {

const std::string kSpmsi = "03 16 0000 0064 00000001 20 0a010001 20 e8010101 c0000201 ";
const std::string kIntra = "01 0c 0000 0064 00000001 c0000201 ";
const std::string kLeaf = "04 1c " + kSpmsi + "c0000202 ";
const std::string kJoin = "07 16 0000 0064 00000001 0000fbf4 20 0a010001 20 e8010101 ";
const std::string kTargets = "0002 0064 00000001 010b c0000202 0007 ";
const std::string kSnh = "0112 c0000201 0000 ";
const std::string kIpv6Targets = "000b 20010db8000000000000000000000001 0007 ";
const std::string kRsvpTe = "01 01 000120 00000005 0000 0011 c0000201 ";
const std::string kMldp = "00 02 000000 06 0001 04 c0000201 0007 01 0004 000003e9 ";
const std::string kBier = "01 0b 003eb0 01 0041 c0000201 ";
const std::string kPrefixSid = "05 0019 00 01 0015 00 20010db8001200000000000000000001 00 0045 00 ";
const std::string kMsid = "01 0011 00 20010db8001200000000000000000001 ";
const std::string kPolicyInfo = "00000002 c0000201 00000000 00000000 00000000 00000009 ";
const std::string kHop = "000e 0008 c0000201 05 000000 ";
const std::string kNonKey = "0017 0060 0001 0004 00000003 0002 0008 c0000201 00000007 0004 003c ";
const std::string kSegmentKey = "000b 0018 " + kSpmsi + "0010 0004 00000007 ";
const std::string kOriginalSet = "0013 0008 " + kSnh + "0012 000c 02 000000 c0000201 00000009 0014 0011 " + kRsvpTe;
const std::string kReplacedSet = "000f 0008 0112 c0000202 0000 000c 0016 " + kMldp;

// A route as a segmentation point holds it: all attributes and the import attribute record.
class NgmvpnFaults : public FamilyFaults {
protected:
    NgmvpnFaults() : FamilyFaults(1, 5)
    {
        take(14, kSpmsi);
        take(16, kTargets + kSnh);
        take(22, kRsvpTe);
        take(25, kIpv6Targets);
        take(40, kPrefixSid);
        take(66, kMsid);
        record_ = message(138, kOriginalSet + kReplacedSet, message(137, kSegmentKey));
        QEL_ROUTE_INFO_S &route = route_.mutable_info();
        route.pstImportAttr = record_in(record_);
        route.uiImportAttrLen = record_->usAttrLen;
        route.uiPolicyId = 7;
    }

    host::BlockPtr message(std::uint32_t type, const std::string &value, host::BlockPtr held = nullptr) const
    {
        const TrustedOctets octets(bytes(value));
        QEL_ROUTE_BLOCK_S *block = held.release();
        EXPECT_EQ(desc().pfParseMsg(octets.data(), octets.size(), type, &block, ctx()), QEL_OK) << type;
        return host::BlockPtr(block);
    }

    static const QEL_NGMVPN_IMPORT_ATTR_S *record_in(const host::BlockPtr &block)
    {
        return static_cast<const QEL_NGMVPN_IMPORT_ATTR_S *>(
            static_cast<const void *>(reinterpret_cast<const std::uint8_t *>(block.get()) + block->usAttrOffset));
    }
    // The second message replaces the block of the first.
    std::uint32_t both_messages(Outputs &out) const
    {
        const TrustedOctets key(bytes(kSegmentKey));
        const TrustedOctets attributes(bytes(kOriginalSet + kReplacedSet));
        const std::uint32_t code = desc().pfParseMsg(key.data(), key.size(), 137, &out.block, ctx());
        return code != QEL_OK || !out.block_written()
                   ? code
                   : desc().pfParseMsg(attributes.data(), attributes.size(), 138, &out.block, ctx());
    }

    host::BlockPtr record_;
};

TEST_F(NgmvpnFaults, RoutesAndAttributesFromAndToTheWire)
{
    expect_faults(
        {
            packet("route", 14, kSpmsi, "q", "q"),
            packet("leaf", 15, kLeaf, "q", "q"),
            packet("join", 14, kJoin, "q", "q"),
            packet("communities", 16, kTargets, "BB", "BBB"),
            packet("ipv6 communities", 25, kIpv6Targets, "BB", "BBB"),
            packet("rsvp-te", 22, kRsvpTe, "BB", "BB"),
            packet("mldp", 22, kMldp, "BB", "BB"),
            packet("bier", 22, kBier, "BB", "BB"),
            packet("prefix-sid", 40, kPrefixSid, "BB", "BB"),
            packet("msid", 66, kMsid, "BB", "BB"),
            attribute(14),
            attribute(15),
            attribute(16, "3", "3"),
            attribute(22),
            attribute(25, "3", "3"),
            attribute(40),
            attribute(66),
        },
        ctx());
}

TEST_F(NgmvpnFaults, MessagesBetweenComponents)
{
    const QEL_PARSE_TLV_F read = desc().pfParseMsg;
    const QEL_FORMAT_TLV_F write = desc().pfFormatMsg;
    std::vector<FaultRow> rows{
        reader(read, 15, "000b 0018 " + kSpmsi, "q", "q"),
        reader(read, 16, kHop + "000f 0008 " + kSnh + "000c 0016 " + kMldp, "TTB", "TTTB"),
        reader(read, 16, kHop + "000d 0010 " + kTargets, "ccB", "TccB"),
        reader(read, 16, kHop + "0016 0014 " + kIpv6Targets, "ccB", "TccB"),
        reader(read, 16, kHop + "0017 001c " + kPrefixSid, "cB", "TcB"),
        reader(read, 16, kHop + "0018 0014 " + kMsid, "cB", "TcB"),
        reader(read, 157, "0102030405060708090a0b0c0d0e0f1011121314", "B", "B"),
        reader(read, 137, kSegmentKey, "q", "q"),
    };
    for (const std::uint32_t type : {53U, 55U, 59U, 61U}) {
        rows.push_back(reader(read, type, kIntra, "q", "q"));
    }
    for (const std::uint32_t type : {18U, 19U, 20U, 21U, 56U, 57U}) {
        rows.push_back(reader(read, type, "0002 0064 00000001", "B", "B"));
    }
    for (const std::uint32_t type : {53U, 55U, 59U, 61U, 5U, 6U, 56U, 57U, 137U, 138U}) {
        rows.push_back(writer(write, type));
    }
    expect_faults(rows, ctx());
}

// Row by row, what the second message answers when an allocation fails; the block of the first stays the host's. A
// value that could not be kept is read again as the next header, so that the octets in it decide.
TEST_F(NgmvpnFaults, TheSecondMessageOfAnImportRouteLeavesTheBlockOfTheFirst)
{
    struct Answer {
        std::uint32_t code;
        bool lost = false; // what has been read is not freed where a header in a value names no TLV
    };
    const std::vector<Answer> answers{
        {QEL_OK},      {QEL_ERR_TLV}, {QEL_ERR_TLV}, {QEL_ERR_FAILED, true}, {QEL_ERR_FAILED, true},
        {QEL_ERR_TLV}, {QEL_ERR_TLV}, {QEL_OK},      {QEL_ERR_MEMORY},       {QEL_ERR_ALLOC}};
    for (std::size_t after = 0; after <= answers.size(); ++after) {
        SCOPED_TRACE(after);
        const LossOnPurpose loss;
        const std::uint64_t live = platform::usage(kMemHandle).live_blocks;
        {
            Outputs out;
            const platform::FailAllocation failure(after);
            const Answer want = after < answers.size() ? answers[after] : Answer{QEL_OK};
            EXPECT_EQ(both_messages(out), want.code);
            EXPECT_EQ(failure.fired(), after < answers.size());
            EXPECT_EQ(out.block_written(), after > 0) << "the first message's block, or what took its place";
        }
        EXPECT_EQ(platform::usage(kMemHandle).live_blocks > live, after < answers.size() && answers[after].lost);
    }
}

TEST_F(NgmvpnFaults, MessagesToTheBackup)
{
    const QEL_PARSE_TLV_F read = desc().pfParseHaMsg;
    const QEL_FORMAT_TLV_F write = desc().pfFormatHaMsg;
    std::vector<FaultRow> rows;
    for (const std::uint32_t type : {1U, 3U, 5U, 8U}) {
        rows.push_back(reader(read, type, "0015 0004 01 000000 000b 001e " + kLeaf, "q", "q"));
        rows.push_back(writer(write, type));
    }
    for (const std::uint32_t type : {6U, 7U}) {
        rows.push_back(reader(read, type, "0002 0064 00000001", "B", "B"));
    }
    for (const std::uint32_t type : {10U, 11U}) {
        rows.push_back(reader(read, type, "0102030405060708090a0b0c0d0e0f1011121314", "B", "B"));
    }
    for (const std::uint32_t type : {6U, 7U, 10U, 11U}) {
        rows.push_back(writer(write, type));
    }
    expect_faults(rows, ctx());
}

TEST_F(NgmvpnFaults, AttributeMessages)
{
    const QEL_PARSE_TLV_F read = desc().pfParseAttrMsg;
    const QEL_FORMAT_TLV_F write = desc().pfFormatAttrMsg;
    Outputs record;
    ASSERT_EQ(write(&info(), 40, &record.cursor, 1024, ctx()), QEL_OK);
    const std::string flat = hex({record.room.data(), record.written()}) + "00000000";
    std::vector<FaultRow> rows{
        reader(read, 11, kTargets, "B", "3B"),
        reader(read, 21, kTargets, "B", "3B"),
        reader(read, 25, kRsvpTe, "BB", "BB"),
        reader(read, 34, kNonKey + hex(Bytes(60, 0x5a)) + "0010 0008 0000 6400 01000000", "B", "B"),
        reader(read, 40, flat, "33B", "333B"),
        reader(read, 50, kIpv6Targets, "B", "3B"),
        reader(read, 51, kIpv6Targets, "B", "3B"),
        reader(read, 43, kPrefixSid, "BB", "BB"),
        reader(read, 59, kMsid, "BB", "BB"),
        adder(11, "0200 6400 01000000", "3B", "3BB"),
        adder(34, kNonKey + hex(Bytes(60, 0x5a)), "B", "B"),
    };
    for (const std::uint32_t type : {11U, 21U, 50U, 51U}) {
        rows.push_back(writer(write, type, "", "3"));
    }
    for (const std::uint32_t type : {25U, 34U, 40U, 43U, 59U}) {
        rows.push_back(writer(write, type));
    }
    expect_faults(rows, ctx());
}

TEST_F(NgmvpnFaults, ConfigurationAndDisplay)
{
    expect_faults(
        {
            reader(desc().pfParseCfg, 1, "00000000 0000 6400 01000000 01 000000", "B", "B"),
            reader(desc().pfParseCfg, 2, "01000000 00000000 0b0aa8c0", "B", "B"),
            config(1),
            config(2),
            config(4),
            config(8),
            config(64),
            config(128),
            config(256),
            text(1, "", "3"),
            text(2, "", "3"),
            text(4, "", ""),
            text(8, "", "3"),
            text(256, "", ""),
            text(512, "", ""),
            text(1024, "", ""),
        },
        ctx());
}

TEST_F(NgmvpnFaults, ImportAndPolicy)
{
    expect_faults(
        {
            cross("3"),
            cross("z", 1),
            list_copy("3"),
            match(0x800, "3"),
            match(0x4, "3o"),
            match(0x100000, "3o"),
            match(0x100, "3"),
            match(0x200000, "3"),
            action("add", 6, "0002 0064 00000009", "33B", "333BB"),
            action("replace", 7, "0002 0064 00000009", "3B", "33BB"),
            action("delete", 87, "0002 0064 00000001", "3B", "333BB"),
            action("delete all", 87, kTargets + kSnh, "3B", "333BB"),
            action("attribute replacement", 61, kPolicyInfo, "B", "3B"),
        },
        ctx());
}

TEST_F(NgmvpnFaults, OutgoingRoutes)
{
    const host::BlockPtr original = message(138, kOriginalSet, message(137, kSegmentKey));
    QEL_ROUTE_INFO_S asked_again = info();
    asked_again.pstImportAttr = record_in(original);
    asked_again.uiImportAttrLen = original->usAttrLen;
    QEL_ROUTE_INFO_S before = info();
    before.pstImportAttr = nullptr;
    before.uiImportAttrLen = 0;
    QEL_PEER_S peer{.uiPeerMode = 0, .ucRouteAddrLen = 4, .ucPeerAddrLen = 4, .aucReserved = {}};
    QEL_ROUTE_INFO_S asked = info();
    asked.uiUserDataKind = QEL_USER_DATA_PEER;
    asked.pstUserData = &peer;
    asked.uiUserDataLen = sizeof(peer);
    expect_faults(
        {
            outgoing(16, "33B", "33B"),
            outgoing(22, "B", "B"),
            outgoing(3, "", ""),
            outgoing(8, "", ""),
            {"decision, merged record",
             [&](Outputs &out) { return desc().pfSetAttrAfterPlcy(&info(), &asked_again, 0, 0, &out.block, ctx()); },
             "q"},
            {"decision, no record before",
             [&](Outputs &out) { return desc().pfSetAttrAfterPlcy(&before, &info(), 0, 0, &out.block, ctx()); }, "q",
             "q", QEL_PLCY_DENY},
            {"advertisement", [&](Outputs &out) { return desc().pfCheckRouteForAdv(&asked, 0, &out.length); }},
            {"relay next hop",
             [&](Outputs &out) { return desc().pfSetRelayNextHop(&info(), &out.length, &out.more, ctx()); }},
            {"attribute check",
             [&](Outputs &) {
                 return desc().pfCheckAttrByType(info().pstImportAttr, info().uiImportAttrLen, info().pstImportAttr,
                                                 info().uiImportAttrLen, QEL_ATTR_TYPE_IMPORT);
             }},
            {"compare records",
             [&](Outputs &) {
                 return static_cast<std::uint32_t>(
                     desc().pfCmpDataForAttrType(info().pstImportAttr, info().uiImportAttrLen, info().pstImportAttr,
                                                 info().uiImportAttrLen, QEL_SECTION_ATTR, QEL_ATTR_TYPE_IMPORT));
             }},
        },
        ctx());
}

TEST_F(NgmvpnFaults, NextHopUserData)
{
    host::Route join;
    Outputs out;
    ASSERT_EQ(parse_packet(14, bytes(kJoin), out), QEL_OK);
    join.add(host::BlockPtr(std::exchange(out.block, &Outputs::untouched_block)));
    const TrustedOctets data(bytes("01 000000 0000 6400 01000000 c0000201 000000000000000000000000"));
    expect_faults(
        {
            {"user data",
             [&](Outputs &to) { return desc().pfGetCmcastNhpUserData(&join.info(), &to.octets, &to.length, ctx()); },
             "z"},
            {"key of user data",
             [&](Outputs &to) { return desc().pfGetIntraNlriKeyByUserData(data.data(), 29, &to.block, ctx()); }, "N"},
        },
        ctx());
}

TEST_F(NgmvpnFaults, OperationsWithoutMemory)
{
    expect_faults(without_memory(), ctx());
}

TEST(NgmvpnInstanceFaults, ConstructionWithoutMemoryGivesNull)
{
    for (const Construct construct : {QEL_NGMVPN_Construct, QEL_NGMVPN_Construct4Mvrf, QEL_NGMVPN_Construct4Mvpn}) {
        expect_construction_faults(construct, QEL_NGMVPN_Destruct);
    }
}

} // namespace
} // namespace qel::test
