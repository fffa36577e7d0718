// Routes between components and control boards: the forms of a route prefix, where each receiver files the RD, the
// writers, the rows that lead to the handlers.
#include "intercomp_cases.h"

#include "ngmvpn/qel_ngmvpn_cross.h"
#include "ngmvpn/qel_ngmvpn_nlri.h"
#include "ngmvpn/qel_ngmvpn_segment_parsemsg.h"

#include <array>
#include <functional>

namespace qel::test {
namespace {

constexpr std::uint32_t kShort = 2;
constexpr std::uint32_t kMalformed = 0x60001;
constexpr std::uint32_t kRefused = 0x60002;
constexpr std::uint8_t kRdInKey = 2;
constexpr std::uint8_t kRdInSection = 1;

constexpr std::uint32_t kFromMvrf = 1;
constexpr std::uint32_t kFromPacket = 2;
constexpr std::uint32_t kFromMc = 5;
constexpr std::uint32_t kFromMvpn = 6;
constexpr std::uint32_t kFromHa = 11;
constexpr std::uint32_t kFromNobody = 12;

Bytes ha_new(std::uint8_t kind, const Bytes &route)
{
    return bytes("0015 0004") + Bytes{kind, 0, 0, 0} + tlv(11, route);
}

Bytes as_is(const Bytes &route)
{
    return route;
}
Bytes in_tlv(const Bytes &route)
{
    return tlv(11, route);
}

// One way in which a route arrives.
struct Form {
    std::string name;
    MessageParser parser;
    std::function<Bytes(const Bytes &)> wrap;
    std::function<std::uint8_t(std::uint8_t route_type, std::uint16_t instance_kind)> rd_kind;
    bool told_by_first_octet = false; // a bare route in a HA message
};

std::uint8_t in_key(std::uint8_t, std::uint16_t)
{
    return kRdInKey;
}
std::uint8_t in_section(std::uint8_t, std::uint16_t)
{
    return kRdInSection;
}
std::uint8_t as_mvpn(std::uint8_t, std::uint16_t instance)
{
    return is_mvpn(instance) ? kRdInKey : kRdInSection;
}
std::uint8_t from_4_in_key(std::uint8_t route_type, std::uint16_t)
{
    return route_type >= 4 ? kRdInKey : kRdInSection;
}
std::uint8_t from_4_or_mvpn(std::uint8_t route_type, std::uint16_t instance)
{
    return route_type >= 4 ? kRdInKey : as_mvpn(route_type, instance);
}

std::vector<Form> forms()
{
    std::vector<Form> out{
        {"from Mvrf", QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv, as_is, in_key},
        {"from Mvpn", QEL_NGMVPN_MvrfParseFromMvpnRtPrefixTlv, as_is, in_section},
        {"from Mc", QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv, in_tlv, from_4_in_key},
        {"HA, old", QEL_NGMVPN_ParseHARtPrefixTlv, as_is, from_4_or_mvpn, true},
        {"HA, old, TLV 11", QEL_NGMVPN_ParseHARtPrefixTlv, in_tlv, from_4_or_mvpn},
        {"HA 8, old", QEL_NGMVPN_ParseHARtPrefixTlvGlbal, as_is, as_mvpn, true},
        {"HA 8, old, TLV 11", QEL_NGMVPN_ParseHARtPrefixTlvGlbal, in_tlv, as_mvpn},
        {"old", QEL_NGMVPN_ParseRtPrefixTlv, as_is, from_4_or_mvpn},
        {"old, 8", QEL_NGMVPN_ParseRtPrefixTlvGlbalISSU, as_is, as_mvpn},
    };
    for (const std::uint8_t kind : std::initializer_list<std::uint8_t>{0, 1, 2, 3, 0x21, 255}) {
        const auto wrap = [kind](const Bytes &route) { return ha_new(kind, route); };
        const auto rd_kind = [kind](std::uint8_t, std::uint16_t instance) {
            return is_mvpn(instance) ? kRdInKey : kind;
        };
        const std::string name = " of kind " + std::to_string(kind);
        out.push_back({"HA" + name, QEL_NGMVPN_ParseHARtPrefixTlv, wrap, rd_kind});
        out.push_back({"HA 8" + name, QEL_NGMVPN_ParseHARtPrefixTlvGlbal, wrap, rd_kind});
    }
    return out;
}

QEL_NGMVPN_KEY_S with_kind(QEL_NGMVPN_KEY_S key, std::uint8_t kind)
{
    key.ucRdKind = kind;
    return key;
}

void expect_route(const MessageGot &got, const NlriCase &route, std::uint8_t kind)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    expect_block(got.block, with_kind(route.key, kind), route.nonkey());
}

class RoutePrefix : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(ctx_->uiInlineBufUsed, 0U); }

    LeakCheck leaks_;
    NgmvpnInstance instance_{kPlain};
    QEL_FAMILY_CTX_S *ctx_ = instance_.ctx;
};

const NlriCase kIntra = ipmsi_routes()[0];
const NlriCase kSpmsi = spmsi_routes()[4];
const NlriCase kSourceTree = cmcast_routes()[6];

// --- reading --------------------------------------------------------------------------------------------------------

TEST_F(RoutePrefix, EveryRouteIsReadFromEveryForm)
{
    for (const Form &form : forms()) {
        for (const NlriCase &route : all_routes()) {
            SCOPED_TRACE(form.name + ", " + route.name);
            const NgmvpnInstance instance(route.side);
            const Bytes octets = route.octets();
            const std::uint8_t kind = form.rd_kind(octets[0], instance.ctx->usInstanceKind);
            expect_route(read_message(form.parser, form.wrap(octets), instance.ctx), route, kind);
        }
    }
}

TEST_F(RoutePrefix, EveryComponentFilesTheRdByTheFormAndNotByTheRoute)
{
    for (const std::uint16_t instance : kKinds) {
        ctx_->usInstanceKind = instance;
        for (const Form &form : forms()) {
            for (const NlriCase &route :
                 {ipmsi_routes()[0], ipmsi_routes()[6], spmsi_routes()[0], ipmsi_leaf_routes()[0],
                  spmsi_leaf_routes()[0], source_active_routes()[3], cmcast_routes()[3], cmcast_routes()[6]}) {
                SCOPED_TRACE(form.name + ", " + route.name + ", " + std::to_string(instance));
                if (instance == kKindPlain && route.key.uiKeyType == 5) {
                    continue; // such an instance knows no lengths of it
                }
                const Bytes octets = route.octets();
                expect_route(read_message(form.parser, form.wrap(octets), ctx_), route,
                             form.rd_kind(octets[0], instance));
            }
        }
    }
}

TEST_F(RoutePrefix, EachRouteTypeHasItsReader)
{
    const std::pair<NlriCase, std::uint32_t> rows[] = {
        {ipmsi_routes()[0], 1},      {ipmsi_routes()[6], 2},      {spmsi_routes()[4], 3},
        {ipmsi_leaf_routes()[0], 4}, {spmsi_leaf_routes()[0], 5}, {source_active_routes()[3], 6},
        {cmcast_routes()[3], 7},     {cmcast_routes()[6], 8},
    };
    for (const auto &[route, key_type] : rows) {
        SCOPED_TRACE(route.name);
        ASSERT_EQ(route.key.uiKeyType, key_type);
        const NgmvpnInstance instance(route.side);
        expect_route(read_message(QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv, route.octets(), instance.ctx), route, 2);
    }
}

TEST_F(RoutePrefix, WhatStandsBehindTheRouteIsNotLookedAt)
{
    for (const Form &form : forms()) {
        for (const std::size_t behind : {1U, 2U, 3U, 14U, 200U}) {
            for (const NlriCase &route : {kIntra, kSpmsi, kSourceTree}) {
                SCOPED_TRACE(form.name);
                const std::uint8_t kind = form.rd_kind(route.octets()[0], ctx_->usInstanceKind);
                const Bytes rest(behind, 0x7e);
                expect_route(read_message(form.parser, form.wrap(route.octets() + rest), ctx_), route, kind);
                expect_route(read_message(form.parser, form.wrap(route.octets()) + rest, ctx_), route, kind);
            }
        }
    }
}

