// Import routes from the multicast component: message 137, a route's key, and message 138, its attributes.
#include "import_route_cases.h"

#include "ngmvpn/qel_ngmvpn_intercomp_msg.h"

#include <algorithm>
#include <array>
#include <random>

namespace qel::test {
namespace {

// --- message 137 ----------------------------------------------------------------------------------------------------

using ImportRouteKey = ImportRouteTest;

Log success_log(const QEL_NGMVPN_KEY_S &key, const std::string &policy_id)
{
    return Log{std::string(key.uiKeyType == 1 ? "QEL_NGMVPN_ParseBgpIntraIpmsiAdKey"
                                              : "QEL_NGMVPN_ParseBgpSpmsiAdKey") +
               " success, policy id " + policy_id} +
           key_log(0);
}

void expect_no_route(const Answer &got, std::uint32_t code, const Log &log, std::size_t asserts = 0)
{
    expect_untouched(got, code, asserts);
    EXPECT_EQ(got.log, log);
    EXPECT_EQ(got.allocations, 0U);
}

TEST_F(ImportRouteKey, GivesRdKeyNonKeyAndARecordOfTheKey)
{
    std::uint32_t policy_id = kPolicy;
    std::size_t taken = 0;
    for (const NlriCase &route : ad_routes()) {
        SCOPED_TRACE(route.name);
        const LoggingInstance instance(route.side);
        const Bytes nlri = route.octets();
        const Answer got = parse_key(key_message(nlri, policy_id), instance.ctx);
        if (nlri[1] > 52) {
            expect_no_route(got, kMalformed,
                            {"ParseMcImportRouteKeyTlv failed, ucNlriLen is " + std::to_string(nlri[1])});
            continue;
        }
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(got.allocations, 1U);
        expect_import_block(got.block, route.key, key_record(route.key, policy_id).octets());
        EXPECT_EQ(got.log, success_log(route.key, std::to_string(policy_id)));
        ++policy_id;
        ++taken;
    }
    EXPECT_GT(taken, 20U);
}

TEST_F(ImportRouteKey, LeafRoutesComeWithoutARecordAndWithoutAPolicyId)
{
    std::size_t taken = 0;
    for (const NlriCase &route : leaf_routes()) {
        SCOPED_TRACE(route.name);
        const LoggingInstance instance(route.side);
        const Bytes nlri = route.octets();
        for (const Bytes &behind : {Bytes{}, policy_tlv(kPolicy), bytes("ffff 0000 12")}) {
            const Answer got = parse_key(tlv(11, nlri) + behind, instance.ctx);
            if (nlri[1] > 52) {
                expect_no_route(got, kMalformed,
                                {"ParseMcImportRouteKeyTlv failed, ucNlriLen is " + std::to_string(nlri[1])});
                continue;
            }
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.asserts, 0U);
            EXPECT_EQ(got.allocations, 1U);
            expect_block(got.block, route.key, route.nonkey());
            EXPECT_EQ(got.log, key_log(0));
            ++taken;
        }
    }
    EXPECT_GT(taken, 30U);
}

TEST_F(ImportRouteKey, LeafRoutesThatTheParserRefusesAreReportedAsItsSuccess)
{
    struct Row {
        std::string nlri;
        std::uint32_t code;
        Log log;
    };
    const Row rows[] = {
        {"04 12 01 18" + kRd0 + kO4 + kL4, kMalformed, {"QEL_NGMVPN_ParseIntraIpmsiLeaf, intra ad len err 24"}},
        {"04 13 01 0c" + kRd0 + kO4 + kL4 + "00",
         kMalformed,
         {"QEL_NGMVPN_ParseIntraIpmsiLeaf, ipmsi leaf ad len err 19"}},
        {"04 13 03 0e" + kRd0 + "00 00" + kO4 + "000000",
         kMalformed,
         {"QEL_NGMVPN_ParseSpmsiLeaf, spmsi leaf ad len err 19"}},
        {"04 12 02 0c" + kRd0 + kO4 + kL4, kRefused, {}},
        {"04 12 01 0c" + kRd3 + kO4 + kL4, kRefused, {}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.nlri);
        expect_no_route(parse_key(key_message(bytes(row.nlri), kPolicy), ctx_), row.code, row.log + key_log(row.code));
    }
}

TEST_F(ImportRouteKey, TheLengthArgumentIsNotRead)
{
    const NlriCase route = ipmsi_routes()[0];
    const MessageCopy copy(key_message(route.octets(), kPolicy));
    for (const std::uint32_t length : {0U, 1U, 3U, 0xffffffffU}) {
        SCOPED_TRACE(length);
        const Answer got = answer_of(
            [&](auto result) { return QEL_NGMVPN_ParseMcImportRouteKeyTlv(copy.data(), length, result, ctx_); });
        EXPECT_EQ(got.code, 0U);
        expect_import_block(got.block, route.key, key_record(route.key, kPolicy).octets());
    }
}

TEST_F(ImportRouteKey, TheTlvTypeIsNotChecked)
{
    const NlriCase route = spmsi_routes()[4];
    for (const std::size_t type : {0U, 12U, 16U, 0xffffU}) {
        const Answer got = parse_key(tlv(type, route.octets()) + policy_tlv(kPolicy), ctx_);
        EXPECT_EQ(got.code, 0U);
        expect_import_block(got.block, route.key, key_record(route.key, kPolicy).octets());
    }
}

TEST_F(ImportRouteKey, ComesThroughTheOperation)
{
    const NlriCase route = spmsi_routes()[4];
    const MessageCopy copy(key_message(route.octets(), kPolicy));
    const Answer got =
        answer_of([&](auto result) { return instance_.desc.pfParseMsg(copy.data(), copy.size(), 137, result, ctx_); });
    EXPECT_EQ(got.code, 0U);
    expect_import_block(got.block, route.key, key_record(route.key, kPolicy).octets());
    const QEL_DISPATCH_ENTRY_S *row = QEL_NGMVPN_GetBgpiMsgParseEntry(137);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->pfParseMsg, QEL_NGMVPN_ParseMcImportRouteKeyTlv);
}

TEST_F(ImportRouteKey, NullArgumentsAreReportedOnce)
{
    const MessageCopy copy(key_message(ipmsi_routes()[0].octets(), kPolicy));
    QEL_ROUTE_BLOCK_S *result = nullptr;
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        return QEL_NGMVPN_ParseMcImportRouteKeyTlv(unless(nulls & 1U, copy.data()), copy.size(),
                                                   unless(nulls & 2U, &result), unless(nulls & 4U, ctx_));
    });
    EXPECT_EQ(result, nullptr);
}

TEST_F(ImportRouteKey, RouteLongerThanItsTlvIsRefused)
{
    struct Row {
        std::size_t tlv_len;
        std::uint8_t nlri_len;
        std::uint32_t remain;
    };
    for (const Row &row : {Row{2, 12, 0}, Row{13, 12, 11}, Row{14, 13, 12}, Row{25, 24, 23}, Row{256, 255, 254},
                           Row{2, 1, 0}, Row{10, 9, 8}, Row{54, 53, 52}}) {
        SCOPED_TRACE(row.tlv_len);
        for (const std::uint8_t type : Bytes{1, 3, 4, 9}) {
            expect_no_route(
                parse_key(wire_u16(11) + wire_u16(row.tlv_len) + Bytes{type, row.nlri_len} + Bytes(8), ctx_),
                kBadArgument,
                {"ParseMcImportRouteKeyTlv failed, ucNlriLen(" + std::to_string(row.nlri_len) + "), uiRemainLen(" +
                 std::to_string(row.remain) + ")"});
        }
    }
}

TEST_F(ImportRouteKey, ATlvLengthBelowTheRouteHeaderWrapsAndFitsEveryRoute)
{
    for (const NlriCase &route : {ipmsi_routes()[0], spmsi_routes()[4]}) {
        for (const std::size_t length : {0U, 1U}) {
            const Answer got = parse_key(wire_u16(11) + wire_u16(length) + route.octets() + policy_tlv(kPolicy), ctx_);
            EXPECT_EQ(got.code, 0U);
            expect_import_block(got.block, route.key, key_record(route.key, kPolicy).octets());
        }
    }
    const Answer leaf = parse_key(bytes("000b 0001") + ipmsi_leaf_routes()[0].octets(), ctx_);
    EXPECT_EQ(leaf.code, 0U);
    expect_block(leaf.block, ipmsi_leaf_routes()[0].key, ipmsi_leaf_routes()[0].nonkey());
    for (const std::uint8_t length : Bytes{0, 9, 53, 255}) { // the bounds are still there
        expect_no_route(parse_key(bytes("000b 0000 01") + Bytes{length}, ctx_), kMalformed,
                        {"ParseMcImportRouteKeyTlv failed, ucNlriLen is " + std::to_string(length)});
    }
}

TEST_F(ImportRouteKey, RouteLengthsOutside10To52AreRefusedBeforeTheTypeIsLookedAt)
{
    for (unsigned length = 0; length < 256; ++length) {
        for (const std::uint8_t type : Bytes{0, 1, 3, 4, 9}) {
            SCOPED_TRACE(length);
            SCOPED_TRACE(int{type});
            const Answer got = parse_key(
                key_message(Bytes{type, static_cast<std::uint8_t>(length)} + Bytes(length, 0xfe), kPolicy), ctx_);
            if (length < 10 || length > 52) {
                expect_no_route(got, kMalformed,
                                {"ParseMcImportRouteKeyTlv failed, ucNlriLen is " + std::to_string(length)});
            } else {
                EXPECT_NE(got.code, 0U);
                EXPECT_FALSE(got.stored);
                EXPECT_NE(got.log.back(), "ParseMcImportRouteKeyTlv failed, ucNlriLen is " + std::to_string(length));
            }
        }
    }
}

TEST_F(ImportRouteKey, RouteTypesOtherThan1And3And4AreDiscardedWithTheWordRd)
{
    for (unsigned type = 0; type < 256; ++type) {
        if (type == 1 || type == 3 || type == 4) {
            continue;
        }
        SCOPED_TRACE(type);
        for (const std::uint8_t length : Bytes{10, 12, 22, 52}) {
            const Bytes nlri = Bytes{static_cast<std::uint8_t>(type), length} + Bytes(length);
            expect_no_route(parse_key(key_message(nlri, kPolicy), ctx_), kBadValue,
                            {"ParseMcImportRouteKeyTlv failed, DISCARDERR_RD_TYPE"});
        }
    }
}

TEST_F(ImportRouteKey, IntraRoutesOfLength52AreLeftToTheParserWhichRefusesThem)
{
    for (unsigned length = 10; length <= 52; ++length) {
        if (length == 12 || length == 24) {
            continue;
        }
        SCOPED_TRACE(length);
        const Bytes nlri = Bytes{1, static_cast<std::uint8_t>(length)} + Bytes(length);
        expect_no_route(parse_key(key_message(nlri, kPolicy), ctx_), kMalformed, key_log(kMalformed));
    }
}

TEST_F(ImportRouteKey, RdTypesAbove2AreRefused)
{
    for (const std::string &rd : {kRd3, std::string("0100 0064 00000001"), std::string("ffff ffff ffffffff")}) {
        for (const std::string &route : {"01 0c" + rd + kO4, "01 18" + rd + kO6, "03 16" + rd + kS4 + kG4 + kO4,
                                         "03 0e" + rd + "00 00" + kO4, "03 16" + rd + "21 ffffffff" + kG4 + kO4}) {
            SCOPED_TRACE(route);
            expect_no_route(parse_key(key_message(bytes(route), kPolicy), ctx_), kRefused, key_log(kRefused));
        }
    }
}

TEST_F(ImportRouteKey, PolicyIdsShowAsUnsignedForIntraAndAsSignedForSpmsi)
{
    for (const std::uint32_t policy_id : {0U, 1U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        for (const NlriCase &route : {ipmsi_routes()[0], spmsi_routes()[4]}) {
            const Answer got = parse_key(key_message(route.octets(), policy_id), ctx_);
            expect_import_block(got.block, route.key, key_record(route.key, policy_id).octets());
            EXPECT_EQ(got.log, success_log(route.key, route.key.uiKeyType == 1
                                                          ? std::to_string(policy_id)
                                                          : std::to_string(static_cast<std::int32_t>(policy_id))));
        }
    }
}

TEST_F(ImportRouteKey, AWrongPolicyIdTlvIsReportedAndReadAllTheSame)
{
    for (const NlriCase &route : {ipmsi_routes()[0], ipmsi_routes()[2], spmsi_routes()[4]}) {
        for (const char *head : {"0011 0004", "0000 0004", "1000 0004", "0010 0000", "0010 0005", "0010 0400"}) {
            SCOPED_TRACE(head);
            const Answer got = parse_key(tlv(11, route.octets()) + bytes(head) + wire_u32(kPolicy), ctx_);
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.asserts, 1U);
            expect_import_block(got.block, route.key, key_record(route.key, kPolicy).octets());
            EXPECT_EQ(got.log, success_log(route.key, std::to_string(kPolicy)));
        }
    }
    const Answer both = parse_key(tlv(11, ipmsi_routes()[0].octets()) + bytes("0009 0009") + wire_u32(kPolicy), ctx_);
    EXPECT_EQ(both.code, 0U);
    EXPECT_GE(both.asserts, 1U);
}

