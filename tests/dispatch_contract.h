// What the operations of a descriptor promise before a handler runs, checked alike for every family: which null
// arguments are refused, in which order, and what an unknown type code gives.
#pragma once

#include "support.h"
#include "table_contract.h"

#include <array>

namespace qel::test {

// Codes that no table of any family has, among them codes that a narrower compare would take for 1, 2 or 14.
inline constexpr std::uint32_t kUnknownTypes[] = {0, 200, 0x101, 0x10e, 0x10001, 0x1000e, 0xffffffff};

// The arguments of one call. Argument number i of those that are tested is null if bit i of `nulls` is set.
class Call {
public:
    Call(QEL_FAMILY_CTX_S *context, unsigned null_bits, std::uint32_t type_code)
        : type(type_code), nulls_(null_bits), context_(context)
    {
        std::memset(&route, 0, sizeof(route));
    }

    template <class T> T *arg(unsigned i, T &target) const { return (nulls_ >> i & 1U) != 0 ? nullptr : &target; }
    QEL_FAMILY_CTX_S *ctx(unsigned i) const { return (nulls_ >> i & 1U) != 0 ? nullptr : context_; }
    const std::uint8_t *octets(unsigned i) const { return arg(i, in[0]); }

    // Nothing that a caller hands in was written.
    void expect_untouched() const
    {
        const Call fresh(context_, nulls_, type);
        EXPECT_EQ(std::memcmp(&route, &fresh.route, sizeof(route)), 0);
        EXPECT_EQ(in, fresh.in);
        EXPECT_EQ(in_cursor, in.data());
        EXPECT_EQ(out, fresh.out);
        EXPECT_EQ(out_cursor, out.data());
        EXPECT_EQ(text, fresh.text);
        EXPECT_EQ(result, fresh.result);
        EXPECT_EQ(index, fresh.index);
        EXPECT_EQ(more, fresh.more);
    }

    std::uint32_t type;
    QEL_ROUTE_INFO_S route;
    std::array<std::uint8_t, 16> in{1, 2, 3, 4, 5, 6, 7, 8};
    const std::uint8_t *in_cursor = in.data();
    std::array<std::uint8_t, 16> out{9, 10, 11};
    std::uint8_t *out_cursor = out.data();
    std::array<char, 16> text{"untouched"};
    QEL_ROUTE_BLOCK_S *result = marker();
    std::uint32_t index = 0xa5a5a5a5;
    std::uint32_t more = 0x5a5a5a5a;

private:
    static QEL_ROUTE_BLOCK_S *marker()
    {
        static QEL_ROUTE_BLOCK_S block{};
        return &block;
    }

    unsigned nulls_;
    QEL_FAMILY_CTX_S *context_;
};

struct Operation {
    const char *name;
    unsigned tested;                      // arguments whose null is refused
    unsigned optional = 0;                // further pointer arguments that may be null: bits behind the tested ones
    std::uint32_t refusal = QEL_ERR_NULL; // what a null argument gives
    std::uint32_t not_found = QEL_ERR_NO_ENTRY; // what an unknown type code gives
    std::uint32_t (*call)(const QEL_FAMILY_DESC_S &desc, Call &c) = nullptr;
    const char *log = nullptr; // the debug line of an unknown type code
};

using Operations = std::vector<Operation>;

inline constexpr std::uint32_t kCmpFailed = static_cast<std::uint32_t>(QEL_CMP_FAILED);

inline Operation parse_pkt()
{
    return {.name = "ParsePkt", .tested = 4, .not_found = QEL_OK, .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return desc.pfParsePkt(c.arg(0, c.in_cursor), 8, 0xdeadbeef, c.type, c.arg(1, c.result),
                                       c.arg(2, c.more), c.ctx(3));
            }};
}

inline Operation format_pkt()
{
    return {.name = "FormatPkt", .tested = 2, .optional = 1, .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return desc.pfFormatPkt(c.arg(0, c.route), c.type, c.arg(1, c.out_cursor), 16, c.ctx(2));
            }};
}

// A reader of one of the four message kinds.
template <auto kSlot> Operation parse_tlv(const char *name)
{
    return {.name = name, .tested = 3, .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return (desc.*kSlot)(c.octets(0), 8, c.type, c.arg(1, c.result), c.ctx(2));
            }};
}

// A writer of one of the three message kinds; only pfFormatMsg tests the context.
template <auto kSlot> Operation format_tlv(const char *name, bool tests_ctx)
{
    return {.name = name,
            .tested = tests_ctx ? 3U : 2U,
            .optional = tests_ctx ? 0U : 1U,
            .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return (desc.*kSlot)(c.arg(0, c.route), c.type, c.arg(1, c.out_cursor), 16, c.ctx(2));
            }};
}

inline Operation format_cfg()
{
    return {.name = "FormatCfg", .tested = 4, .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return desc.pfFormatCfg(c.arg(0, c.route), c.type, c.arg(1, c.out_cursor), 16, c.arg(2, c.index),
                                        c.arg(3, c.more));
            }};
}