TEST_F(RoutePrefix, AnIntraAsRouteIsFiledByItsReceiver)
{
    const NgmvpnInstance mvpn(kMvpn4);
    const NgmvpnInstance mvrf(kMvrf4);
    const auto parse = [](const NgmvpnInstance &instance, std::uint32_t type, const Bytes &message) {
        return read_message(Message(message), [&](auto data, auto length, auto result) {
            return instance.desc.pfParseMsg(data, length, type, result, instance.ctx);
        });
    };
    for (const std::uint32_t type : {53U, 55U}) {
        expect_route(parse(mvpn, type, kIntra.octets()), kIntra, 2);
    }
    for (const std::uint32_t type : {59U, 61U}) {
        expect_route(parse(mvrf, type, kIntra.octets()), kIntra, 1);
    }
    expect_route(parse(mvrf, 15, in_tlv(kIntra.octets())), kIntra, 1);
}

TEST_F(RoutePrefix, ASourceTreeJoinOnMvrfKeepsItsRdInTheKeyFromMcAndInTheSectionFromMvpn)
{
    const NgmvpnInstance mvrf(kMvrf4);
    const auto parse = [&](std::uint32_t type, const Bytes &message) {
        return read_message(Message(message), [&](auto data, auto length, auto result) {
            return mvrf.desc.pfParseMsg(data, length, type, result, mvrf.ctx);
        });
    };
    expect_route(parse(15, in_tlv(kSourceTree.octets())), kSourceTree, 2);
    expect_route(parse(59, kSourceTree.octets()), kSourceTree, 1);
}

TEST_F(RoutePrefix, AHaMessageOfKindOneBecomesTwoOnMvpnAndStaysOneOnMvrf)
{
    for (const auto &[side, kind] : {std::pair{kMvpn4, 2}, {kMvpn6, 2}, {kMvrf4, 1}, {kMvrf6, 1}, {kPlain, 1}}) {
        const NgmvpnInstance instance(side);
        for (const std::uint32_t type : {1U, 3U, 5U, 8U}) {
            const MessageGot got =
                read_message(Message(ha_new(1, kIntra.octets())), [&](auto data, auto length, auto result) {
                    return instance.desc.pfParseHaMsg(data, length, type, result, instance.ctx);
                });
            expect_route(got, kIntra, static_cast<std::uint8_t>(kind));
        }
    }
}

// kept: only HA type 8 files the RDs of the later route types of an old message in the section
TEST_F(RoutePrefix, OldHaMessagesOfTypeEightFileTheRdOfEveryRouteTypeByTheComponent)
{
    const NgmvpnInstance mvrf(kMvrf4);
    for (const NlriCase &route : {source_active_routes()[3], cmcast_routes()[3], kSourceTree}) {
        for (const Bytes &message : {route.octets(), in_tlv(route.octets())}) {
            expect_route(read_message(QEL_NGMVPN_ParseHARtPrefixTlv, message, mvrf.ctx), route, 2);
            expect_route(read_message(QEL_NGMVPN_ParseHARtPrefixTlvGlbal, message, mvrf.ctx), route, 1);
        }
    }
}

// Both older forms, the bare one and the one in TLV 11.
void expect_old_route(const NlriCase &route, QEL_FAMILY_CTX_S *ctx, std::uint8_t kind)
{
    SCOPED_TRACE(route.name);
    expect_route(read_message(QEL_NGMVPN_ParseRtPrefixTlv, route.octets(), ctx), route, kind);
    expect_route(read_message(QEL_NGMVPN_ParseHARtPrefixTlv, route.octets(), ctx), route, kind);
    expect_route(read_message(QEL_NGMVPN_ParseHARtPrefixTlv, in_tlv(route.octets()), ctx), route, kind);
}

TEST_F(RoutePrefix, OldHaMessagesFileTheRdOfTypesOneToThreeByTheComponent)
{
    for (const auto &[side, kind] : {std::pair{kMvpn4, 2}, {kMvpn6, 2}, {kMvrf4, 1}, {kMvrf6, 1}, {kPlain, 1}}) {
        const NgmvpnInstance instance(side);
        for (const NlriCase &route : {ipmsi_routes()[0], ipmsi_routes()[6], spmsi_routes()[0]}) {
            expect_old_route(route, instance.ctx, static_cast<std::uint8_t>(kind));
        }
    }
}

TEST_F(RoutePrefix, OldHaMessagesFileTheRdOfTypesFourToSevenInTheKeyOnEveryComponent)
{
    for (const Side &side : {kMvpn4, kMvrf4, kPlain}) {
        const NgmvpnInstance instance(side);
        for (const NlriCase &route :
             {ipmsi_leaf_routes()[0], source_active_routes()[3], cmcast_routes()[3], cmcast_routes()[6]}) {
            expect_old_route(route, instance.ctx, 2);
        }
    }
}

// kept: all seven route types, the leaf included
TEST_F(RoutePrefix, OldHaMessagesOfTypeEightKeepKindOneForAllSevenRouteTypesOnMvrf)
{
    const NgmvpnInstance mvrf(kMvrf4);
    const NgmvpnInstance mvpn(kMvpn4);
    for (const NlriCase &route : {ipmsi_routes()[0], ipmsi_routes()[6], spmsi_routes()[0], ipmsi_leaf_routes()[0],
                                  source_active_routes()[3], cmcast_routes()[3], cmcast_routes()[6]}) {
        SCOPED_TRACE(route.name);
        for (const MessageParser parser :
             {&QEL_NGMVPN_ParseRtPrefixTlvGlbalISSU, &QEL_NGMVPN_ParseHARtPrefixTlvGlbal}) {
            expect_route(read_message(parser, route.octets(), mvrf.ctx), route, 1);
            expect_route(read_message(parser, route.octets(), mvpn.ctx), route, 2);
        }
        expect_route(read_message(QEL_NGMVPN_ParseHARtPrefixTlvGlbal, in_tlv(route.octets()), mvrf.ctx), route, 1);
    }
}

// --- refusals -------------------------------------------------------------------------------------------------------

struct RefusedRow {
    std::string name;
    std::string route;
    std::uint32_t code;
};

std::vector<RefusedRow> refused_rows()
{
    const std::string zeros9(18, '0');
    const std::string zeros77(154, '0');
    return {
        {"no octet", "", kShort},
        {"one octet", "03", kShort},
        {"one octet of no route type", "08", kShort},
        {"header alone", "01 0c", kShort},
        {"one octet short", "01 0c 0000 0064 00000001 c0a80a", kShort},
        {"length 255", "01 ff 0000 0064 00000001 c0a80a0b", kShort},
        {"short and too small", "01 09 0000 0064", kShort},
        {"short and too large", "01 4d 0000 0064", kShort},
        {"short and of no type", "08 0c 0000 0064", kShort},
        {"length 0", "01 00", kMalformed},
        {"length 9", "05 09" + zeros9, kMalformed},
        {"length 77", "04 4d" + zeros77, kMalformed},
        {"length 9 and no route type", "08 09" + zeros9, kMalformed},
        {"length 77 and no route type", "00 4d" + zeros77, kMalformed},
        {"route type 0", "00 0c 0000 0064 00000001 c0a80a0b", kBadValue},
        {"route type 8", "08 0c 0000 0064 00000001 c0a80a0b", kBadValue},
        {"route type 255", "ff 0c 0000 0064 00000001 c0a80a0b", kBadValue},
        {"route type 8 of length 10", "08 0a 0000 0064 00000001 0000", kBadValue},
        {"route type 8 of length 76", "08 4c" + std::string(152, '0'), kBadValue},
        {"a length that is not the type's", "01 0d 0000 0064 00000001 c0a80a0b 00", kMalformed},
        {"length 10 of a type that needs more", "01 0a 0000 0064 00000001 0000", kMalformed},
        {"length 76 of a type that has less", "03 4c" + std::string(152, '0'), kMalformed},
        {"a sum that is wrong", "05 13" + kRd0 + kS4 + kG4 + "00", kMalformed},
        {"RD type 3", "01 0c" + kRd3 + kO4, kRefused},
        {"RD type 3 in a leaf", "04 12 01 0c" + kRd3 + kO4 + kL4, kRefused},
        {"source 0.0.0.0", "05 12" + kRd0 + "20 00000000" + kG4, kRefused},
        {"leaf of no known route", "04 12 02 0c" + kRd0 + kO4 + kL4, kRefused},
    };
}