TEST_F(ImportRouteKey, ABlockThatCannotBeBuiltLosesTheRouteQuietly)
{
    for (const NlriCase &route :
         {ipmsi_routes()[0], spmsi_routes()[4], ipmsi_leaf_routes()[0], spmsi_leaf_routes()[3]}) {
        SCOPED_TRACE(route.name);
        const platform::FailAllocation fail(0);
        const Answer got = parse_key(key_message(route.octets(), kPolicy), ctx_);
        EXPECT_TRUE(fail.fired());
        expect_untouched(got, 0, 2); // the builder's and its caller's
        EXPECT_EQ(got.log, route.leaf() ? key_log(0) : success_log(route.key, std::to_string(kPolicy)));
    }
}

TEST_F(ImportRouteKey, LeafRoutesHaveTheRdOfTheirKey)
{
    for (const NlriCase &route : {ipmsi_leaf_routes()[0], spmsi_leaf_routes()[3]}) {
        SCOPED_TRACE(route.name);
        const LoggingInstance instance(route.side);
        const Answer got = parse_key(tlv(11, route.octets()), instance.ctx);
        ASSERT_TRUE(got.block);
        EXPECT_EQ(got.block.at(got.block->usKeyOffset)[100], 2U);
    }
}

TEST_F(ImportRouteKey, TheRecordSaysThatTheReplacedSetCameIntoBeingAndNothingElse)
{
    for (const NlriCase &route : {ipmsi_routes()[0], spmsi_routes()[4]}) {
        const Answer got = parse_key(key_message(route.octets(), kPolicy), ctx_);
        ASSERT_TRUE(got.block);
        const Bytes record = got.block.section(got.block->usAttrOffset, got.block->usAttrLen);
        ASSERT_EQ(record.size(), 152U);
        EXPECT_EQ(hex(slice(record, 108, 28)), hex(Bytes(28))); // policy info and original set
        EXPECT_EQ(hex(slice(record, 136, 16)), hex(le32(0x8) + Bytes(12)));
    }
}

TEST_F(ImportRouteKey, TheKeyGoesOutWithItsRecordAsAttribute243UnderFlag2)
{
    for (const NlriCase &route : {ipmsi_routes()[0], spmsi_routes()[4]}) {
        const Answer got = parse_key(key_message(route.octets(), kPolicy), ctx_);
        ASSERT_TRUE(got.block);
        EXPECT_EQ(got.block->ucAttrType, 243U);
        EXPECT_EQ(got.block->ucAttrFlag, 2U);
        EXPECT_EQ(hex(got.block.section(got.block->usAttrOffset, 104)),
                  hex(got.block.section(got.block->usKeyOffset, 104)));
    }
}

TEST_F(ImportRouteKey, TheNonKeyHoldsTheKeyTypeAndNoRd)
{
    for (const NlriCase &route : {ipmsi_routes()[0], spmsi_routes()[4]}) {
        const Answer got = parse_key(key_message(route.octets(), kPolicy), ctx_);
        ASSERT_TRUE(got.block);
        EXPECT_EQ(hex(got.block.section(got.block->usNonKeyOffset, got.block->usNonKeyLen)),
                  hex(le16(0x1) + Bytes(2) + le32(route.key.uiKeyType) + Bytes(92)));
    }
}

TEST_F(ImportRouteKey, AnIntraOriginatorIsAHostOrderWordOrSixteenOctetsAsTheyStand)
{
    const Answer ipv4 = parse_key(key_message(bytes("01 0c" + kRd0 + "01020304"), kPolicy), ctx_);
    ASSERT_TRUE(ipv4.block);
    EXPECT_EQ(hex(ipv4.block.section(ipv4.block->usKeyOffset, 28)),
              hex_of("01000000 00000000 20000000 04030201 00000000 00000000 00000000"));
    const Answer ipv6 =
        parse_key(key_message(bytes("01 18" + kRd0 + "0102030405060708090a0b0c0d0e0f10"), kPolicy), ctx_);
    ASSERT_TRUE(ipv6.block);
    EXPECT_EQ(hex(ipv6.block.section(ipv6.block->usKeyOffset, 28)),
              hex_of("01000000 00000000 80000000 01020304 05060708 090a0b0c 0d0e0f10"));
}

TEST_F(ImportRouteKey, AMessageKindOf12MeansTheRdOfTheKey)
{
    for (const std::uint32_t route_type : {1U, 3U, 4U, 7U}) {
        for (const std::uint8_t fallback : Bytes{1, 77}) {
            std::uint8_t kind = 0xee;
            const platform::Recorder recorder;
            QEL_NGMVPN_ParseMsgTypeSwitchRdType(route_type, &kind, 12, fallback);
            EXPECT_EQ(kind, 2U);
            EXPECT_TRUE(recorder.asserts().empty());
        }
    }
}

TEST_F(ImportRouteKey, NeverReadsPastTheSlack)
{
    std::mt19937 random(137);
    for (int i = 0; i < 4000; ++i) {
        Bytes message(random() % 80);
        for (std::uint8_t &octet : message) {
            octet = random() % 3 == 0 ? static_cast<std::uint8_t>(random()) : std::uint8_t{0};
        }
        if (message.size() > 5 && random() % 4 != 0) {
            message[3] = static_cast<std::uint8_t>(random() % 2 == 0 ? 0 : 255);
            message[4] = std::array<std::uint8_t, 3>{1, 3, 4}[random() % 3];
            message[5] = static_cast<std::uint8_t>(random() % 54);
        }
        parse_key(message, ctx_);
    }
}

// --- steps of message 137 -------------------------------------------------------------------------------------------

using ImportRouteKeyStep = ImportRouteTest;

using KeyParser = decltype(&QEL_NGMVPN_ParseBgpIntraIpmsiAdKey);

struct StepGot {
    Answer answer;
    std::ptrdiff_t moved = 0;
    std::uint32_t more = kUnwritten;
};

StepGot parse_step(KeyParser parser, const Bytes &body, std::uint8_t nlri_len, std::uint32_t remain,
                   QEL_FAMILY_CTX_S *ctx)
{
    const MessageCopy copy(body);
    const std::uint8_t *cursor = copy.data();
    StepGot got;
    got.answer = answer_of([&](auto result) { return parser(&cursor, nlri_len, remain, result, &got.more, ctx); });
    got.moved = cursor - copy.data();
    return got;
}

// The parser of the route with its length octet and body.
struct StepRoute {
    explicit StepRoute(const NlriCase &route)
        : parser(route.key.uiKeyType == 1 ? QEL_NGMVPN_ParseBgpIntraIpmsiAdKey : QEL_NGMVPN_ParseBgpSpmsiAdKey),
          length(route.octets()[1]), body(slice(route.octets(), 2, length))
    {
    }
    KeyParser parser;
    std::uint8_t length;
    Bytes body;
};

TEST_F(ImportRouteKeyStep, MoreIsToldWhereMoreThanTwoOctetsFollow)
{
    for (const NlriCase &route : ad_routes()) {
        SCOPED_TRACE(route.name);
        const StepRoute step(route);
        const LoggingInstance instance(route.side);
        const std::uint32_t length = step.length;
        for (const auto &[remain, more] : {std::pair{length, 0U}, std::pair{length + 1, 0U}, std::pair{length + 2, 0U},
                                           std::pair{length + 3, 1U}, std::pair{0xfffffffeU, 1U}}) {
            SCOPED_TRACE(remain);
            const StepGot got =
                parse_step(step.parser, step.body + policy_tlv(kPolicy), step.length, remain, instance.ctx);
            EXPECT_EQ(got.answer.code, 0U);
            EXPECT_EQ(got.more, more);
            EXPECT_EQ(got.moved, std::ssize(step.body) + 8);
            expect_import_block(got.answer.block, route.key, key_record(route.key, kPolicy).octets());

            Bytes refused = step.body;
            refused[1] = 3;
            const StepGot skipped =
                parse_step(step.parser, refused + policy_tlv(kPolicy), step.length, remain, instance.ctx);
            expect_no_route(skipped.answer, kRefused, {});
            EXPECT_EQ(skipped.more, more);
            EXPECT_EQ(skipped.moved, std::ssize(step.body));
        }
    }
}

TEST_F(ImportRouteKeyStep, IntraTakesTheTwoLengthsAndNothingLongerThanItsTlv)
{
    for (unsigned length = 0; length < 256; ++length) {
        for (const unsigned remain : {0U, 11U, 12U, 13U, 23U, 24U, 25U, 300U}) {
            SCOPED_TRACE(length);
            SCOPED_TRACE(remain);
            const StepGot got = parse_step(QEL_NGMVPN_ParseBgpIntraIpmsiAdKey, Bytes(24) + policy_tlv(kPolicy),
                                           static_cast<std::uint8_t>(length), remain, ctx_);
            if ((length == 12 || length == 24) && remain >= length) {
                EXPECT_EQ(got.answer.code, 0U);
                EXPECT_TRUE(got.answer.stored);
                EXPECT_EQ(got.more, length + 2 < remain ? 1U : 0U);
            } else {
                expect_no_route(got.answer, kMalformed, {});
                EXPECT_EQ(got.moved, 0);
                EXPECT_EQ(got.more, kUnwritten);
            }
        }
    }
}

TEST_F(ImportRouteKeyStep, SpmsiLengthsOutside14To58AreRefusedBeforeTheRdIsRead)
{
    for (unsigned length = 0; length < 256; ++length) {
        SCOPED_TRACE(length);
        const StepGot got = parse_step(QEL_NGMVPN_ParseBgpSpmsiAdKey, bytes(kRd3) + Bytes(60),
                                       static_cast<std::uint8_t>(length), 300, ctx_);
        if (length < 14 || length > 58) {
            expect_no_route(got.answer, kMalformed, {});
            EXPECT_EQ(got.moved, 0);
            EXPECT_EQ(got.more, kUnwritten);
        } else {
            expect_no_route(got.answer, kRefused, {});
            EXPECT_EQ(got.moved, static_cast<std::ptrdiff_t>(length));
            EXPECT_EQ(got.more, 1U);
        }
    }
}

TEST_F(ImportRouteKeyStep, ARouteOfARefusedRdIsSteppedOver)
{
    for (const NlriCase &route : {ipmsi_routes()[0], ipmsi_routes()[1], spmsi_routes()[0], spmsi_routes()[4]}) {
        SCOPED_TRACE(route.name);
        const StepRoute step(route);
        for (const auto &[behind, more] : {std::pair{2U, 0U}, std::pair{3U, 1U}}) {
            const StepGot got =
                parse_step(step.parser, bytes(kRd3) + Bytes(30), step.length, step.length + behind, ctx_);
            EXPECT_EQ(got.answer.code, kRefused);
            EXPECT_EQ(got.moved, std::ptrdiff_t{step.length});
            EXPECT_EQ(got.more, more);
        }
    }
}

TEST_F(ImportRouteKeyStep, SpmsiIsNotHeldAgainstTheLengthOfItsTlv)
{
    const StepRoute step(spmsi_routes()[4]);
    for (const std::uint32_t remain : {0U, 1U, step.length - 1U}) {
        const StepGot got = parse_step(step.parser, step.body + policy_tlv(kPolicy), step.length, remain, ctx_);
        EXPECT_EQ(got.answer.code, 0U);
        EXPECT_TRUE(got.answer.stored);
        EXPECT_EQ(got.more, 0U);
    }
}