inline Operation data2str()
{
    return {.name = "Data2Str",
            .tested = 5,
            .not_found = QEL_ERR_NO_DATA2STR,
            .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return desc.pfData2Str(c.arg(0, c.route), c.type, c.arg(1, c.text[0]), 16, c.arg(2, c.index),
                                       c.arg(3, c.more), c.ctx(4));
            }};
}

inline Operation set_attr()
{
    return {.name = "SetAttr", .tested = 3, .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return desc.pfSetAttr(c.arg(0, c.route), c.type, 0xffffffff, c.arg(1, c.result), c.ctx(2));
            }};
}

inline Operation apply_action()
{
    return {.name = "ApplyAction",
            .tested = 4,
            .not_found = QEL_ERR_NO_ACTION,
            .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return desc.pfApplyAction(c.arg(0, c.route), c.type, c.octets(1), 8, c.arg(2, c.result), c.ctx(3));
            }};
}

inline Operation parse_add_attr_msg()
{
    return {.name = "ParseAddAttrMsg",
            .tested = 3,
            .optional = 1, // the route is not tested
            .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return desc.pfParseAddAttrMsg(c.arg(3, c.route), c.octets(0), 8, c.type, c.arg(1, c.result), c.ctx(2));
            }};
}

inline Operation cmp_data()
{
    return {.name = "CmpData",
            .tested = 2,
            .refusal = kCmpFailed,
            .not_found = kCmpFailed,
            .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return static_cast<std::uint32_t>(desc.pfCmpData(c.arg(0, c.in), 8, c.arg(1, c.out), 8, c.type));
            }};
}

inline Operation cmp_data_for_attr_type()
{
    return {.name = "CmpDataForAttrType",
            .tested = 2,
            .refusal = kCmpFailed,
            .not_found = kCmpFailed,
            .call = [](const QEL_FAMILY_DESC_S &desc, Call &c) {
                return static_cast<std::uint32_t>(
                    desc.pfCmpDataForAttrType(c.arg(0, c.in), 8, c.arg(1, c.out), 8, c.type, 16));
            }};
}

// The operations that all families have with the same checks and codes.
inline Operations shared_operations()
{
    return {parse_pkt(),
            format_pkt(),
            parse_tlv<&QEL_FAMILY_DESC_S::pfParseMsg>("ParseMsg"),
            format_tlv<&QEL_FAMILY_DESC_S::pfFormatMsg>("FormatMsg", true),
            parse_tlv<&QEL_FAMILY_DESC_S::pfParseHaMsg>("ParseHaMsg"),
            format_tlv<&QEL_FAMILY_DESC_S::pfFormatHaMsg>("FormatHaMsg", false),
            parse_tlv<&QEL_FAMILY_DESC_S::pfParseAttrMsg>("ParseAttrMsg"),
            format_tlv<&QEL_FAMILY_DESC_S::pfFormatAttrMsg>("FormatAttrMsg", false),
            parse_tlv<&QEL_FAMILY_DESC_S::pfParseCfg>("ParseCfg"),
            format_cfg(),
            data2str(),
            set_attr(),
            apply_action(),
            cmp_data()};
}

inline Operation &find_operation(Operations &operations, std::string_view name)
{
    for (Operation &operation : operations) {
        if (operation.name == name) {
            return operation;
        }
    }
    throw std::invalid_argument(std::string(name));
}

// Family: kConstruct, kDestruct, kSource, operations().
template <class Family> class DispatchContract : public ::testing::Test {
protected:
    LeakCheck leaks_;
    Instance instance_{Family::kConstruct, Family::kDestruct, 1};
    platform::Recorder recorder_;

    std::uint32_t call(const Operation &operation, unsigned nulls, std::uint32_t type)
    {
        recorder_.clear();
        Call c(instance_.ctx, nulls, type);
        const std::uint32_t code = operation.call(instance_.desc, c);
        c.expect_untouched();
        return code;
    }
};
TYPED_TEST_SUITE_P(DispatchContract);

TYPED_TEST_P(DispatchContract, EachTestedArgumentIsRefusedWithOneReport)
{
    for (const Operation &operation : TypeParam::operations()) {
        SCOPED_TRACE(operation.name);
        for (unsigned i = 0; i < operation.tested; ++i) {
            SCOPED_TRACE(i);
            for (const std::uint32_t type : kUnknownTypes) {
                EXPECT_EQ(this->call(operation, 1U << i, type), operation.refusal);
                ASSERT_EQ(this->recorder_.asserts().size(), 1U);
                const platform::AssertRecord &report = this->recorder_.asserts()[0];
                EXPECT_NE(report.file.find(TypeParam::kSource), std::string::npos) << report.file;
                EXPECT_GT(report.line, 0U);
                EXPECT_EQ(report.value, 0U);
                EXPECT_TRUE(this->recorder_.debugs().empty());
            }
        }
    }
}