// The three readers of a bare route: of today's messages and of both older HA forms.
MessageGot read_bare(unsigned reader, std::string_view route, QEL_FAMILY_CTX_S *ctx)
{
    const MessageParser parsers[] = {QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv, QEL_NGMVPN_ParseRtPrefixTlv,
                                     QEL_NGMVPN_ParseRtPrefixTlvGlbalISSU};
    return read_message(parsers[reader], bytes(route), ctx);
}

TEST_F(RoutePrefix, AnNlriLongerThanItsMessageGivesTwo)
{
    for (unsigned reader = 0; reader < 3; ++reader) {
        expect_no_result(read_bare(reader, "01 0c 0000 0064 00000001 c0a80a", ctx_), kShort, 0);
        expect_no_result(read_bare(reader, "01 0c", ctx_), kShort, 0);
        expect_no_result(read_bare(reader, "01", ctx_), kShort, 0);
        expect_no_result(read_bare(reader, "", ctx_), kShort, 0);
        expect_route(read_bare(reader, "01 0c" + kRd0 + kO4, ctx_), kIntra, reader == 0 ? 2 : 1);
    }
}

TEST_F(RoutePrefix, NlriLengthsNineAndSeventySevenAreMalformed)
{
    for (unsigned reader = 0; reader < 3; ++reader) {
        for (const std::string type : {"05", "08"}) { // ahead of the route type
            expect_no_result(read_bare(reader, type + "09" + std::string(18, '0'), ctx_), kMalformed, 0);
            expect_no_result(read_bare(reader, type + "4d" + std::string(154, '0'), ctx_), kMalformed, 0);
        }
    }
}

TEST_F(RoutePrefix, AnNlriBeyondItsMessageIsToldAheadOfALengthOutOfRange)
{
    for (unsigned reader = 0; reader < 3; ++reader) {
        expect_no_result(read_bare(reader, "01 09 0000 0064", ctx_), kShort, 0);
        expect_no_result(read_bare(reader, "01 4d 0000 0064", ctx_), kShort, 0);
    }
}

TEST_F(RoutePrefix, RouteTypesOutsideOneToSevenAreRefusedBehindTheLengths)
{
    for (unsigned reader = 0; reader < 3; ++reader) {
        for (const std::string type : {"00", "08", "ff"}) {
            expect_no_result(read_bare(reader, type + "0c 0000 0064 00000001 c0a80a0b", ctx_), kBadValue, 0);
            expect_no_result(read_bare(reader, type + "0c 0000 0064 00000001 c0a80a", ctx_), kShort, 0);
            expect_no_result(read_bare(reader, type + "09 0000 0064 00000001 c0", ctx_), kMalformed, 0);
        }
    }
}

TEST_F(RoutePrefix, IsRefusedAlikeInEveryForm)
{
    for (const Form &form : forms()) {
        for (const RefusedRow &row : refused_rows()) {
            SCOPED_TRACE(form.name + ", " + row.name);
            const Bytes route = bytes(row.route);
            if (form.told_by_first_octet && (route.empty() || route[0] == 0 || route[0] > 7)) {
                continue; // not taken for a bare route at all
            }
            expect_no_result(read_message(form.parser, form.wrap(route), ctx_), row.code, 0);
        }
    }
}

TEST_F(RoutePrefix, LengthsTenAndSeventySixReachTheReaderOfTheRoute)
{
    const NlriCase ten = source_active_routes()[0];
    const NlriCase seventy_six = spmsi_leaf_routes().back();
    ASSERT_EQ(ten.octets()[1], 10);
    ASSERT_EQ(seventy_six.octets()[1], 76);
    for (const NlriCase &route : {ten, seventy_six}) {
        const NgmvpnInstance instance(route.side);
        for (const Form &form : forms()) {
            SCOPED_TRACE(form.name);
            expect_route(read_message(form.parser, form.wrap(route.octets()), instance.ctx), route,
                         form.rd_kind(route.octets()[0], instance.ctx->usInstanceKind));
        }
    }
}

TEST_F(RoutePrefix, AnotherAddressFamilyIsRefused)
{
    const NgmvpnInstance instance(kMvrf4);
    const NlriCase route = source_active_routes().back();
    for (const Form &form : forms()) {
        SCOPED_TRACE(form.name);
        expect_no_result(read_message(form.parser, form.wrap(route.octets()), instance.ctx), kRefused, 0);
    }
}

// The route is lost quietly, as it is when a packet brings it.
TEST_F(RoutePrefix, ABlockThatCannotBeAllocatedIsSuccessWithoutARoute)
{
    for (const Form &form : forms()) {
        for (const NlriCase &route : {kIntra, kSpmsi, kSourceTree}) {
            SCOPED_TRACE(form.name);
            const platform::FailAllocation fail(0);
            expect_no_result(read_message(form.parser, form.wrap(route.octets()), ctx_), 0, 2);
            EXPECT_TRUE(fail.fired());
        }
    }
}

TEST_F(RoutePrefix, TheBlockIsTheOneAllocation)
{
    for (const Form &form : forms()) {
        const std::uint64_t before = allocations();
        read_message(form.parser, form.wrap(kSpmsi.octets()), ctx_);
        EXPECT_EQ(allocations() - before, 1U) << form.name;
    }
}

TEST_F(RoutePrefix, ReadersReportOneMissingArgument)
{
    for (const Form &form : forms()) {
        SCOPED_TRACE(form.name);
        const Message message(form.wrap(kIntra.octets()));
        expect_null_arguments_refused(3, [&](unsigned nulls) {
            QEL_ROUTE_BLOCK_S *result = nullptr;
            const std::uint32_t code = form.parser(null_if(nulls, 0, message.data()), message.size(),
                                                   null_if(nulls, 1, &result), null_if(nulls, 2, ctx_));
            EXPECT_EQ(result, nullptr);
            return code;
        });
    }
    const Message message(kIntra.octets());
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        QEL_ROUTE_BLOCK_S *result = nullptr;
        return QEL_NGMVPN_ParseRtPrefixTlvNew(null_if(nulls, 0, message.data()), message.size(),
                                              null_if(nulls, 1, &result), null_if(nulls, 2, ctx_), 99, 0);
    });
}

// Ahead of a TLV that would be refused with another code.
TEST_F(RoutePrefix, FromMcArgumentsAreLookedAtAheadOfTheTlv)
{
    const Message message(tlv(12, kIntra.octets()));
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        QEL_ROUTE_BLOCK_S *result = nullptr;
        return QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv(null_if(nulls, 0, message.data()), message.size(),
                                                     null_if(nulls, 1, &result), null_if(nulls, 2, ctx_));
    });
}

TEST_F(RoutePrefix, HaArgumentsAreLookedAtAheadOfTheMessage)
{
    const Message message(tlv(12, kIntra.octets()));
    for (const MessageParser parser : {&QEL_NGMVPN_ParseHARtPrefixTlv, &QEL_NGMVPN_ParseHARtPrefixTlvGlbal}) {
        expect_null_arguments_refused(3, [&](unsigned nulls) {
            QEL_ROUTE_BLOCK_S *result = nullptr;
            return parser(null_if(nulls, 0, message.data()), message.size(), null_if(nulls, 1, &result),
                          null_if(nulls, 2, ctx_));
        });
    }
}