TEST_F(ImportRouteKeyStep, SpmsiWildcardsHaveZeroOctetsBehindThemAtFourLengthsAlone)
{
    struct Row {
        std::string wire;
        std::uint8_t family;
    };
    const Row rows[] = {
        {"03 16" + kRd0 + kZ4 + kG4 + kO4, 1}, {"03 22" + kRd0 + kZ4 + kG4 + kO6, 1},
        {"03 2e" + kRd0 + kZ6 + kG6 + kO4, 2}, {"03 3a" + kRd0 + kZ6 + kG6 + kO6, 2},
        {"03 0e" + kRd0 + "00 00" + kO4, 0},   {"03 12" + kRd0 + "00" + kG4 + kO4, 0},
        {"03 1a" + kRd0 + "00 00" + kO6, 0},   {"03 1e" + kRd0 + "00" + kG4 + kO6, 0},
    };
    const LoggingInstance any(kPlain);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.wire);
        const Bytes nlri = bytes(row.wire);
        const StepGot got = parse_step(QEL_NGMVPN_ParseBgpSpmsiAdKey,
                                       slice(nlri, 2, nlri.size() - 2) + policy_tlv(kPolicy), nlri[1], 100, any.ctx);
        EXPECT_EQ(got.answer.code, 0U);
        ASSERT_TRUE(got.answer.block);
        EXPECT_EQ(got.answer.block.at(got.answer.block->usKeyOffset)[27], row.family);
    }
}

TEST_F(ImportRouteKeyStep, SpmsiOriginatorsAreIpv6AtFourLengthsAlone)
{
    const LoggingInstance any(kPlain);
    for (const NlriCase &route : spmsi_routes()) {
        SCOPED_TRACE(route.name);
        const StepRoute step(route);
        const StepGot got = parse_step(step.parser, step.body + policy_tlv(kPolicy), step.length, 100, any.ctx);
        ASSERT_TRUE(got.answer.block);
        const bool ipv6 = step.length == 26 || step.length == 30 || step.length == 34 || step.length == 58;
        EXPECT_EQ(got.answer.block.at(got.answer.block->usKeyOffset)[48], ipv6 ? 128U : 32U);
    }
}

TEST_F(ImportRouteKeyStep, SpmsiPartsMustAddUpToTheLength)
{
    for (const std::string &wire : {"03 12" + kRd0 + "00 00" + kO4, "03 11" + kRd0 + "00" + kG4 + kO4,
                                    "03 13" + kRd0 + kS4 + "00" + kO4, "03 22" + kRd0 + kS4 + "00" + kO6}) {
        SCOPED_TRACE(wire);
        const Bytes nlri = bytes(wire);
        const StepGot got =
            parse_step(QEL_NGMVPN_ParseBgpSpmsiAdKey, slice(nlri, 2, nlri.size() - 2) + Bytes(20), nlri[1], 100, ctx_);
        expect_no_route(got.answer, kMalformed, {});
    }
}

TEST_F(ImportRouteKeyStep, SpmsiAddressesStopTheParseWithTheirOwnCode)
{
    struct Row {
        const char *what;
        std::string wire;
        std::uint32_t code;
    };
    const std::string zero4 = " 20 00000000 ";
    const std::string zero6 = " 80 " + kZero16;
    const Row rows[] = {
        {"source length 33", "03 16" + kRd0 + "21 0a000001" + kG4 + kO4, kMalformed},
        {"source length 33 before the group's zero", "03 16" + kRd0 + "21 0a000001" + zero4 + kO4, kMalformed},
        {"group length 31", "03 16" + kRd0 + kS4 + "1f ef010203" + kO4, kMalformed},
        {"source zero", "03 16" + kRd0 + zero4 + kG4 + kO4, kRefused},
        {"source zero before the group's length", "03 16" + kRd0 + zero4 + "1f ef010203" + kO4, kRefused},
        {"group zero", "03 16" + kRd0 + kS4 + zero4 + kO4, kRefused},
        {"IPv6 source zero", "03 2e" + kRd0 + zero6 + kG6 + kO4, kRefused},
        {"IPv6 group zero", "03 2e" + kRd0 + kS6 + zero6 + kO4, kRefused},
        {"wildcard source with an octet", "03 16" + kRd0 + "00 00000001" + kG4 + kO4, kMalformed},
        {"wildcard group with an octet", "03 16" + kRd0 + kS4 + "00 01000000" + kO4, kMalformed},
        {"sum too small", "03 13" + kRd0 + kS4 + "00" + kO4 + "00", kMalformed},
        {"sum too large", "03 11" + kRd0 + kS4 + "00" + std::string("c0a80a"), kMalformed},
        {"sum of an IPv6 pair at a length of an IPv4 pair", "03 16" + kRd0 + kS6 + kG6, kMalformed},
        {"30 means an IPv6 originator", "03 1e" + kRd0 + "00" + kG6 + kO4, kMalformed},
        {"26 means an IPv6 originator", "03 1a" + kRd0 + kS4 + kG4 + kO4 + "00000000", kMalformed},
    };
    const LoggingInstance any(kPlain);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        const Bytes nlri = bytes(row.wire);
        expect_no_route(
            parse_key(tlv(11, Bytes{nlri[0], nlri[1]} + slice(nlri + Bytes(60), 2, nlri[1])) + Bytes(40), any.ctx),
            row.code, key_log(row.code));
        const StepGot got = parse_step(QEL_NGMVPN_ParseBgpSpmsiAdKey, slice(nlri, 2, nlri.size() - 2) + Bytes(60),
                                       nlri[1], nlri[1], any.ctx);
        expect_no_route(got.answer, row.code, {});
        EXPECT_EQ(got.more, kUnwritten);
    }
}

TEST_F(ImportRouteKeyStep, TheGroupAloneIsHeldAgainstTheInstancesFamily)
{
    struct Row {
        const char *what;
        Side side;
        std::string wire;
        std::uint32_t code;
    };
    const Row rows[] = {
        {"IPv6 group, IPv4 instance", kMvpn4, "03 2e" + kRd0 + kS6 + kG6 + kO4, kRefused},
        {"IPv6 wildcard group, IPv4 instance", kMvpn4, "03 2e" + kRd0 + kS6 + kZ6 + kO4, kRefused},
        {"IPv4 group, IPv6 instance", kMvpn6, "03 16" + kRd0 + kS4 + kG4 + kO4, kRefused},
        {"IPv4 wildcard group, IPv6 instance", kMvpn6, "03 16" + kRd0 + kS4 + kZ4 + kO4, kRefused},
        {"IPv4 group, IPv6 originator, IPv6 instance", kMvrf6, "03 1e" + kRd0 + "00" + kG4 + kO6, kRefused},
        {"IPv4 source, group of no family, IPv6 instance", kMvpn6, "03 12" + kRd0 + kS4 + "00" + kO4, 0},
        {"IPv4 source, group of no family, IPv6 originator", kMvrf6, "03 1e" + kRd0 + kS4 + "00" + kO6, 0},
        {"IPv6 group, instance of no family", kPlain, "03 2e" + kRd0 + kS6 + kG6 + kO4, 0},
        {"wrong sum and wrong family", kMvpn4, "03 2d" + kRd0 + "00" + kG6 + kO4 + "000000000000000000000000000000",
         kMalformed},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        const LoggingInstance instance(row.side);
        const Answer got = parse_key(key_message(bytes(row.wire), kPolicy), instance.ctx);
        EXPECT_EQ(got.code, row.code);
        EXPECT_EQ(got.stored, row.code == 0);
        EXPECT_EQ(got.asserts, 0U);
        if (row.code != 0) {
            EXPECT_EQ(got.log, key_log(row.code));
        }
    }
}

TEST_F(ImportRouteKeyStep, NullArgumentsAreReportedOnce)
{
    const MessageCopy copy(slice(ipmsi_routes()[0].octets(), 2, 12) + policy_tlv(kPolicy));
    for (const KeyParser parser : {QEL_NGMVPN_ParseBgpIntraIpmsiAdKey, QEL_NGMVPN_ParseBgpSpmsiAdKey}) {
        QEL_ROUTE_BLOCK_S *result = nullptr;
        std::uint32_t more = kUnwritten;
        const std::uint8_t *cursor = copy.data();
        expect_null_arguments_refused(4, [&](unsigned nulls) {
            return parser(unless(nulls & 1U, &cursor), 12, 12, unless(nulls & 2U, &result), unless(nulls & 4U, &more),
                          unless(nulls & 8U, ctx_));
        });
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(more, kUnwritten);
        EXPECT_EQ(cursor, copy.data());
    }
}

TEST_F(ImportRouteKeyStep, AFailedBlockLeavesTheMoreWord)
{
    for (const NlriCase &route : {ipmsi_routes()[0], spmsi_routes()[4]}) {
        const StepRoute step(route);
        const platform::FailAllocation fail(0);
        const StepGot got = parse_step(step.parser, step.body + policy_tlv(kPolicy), step.length, 300, ctx_);
        EXPECT_TRUE(fail.fired());
        expect_untouched(got.answer, 0, 2);
        EXPECT_EQ(got.more, kUnwritten);
        EXPECT_EQ(got.moved, std::ssize(step.body) + 8);
    }
}

TEST_F(ImportRouteKeyStep, RdsOfTheThreeTypesGoToTheRecordAndToTheKey)
{
    for (const auto &[wire, rd] : {std::pair{kRd0, rd_a()}, std::pair{kRd1, rd_b()}, std::pair{kRd2, rd_c()}}) {
        const MessageCopy copy(bytes(wire));
        const std::uint8_t *cursor = copy.data();
        auto got = zeroed<QEL_RD_VALUE_S>();
        auto key = zeroed<QEL_NGMVPN_KEY_S>();
        key.uiKeyType = 3;
        EXPECT_EQ(QEL_NGMVPN_ParseBgpRd(&cursor, &got, sizeof(got), &key), 0U);
        EXPECT_EQ(cursor, copy.data() + 8);
        EXPECT_EQ(hex(bytes_of(got)), hex(bytes_of(rd)));
        EXPECT_EQ(hex(bytes_of(key)), hex(bytes_of(empty_key(3, rd))));
    }
}

TEST_F(ImportRouteKeyStep, AnRdTypeAbove2LeavesCursorAndKey)
{
    for (const std::string &wire : {kRd3, std::string("8000 0064 00000001"), std::string("0300 0064 00000001")}) {
        const MessageCopy copy(bytes(wire));
        const std::uint8_t *cursor = copy.data();
        auto got = zeroed<QEL_RD_VALUE_S>();
        auto key = zeroed<QEL_NGMVPN_KEY_S>();
        EXPECT_EQ(QEL_NGMVPN_ParseBgpRd(&cursor, &got, sizeof(got), &key), kRefused);
        EXPECT_EQ(cursor, copy.data());
        EXPECT_EQ(hex(bytes_of(key)), hex(Bytes(104)));
    }
}

TEST_F(ImportRouteKeyStep, ThePolicyIdIsReadBehindItsHeader)
{
    for (const auto &[wire, asserts] : {std::pair{"0010 0004 01020304", 0U}, std::pair{"0011 0004 01020304", 1U},
                                        std::pair{"0010 0003 01020304", 1U}}) {
        const MessageCopy copy(bytes(wire));
        const std::uint8_t *cursor = copy.data();
        auto record = zeroed<QEL_NGMVPN_IMPORT_ATTR_S>();
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_ParseBgpPolicyID(&cursor, &record), 0U);
        EXPECT_EQ(cursor, copy.data() + 8);
        EXPECT_EQ(record.uiPolicyId, 0x01020304U);
        EXPECT_EQ(recorder.asserts().size(), asserts);
    }
}

TEST_F(ImportRouteKeyStep, TheBlockHasTheSectionsThatAreGiven)
{
    const QEL_NGMVPN_KEY_S key = intra_key(rd_b(), o4());
    auto record = zeroed<QEL_NGMVPN_IMPORT_ATTR_S>();
    record.stKey = key;
    record.uiPolicyId = kPolicy;
    const QEL_NGMVPN_IMPORT_ATTR_S *const held = &record;
    auto nonkey = zeroed<QEL_NGMVPN_NONKEY_S>();
    nonkey.usFlags = 1;
    const QEL_RD_VALUE_S rd = rd_c();
    for (unsigned given = 0; given < 8; ++given) {
        SCOPED_TRACE(given);
        std::uint32_t more = kUnwritten;
        const Answer got = answer_of([&](auto result) {
            return QEL_NGMVPN_OutPutNlriKey((given & 1U) != 0 ? held : nullptr, (given & 2U) != 0 ? &nonkey : nullptr,
                                            (given & 4U) != 0 ? &rd : nullptr, 12, 15, result, &more, ctx_);
        });
        if (given == 0) {
            expect_untouched(got, kNull, 1);
            EXPECT_EQ(more, kUnwritten);
            continue;
        }
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(more, 1U);
        ASSERT_TRUE(got.block);
        const QEL_ROUTE_BLOCK_S &head = *got.block.get();
        EXPECT_EQ(head.uiValidMask,
                  ((given & 1U) != 0 ? 0xaU : 0U) | ((given & 2U) != 0 ? 0x4U : 0U) | ((given & 4U) != 0 ? 0x1U : 0U));
        EXPECT_EQ(head.usRdLen, (given & 4U) != 0 ? 8 : 0);
        EXPECT_EQ(head.usKeyLen, (given & 1U) != 0 ? 104 : 0);
        EXPECT_EQ(head.usNonKeyLen, (given & 2U) != 0 ? 100 : 0);
        EXPECT_EQ(head.usAttrLen, (given & 1U) != 0 ? 152 : 0);
        EXPECT_EQ(head.ucAttrFlag, (given & 1U) != 0 ? 2 : 0);
        EXPECT_EQ(head.ucAttrType, (given & 1U) != 0 ? 243 : 0);
        if ((given & 1U) != 0) {
            EXPECT_EQ(hex(got.block.section(head.usKeyOffset, 104)), hex(bytes_of(key)));
            EXPECT_EQ(hex(got.block.section(head.usAttrOffset, 152)), hex(bytes_of(record)));
        }
        if ((given & 4U) != 0) {
            EXPECT_EQ(hex(got.block.section(head.usRdOffset, 8)), hex(bytes_of(rd)));
        }
    }
}