TYPED_TEST_P(DispatchContract, ArgumentsAreTestedBeforeTheTypeIsLookedUp)
{
    for (const Operation &operation : TypeParam::operations()) {
        SCOPED_TRACE(operation.name);
        for (unsigned i = 0; i < operation.tested; ++i) {
            SCOPED_TRACE(i);
            for (const std::uint32_t type : {1U, 5U, 6U, 11U, 14U, 15U, 16U, 53U}) { // types of some table
                EXPECT_EQ(this->call(operation, 1U << i, type), operation.refusal);
                EXPECT_EQ(this->recorder_.asserts().size(), 1U);
            }
        }
    }
}

TYPED_TEST_P(DispatchContract, OfSeveralMissingArgumentsTheFirstIsReportedAlone)
{
    for (const Operation &operation : TypeParam::operations()) {
        SCOPED_TRACE(operation.name);
        for (unsigned i = 0; i < operation.tested; ++i) {
            SCOPED_TRACE(i);
            this->call(operation, 1U << i, 200);
            ASSERT_EQ(this->recorder_.asserts().size(), 1U);
            const std::uint32_t line = this->recorder_.asserts()[0].line;
            const unsigned all = (1U << operation.tested) - 1;
            EXPECT_EQ(this->call(operation, all & ~((1U << i) - 1), 200), operation.refusal);
            ASSERT_EQ(this->recorder_.asserts().size(), 1U);
            EXPECT_EQ(this->recorder_.asserts()[0].line, line);
        }
    }
}

TYPED_TEST_P(DispatchContract, AnUnknownTypeGivesTheOperationsOwnCodeAndWritesNothing)
{
    for (const Operation &operation : TypeParam::operations()) {
        SCOPED_TRACE(operation.name);
        for (const std::uint32_t type : kUnknownTypes) {
            SCOPED_TRACE(type);
            EXPECT_EQ(this->call(operation, 0, type), operation.not_found);
            EXPECT_TRUE(this->recorder_.asserts().empty());
            EXPECT_TRUE(this->recorder_.debugs().empty()) << "debug output is off";
        }
    }
}

TYPED_TEST_P(DispatchContract, ArgumentsThatAreNotTestedMayBeNull)
{
    for (const Operation &operation : TypeParam::operations()) {
        SCOPED_TRACE(operation.name);
        const unsigned nulls = ((1U << operation.optional) - 1) << operation.tested;
        EXPECT_EQ(this->call(operation, nulls, 200), operation.not_found);
        EXPECT_TRUE(this->recorder_.asserts().empty());
    }
}

TYPED_TEST_P(DispatchContract, ParsePktAnswersZeroToLengthZeroBeforeItLooksTheTypeUp)
{
    for (const std::uint32_t type : {14U, 15U, 16U, 22U, 25U, 40U, 66U, 256U, 200U}) {
        Call c(this->instance_.ctx, 0, type);
        EXPECT_EQ(this->instance_.desc.pfParsePkt(&c.in_cursor, 0, 0, type, &c.result, &c.more, this->instance_.ctx),
                  QEL_OK)
            << type;
        c.expect_untouched();
    }
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(DispatchContract, ParsePktTestsItsArgumentsEvenWithLengthZero)
{
    const QEL_PARSE_PKT_F parse = this->instance_.desc.pfParsePkt;
    for (unsigned i = 0; i < 4; ++i) {
        this->recorder_.clear();
        Call c(this->instance_.ctx, 1U << i, 200);
        EXPECT_EQ(parse(c.arg(0, c.in_cursor), 0, 0, 200, c.arg(1, c.result), c.arg(2, c.more), c.ctx(3)),
                  QEL_ERR_NULL);
        c.expect_untouched();
        EXPECT_EQ(this->recorder_.asserts().size(), 1U);
    }
}

REGISTER_TYPED_TEST_SUITE_P(DispatchContract, EachTestedArgumentIsRefusedWithOneReport,
                            ArgumentsAreTestedBeforeTheTypeIsLookedUp, OfSeveralMissingArgumentsTheFirstIsReportedAlone,
                            AnUnknownTypeGivesTheOperationsOwnCodeAndWritesNothing, ArgumentsThatAreNotTestedMayBeNull,
                            ParsePktAnswersZeroToLengthZeroBeforeItLooksTheTypeUp,
                            ParsePktTestsItsArgumentsEvenWithLengthZero);

using Lookup = const QEL_DISPATCH_ENTRY_S *(*)(std::uint32_t);

inline void expect_no_lookup_finds_an_unknown_type(std::initializer_list<Lookup> lookups)
{
    std::size_t i = 0;
    for (const Lookup lookup : lookups) {
        for (const std::uint32_t type : kUnknownTypes) {
            EXPECT_EQ(lookup(type), nullptr) << "lookup " << i << " type " << type;
        }
        ++i;
    }
}

} // namespace qel::test