TEST_F(RoutePrefix, AnEmptyTlvMessageIsReported)
{
    for (const MessageParser parser : {&QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv, &QEL_NGMVPN_ParseHARtPrefixTlv,
                                       &QEL_NGMVPN_ParseHARtPrefixTlvGlbal}) {
        for (const Bytes &route : {in_tlv(kIntra.octets()), kIntra.octets()}) { // what stands behind it would do
            const Bytes behind = route + slack(0, QEL_MSG_READ_SLACK - route.size());
            const MessageGot got = read_message(Message({}, behind), [&](auto data, auto length, auto result) {
                return parser(data, length, result, ctx_);
            });
            expect_no_result(got, kNull, 1);
        }
    }
}

// --- where the RD belongs -------------------------------------------------------------------------------------------

TEST_F(RoutePrefix, EveryMessageKindFilesTheRdInItsWay)
{
    for (std::uint32_t kind = 0; kind < 300; ++kind) {
        for (const NlriCase &route : {kIntra, ipmsi_routes()[6], kSpmsi, ipmsi_leaf_routes()[0],
                                      source_active_routes()[3], cmcast_routes()[3], kSourceTree}) {
            for (const std::uint8_t given : std::initializer_list<std::uint8_t>{0, 1, 2, 0x77}) {
                SCOPED_TRACE(std::to_string(kind) + ", " + route.name);
                const MessageGot got = read_message(Message(route.octets()), [&](auto data, auto length, auto result) {
                    return QEL_NGMVPN_ParseRtPrefixTlvNew(data, length, result, ctx_, kind, given);
                });
                const bool plain_key = kind == kFromMvrf || kind == kFromPacket || kind == kFromNobody;
                const bool known = plain_key || kind == kFromMc || kind == kFromMvpn || kind == kFromHa;
                const std::uint8_t rd_kind = plain_key         ? 2
                                             : kind == kFromMc ? from_4_in_key(route.octets()[0], 0)
                                             : kind == kFromHa ? given
                                                               : 1;
                EXPECT_EQ(got.code, 0U);
                EXPECT_EQ(got.asserts, known ? 0U : 1U);
                expect_block(got.block, with_kind(route.key, rd_kind), route.nonkey());
            }
        }
    }
}

struct Filed {
    unsigned kind;
    std::size_t asserts;
};

Filed filed(std::uint32_t route_type, std::uint32_t message_kind, std::uint8_t given)
{
    const platform::Recorder recorder;
    std::uint8_t kind = 0x5a;
    QEL_NGMVPN_ParseMsgTypeSwitchRdType(route_type, &kind, message_kind, given);
    return {kind, recorder.asserts().size()};
}

void expect_filed(std::uint32_t message_kind, const std::function<unsigned(std::uint32_t)> &kind_of_type,
                  std::size_t asserts = 0)
{
    for (std::uint32_t type = 1; type <= 7; ++type) {
        for (const std::uint8_t given : std::initializer_list<std::uint8_t>{0, 1, 2, 0x77}) {
            SCOPED_TRACE(std::to_string(message_kind) + ", " + std::to_string(type));
            const Filed got = filed(type, message_kind, given);
            EXPECT_EQ(got.kind, kind_of_type(type));
            EXPECT_EQ(got.asserts, asserts);
        }
    }
}

TEST_F(RoutePrefix, MessageKindOneFilesTheRdInTheKey)
{
    expect_filed(kFromMvrf, [](std::uint32_t) { return 2; });
}

TEST_F(RoutePrefix, MessageKindTwoOfAPacketFilesTheRdInTheKey)
{
    expect_filed(kFromPacket, [](std::uint32_t) { return 2; });
}

// kept: nothing here sends kind 12
TEST_F(RoutePrefix, MessageKindTwelveThatNobodySendsFilesTheRdInTheKey)
{
    expect_filed(kFromNobody, [](std::uint32_t) { return 2; });
}

TEST_F(RoutePrefix, MessageKindFiveFilesTheRdOfTypesFourToSevenInTheKeyAndOfOthersInTheSection)
{
    expect_filed(kFromMc, [](std::uint32_t type) { return type >= 4 ? 2 : 1; });
}

TEST_F(RoutePrefix, MessageKindSixFilesTheRdInTheSection)
{
    expect_filed(kFromMvpn, [](std::uint32_t) { return 1; });
}

TEST_F(RoutePrefix, MessageKindElevenFilesTheRdAsItIsTold)
{
    for (unsigned given = 0; given < 256; ++given) {
        const Filed got = filed(3, kFromHa, static_cast<std::uint8_t>(given));
        EXPECT_EQ(got.kind, given);
        EXPECT_EQ(got.asserts, 0U);
    }
}

TEST_F(RoutePrefix, AnyOtherMessageKindIsReportedAndFilesTheRdInTheSection)
{
    for (const std::uint32_t kind : {0U, 3U, 4U, 7U, 8U, 9U, 10U, 13U, 257U, 0xffffffffU}) {
        expect_filed(
            kind, [](std::uint32_t) { return 1; }, 1);
    }
}

// kept: the name reads opposite to what it gives
TEST_F(RoutePrefix, RdCheckIsKeyGivesZeroWhereTheRdIsInTheKey)
{
    for (std::uint32_t type = 0; type < 300; ++type) {
        const bool in_key = (type & ~2U) == 4 || (type & ~2U) == 5;
        EXPECT_EQ(QEL_NGMVPN_RDCheckIsKey(type) == 0, in_key) << type;
    }
}

// kept: a message kind that is a fault is reported before the route type is looked at, and after the lengths
TEST_F(RoutePrefix, TheRdIsFiledBeforeTheRouteTypeIsChecked)
{
    const auto parse = [&](std::string_view route, std::uint32_t kind) {
        return read_message(Message(bytes(route)), [&](auto data, auto length, auto result) {
            return QEL_NGMVPN_ParseRtPrefixTlvNew(data, length, result, ctx_, kind, 0);
        });
    };
    expect_no_result(parse("08 0c 0000 0064 00000001 c0a80a0b", 99), kBadValue, 1);
    expect_no_result(parse("00 0c 0000 0064 00000001 c0a80a0b", 99), kBadValue, 1);
    expect_no_result(parse("08 0c 0000 0064 00000001 c0a80a0b", kFromMvrf), kBadValue, 0);
    expect_no_result(parse("08 0c 0000 0064 00000001 c0a80a", 99), kShort, 0);
    expect_no_result(parse("08 09 0000 0064 00000001 c0", 99), kMalformed, 0);
    expect_no_result(parse("", 99), kShort, 0);
}

TEST_F(RoutePrefix, AKeyTypeOfMvpnIsTwoAndOfOthersAsItWas)
{
    for (std::uint32_t instance = 0; instance < 65536; ++instance) {
        ctx_->usInstanceKind = static_cast<std::uint16_t>(instance);
        for (const std::uint8_t before : std::initializer_list<std::uint8_t>{0, 1, 2, 9}) {
            std::uint8_t kind = before;
            QEL_NGMVPN_SetMVpnRdKeyType(&kind, ctx_);
            ASSERT_EQ(kind, instance == 299 || instance == 1793 ? 2 : before) << instance;
        }
    }
}

TEST_F(RoutePrefix, TheKindTlvIsItsFirstOctetOfFour)
{
    for (unsigned octet = 0; octet < 256; ++octet) {
        const OddBytes value(Bytes{static_cast<std::uint8_t>(octet), 0x11, 0x22, 0x33});
        const std::uint8_t *cursor = value.data();
        std::uint8_t kind = 0x5a;
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_ParseRtTypeTlv(&cursor, &kind, ctx_), 0U);
        EXPECT_EQ(kind, octet);
        EXPECT_EQ(cursor, value.data() + 4);
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

TEST_F(RoutePrefix, TheKindTlvsReaderReportsOneMissingArgument)
{
    const OddBytes value(bytes("02 000000"));
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        const std::uint8_t *cursor = value.data();
        std::uint8_t kind = 0x5a;
        const std::uint32_t code =
            QEL_NGMVPN_ParseRtTypeTlv(null_if(nulls, 0, &cursor), null_if(nulls, 1, &kind), null_if(nulls, 2, ctx_));
        EXPECT_EQ(cursor, value.data());
        EXPECT_EQ(kind, 0x5a);
        return code;
    });
}