TEST_F(ImportRouteKeyStep, TheBlockStepReportsNullArgumentsOnce)
{
    const auto record = zeroed<QEL_NGMVPN_IMPORT_ATTR_S>();
    const QEL_NGMVPN_IMPORT_ATTR_S *const held = &record;
    QEL_ROUTE_BLOCK_S *result = nullptr;
    std::uint32_t more = kUnwritten;
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        return QEL_NGMVPN_OutPutNlriKey(held, nullptr, nullptr, 12, 15, &result, unless(nulls & 1U, &more),
                                        unless(nulls & 2U, ctx_));
    });
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(more, kUnwritten);
}

TEST_F(ImportRouteKeyStep, TheMoreWordOfTheBlockDoesNotWrapAt256)
{
    const auto record = zeroed<QEL_NGMVPN_IMPORT_ATTR_S>();
    const QEL_NGMVPN_IMPORT_ATTR_S *const held = &record;
    for (const std::array<std::uint32_t, 3> &row :
         {std::array{255U, 256U, 0U}, std::array{255U, 257U, 0U}, std::array{255U, 258U, 1U}, std::array{254U, 2U, 0U},
          std::array{12U, 14U, 0U}, std::array{12U, 15U, 1U}}) {
        std::uint32_t more = kUnwritten;
        const Answer got = answer_of([&](auto result) {
            return QEL_NGMVPN_OutPutNlriKey(held, nullptr, nullptr, static_cast<std::uint8_t>(row[0]), row[1], result,
                                            &more, ctx_);
        });
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(more, row[2]) << row[0] << ' ' << row[1];
    }
}

// --- rows of message 138 --------------------------------------------------------------------------------------------

using ImportRouteList = ImportRouteTest;

struct RowExpected {
    std::uint32_t type;
    const char *name;
    std::size_t len_at;
    std::size_t data_at;
    decltype(QEL_NGMVPN_NOKEY_TLV_S::pfParse) parse;
};

#define QEL_TEST_PLACES(length, data) offsetof(QEL_NGMVPN_SEG_NOKEY_S, length), offsetof(QEL_NGMVPN_SEG_NOKEY_S, data)
const std::array<RowExpected, 9> kRows{{
    {13, "TLV_QEL_MCAST_XRMI_TLV_RT_IMPORT", QEL_TEST_PLACES(usRtImportLen, pucRtImport),
     QEL_NGMVPN_ParseRoutePathExtComTlv},
    {19, "TLV_QEL_MCAST_XRMI_TLV_ORIGI_SNH", QEL_TEST_PLACES(usOrigSnhLen, pucOrigSnh),
     QEL_NGMVPN_ParseRoutePathExtComTlv},
    {18, "TLV_QEL_MCAST_XRMI_TLV_ORIGI_PMSI_RPL_INFO", QEL_TEST_PLACES(usPlyInfoLen, pucPlyInfo),
     QEL_NGMVPN_ParsePmsiRplInfo},
    {20, "TLV_QEL_MCAST_XRMI_TLV_ORIGI_PMSI", QEL_TEST_PLACES(usOrigPmsiLen, pucOrigPmsi),
     QEL_NGMVPN_ParseRoutePathPmsiTlv},
    {15, "TLV_QEL_MCAST_XRMI_TLV_SNH", QEL_TEST_PLACES(usSnhLen, pucSnh), QEL_NGMVPN_ParseRoutePathExtComTlv},
    {12, "TLV_QEL_MCAST_XRMI_TLV_PMSI", QEL_TEST_PLACES(usPmsiLen, pucPmsi), QEL_NGMVPN_ParseRoutePathPmsiTlv},
    {22, "TLV_QEL_MCAST_XRMI_TLV_RT6_IMPORT", QEL_TEST_PLACES(usRt6ImportLen, pucRt6Import),
     QEL_NGMVPN_ParseRoutePathIPv6ExtComTlv},
    {23, "TLV_QEL_MCAST_XRMI_TLV_PREFIX_SID", QEL_TEST_PLACES(usPrefixSidLen, pucPrefixSid),
     QEL_NGMVPN_ParseRoutePathPfxSidTlv},
    {24, "TLV_QEL_MCAST_XRMI_TLV_MSID", QEL_TEST_PLACES(usMsidLen, pucMsid), QEL_NGMVPN_ParseRoutePathMsidTlv},
}};
#undef QEL_TEST_PLACES

std::uint8_t *&data_of(QEL_NGMVPN_SEG_NOKEY_S &record, std::size_t row)
{
    return (&record.pucRtImport)[row];
}

std::uint16_t length_of(const QEL_NGMVPN_SEG_NOKEY_S &record, std::size_t row)
{
    return (&record.usRtImportLen)[row];
}

// The one row holds the octets, the others nothing.
void expect_held(QEL_NGMVPN_SEG_NOKEY_S &record, std::size_t row, const Bytes &held)
{
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        SCOPED_TRACE(i);
        if (i != row) {
            EXPECT_EQ(data_of(record, i), nullptr);
            EXPECT_EQ(length_of(record, i), 0U);
            continue;
        }
        ASSERT_NE(data_of(record, i), nullptr);
        ASSERT_EQ(length_of(record, i), held.size());
        EXPECT_EQ(hex({data_of(record, i), held.size()}), hex(held));
    }
}

bool moves_the_cursor(const Part &part)
{
    return part.type != 23 && part.type != 24;
}

std::string failed_line(std::size_t row, std::size_t length)
{
    return std::string("ParseMcImportRouteNoKeyTlv fail, ") + kRows[row].name + ", usTlvLen(" + std::to_string(length) +
           "), usAttrLen(0).";
}

struct ElementGot {
    std::uint32_t code = 0;
    std::ptrdiff_t moved = 0;
    std::size_t asserts = 0;
    Log log;
};

ElementGot read_element(std::size_t type, const Bytes &value, std::size_t length, QEL_NGMVPN_SEG_NOKEY_S &record,
                        QEL_FAMILY_CTX_S *ctx)
{
    const MessageCopy copy(value);
    const std::uint8_t *cursor = copy.data();
    const platform::Recorder recorder;
    ElementGot got;
    got.code = QEL_NGMVPN_ParseRouteNokeyTlvElement(static_cast<std::uint16_t>(type), &record, &cursor,
                                                    static_cast<std::uint16_t>(length), ctx);
    got.moved = cursor - copy.data();
    got.asserts = recorder.asserts().size();
    got.log = log_of(recorder);
    return got;
}

TEST_F(ImportRouteList, NineRowsNameTheirTlvsPlacesAndReaders)
{
    static_assert(std::size(g_qelNgmvpnParseRouteNokeyTlvArgMap) == 9);
    for (std::uint32_t i = 0; i < 9; ++i) {
        SCOPED_TRACE(i);
        const QEL_NGMVPN_NOKEY_TLV_S &row = g_qelNgmvpnParseRouteNokeyTlvArgMap[i];
        EXPECT_EQ(row.uiTlvType, kRows[i].type);
        EXPECT_EQ(row.uiIndex, i);
        EXPECT_STREQ(row.pszName, kRows[i].name);
        EXPECT_EQ(row.uiLenOffset, kRows[i].len_at);
        EXPECT_EQ(row.uiDataOffset, kRows[i].data_at);
        EXPECT_EQ(row.pfParse, kRows[i].parse);
    }
}

TEST_F(ImportRouteList, EveryRowIsCarriedToItsOwnPlace)
{
    const std::vector<Part> parts = all_parts();
    for (std::size_t i = 0; i < parts.size(); ++i) {
        SCOPED_TRACE(parts[i].type);
        QEL_NGMVPN_SEG_NOKEY_S record{};
        const ElementGot got = read_element(parts[i].type, parts[i].value, parts[i].value.size(), record, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(got.log, Log{});
        EXPECT_EQ(got.moved, moves_the_cursor(parts[i]) ? std::ssize(parts[i].value) : 0);
        expect_held(record, i, parts[i].held);
        QEL_NGMVPN_FreeSegNokeyStc(&record, ctx_);

        const MessageCopy copy(parts[i].octets());
        QEL_NGMVPN_SEG_NOKEY_S whole{};
        EXPECT_EQ(QEL_NGMVPN_ParseRouteNokeyTlv(copy.data(), static_cast<std::uint16_t>(copy.size()), &whole, ctx_),
                  0U);
        expect_held(whole, i, parts[i].held);
        QEL_NGMVPN_FreeSegNokeyStc(&whole, ctx_);
    }
}

TEST_F(ImportRouteList, ATlvThatComesTwiceLeavesTheFirstAllocationBehind)
{
    const std::vector<Part> parts = all_parts();
    for (std::size_t i = 0; i < parts.size(); ++i) {
        SCOPED_TRACE(parts[i].type);
        const LentBuffer lent(ctx_); // so that the accounts show every buffer
        const std::int64_t before = live();
        QEL_NGMVPN_SEG_NOKEY_S record{};
        read_element(parts[i].type, parts[i].value, parts[i].value.size(), record, ctx_);
        std::uint8_t *first = data_of(record, i);
        ASSERT_NE(first, nullptr);
        const ElementGot got = read_element(parts[i].type, parts[i].value, parts[i].value.size(), record, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_NE(data_of(record, i), first);
        expect_held(record, i, parts[i].held);
        QEL_NGMVPN_FreeSegNokeyStc(&record, ctx_);
        EXPECT_EQ(live(), before + 1);
        ZVK_Free_F(first, __FILE__, __LINE__);
        EXPECT_EQ(live(), before);
    }
}

TEST_F(ImportRouteList, AFailedRowIsLoggedAndPassedOverWithItsCursorWhereItWas)
{
    const std::vector<Part> parts = all_parts();
    const std::array<Bytes, 9> bad{Bytes(7),           Bytes(12), {},
                                   bytes("0001 0203"), Bytes(9),  bytes("02 01 000001") + Bytes(12),
                                   Bytes(21),          Bytes(27), Bytes(21)};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i == 2) { // only memory can fail it
            continue;
        }
        SCOPED_TRACE(parts[i].type);
        QEL_NGMVPN_SEG_NOKEY_S record{};
        const ElementGot got = read_element(parts[i].type, bad[i], bad[i].size(), record, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.moved, 0);
        EXPECT_EQ(got.log, Log{failed_line(i, bad[i].size())});
        expect_held(record, kRows.size(), {});
    }
}

TEST_F(ImportRouteList, ARowWithoutMemoryIsLoggedAndPassedOver)
{
    const std::vector<Part> parts = all_parts();
    for (std::size_t i = 0; i < parts.size(); ++i) {
        SCOPED_TRACE(parts[i].type);
        const LentBuffer lent(ctx_);
        QEL_NGMVPN_SEG_NOKEY_S record{};
        const platform::FailAllocation fail(0);
        const ElementGot got = read_element(parts[i].type, parts[i].value, parts[i].value.size(), record, ctx_);
        EXPECT_TRUE(fail.fired());
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.moved, 0);
        EXPECT_EQ(got.log, Log{failed_line(i, parts[i].value.size())});
        expect_held(record, kRows.size(), {});
    }
}

TEST_F(ImportRouteList, AFailedRowKeepsWhatAnEarlierTlvOfItsTypeBrought)
{
    QEL_NGMVPN_SEG_NOKEY_S record{};
    read_element(15, snh_part().value, 8, record, ctx_);
    const ElementGot got = read_element(15, Bytes(7), 7, record, ctx_);
    EXPECT_EQ(got.log, Log{failed_line(4, 7)});
    expect_held(record, 4, snh_part().held);
    QEL_NGMVPN_FreeSegNokeyStc(&record, ctx_);
}