// --- Mc -------------------------------------------------------------------------------------------------------------

// kept: the multicast component's TLV header tells the length of the route, whatever length the message has
TEST_F(RoutePrefix, FromMcTheHeaderCountsAndNotTheLengthOfTheMessage)
{
    for (const NlriCase &route : {kIntra, kSpmsi, kSourceTree}) {
        const Bytes whole = in_tlv(route.octets());
        for (std::size_t length = 1; length <= whole.size(); ++length) {
            SCOPED_TRACE(length);
            const Bytes rest = slice(whole, length, whole.size() - length);
            const Message message(slice(whole, 0, length), rest + slack(0, QEL_MSG_READ_SLACK - rest.size()));
            const MessageGot got = read_message(message, [&](auto data, auto told, auto result) {
                return QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv(data, told, result, ctx_);
            });
            expect_route(got, route, from_4_in_key(route.octets()[0], 0));
        }
    }
    // a header that says more than there is
    const MessageGot got = read_message(QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv, tlv(11, kIntra.octets(), 0xffff), ctx_);
    expect_route(got, kIntra, 1);
}

// The longest route from a message of one octet ends inside what the host keeps readable.
TEST_F(RoutePrefix, FromMcTheLongestRouteIsReadBehindTheMessage)
{
    const NlriCase route = spmsi_leaf_routes().back();
    const NgmvpnInstance instance(route.side);
    const Bytes whole = in_tlv(route.octets());
    ASSERT_EQ(whole.size(), 82U);
    const Message message({0}, slice(whole, 1, 81) + slack(0, QEL_MSG_READ_SLACK - 81));
    const MessageGot got = read_message(message, [&](auto data, auto told, auto result) {
        return QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv(data, told, result, instance.ctx);
    });
    expect_route(got, route, 2);
}

TEST_F(RoutePrefix, FromMcOnlyTlvElevenIsTaken)
{
    for (std::uint32_t type = 0; type < 65536; type += type < 300 ? 1 : 17) {
        if (type != 11) {
            const Bytes message = tlv(type, kIntra.octets());
            expect_no_result(read_message(QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv, message, ctx_), kMalformed, 1);
        }
    }
    expect_no_result(read_message(QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv, tlv(0x0b00, kIntra.octets()), ctx_),
                     kMalformed, 1);
    // the type is looked at first, also where it stands behind the message
    expect_no_result(read_message(QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv, {0}, ctx_), kMalformed, 1);
    expect_no_result(read_message(QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv, kIntra.octets(), ctx_), kMalformed, 1);
}

// --- HA -------------------------------------------------------------------------------------------------------------

const MessageParser kHaParsers[] = {QEL_NGMVPN_ParseHARtPrefixTlv, QEL_NGMVPN_ParseHARtPrefixTlvGlbal};

TEST_F(RoutePrefix, TheFirstOctetTellsAnOldHaMessageFromANewOne)
{
    for (const MessageParser parser : kHaParsers) {
        for (unsigned first = 0; first < 256; ++first) {
            SCOPED_TRACE(first);
            // as a route its length is wrong, as a TLV its type is
            const Bytes message = Bytes{static_cast<std::uint8_t>(first)} + bytes("09 0004 000102030405060708");
            const bool old = first >= 1 && first <= 7;
            expect_no_result(read_message(parser, message, ctx_), kMalformed, old ? 0 : 1);
        }
        expect_route(read_message(parser, kSpmsi.octets(), ctx_), kSpmsi, 1);            // starts with 3
        expect_route(read_message(parser, ha_new(1, kSpmsi.octets()), ctx_), kSpmsi, 1); // starts with 0
        // route type 8: as a message 0x80001, here a TLV of type 0x080c
        const Bytes eight = bytes("08 0c 0000 0064 00000001 c0a80a0b");
        expect_no_result(read_message(QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv, eight, ctx_), kBadValue, 0);
        expect_no_result(read_message(parser, eight, ctx_), kMalformed, 1);
    }
}

TEST_F(RoutePrefix, HaMessagesOfOtherTlvsAreReported)
{
    for (const MessageParser parser : kHaParsers) {
        for (std::uint32_t type = 0; type < 65536; type += type < 300 ? 1 : 17) {
            const std::uint32_t first = type >> 8;
            if (type != 11 && type != 21 && (first == 0 || first > 7)) {
                const MessageGot got = read_message(parser, tlv(type, kIntra.octets()), ctx_);
                expect_no_result(got, kMalformed, 1);
            }
        }
    }
}

TEST_F(RoutePrefix, AHaTlvLongerThanItsMessageIsReported)
{
    for (const MessageParser parser : kHaParsers) {
        for (const std::uint32_t type : {11U, 21U, 12U}) { // ahead of the type
            const Bytes message = tlv(type, kIntra.octets(), 15);
            expect_no_result(read_message(parser, message, ctx_), kNull, 1);
        }
        expect_route(read_message(parser, tlv(11, kIntra.octets(), 14), ctx_), kIntra, 1);
    }
}

TEST_F(RoutePrefix, AHaMessageTooShortForAHeaderIsReported)
{
    for (const MessageParser parser : kHaParsers) {
        for (const std::size_t length : {1U, 2U, 3U}) {
            const Bytes whole = in_tlv(kIntra.octets());
            const Bytes rest = slice(whole, length, whole.size() - length);
            const Message message(slice(whole, 0, length), rest + slack(0, QEL_MSG_READ_SLACK - rest.size()));
            const MessageGot got = read_message(
                message, [&](auto data, auto told, auto result) { return parser(data, told, result, ctx_); });
            expect_no_result(got, kNull, 1);
        }
    }
}

TEST_F(RoutePrefix, AnOldHaTlvIsReadByItsOwnLength)
{
    for (const MessageParser parser : kHaParsers) {
        expect_no_result(read_message(parser, tlv(11, kIntra.octets(), 13), ctx_), kShort, 0);
        expect_route(read_message(parser, in_tlv(kIntra.octets()) + Bytes(9, 0xff), ctx_), kIntra, 1);
    }
}

// kept: four octets whatever the header of the kind TLV says
TEST_F(RoutePrefix, TheKindTlvTakesFourOctetsWhateverItsLengthSays)
{
    for (const MessageParser parser : kHaParsers) {
        for (const std::uint32_t told : {0U, 1U, 3U, 5U, 8U, 22U}) {
            const Bytes message = wire16(21) + wire16(told) + bytes("01000000") + in_tlv(kIntra.octets());
            expect_route(read_message(parser, message, ctx_), kIntra, 1);
        }
    }
}

TEST_F(RoutePrefix, ASecondHaTlvLongerThanItsMessageIsReportedAheadOfItsType)
{
    for (const MessageParser parser : kHaParsers) {
        for (const std::uint32_t type : {11U, 12U}) {
            const Bytes message = bytes("0015 0004 01000000") + tlv(type, kIntra.octets(), 15);
            expect_no_result(read_message(parser, message, ctx_), kNull, 1);
        }
    }
}

TEST_F(RoutePrefix, ASecondHaTlvOfAnotherTypeIsReported)
{
    for (const MessageParser parser : kHaParsers) {
        for (const std::uint32_t type : {0U, 10U, 12U, 21U, 0x0b00U}) {
            const Bytes message = bytes("0015 0004 01000000") + tlv(type, kIntra.octets());
            expect_no_result(read_message(parser, message, ctx_), kMalformed, 1);
        }
    }
}

// The kind of TLV 21 counts for every route type, where the older forms go by the type.
TEST_F(RoutePrefix, AHaMessageOfAKindFilesTheRdOfEveryRouteTypeByIt)
{
    const NgmvpnInstance mvrf(kMvrf4);
    for (const NlriCase &route : {ipmsi_routes()[0], ipmsi_leaf_routes()[0], cmcast_routes()[6]}) {
        for (const MessageParser parser : kHaParsers) {
            expect_route(read_message(parser, ha_new(1, route.octets()), mvrf.ctx), route, 1);
            expect_route(read_message(parser, ha_new(2, route.octets()), mvrf.ctx), route, 2);
        }
    }
}

struct HaRow {
    std::string name;
    Bytes message;
    std::uint32_t code; // 0: the intra-AS route of kind 1
    std::size_t asserts;
};

std::vector<HaRow> ha_rows()
{
    const Bytes route = kIntra.octets(); // 14 octets
    const Bytes kind = bytes("0015 0004 01000000");
    std::vector<HaRow> rows{
        {"TLV 11 one octet longer than the message", tlv(11, route, 15), kNull, 1},
        {"TLV 11 much longer than the message", tlv(11, route, 0xffff), kNull, 1},
        {"TLV 11 shorter than the route", tlv(11, route, 13), kShort, 0},
        {"TLV 11 shorter than the message", tlv(11, route + Bytes(3)), 0, 0},
        {"TLV 11 of nothing", tlv(11, {}), kShort, 0},
        {"TLV 11 of one octet", tlv(11, {1}), kShort, 0},
        {"TLV 11 of nothing ahead of a route", tlv(11, route, 0), kShort, 0},
        {"unknown and longer than the message", tlv(12, route, 15), kNull, 1}, // the length is looked at first
        {"unknown and as long as the message", tlv(12, route, 14), kMalformed, 1},
        {"TLV 21 alone", kind, kNull, 1},
        {"TLV 21 and three octets", kind + bytes("000b 00"), kNull, 1},
        {"TLV 21 and an empty TLV 11", kind + tlv(11, {}), kShort, 0},
        {"TLV 21 and a TLV 11 of one octet", kind + tlv(11, {1}), kShort, 0},
        {"second TLV one octet longer than the message", kind + tlv(11, route, 15), kNull, 1},
        {"second TLV much longer than the message", kind + tlv(11, route, 0xffff), kNull, 1},
        {"second TLV shorter than the route", kind + tlv(11, route, 13), kShort, 0},
        {"second TLV shorter than the message", kind + tlv(11, route) + Bytes(3), 0, 0},
        {"second TLV of another type", kind + tlv(12, route), kMalformed, 1},
        {"second TLV 21", kind + tlv(21, route), kMalformed, 1},
        {"second TLV 0x0b00", kind + tlv(0x0b00, route), kMalformed, 1},
        {"second TLV of another type and too long", kind + tlv(12, route, 15), kNull, 1},
        {"TLV 21 one octet longer than the message", bytes("0015 0017 01000000") + tlv(11, route), kNull, 1},
        // kept: TLV 21 takes four octets whatever its length says
        {"TLV 21 as long as the message", bytes("0015 0016 01000000") + tlv(11, route), 0, 0},
        {"TLV 21 of nothing", bytes("0015 0000 01000000") + tlv(11, route), 0, 0},
        {"TLV 21 of one octet", bytes("0015 0001 01000000") + tlv(11, route), 0, 0},
        {"TLV 21 of eight octets", bytes("0015 0008 01000000") + tlv(11, route), 0, 0},
        {"reserved octets of TLV 21", bytes("0015 0004 01ffeedd") + tlv(11, route), 0, 0},
    };
    const Bytes whole = ha_new(1, route);
    for (std::size_t length = 1; length < whole.size(); ++length) {
        rows.push_back({"cut at " + std::to_string(length), slice(whole, 0, length), kNull, 1});
    }
    const Bytes old = tlv(11, route);
    for (std::size_t length = 1; length < old.size(); ++length) {
        rows.push_back({"old, cut at " + std::to_string(length), slice(old, 0, length), kNull, 1});
    }
    return rows;
}

TEST_F(RoutePrefix, HaRows)
{
    for (const MessageParser parser : kHaParsers) {
        for (const HaRow &row : ha_rows()) {
            SCOPED_TRACE(row.name);
            const MessageGot got = read_message(parser, row.message, ctx_);
            if (row.code == 0) {
                expect_route(got, kIntra, 1);
            } else {
                expect_no_result(got, row.code, row.asserts);
            }
        }
    }
}

// What stands behind the end of a HA message is no part of it, even where it would make it whole.
TEST_F(RoutePrefix, AHaMessageThatIsCutIsRefusedWhateverStandsBehindIt)
{
    for (const MessageParser parser : kHaParsers) {
        for (const Bytes &whole : {ha_new(1, kIntra.octets()), in_tlv(kIntra.octets())}) {
            for (std::size_t length = 1; length < whole.size(); ++length) {
                SCOPED_TRACE(length);
                const Bytes rest = slice(whole, length, whole.size() - length);
                const Message message(slice(whole, 0, length), rest + slack(0, QEL_MSG_READ_SLACK - rest.size()));
                const MessageGot got = read_message(
                    message, [&](auto data, auto told, auto result) { return parser(data, told, result, ctx_); });
                expect_no_result(got, kNull, 1);
            }
        }
    }
}

// --- writing --------------------------------------------------------------------------------------------------------

// A host route at odd addresses; its RD section holds another RD than the key.
class PrefixRoute {
public:
    PrefixRoute(const QEL_NGMVPN_KEY_S &key, const QEL_RD_VALUE_S &rd) : key_(bytes_of(key)), rd_(bytes_of(rd))
    {
        info.uiValidMask = 0x3;
        info.uiRdLen = rd_.size();
        info.pucRd = rd_.data();
        info.uiKeyLen = key_.size();
        info.pucKey = key_.data();
    }
    PrefixRoute(const PrefixRoute &) = delete;
    PrefixRoute &operator=(const PrefixRoute &) = delete;

    QEL_ROUTE_INFO_S info{};

private:
    OddBytes key_;
    OddBytes rd_;
};

std::size_t room_of(std::uint32_t key_type)
{
    static constexpr std::size_t rooms[] = {0, 26, 14, 60, 78, 78, 44, 48, 48};
    return rooms[key_type];
}

// One way in which a route leaves.
struct WriteForm {
    std::string name;
    MessageFormatter formatter;
    std::size_t headers;
    std::function<Bytes(std::uint8_t kind, const Bytes &route)> wrap;
};

std::vector<WriteForm> write_forms()
{
    const auto bare = [](std::uint8_t, const Bytes &route) { return route; };
    return {
        {"Mvrf to Mvpn", QEL_NGMVPN_MvrfFormatToMvpnRtPrefixTlv, 0, bare},
        {"Mvpn to Mvrf", QEL_NGMVPN_MvpnFormatToMvrfRtPrefixTlv, 0, bare},
        {"Mvrf to Mc", QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv, 4,
         [](std::uint8_t, const Bytes &route) { return in_tlv(route); }},
        {"HA", QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv, 12, ha_new},
    };
}

// The RD of a written route replaced; it stands behind two octets of header, four in a leaf.
Bytes with_rd(const Bytes &route, std::string_view rd)
{
    Bytes out = route;
    const Bytes octets = bytes(rd);
    std::copy(octets.begin(), octets.end(), out.begin() + (route[0] == 4 ? 4 : 2));
    return out;
}

TEST_F(RoutePrefix, EveryRouteIsWrittenInEveryForm)
{
    for (const WriteForm &form : write_forms()) {
        for (const NlriCase &route : all_routes()) {
            for (const std::uint8_t kind : std::initializer_list<std::uint8_t>{2, 1, 0, 3, 255}) {
                SCOPED_TRACE(form.name + ", " + route.name + ", " + std::to_string(kind));
                const PrefixRoute held(with_kind(route.key, kind), rd0(7, 9));
                // the RD of the key goes out where it is a part of the key, else that of the section
                const Bytes wire = kind == 2 ? route.formatted() : with_rd(route.formatted(), "0000 0007 00000009");
                const std::size_t room = room_of(route.key.uiKeyType) + form.headers;
                for (const std::size_t spare : {0U, 1U, 100U}) {
                    expect_written(write_message(form.formatter, held.info, room + spare, ctx_), form.wrap(kind, wire));
                }
            }
        }
    }
}