TEST_F(ImportRouteList, UnknownTypesAreReportedAndAnswered1)
{
    for (unsigned type = 0; type < 0x10000; type += type < 300 ? 1 : 251) {
        if (std::any_of(kRows.begin(), kRows.end(), [&](const RowExpected &row) { return row.type == type; })) {
            continue;
        }
        SCOPED_TRACE(type);
        QEL_NGMVPN_SEG_NOKEY_S record{};
        const ElementGot got = read_element(type, Bytes(8), 8, record, ctx_);
        EXPECT_EQ(got.code, kFailed);
        EXPECT_EQ(got.moved, 0);
        EXPECT_EQ(got.asserts, 1U);
        EXPECT_EQ(got.log, Log{});
        expect_held(record, kRows.size(), {});
    }
}

TEST_F(ImportRouteList, PolicyInfoIsTwelveOctetsWhateverItsLengthSays)
{
    const Part part = ply_part();
    for (const std::uint16_t length : std::initializer_list<std::uint16_t>{0, 1, 4, 11, 12, 13, 40, 0xffff}) {
        SCOPED_TRACE(length);
        const MessageCopy copy(part.value);
        const std::uint8_t *cursor = copy.data();
        std::uint16_t held_len = 0;
        std::uint8_t *held = QEL_NGMVPN_ParsePmsiRplInfo(&cursor, length, &held_len, ctx_);
        ASSERT_NE(held, nullptr);
        EXPECT_EQ(held_len, 12U);
        EXPECT_EQ(hex({held, 12}), hex(part.held));
        EXPECT_EQ(cursor, copy.data() + 12);
        void *mem = held;
        QEL_NGMVPN_Free(&mem, ctx_);
    }
}

TEST_F(ImportRouteList, PolicyInfoKeepsTheTypesOneOctet)
{
    const MessageCopy copy(bytes("fe ffffff 01020304 a1a2a3a4"));
    const std::uint8_t *cursor = copy.data();
    std::uint16_t held_len = 0;
    dirty_the_heap(12);
    const LentBuffer lent(ctx_);
    void *held = QEL_NGMVPN_ParsePmsiRplInfo(&cursor, 12, &held_len, ctx_);
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(hex({static_cast<std::uint8_t *>(held), 12}), hex_of("fe000000 04030201 a4a3a2a1"));
    QEL_NGMVPN_Free(&held, ctx_);
}

TEST_F(ImportRouteList, FreeingTakesWhatIsHeldAndNothingElse)
{
    const platform::Recorder recorder;
    QEL_NGMVPN_SEG_NOKEY_S record{};
    QEL_NGMVPN_FreeSegNokeyStc(&record, ctx_);
    expect_held(record, kRows.size(), {});
    const std::int64_t before = live();
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        data_of(record, i) = static_cast<std::uint8_t *>(QEL_NGMVPN_Malloc(ctx_, 16));
    }
    EXPECT_EQ(live(), before + 8); // the first is the inline buffer
    QEL_NGMVPN_FreeSegNokeyStc(&record, ctx_);
    EXPECT_EQ(live(), before);
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        EXPECT_EQ(data_of(record, i), nullptr);
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

// --- the list of message 138 ----------------------------------------------------------------------------------------

struct ListGot {
    std::uint32_t code = 0;
    QEL_NGMVPN_SEG_NOKEY_S record{};
    std::size_t asserts = 0;
    Log log;
};

ListGot read_list(const Bytes &message, QEL_FAMILY_CTX_S *ctx)
{
    const MessageCopy copy(message);
    ListGot got;
    const platform::Recorder recorder;
    got.code = QEL_NGMVPN_ParseRouteNokeyTlv(copy.data(), static_cast<std::uint16_t>(copy.size()), &got.record, ctx);
    got.asserts = recorder.asserts().size();
    got.log = log_of(recorder);
    return got;
}

std::string invalid_line(std::size_t length, std::size_t remain)
{
    const std::string len = std::to_string(length);
    return "ParseMcImportRouteNoKeyTlv fail, parse para invalid,usTlvLen(" + len + "), usRemainLen(" +
           std::to_string(remain) + "), usTlvLen(" + len + ").";
}

// Refused, and nothing held any more.
void expect_list_refused(ListGot &got, const Log &log)
{
    EXPECT_EQ(got.code, kBadTlv);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_EQ(got.log, log);
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        EXPECT_EQ(data_of(got.record, i), nullptr);
    }
}

TEST_F(ImportRouteList, FewerThanFourOctetsAreRefused)
{
    for (std::size_t length = 0; length < 4; ++length) {
        SCOPED_TRACE(length);
        const Bytes message = slice(bytes("000f 0008"), 0, length);
        const Log log{"ParseMcImportRouteNoKeyTlv fail, usRemainLen is " + std::to_string(length)};
        ListGot got = read_list(message, ctx_);
        expect_list_refused(got, log);
        const NoKeyGot whole = parse_nokey(message, nullptr, ctx_);
        EXPECT_EQ(whole.code, kBadTlv);
        EXPECT_EQ(whole.asserts, 1U);
        EXPECT_EQ(whole.log, log);
        EXPECT_EQ(whole.result, nullptr);
    }
}

TEST_F(ImportRouteList, APaddingOfFourIsRefused)
{
    ListGot got = read_list(bytes("0000 0000"), ctx_);
    expect_list_refused(got, {invalid_line(0, 0)});
    const NoKeyGot whole = parse_nokey(bytes("0000 0000"), nullptr, ctx_);
    EXPECT_EQ(whole.code, kBadTlv);
    EXPECT_EQ(whole.asserts, 1U);
    EXPECT_EQ(whole.log, Log{invalid_line(0, 0)});
}

TEST_F(ImportRouteList, ALengthThatIsZeroOrPassesTheListIsRefusedAndWhatWasReadIsFreed)
{
    struct Row {
        std::string list;
        std::size_t length;
        std::size_t remain;
    };
    const Row rows[] = {
        {"000f 0008", 8, 0},
        {"000f 0001", 1, 0},
        {"000f 0000 01", 0, 1},
        {"000f 0000 0102030405", 0, 5},
        {"000f 0009" + kSnhArrived, 9, 8},
        {"000f ffff" + kSnhArrived, 65535, 8},
        {"0063 0009" + kSnhArrived, 9, 8}, // before the type is looked at
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.list);
        ListGot alone = read_list(bytes(row.list), ctx_);
        expect_list_refused(alone, {invalid_line(row.length, row.remain)});
        const Bytes behind = orig_snh_part().octets() + ply_part().octets() + orig_pmsi_part().octets() +
                             rt6_part().octets() + bytes(row.list);
        if (bytes(row.list).size() < 5) {
            continue; // too short to be looked at behind another TLV
        }
        ListGot later = read_list(behind, ctx_);
        expect_list_refused(later, {invalid_line(row.length, row.remain)});
        const NoKeyGot whole = parse_nokey(behind, nullptr, ctx_);
        EXPECT_EQ(whole.code, kBadTlv);
        EXPECT_EQ(whole.asserts, 1U);
        EXPECT_EQ(whole.grown, 0);
        EXPECT_EQ(whole.log, Log{invalid_line(row.length, row.remain)});
    }
}

TEST_F(ImportRouteList, FewerThanFiveOctetsBehindATlvAreIgnored)
{
    for (std::size_t trailing = 0; trailing < 5; ++trailing) {
        SCOPED_TRACE(trailing);
        ListGot got = read_list(snh_part().octets() + Bytes(trailing, 0xff), ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(got.log, Log{});
        expect_held(got.record, 4, snh_part().held);
        QEL_NGMVPN_FreeSegNokeyStc(&got.record, ctx_);
    }
    ListGot five = read_list(snh_part().octets() + Bytes(5, 0xff), ctx_);
    expect_list_refused(five, {invalid_line(0xffff, 1)});
}

TEST_F(ImportRouteList, TheLengthOfAMessageIsTakenIn16Bits)
{
    const MessageCopy copy(snh_part().octets());
    for (const auto &[room, expected] : {std::pair{0x10000U, kBadTlv}, std::pair{0x10003U, kBadTlv},
                                         std::pair{0x10000U + copy.size(), kBadArgument}}) {
        const std::uint32_t length = room;
        const std::uint32_t code = expected;
        const Answer got = answer_of([&](auto result) {
            *result = nullptr;
            return QEL_NGMVPN_ParseMcImportRouteNoKeyTlv(copy.data(), length, result, ctx_);
        });
        EXPECT_EQ(got.code, code);
        EXPECT_EQ(got.asserts, 1U);
        if (code == kBadTlv) {
            EXPECT_EQ(got.log,
                      Log{"ParseMcImportRouteNoKeyTlv fail, usRemainLen is " + std::to_string(length & 0xffff)});
        }
    }
}

TEST_F(ImportRouteList, AnyOrderIsReadAndOneTlvMayFollowAnother)
{
    std::vector<Part> parts{rt_import_part(), orig_snh_part(), ply_part(), orig_pmsi_part(bier6()),
                            snh_part(),       pmsi_part(),     rt6_part()};
    for (int turn = 0; turn < 7; ++turn) {
        std::rotate(parts.begin(), parts.begin() + 1, parts.end());
        for (const bool back : {false, true}) {
            std::vector<Part> list = parts;
            if (back) {
                std::reverse(list.begin(), list.end());
            }
            ListGot got = read_list(list_message(list), ctx_);
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.log, Log{});
            for (const Part &part : list) {
                const auto row = static_cast<std::size_t>(
                    std::find_if(kRows.begin(), kRows.end(), [&](const auto &r) { return r.type == part.type; }) -
                    kRows.begin());
                ASSERT_NE(data_of(got.record, row), nullptr);
                ASSERT_EQ(length_of(got.record, row), part.held.size());
                EXPECT_EQ(hex({data_of(got.record, row), part.held.size()}), hex(part.held));
            }
            QEL_NGMVPN_FreeSegNokeyStc(&got.record, ctx_);
        }
    }
}

TEST_F(ImportRouteList, BehindAFailedTlvTheNextHeaderIsReadFromItsValue)
{
    // a tunnel of four octets, below the minimum; they are the header of a policy info
    const Bytes message = bytes("0014 0004 0012 000c") + ply_part().value + Bytes(4, 0xff);
    ListGot got = read_list(message, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    EXPECT_EQ(got.log, Log{failed_line(3, 4)});
    expect_held(got.record, 2, ply_part().held);
    QEL_NGMVPN_FreeSegNokeyStc(&got.record, ctx_);

    // the same four octets as a header whose value would pass the list
    ListGot refused = read_list(bytes("0014 0004 000f 0009") + bytes(kSnhArrived), ctx_);
    expect_list_refused(refused, {failed_line(3, 4), invalid_line(9, 4)});
}

TEST_F(ImportRouteList, BehindAPrefixSidOrAnMsidTheNextHeaderIsReadFromItsValue)
{
    ListGot prefix_sid = read_list(prefix_sid_part().octets() + snh_part().octets(), ctx_);
    expect_list_refused(prefix_sid, {invalid_line(0x1900, 8)});

    const LossyInstance lossy;
    const LossOnPurpose loss;
    ListGot msid = read_list(msid_part().octets() + Bytes(0x1200), lossy.ctx); // 0100, 1100
    EXPECT_EQ(msid.code, kFailed);
    EXPECT_EQ(msid.asserts, 1U);
    expect_held(msid.record, 8, msid_part().held);
    QEL_NGMVPN_FreeSegNokeyStc(&msid.record, lossy.ctx);
}

TEST_F(ImportRouteList, APolicyInfoOfAnotherLengthThan12PutsTheCursorOutOfStep)
{
    // too long: the next header is read from the value's octets 12 to 15
    const Bytes longer = bytes("0012 0014") + ply_part().value + bytes("000f 0008 01120a0b") + bytes("0c0d0002");
    ListGot got = read_list(longer + Bytes(4), ctx_);
    EXPECT_EQ(got.code, kBadTlv);
    QEL_NGMVPN_FreeSegNokeyStc(&got.record, ctx_);
    ListGot in_step = read_list(longer + Bytes(12), ctx_);
    EXPECT_EQ(in_step.code, 0U);
    ASSERT_NE(in_step.record.pucSnh, nullptr);
    EXPECT_EQ(hex({in_step.record.pucSnh, 8}), hex(snh_part().held));
    EXPECT_EQ(hex({in_step.record.pucPlyInfo, 12}), hex(ply_part().held));
    QEL_NGMVPN_FreeSegNokeyStc(&in_step.record, ctx_);

    // too short: twelve octets are taken all the same
    ListGot shorter = read_list(bytes("0012 000a") + ply_part().value + snh_part().octets(), ctx_);
    EXPECT_EQ(shorter.code, 0U);
    ASSERT_NE(shorter.record.pucSnh, nullptr);
    EXPECT_EQ(hex({shorter.record.pucSnh, 8}), hex(snh_part().held));
    EXPECT_EQ(hex({shorter.record.pucPlyInfo, 12}), hex(ply_part().held));
    QEL_NGMVPN_FreeSegNokeyStc(&shorter.record, ctx_);
}

TEST_F(ImportRouteList, ThePolicyInfoRunningAheadStopsWhereNoHeaderIsLeft)
{
    for (std::size_t left = 0; left < 4; ++left) {
        SCOPED_TRACE(left);
        ListGot got = read_list(bytes("0012 0001") + ply_part().value + slice(bytes("000f 0008"), 0, left), ctx_);
        EXPECT_EQ(got.code, kBadTlv);
        EXPECT_EQ(got.log, Log{invalid_line(0, 7 + left)}); // no length is read
        EXPECT_EQ(got.record.pucPlyInfo, nullptr);
        const NoKeyGot whole =
            parse_nokey(bytes("0012 0001") + ply_part().value + slice(bytes("000f 0008"), 0, left), nullptr, ctx_);
        EXPECT_EQ(whole.code, kBadTlv);
        EXPECT_EQ(whole.grown, 0);
    }
    ListGot got = read_list(bytes("0012 0001") + ply_part().value + bytes("0000 0000"), ctx_);
    expect_list_refused(got, {invalid_line(0, 11)});
}

TEST_F(ImportRouteList, AValueBehindARunAheadPolicyInfoIsReadFromTheSlackAndNoFurther)
{
    ListGot got = read_list(bytes("0012 0001") + ply_part().value + bytes("000f 0008"), ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    ASSERT_NE(got.record.pucSnh, nullptr);
    EXPECT_EQ(hex({got.record.pucSnh, 8}), hex(Bytes(8, kSlackOctet)));
    QEL_NGMVPN_FreeSegNokeyStc(&got.record, ctx_);

    struct Row {
        int infos; // each takes eleven octets more than it counts
        std::size_t length;
        std::size_t inside; // of the value's octets
        std::uint32_t code;
    };
    const LossyInstance lossy;
    const LossOnPurpose loss; // of the policy infos
    for (const Row &row : {Row{11, 120, 0, 0}, Row{12, 128, 0, 0}, Row{12, 136, 8, 0}, Row{12, 136, 7, kBadTlv},
                           Row{13, 136, 0, kBadTlv}, Row{40, 400, 0, kBadTlv}}) {
        SCOPED_TRACE(row.length);
        SCOPED_TRACE(row.inside);
        Bytes message;
        for (int i = 0; i < row.infos; ++i) {
            message = message + bytes("0012 0001") + ply_part().value;
        }
        message = message + wire_u16(13) + wire_u16(row.length) + Bytes(row.inside, kSlackOctet);
        ListGot far = read_list(message, lossy.ctx);
        EXPECT_EQ(far.code, row.code);
        EXPECT_EQ(far.asserts, row.code == 0 ? 0U : 1U);
        if (row.code == 0) {
            ASSERT_NE(far.record.pucRtImport, nullptr);
            EXPECT_EQ(hex({far.record.pucRtImport, far.record.usRtImportLen}), hex(Bytes(8, kSlackOctet)));
        } else {
            EXPECT_EQ(far.record.pucRtImport, nullptr);
            EXPECT_EQ(far.record.pucPlyInfo, nullptr);
        }
        QEL_NGMVPN_FreeSegNokeyStc(&far.record, lossy.ctx);
    }
    lossy.ctx->uiInlineBufUsed = 0;
}

TEST_F(ImportRouteList, RunningFarAheadNeverReadsPastTheSlack)
{
    const LossyInstance lossy;
    const LossOnPurpose loss;
    for (const std::size_t type : {13U, 15U, 12U, 22U, 23U, 99U}) {
        for (const std::size_t length : {8U, 40U, 120U, 128U, 136U, 160U, 200U, 400U, 1000U}) {
            for (std::size_t behind = 0; behind < 300; behind += 60) {
                SCOPED_TRACE(length);
                Bytes message;
                for (int i = 0; i < 100; ++i) {
                    message = message + bytes("0012 0001") + ply_part().value;
                }
                message = message + wire_u16(type) + wire_u16(length) + Bytes(behind);
                ListGot got = read_list(message, lossy.ctx);
                QEL_NGMVPN_FreeSegNokeyStc(&got.record, lossy.ctx);
            }
        }
    }
    lossy.ctx->uiInlineBufUsed = 0;
}

TEST_F(ImportRouteList, RandomListsNeverReadPastTheSlack)
{
    LossyInstance lossy;
    const LossOnPurpose loss;
    std::mt19937 random(138);
    for (int i = 0; i < 1500; ++i) {
        Bytes message;
        while (message.size() < 200 && random() % 12 != 0) {
            const std::uint32_t type =
                random() % 16 == 0 ? static_cast<std::uint32_t>(random() % 30) : kRows[random() % kRows.size()].type;
            message = message + wire_u16(type) + wire_u16(random() % 40) + Bytes(random() % 30, 0);
            if (message.size() > 4) {
                message[message.size() - 1] = static_cast<std::uint8_t>(random() % 30);
            }
        }
        QEL_ROUTE_BLOCK_S *result = nullptr;
        const NoKeyGot got = parse_nokey(message, result, lossy.ctx);
        if (got.result != nullptr) {
            ZVK_Free_F(got.result, __FILE__, __LINE__);
        }
        lossy.ctx->uiInlineBufUsed = 0;
    }
}

// --- what message 138 becomes ---------------------------------------------------------------------------------------

using ImportRouteAttr = ImportRouteTest;

// The block of message 137, raw: message 138 may free it.
QEL_ROUTE_BLOCK_S *key_block(const NlriCase &route, std::uint32_t policy_id, QEL_FAMILY_CTX_S *ctx)
{
    const MessageCopy copy(key_message(route.octets(), policy_id));
    QEL_ROUTE_BLOCK_S *block = nullptr;
    EXPECT_EQ(QEL_NGMVPN_ParseMcImportRouteKeyTlv(copy.data(), copy.size(), &block, ctx), 0U);
    EXPECT_NE(block, nullptr);
    return block;
}

enum : unsigned { kWithPly = 1, kWithOrigSnh = 2, kWithOrigPmsi = 4, kWithSnh = 8, kWithPmsi = 16 };

std::vector<Part> pmsi_parts(unsigned which, const Tunnel &orig, const Tunnel &next)
{
    std::vector<Part> out;
    const Part parts[] = {ply_part(), orig_snh_part(), orig_pmsi_part(orig), snh_part(), pmsi_part(next)};
    for (unsigned i = 0; i < 5; ++i) {
        if ((which >> i & 1U) != 0) {
            out.push_back(parts[i]);
        }
    }
    return out;
}

ImportRecord completed(const QEL_NGMVPN_KEY_S &key, std::uint32_t policy_id, unsigned which, const Tunnel &orig,
                       const Tunnel &next)
{
    ImportRecord out = key_record(key, policy_id);
    if ((which & kWithPly) != 0) {
        out.ply = {5, 0xc0000201, 0x01020304};
    }
    if ((which & kWithOrigSnh) != 0) {
        out.original.flags |= kHasSnh;
        out.original.snh = host_list(kSnhArrived);
    }
    if ((which & kWithOrigPmsi) != 0) {
        out.original.flags |= kHasPmsi;
        out.original.length = static_cast<std::uint32_t>(orig.record.size());
        out.data = orig.record;
    }
    if ((which & kWithSnh) != 0) {
        out.replaced.flags |= kHasSnh;
        out.replaced.snh = host_list(kSnhReplacing);
    }
    if ((which & kWithPmsi) != 0) {
        out.replaced.flags |= kHasPmsi;
        out.replaced.offset = out.original.length;
        out.replaced.length = static_cast<std::uint32_t>(next.record.size());
        out.data = out.data + next.record;
    }
    return out;
}

TEST_F(ImportRouteAttr, CompletesTheRecordOfTheKeyAndReplacesItsBlock)
{
    for (const NlriCase &route : {ipmsi_routes()[0], ipmsi_routes()[2], spmsi_routes()[4]}) {
        for (unsigned which = 1; which < 32; ++which) {
            SCOPED_TRACE(which);
            QEL_ROUTE_BLOCK_S *old = key_block(route, kPolicy, ctx_);
            const NoKeyGot got = parse_nokey(list_message(pmsi_parts(which, rsvp_te(), mldp())), old, ctx_);
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.asserts, 0U);
            EXPECT_EQ(got.grown, 0); // the old block went
            EXPECT_EQ(got.log, replaced_log(route.key.uiKeyType, 0));
            expect_import_block(Block(got.result), route.key,
                                completed(route.key, kPolicy, which, rsvp_te(), mldp()).octets());
        }
    }
}

TEST_F(ImportRouteAttr, EveryPairOfTunnelsStandsBackToBack)
{
    const NlriCase route = ipmsi_routes()[0];
    for (const Tunnel &orig : all_tunnels()) {
        for (const Tunnel &next : all_tunnels()) {
            dirty_the_heap(static_cast<std::uint32_t>(kFixedLen + orig.record.size() + next.record.size()));
            const NoKeyGot got =
                parse_nokey(list_message(pmsi_parts(31, orig, next)), key_block(route, kPolicy, ctx_), ctx_);
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.asserts, 0U);
            expect_import_block(Block(got.result), route.key, completed(route.key, kPolicy, 31, orig, next).octets());
        }
    }
}

TEST_F(ImportRouteAttr, ComesThroughTheOperation)
{
    const NlriCase route = spmsi_routes()[4];
    const MessageCopy copy(list_message(pmsi_parts(31, bier4(), bier6())));
    QEL_ROUTE_BLOCK_S *block = key_block(route, kPolicy, ctx_);
    EXPECT_EQ(instance_.desc.pfParseMsg(copy.data(), copy.size(), 138, &block, ctx_), 0U);
    expect_import_block(Block(block), route.key, completed(route.key, kPolicy, 31, bier4(), bier6()).octets());
    const QEL_DISPATCH_ENTRY_S *row = QEL_NGMVPN_GetBgpiMsgParseEntry(138);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->pfParseMsg, QEL_NGMVPN_ParseMcImportRouteNoKeyTlv);
}

TEST_F(ImportRouteAttr, NullArgumentsAreReportedOnce)
{
    const MessageCopy copy(snh_part().octets());
    QEL_ROUTE_BLOCK_S *result = nullptr;
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        return QEL_NGMVPN_ParseMcImportRouteNoKeyTlv(unless(nulls & 1U, copy.data()), copy.size(),
                                                     unless(nulls & 2U, &result), unless(nulls & 4U, ctx_));
    });
    EXPECT_EQ(result, nullptr);
}

TEST_F(ImportRouteAttr, OfASnhListTheFirstElementAloneIsTakenAfterSorting)
{
    const NlriCase route = ipmsi_routes()[0];
    const Bytes message = tlv(19, bytes(kSnhArrived + kTarget)) + tlv(15, bytes(kSnhReplacing + kSnhArrived));
    const NoKeyGot got = parse_nokey(message, key_block(route, kPolicy, ctx_), ctx_);
    EXPECT_EQ(got.code, 0U);
    ImportRecord record = completed(route.key, kPolicy, kWithOrigSnh | kWithSnh, {}, {});
    record.original.snh = host_list(kTarget);
    record.replaced.snh = host_list(kSnhReplacing);
    expect_import_block(Block(got.result), route.key, record.octets());
}

struct PlainRow {
    Part part;
    std::uint8_t flag;
    std::uint8_t type;
};

std::vector<PlainRow> plain_rows()
{
    const Bytes long_msid = bytes("01 0019 00" + kSid + "01 0005 00 18 20 0000");
    return {{rt_import_part(), 0, 16},
            {rt6_part(), 3, 25},
            {prefix_sid_part(), 4, 40},
            {msid_part(), 5, 66},
            {{24, long_msid, bytes("18 20 01 00" + kSidHost) + long_msid}, 5, 66}};
}

TEST_F(ImportRouteAttr, APlainAttributeNeedsNoKeyAndOverwritesWhatStoodThere)
{
    for (const PlainRow &row : plain_rows()) {
        SCOPED_TRACE(row.part.type);
        for (const bool with_key : {false, true}) {
            QEL_ROUTE_BLOCK_S *old = with_key ? key_block(ipmsi_routes()[0], kPolicy, ctx_) : nullptr;
            const NoKeyGot got = parse_nokey(row.part.octets(), old, ctx_);
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.asserts, 0U);
            EXPECT_EQ(got.grown, 1); // the old block is still the host's
            EXPECT_EQ(got.log, nokey_log(0));
            ASSERT_NE(got.result, old);
            expect_attribute_block(Block(got.result), row.flag, row.type, hex(row.part.held));
            if (with_key) {
                expect_import_block(Block(old), ipmsi_routes()[0].key,
                                    key_record(ipmsi_routes()[0].key, kPolicy).octets());
            }
        }
    }
}