TEST_F(RoutePrefix, EachKeyTypeHasItsWriter)
{
    for (const NlriCase &route : one_of_each()) {
        SCOPED_TRACE(route.name);
        const PrefixRoute held(route.key, rd0(7, 9));
        expect_written(write_message(QEL_NGMVPN_MvrfFormatToMvpnRtPrefixTlv, held.info, 100, ctx_), route.formatted());
    }
}

TEST_F(RoutePrefix, ForMcTheRouteGoesOutInTlvEleven)
{
    const PrefixRoute route(kIntra.key, kIntra.key.stRd);
    const Written got = write_message(QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv, route.info, 40, ctx_);
    expect_written(got, bytes("000b 000e") + kIntra.octets());
}

TEST_F(RoutePrefix, ForMcFewerThanFourOctetsAreNoRoom)
{
    const PrefixRoute route(kIntra.key, kIntra.key.stRd);
    for (std::size_t room = 0; room < 4; ++room) {
        const Written got = write_message(QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv, route.info, room, ctx_);
        expect_not_written(got, kNoRoom);
    }
}

TEST_F(RoutePrefix, ForMcFourOctetsAreRoomForTheHeaderAndTheRouteIsLookedAt)
{
    QEL_NGMVPN_KEY_S key = kIntra.key;
    key.uiKeyType = 9;
    const PrefixRoute faulty(key, key.stRd);
    expect_not_moved(write_message(QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv, faulty.info, 4, ctx_), kBadValue);
    const PrefixRoute route(kIntra.key, kIntra.key.stRd);
    expect_not_moved(write_message(QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv, route.info, 4, ctx_), kNoRoom);
}

TEST_F(RoutePrefix, TheHaWriterPutsTheKindAndThreeZerosAheadOfTheRoute)
{
    const PrefixRoute route(with_kind(kIntra.key, 0x21), kIntra.key.stRd);
    const Written got = write_message(QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv, route.info, 40, ctx_);
    expect_written(got, bytes("0015 0004 21 000000 000b 000e") + kIntra.octets());
}

TEST_F(RoutePrefix, TheHaWriterNeedsTwelveOctetsForItsHeaders)
{
    const PrefixRoute route(kIntra.key, kIntra.key.stRd);
    for (std::size_t room = 0; room < 12; ++room) {
        const Written got = write_message(QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv, route.info, room, ctx_);
        expect_not_written(got, kNoRoom);
    }
    QEL_NGMVPN_KEY_S key = kIntra.key; // with room for them the route is looked at
    key.uiKeyType = 9;
    const PrefixRoute faulty(key, key.stRd);
    expect_not_moved(write_message(QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv, faulty.info, 12, ctx_), kBadValue);
}

TEST_F(RoutePrefix, TheRoomBehindTheHaHeadersIsWhatTheRouteHas)
{
    const PrefixRoute route(kIntra.key, kIntra.key.stRd);
    const auto write = [&](std::size_t room) {
        return write_message(QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv, route.info, room, ctx_);
    };
    expect_not_moved(write(12 + 25), kNoRoom);
    expect_written(write(12 + 26), ha_new(2, kIntra.octets()));
}

TEST_F(RoutePrefix, TheRoomMustDoForTheLargestFormOfTheRoute)
{
    for (const WriteForm &form : write_forms()) {
        for (const NlriCase &route : one_of_each()) {
            const PrefixRoute held(route.key, rd0(7, 9));
            for (std::size_t room = 0; room < room_of(route.key.uiKeyType) + form.headers; ++room) {
                SCOPED_TRACE(form.name + ", " + route.name + ", " + std::to_string(room));
                const Written got = write_message(form.formatter, held.info, room, ctx_);
                expect_not_moved(got, kNoRoom);
                if (form.headers == 0 || room < form.headers) {
                    EXPECT_EQ(got.buffer, untouched(room));
                } else { // nothing of the route, though its headers stand there
                    EXPECT_EQ(slice(got.buffer, form.headers, room - form.headers), untouched(room - form.headers));
                }
            }
        }
    }
}

TEST_F(RoutePrefix, MvrfAndMvpnSendEachOtherTheSameOctets)
{
    const NgmvpnInstance mvpn(kMvpn4);
    const NgmvpnInstance mvrf(kMvrf4);
    const PrefixRoute at_mvpn(kSpmsi.key, kSpmsi.key.stRd);
    const PrefixRoute at_mvrf(with_kind(kSpmsi.key, 1), kSpmsi.key.stRd);
    const auto write = [](const NgmvpnInstance &instance, const PrefixRoute &route, std::uint32_t type) {
        return write_message(100, [&](auto cursor, auto room) {
            return instance.desc.pfFormatMsg(&route.info, type, cursor, room, instance.ctx);
        });
    };
    for (const std::uint32_t type : {53U, 55U}) {
        expect_written(write(mvrf, at_mvrf, type), kSpmsi.octets());
    }
    for (const std::uint32_t type : {59U, 61U}) {
        expect_written(write(mvpn, at_mvpn, type), kSpmsi.octets());
    }
}

// kept: the message kind takes no part in what is written; the receiver alone decides where the RD belongs
TEST_F(RoutePrefix, TheMessageKindChangesNothingOnTheWayOut)
{
    const PrefixRoute route(with_kind(kSourceTree.key, 1), kSourceTree.key.stRd);
    for (std::uint32_t kind = 0; kind < 300; ++kind) {
        const Written got = write_message(60, [&](auto cursor, auto room) {
            return QEL_NGMVPN_FormatRtPrefixTlvNew(&route.info, cursor, room, ctx_, kind);
        });
        expect_written(got, kSourceTree.octets());
    }
}

// The writer sends the kind as it stands; only Mvpn overrules it.
TEST_F(RoutePrefix, TheHaWriterSendsTheKindAndMvpnAloneOverrulesIt)
{
    for (unsigned kind = 0; kind < 256; ++kind) {
        const auto octet = static_cast<std::uint8_t>(kind);
        for (const std::uint16_t instance : kKinds) {
            SCOPED_TRACE(std::to_string(kind) + " on " + std::to_string(instance));
            ctx_->usInstanceKind = instance;
            const PrefixRoute route(with_kind(kIntra.key, octet), kIntra.key.stRd);
            const Written got = write_message(QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv, route.info, 38, ctx_);
            expect_written(got, ha_new(octet, kIntra.octets()));
            for (const MessageParser parser : kHaParsers) {
                expect_route(read_message(parser, slice(got.buffer, 0, 26), ctx_), kIntra,
                             is_mvpn(instance) ? kRdInKey : octet);
            }
        }
    }
}

TEST_F(RoutePrefix, AKeyTypeOutsideOneToEightIsRefused)
{
    for (const WriteForm &form : write_forms()) {
        for (const std::uint32_t type : {0U, 9U, 10U, 255U, 256U, 257U, 0x01000000U, 0xffffffffU}) {
            SCOPED_TRACE(form.name + ", " + std::to_string(type));
            QEL_NGMVPN_KEY_S key = kIntra.key;
            key.uiKeyType = type;
            const PrefixRoute route(key, kIntra.key.stRd);
            const Written got = write_message(form.formatter, route.info, 100, ctx_);
            expect_not_moved(got, kBadValue);
            EXPECT_EQ(slice(got.buffer, form.headers, 100 - form.headers), untouched(100 - form.headers));
        }
    }
}

TEST_F(RoutePrefix, ARouteWithoutItsRdSectionIsRefusedButForTheIntraAsOne)
{
    for (const WriteForm &form : write_forms()) {
        for (const NlriCase &route : one_of_each()) {
            SCOPED_TRACE(form.name + ", " + route.name);
            PrefixRoute held(route.key, rd0(7, 9));
            held.info.pucRd = nullptr;
            const Written got = write_message(form.formatter, held.info, 100, ctx_);
            if (route.key.uiKeyType == 1) {
                expect_written(got, form.wrap(2, route.formatted()));
            } else {
                expect_not_moved(got, kNull, 1);
            }
        }
    }
}