TEST_F(ImportRouteAttr, TheFirstRowOfThePlainAttributesDecidesAndTheOthersAreDropped)
{
    const std::vector<PlainRow> rows = plain_rows();
    for (std::size_t first = 0; first < rows.size(); ++first) {
        for (std::size_t second = first + 1; second < rows.size(); ++second) {
            if (!moves_the_cursor(rows[first].part)) {
                continue; // nothing can stand behind it
            }
            SCOPED_TRACE(rows[first].part.type);
            SCOPED_TRACE(rows[second].part.type);
            const NoKeyGot got = parse_nokey(rows[first].part.octets() + rows[second].part.octets(), nullptr, ctx_);
            EXPECT_EQ(got.code, 0U);
            expect_attribute_block(Block(got.result), rows[first].flag, rows[first].type, hex(rows[first].part.held));
        }
    }
    const NoKeyGot turned = parse_nokey(rt6_part().octets() + rt_import_part().octets(), nullptr, ctx_);
    expect_attribute_block(Block(turned.result), 0, 16, hex(rt_import_part().held));
}

TEST_F(ImportRouteAttr, ATunnelBesideAPlainAttributeIsDroppedAndTheKeysBlockIsNotConsumed)
{
    for (const PlainRow &row : plain_rows()) {
        SCOPED_TRACE(row.part.type);
        QEL_ROUTE_BLOCK_S *old = key_block(ipmsi_routes()[0], kPolicy, ctx_);
        const NoKeyGot got =
            parse_nokey(list_message(pmsi_parts(31, rsvp_te(), mldp())) + row.part.octets(), old, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.grown, 1);
        EXPECT_EQ(got.log, nokey_log(0));
        expect_attribute_block(Block(got.result), row.flag, row.type, hex(row.part.held));
        expect_import_block(Block(old), ipmsi_routes()[0].key, key_record(ipmsi_routes()[0].key, kPolicy).octets());
    }
}

TEST_F(ImportRouteAttr, WithoutABlockOfTheKeyItIsRefused)
{
    for (const unsigned which : {1U, 8U, 31U}) {
        const NoKeyGot got = parse_nokey(list_message(pmsi_parts(which, rsvp_te(), mldp())), nullptr, ctx_);
        EXPECT_EQ(got.code, kBadArgument);
        EXPECT_EQ(got.result, nullptr);
        EXPECT_EQ(got.asserts, 1U);
        EXPECT_EQ(got.grown, 0);
        EXPECT_EQ(got.log, nokey_log(kBadArgument));
    }
}

TEST_F(ImportRouteAttr, TheLastLineSaysSuccessWhateverTheCode)
{
    const NoKeyGot no_block = parse_nokey(snh_part().octets(), nullptr, ctx_);
    EXPECT_EQ(no_block.log, Log{"ParseMcImportRouteNoKeyTlv success, uiRetCode is 2"});
    const platform::FailAllocation fail(1); // the list's sort scratch comes first
    const NoKeyGot no_memory = parse_nokey(rt_import_part().octets(), nullptr, ctx_);
    EXPECT_TRUE(fail.fired());
    EXPECT_EQ(no_memory.log, Log{"ParseMcImportRouteNoKeyTlv success, uiRetCode is 327681"});
}

TEST_F(ImportRouteAttr, BothLinesOfAReplacementAreWrittenThoughItsBlockCannotBeBuilt)
{
    QEL_ROUTE_BLOCK_S *block = key_block(spmsi_routes()[4], kPolicy, ctx_);
    const Block owner(block);
    QEL_NGMVPN_SEG_NOKEY_S held{};
    const platform::FailAllocation fail(1);
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_OutputImportAttr_(&held, &block, ctx_), kNoMemory);
    EXPECT_EQ(log_of(recorder),
              (Log{"ParseMcImportRouteNoKeyTlv input type(3).", "ParseMcImportRouteNoKeyTlv output type(3)."}));
}

TEST_F(ImportRouteAttr, WhatTheTlvsHeldIsGivenBackBehindTheBlock)
{
    const LentBuffer lent(ctx_); // so that the accounts show every buffer
    const NlriCase route = ipmsi_routes()[0];
    const NoKeyGot replaced =
        parse_nokey(list_message(pmsi_parts(31, rsvp_te(), mldp())), key_block(route, kPolicy, ctx_), ctx_);
    const Block block(replaced.result);
    EXPECT_EQ(replaced.grown, 0);
    const NoKeyGot plain = parse_nokey(snh_part().octets() + rt6_part().octets(), nullptr, ctx_);
    const Block other(plain.result);
    EXPECT_EQ(plain.grown, 1); // the block
}

TEST_F(ImportRouteAttr, EachTlvFillsItsOwnPartOfTheRecordAndSetsItsOwnFlag)
{
    struct Row {
        Part part;
        std::size_t at;
        Bytes octets;
    };
    const Row rows[] = {
        {ply_part(), 108, ply_part().held},
        {orig_snh_part(), 120, le32(0x1) + orig_snh_part().held + Bytes(4)},
        {orig_pmsi_part(), 120, le32(0x2) + Bytes(8) + le16(0) + le16(20)},
        {snh_part(), 136, le32(0x9) + snh_part().held + Bytes(4)},
        {pmsi_part(), 136, le32(0xa) + Bytes(8) + le16(0) + le16(25)},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.part.type);
        const NoKeyGot got = parse_nokey(row.part.octets(), key_block(ipmsi_routes()[0], kPolicy, ctx_), ctx_);
        const Block block(got.result);
        ASSERT_TRUE(block);
        Bytes expected = key_record(ipmsi_routes()[0].key, kPolicy).octets();
        std::copy(row.octets.begin(), row.octets.end(), expected.begin() + static_cast<std::ptrdiff_t>(row.at));
        EXPECT_EQ(hex(block.section(block->usAttrOffset, 152)), hex(expected));
    }
}

TEST_F(ImportRouteAttr, TheReplacedTunnelsOffsetIsTheOriginalOnesLength)
{
    for (const auto &[orig, offset] : {std::pair{rsvp_te(), 20U}, std::pair{bier4(), 16U}, std::pair{bier6(), 28U}}) {
        const NoKeyGot got = parse_nokey(list_message({orig_pmsi_part(orig), pmsi_part()}),
                                         key_block(ipmsi_routes()[0], kPolicy, ctx_), ctx_);
        const Block block(got.result);
        ASSERT_TRUE(block);
        EXPECT_EQ(hex(block.section(block->usAttrOffset, block->usAttrLen)).substr(2 * std::size_t{148}),
                  hex(le16(offset) + le16(25) + orig.record + pmsi_part().held));
    }
}

TEST_F(ImportRouteAttr, ABlockThatIsReplacedIsFreed)
{
    QEL_ROUTE_BLOCK_S *block = key_block(ipmsi_routes()[0], kPolicy, ctx_);
    const std::int64_t before = live();
    QEL_NGMVPN_SEG_NOKEY_S held{};
    EXPECT_EQ(QEL_NGMVPN_OutputImportAttr_(&held, &block, ctx_), 0U);
    EXPECT_EQ(live(), before); // the new one in the old one's stead, the record given back
    const Block owner(block);
}

TEST_F(ImportRouteAttr, AListOfFailedTlvsAloneStillReplacesTheBlock)
{
    const NlriCase route = ipmsi_routes()[0];
    const NoKeyGot got = parse_nokey(tlv(13, Bytes(7)), key_block(route, kPolicy, ctx_), ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.log, Log{failed_line(0, 7)} + replaced_log(1, 0));
    expect_import_block(Block(got.result), route.key, key_record(route.key, kPolicy).octets());
}

TEST_F(ImportRouteAttr, AnUnknownTlvAnswers1WithoutALog)
{
    const NoKeyGot got = parse_nokey(tlv(99, Bytes(8)), nullptr, ctx_);
    EXPECT_EQ(got.code, kFailed);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_EQ(got.log, Log{});
    EXPECT_EQ(got.result, nullptr);
}

TEST_F(ImportRouteAttr, AnUnknownTlvLeavesWhatWasReadUnfreed)
{
    LossyInstance lossy;
    {
        const NoKeyGot inline_one = parse_nokey(snh_part().octets() + tlv(99, Bytes(8)), nullptr, lossy.ctx);
        EXPECT_EQ(inline_one.code, kFailed);
        EXPECT_EQ(inline_one.grown, 0);
        EXPECT_EQ(lossy.ctx->uiInlineBufUsed, 1U);
    }
    const LossOnPurpose loss;
    const NoKeyGot got =
        parse_nokey(list_message(pmsi_parts(31, rsvp_te(), mldp())) + tlv(99, Bytes(8)), nullptr, lossy.ctx);
    EXPECT_EQ(got.code, kFailed);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_EQ(got.grown, 5);
    EXPECT_EQ(got.log, Log{});
}

TEST_F(ImportRouteAttr, ARepeatedTlvLeavesItsFirstReadingUnfreed)
{
    LossyInstance lossy;
    lossy.ctx->uiInlineBufUsed = 1;
    const LossOnPurpose loss;
    for (const Part &part : {snh_part(), orig_snh_part(), ply_part(), orig_pmsi_part(), pmsi_part(), rt6_part()}) {
        SCOPED_TRACE(part.type);
        const NoKeyGot got = parse_nokey(part.octets() + part.octets(), nullptr, lossy.ctx);
        EXPECT_EQ(got.code, part.type == 22 ? 0U : kBadArgument);
        EXPECT_EQ(got.grown, part.type == 22 ? 2 : 1);
        if (got.result != nullptr) {
            ZVK_Free_F(got.result, __FILE__, __LINE__);
        }
    }
}

TEST_F(ImportRouteAttr, EachAllocationFailsOnce)
{
    const NlriCase route = ipmsi_routes()[0];
    // policy info: inline; each SNH: list, sort scratch; each tunnel: record
    struct Row {
        std::uint32_t code;
        Log log;
        std::size_t asserts; // 0: those of the reader are not counted
    };
    const Log other_list{failed_line(1, 8), invalid_line(0xc0a8, 53)};
    const Log other_snh{failed_line(4, 8), invalid_line(0x0a0b, 20)};
    const Row rows[] = {{kBadTlv, other_list, 0},
                        {kBadTlv, other_list, 0},
                        {kBadTlv, {failed_line(3, 17), invalid_line(0xff01, 32)}, 0},
                        {kBadTlv, other_snh, 0},
                        {kBadTlv, other_snh, 0},
                        {0, Log{failed_line(5, 20)} + replaced_log(1, 0), 0},
                        {kOutOfMemory, nokey_log(kOutOfMemory), 1},
                        {kNoMemory, replaced_log(1, kNoMemory), 1}};
    const Bytes message = list_message(pmsi_parts(31, rsvp_te(), mldp()));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(i);
        QEL_ROUTE_BLOCK_S *old = key_block(route, kPolicy, ctx_);
        const platform::FailAllocation fail(i);
        const NoKeyGot got = parse_nokey(message, old, ctx_);
        EXPECT_TRUE(fail.fired());
        EXPECT_EQ(got.code, rows[i].code);
        EXPECT_EQ(got.grown, 0);
        EXPECT_EQ(got.log, rows[i].log);
        if (rows[i].asserts != 0) {
            EXPECT_EQ(got.asserts, rows[i].asserts);
        }
        if (rows[i].code == 0) { // the last tunnel alone is missing
            expect_import_block(Block(got.result), route.key,
                                completed(route.key, kPolicy, 15, rsvp_te(), mldp()).octets());
            continue;
        }
        ASSERT_EQ(got.result, old);
        expect_import_block(Block(old), route.key, key_record(route.key, kPolicy).octets());
    }
    QEL_ROUTE_BLOCK_S *old = key_block(route, kPolicy, ctx_);
    const platform::FailAllocation none_left(std::size(rows));
    const NoKeyGot got = parse_nokey(message, old, ctx_);
    const Block block(got.result);
    EXPECT_EQ(got.code, 0U);
    EXPECT_FALSE(none_left.fired());
}

TEST_F(ImportRouteAttr, APlainAttributeWithoutABlockLeavesTheResult)
{
    for (const PlainRow &row : plain_rows()) {
        SCOPED_TRACE(row.part.type);
        QEL_ROUTE_BLOCK_S *old = key_block(ipmsi_routes()[0], kPolicy, ctx_);
        // the reader's allocations come first
        const std::uint64_t before = allocations();
        const NoKeyGot first = parse_nokey(row.part.octets(), nullptr, ctx_);
        const std::uint64_t count = allocations() - before;
        const Block block(first.result);
        const platform::FailAllocation fail(count - 1);
        const NoKeyGot got = parse_nokey(row.part.octets(), old, ctx_);
        EXPECT_TRUE(fail.fired());
        EXPECT_EQ(got.code, kNoMemory);
        EXPECT_EQ(got.asserts, 1U);
        EXPECT_EQ(got.grown, 0);
        EXPECT_EQ(got.log, nokey_log(kNoMemory));
        ASSERT_EQ(got.result, old);
        const Block still(old);
    }
}

// --- steps of message 138 -------------------------------------------------------------------------------------------

using ImportRouteRecord = ImportRouteTest;

struct RecordGot {
    std::uint32_t code = 0;
    QEL_NGMVPN_IMPORT_ATTR_S *record = nullptr;
    std::uint16_t length = 0;
    std::size_t asserts = 0;
};

RecordGot construct_record(QEL_NGMVPN_SEG_NOKEY_S &held, QEL_ROUTE_BLOCK_S **block, QEL_FAMILY_CTX_S *ctx)
{
    RecordGot got;
    const platform::Recorder recorder;
    got.code = QEL_NGMVPN_ConstructImportAttr(&held, block, &got.record, &got.length, ctx);
    got.asserts = recorder.asserts().size();
    return got;
}

// Buffers that the record only reads; nothing of them is freed.
struct HeldTunnels {
    HeldTunnels(std::size_t orig, std::size_t next) : orig_(Bytes(orig, 0x11)), next_(Bytes(next, 0x22))
    {
        held.pucOrigPmsi = orig == 0 ? nullptr : orig_.data();
        held.usOrigPmsiLen = static_cast<std::uint16_t>(orig);
        held.pucPmsi = next == 0 ? nullptr : next_.data();
        held.usPmsiLen = static_cast<std::uint16_t>(next);
    }
    QEL_NGMVPN_SEG_NOKEY_S held{};

private:
    ExactCopy orig_;
    ExactCopy next_;
};

TEST_F(ImportRouteRecord, MissingBlocksAreReportedAndAnswered2)
{
    QEL_NGMVPN_SEG_NOKEY_S held{};
    QEL_ROUTE_BLOCK_S *none = nullptr;
    for (QEL_ROUTE_BLOCK_S **block : {static_cast<QEL_ROUTE_BLOCK_S **>(nullptr), &none}) {
        const RecordGot got = construct_record(held, block, ctx_);
        EXPECT_EQ(got.code, kBadArgument);
        EXPECT_EQ(got.asserts, 1U);
        EXPECT_EQ(got.record, nullptr);
    }
}

TEST_F(ImportRouteRecord, TheSizeIsTheFixedPartAndBothTunnels)
{
    QEL_ROUTE_BLOCK_S *block = key_block(ipmsi_routes()[0], kPolicy, ctx_);
    const Block owner(block);
    for (const auto &[orig, next] : {std::pair{0U, 0U}, std::pair{20U, 0U}, std::pair{0U, 25U}, std::pair{20U, 25U},
                                     std::pair{0x8000U, 0x7f00U}, std::pair{65383U, 0U}, std::pair{0U, 65383U}}) {
        SCOPED_TRACE(orig);
        SCOPED_TRACE(next);
        HeldTunnels tunnels(orig, next);
        const RecordGot got = construct_record(tunnels.held, &block, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(got.length, kFixedLen + orig + next);
        ASSERT_NE(got.record, nullptr);
        const auto *octets = reinterpret_cast<const std::uint8_t *>(got.record);
        EXPECT_EQ(Bytes(octets + kFixedLen, octets + got.length), Bytes(orig, 0x11) + Bytes(next, 0x22));
        EXPECT_EQ(got.record->stReplacedAttr.usPmsiOffset, next == 0 ? 0U : orig);
        ZVK_Free_F(got.record, __FILE__, __LINE__);
    }
}

TEST_F(ImportRouteRecord, ASizeThatWrapsBelowTheFixedPartIsAFailedAllocation)
{
    QEL_ROUTE_BLOCK_S *block = key_block(ipmsi_routes()[0], kPolicy, ctx_);
    const Block owner(block);
    for (const auto &[orig, next] : {std::pair{65384U, 0U}, std::pair{65535U, 0U}, std::pair{0U, 65535U},
                                     std::pair{0x8000U, 0x7fffU}, std::pair{0x8000U, 0x7f68U}}) {
        SCOPED_TRACE(orig);
        SCOPED_TRACE(next);
        QEL_NGMVPN_SEG_NOKEY_S held{};
        const std::uint64_t before = allocations();
        held.usOrigPmsiLen = static_cast<std::uint16_t>(orig);
        held.usPmsiLen = static_cast<std::uint16_t>(next);
        const RecordGot got = construct_record(held, &block, ctx_);
        EXPECT_EQ(got.code, kOutOfMemory);
        EXPECT_EQ(got.asserts, 1U);
        EXPECT_EQ(got.record, nullptr);
        EXPECT_EQ(allocations(), before);
    }
}

TEST_F(ImportRouteRecord, ASizeThatWrapsToTheFixedPartOrAboveTakesNoMoreThanItHasRoomFor)
{
    QEL_ROUTE_BLOCK_S *block = key_block(ipmsi_routes()[0], kPolicy, ctx_);
    const Block owner(block);
    struct Row {
        std::size_t orig;
        std::size_t next;
        std::size_t size;
    };
    for (const Row &row : {Row{0x8000, 0x8000, 152}, Row{0xffff, 21, 172}, Row{20, 0xfff0, 156}, Row{4, 0xffff, 155},
                           Row{3, 0xffff, 154}, Row{0xfffe, 4, 154}}) {
        SCOPED_TRACE(row.orig);
        HeldTunnels tunnels(row.orig, row.next);
        const RecordGot got = construct_record(tunnels.held, &block, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.length, row.size);
        ASSERT_NE(got.record, nullptr);
        EXPECT_EQ(got.asserts, 2U);
        const auto *octets = reinterpret_cast<const std::uint8_t *>(got.record);
        EXPECT_EQ(Bytes(octets + kFixedLen, octets + got.length), Bytes(row.size - kFixedLen));
        ZVK_Free_F(got.record, __FILE__, __LINE__);
    }
}

TEST_F(ImportRouteRecord, WithoutMemoryWhatTheTlvsHeldIsFreed)
{
    QEL_ROUTE_BLOCK_S *block = key_block(ipmsi_routes()[0], kPolicy, ctx_);
    const Block owner(block);
    QEL_NGMVPN_SEG_NOKEY_S held{};
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        data_of(held, i) = static_cast<std::uint8_t *>(QEL_NGMVPN_Malloc(ctx_, 16));
    }
    const std::int64_t before = live();
    const platform::FailAllocation fail(0);
    const RecordGot got = construct_record(held, &block, ctx_);
    EXPECT_TRUE(fail.fired());
    EXPECT_EQ(got.code, kOutOfMemory);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_EQ(live(), before - 8);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        EXPECT_EQ(data_of(held, i), nullptr);
    }
}

TEST_F(ImportRouteRecord, ASecondMessageStartsFromTheFixedPartOfTheFirst)
{
    const NlriCase route = ipmsi_routes()[0];
    const NoKeyGot first =
        parse_nokey(list_message(pmsi_parts(31, rsvp_te(), mldp())), key_block(route, kPolicy, ctx_), ctx_);
    // the original tunnel's length stands, its octets do not: the new tunnel has no room behind it
    const NoKeyGot got = parse_nokey(pmsi_part(bier4()).octets(), first.result, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_EQ(got.grown, 0);
    ImportRecord record = completed(route.key, kPolicy, 31, rsvp_te(), bier4());
    record.data = Bytes(bier4().record.size());
    expect_import_block(Block(got.result), route.key, record.octets());
}

TEST_F(ImportRouteRecord, BehindAnOriginalTunnelThatIsGoneTheRoomOfTheNewOneIsWhatItsOwnLengthLeaves)
{
    const NlriCase route = ipmsi_routes()[0];
    const Tunnel small = rsvp_te();
    const Tunnel large = mldp();
    ASSERT_LT(small.record.size(), large.record.size());
    const NoKeyGot first =
        parse_nokey(list_message(pmsi_parts(31, small, large)), key_block(route, kPolicy, ctx_), ctx_);
    const NoKeyGot got = parse_nokey(pmsi_part(large).octets(), first.result, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 1U);
    ImportRecord record = completed(route.key, kPolicy, 31, small, large);
    record.data = Bytes(large.record.size());
    expect_import_block(Block(got.result), route.key, record.octets());
}

TEST_F(ImportRouteRecord, OfTheKeysBlockTheFixedPartIsTakenAsItStands)
{
    const NlriCase route = ipmsi_routes()[0];
    ImportRecord held = key_record(route.key, kPolicy);
    held.ply = {0x11, 0x22, 0x33};
    held.original = {0x80, host_list(kSnhOther), 7, 9};
    held.replaced = {0x48, host_list(kSnhOther), 5, 6};
    const auto block_of_it = [&] {
        QEL_ROUTE_BLOCK_S *block = key_block(route, kPolicy, ctx_);
        const Bytes octets = held.octets();
        std::copy(octets.begin(), octets.end(), reinterpret_cast<std::uint8_t *>(block) + block->usAttrOffset);
        return block;
    };
    const NoKeyGot kept = parse_nokey(tlv(13, Bytes(7)), block_of_it(), ctx_); // no TLV that can be read
    EXPECT_EQ(kept.code, 0U);
    expect_import_block(Block(kept.result), route.key, held.octets());

    const NoKeyGot all = parse_nokey(list_message(pmsi_parts(31, rsvp_te(), mldp())), block_of_it(), ctx_);
    EXPECT_EQ(all.code, 0U);
    ImportRecord record = completed(route.key, kPolicy, 31, rsvp_te(), mldp());
    record.original.flags = 0x83;
    record.replaced.flags = 0x4b;
    expect_import_block(Block(all.result), route.key, record.octets());
}

TEST_F(ImportRouteRecord, OctetsThatNoTunnelFillsAreZero)
{
    QEL_ROUTE_BLOCK_S *block = key_block(ipmsi_routes()[0], kPolicy, ctx_);
    const Block owner(block);
    HeldTunnels tunnels(20, 0xfff0); // 156 octets in all: neither tunnel fits
    dirty_the_heap(156);
    const RecordGot got = construct_record(tunnels.held, &block, ctx_);
    ASSERT_NE(got.record, nullptr);
    ASSERT_EQ(got.length, 156U);
    EXPECT_EQ(hex({reinterpret_cast<const std::uint8_t *>(got.record) + kFixedLen, 4}), "00000000");
    ZVK_Free_F(got.record, __FILE__, __LINE__);
}

TEST_F(ImportRouteRecord, OneAttributeMakesABlockOfItself)
{
    const Bytes data = bytes("0102030405");
    const Answer got = answer_of([&](auto result) {
        return QEL_NGMVPN_OutputAttrData(9, 200, data.data(), static_cast<std::uint16_t>(data.size()), result, ctx_);
    });
    EXPECT_EQ(got.code, 0U);
    expect_attribute(got, 9, 200, data);
    const Answer empty =
        answer_of([&](auto result) { return QEL_NGMVPN_OutputAttrData(9, 200, data.data(), 0, result, ctx_); });
    expect_untouched(empty, kNull, 0);
    const Answer none =
        answer_of([&](auto result) { return QEL_NGMVPN_OutputAttrData(9, 200, nullptr, 5, result, ctx_); });
    expect_untouched(none, kNull, 0);
}

TEST_F(ImportRouteRecord, ReplacingABlockKeepsItOnFailure)
{
    QEL_ROUTE_BLOCK_S *block = key_block(ipmsi_routes()[0], kPolicy, ctx_);
    QEL_ROUTE_BLOCK_S *const old = block;
    const std::int64_t before = live();
    for (const std::uint64_t failing : {0U, 1U}) {
        QEL_NGMVPN_SEG_NOKEY_S held{};
        const platform::FailAllocation fail(failing);
        EXPECT_EQ(QEL_NGMVPN_OutputImportAttr_(&held, &block, ctx_), failing == 0 ? kOutOfMemory : kNoMemory);
        EXPECT_TRUE(fail.fired());
        EXPECT_EQ(block, old);
        EXPECT_EQ(live(), before);
    }
    QEL_NGMVPN_SEG_NOKEY_S held{};
    EXPECT_EQ(QEL_NGMVPN_OutputImportAttr_(&held, &block, ctx_), 0U);
    EXPECT_EQ(live(), before);
    const Block owner(block);
}

} // namespace
} // namespace qel::test