TEST_F(RoutePrefix, TheRoomBehindTheHeaderForMcIsCountedInSixteenBits)
{
    const PrefixRoute route(kIntra.key, kIntra.key.stRd);
    const auto write = [&](std::uint32_t told) {
        return write_message(
            40,
            [&](auto cursor, auto room) {
                return QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv(&route.info, cursor, room, ctx_);
            },
            told);
    };
    for (const std::uint32_t told : {0x10004U, 0x10004U + 25, 0xffff0004U}) {
        expect_not_moved(write(told), kNoRoom);
    }
    for (const std::uint32_t told : {0x10003U, 0x10004U + 26}) {
        expect_written(write(told), in_tlv(kIntra.octets()));
    }
}

TEST_F(RoutePrefix, WritersReportOneMissingArgument)
{
    const PrefixRoute route(kIntra.key, kIntra.key.stRd);
    for (const WriteForm &form : write_forms()) {
        SCOPED_TRACE(form.name);
        expect_null_arguments_refused(3, [&](unsigned nulls) {
            OddBytes out(untouched(60));
            std::uint8_t *cursor = out.data();
            const std::uint32_t code =
                form.formatter(null_if(nulls, 0, &route.info), null_if(nulls, 1, &cursor), 60, null_if(nulls, 2, ctx_));
            EXPECT_EQ(cursor, out.data());
            return code;
        });
    }
    expect_null_arguments_refused(3, [&](unsigned nulls) { // ahead of the room
        std::uint8_t *cursor = nullptr;
        return QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv(null_if(nulls, 0, &route.info), null_if(nulls, 1, &cursor), 0,
                                                          null_if(nulls, 2, ctx_));
    });
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        std::uint8_t *cursor = nullptr;
        return QEL_NGMVPN_FormatRtPrefixTlvNew(null_if(nulls, 0, &route.info), null_if(nulls, 1, &cursor), 0,
                                               null_if(nulls, 2, ctx_), 8);
    });
}

TEST_F(RoutePrefix, ForMcArgumentsAreLookedAtAheadOfTheRoom)
{
    const PrefixRoute route(kIntra.key, kIntra.key.stRd);
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        std::uint8_t *cursor = nullptr;
        return QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv(null_if(nulls, 0, &route.info), null_if(nulls, 1, &cursor), 0,
                                                    null_if(nulls, 2, ctx_));
    });
}

TEST_F(RoutePrefix, ArgumentsOfAWriterAreLookedAtAheadOfTheKeyType)
{
    QEL_NGMVPN_KEY_S key = kIntra.key;
    key.uiKeyType = 9;
    const PrefixRoute route(key, key.stRd);
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        std::uint8_t *cursor = nullptr;
        return QEL_NGMVPN_FormatRtPrefixTlvNew(null_if(nulls, 0, &route.info), null_if(nulls, 1, &cursor), 100,
                                               null_if(nulls, 2, ctx_), 8);
    });
}

TEST_F(RoutePrefix, WritersAllocateNothing)
{
    const PrefixRoute route(kIntra.key, kIntra.key.stRd);
    const platform::FailAllocation fail(0);
    for (const WriteForm &form : write_forms()) {
        EXPECT_EQ(write_message(form.formatter, route.info, 60, ctx_).code, 0U);
    }
    EXPECT_FALSE(fail.fired());
}

TEST_F(RoutePrefix, WhatAFormWritesItsReaderTakes)
{
    const std::pair<std::size_t, std::size_t> pairs[] = {{0, 0}, {1, 1}, {2, 2}}; // places in forms()
    for (const auto &[writer, reader] : pairs) {
        for (const NlriCase &route : all_routes()) {
            if (!route.back.empty()) {
                continue; // comes back shorter than it was
            }
            const WriteForm out = write_forms()[writer];
            const Form in = forms()[reader];
            SCOPED_TRACE(in.name + ", " + route.name);
            const NgmvpnInstance instance(route.side);
            const PrefixRoute held(route.key, route.key.stRd);
            const Written got = write_message(out.formatter, held.info, 90, instance.ctx);
            expect_route(
                read_message(in.parser, slice(got.buffer, 0, static_cast<std::size_t>(got.moved)), instance.ctx), route,
                in.rd_kind(route.octets()[0], instance.ctx->usInstanceKind));
        }
    }
}

// --- rows -----------------------------------------------------------------------------------------------------------

TEST(RoutePrefixRows, MessageTypesLeadToTheirHandlers)
{
    const struct {
        std::uint32_t type;
        MessageParser parser;
        MessageFormatter formatter;
    } rows[] = {
        {53, QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv, QEL_NGMVPN_MvrfFormatToMvpnRtPrefixTlv},
        {55, QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv, QEL_NGMVPN_MvrfFormatToMvpnRtPrefixTlv},
        {59, QEL_NGMVPN_MvrfParseFromMvpnRtPrefixTlv, QEL_NGMVPN_MvpnFormatToMvrfRtPrefixTlv},
        {61, QEL_NGMVPN_MvrfParseFromMvpnRtPrefixTlv, QEL_NGMVPN_MvpnFormatToMvrfRtPrefixTlv},
        {15, QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv, nullptr},
        {16, QEL_NGMVPN_ParseMcRoutePathTlv, nullptr},
        {5, nullptr, QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv},
        {6, nullptr, QEL_NGMVPN_FormatRoutePathTlv},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.type);
        const QEL_DISPATCH_ENTRY_S *in = QEL_NGMVPN_GetBgpiMsgParseEntry(row.type);
        EXPECT_EQ(in != nullptr ? in->pfParseMsg : nullptr, row.parser);
        const QEL_DISPATCH_ENTRY_S *out = QEL_NGMVPN_GetBgpiMsgFormatEntry(row.type);
        EXPECT_EQ(out != nullptr ? out->pfFormatMsg : nullptr, row.formatter);
    }
}

TEST(RoutePrefixRows, HaMessageTypesLeadToTheirHandlers)
{
    for (const std::uint32_t type : {1U, 3U, 5U, 8U}) {
        SCOPED_TRACE(type);
        const QEL_DISPATCH_ENTRY_S *in = QEL_NGMVPN_GetHaiMsgParseEntry(type);
        ASSERT_NE(in, nullptr);
        EXPECT_EQ(in->pfParseMsg, type == 8 ? QEL_NGMVPN_ParseHARtPrefixTlvGlbal : QEL_NGMVPN_ParseHARtPrefixTlv);
        const QEL_DISPATCH_ENTRY_S *out = QEL_NGMVPN_GetHaiMsgFormatEntry(type);
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(out->pfFormatMsg, QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv);
    }
    for (const std::uint32_t type : {0U, 2U, 4U, 9U, 12U, 53U}) {
        EXPECT_EQ(QEL_NGMVPN_GetHaiMsgParseEntry(type), nullptr) << type;
        EXPECT_EQ(QEL_NGMVPN_GetHaiMsgFormatEntry(type), nullptr) << type;
    }
}

TEST(RoutePrefixRows, ATypeWithoutARowHasNoHandler)
{
    for (const std::uint32_t type : {0U, 5U, 6U, 17U, 54U, 139U, 0x10000U + 53}) {
        EXPECT_EQ(QEL_NGMVPN_GetBgpiMsgParseEntry(type), nullptr) << type;
    }
    for (const std::uint32_t type : {0U, 15U, 16U, 18U, 54U, 157U, 0x10000U + 53}) {
        EXPECT_EQ(QEL_NGMVPN_GetBgpiMsgFormatEntry(type), nullptr) << type;
    }
    for (const std::uint32_t type : {0U, 2U, 4U, 9U, 12U, 0x10000U + 1}) {
        EXPECT_EQ(QEL_NGMVPN_GetHaiMsgParseEntry(type), nullptr) << type;
        EXPECT_EQ(QEL_NGMVPN_GetHaiMsgFormatEntry(type), nullptr) << type;
    }
}

} // namespace
} // namespace qel::test
