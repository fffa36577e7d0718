// Scratch memory, debug output and byte order of NG-MVPN.
#include "ngmvpn/qel_ngmvpn.h"

#include "ngmvpn/qel_ngmvpn_util.h"

#include "fail_copy.h"
#include "scratch_contract.h"

#include <algorithm>
#include <array>

namespace qel::test {
namespace {

struct Ngmvpn {
    static constexpr Construct kConstruct = QEL_NGMVPN_Construct;
    static constexpr Destruct kDestruct = QEL_NGMVPN_Destruct;
    static constexpr auto kMalloc = QEL_NGMVPN_Malloc;
    static constexpr auto kFree = QEL_NGMVPN_Free;
    static constexpr const char *kSource = "qel_ngmvpn_util.cpp";
};

INSTANTIATE_TYPED_TEST_SUITE_P(Ngmvpn, ScratchContract, Ngmvpn);

class NgmvpnScratch : public ::testing::Test {
protected:
    void give_back(void *mem) { QEL_NGMVPN_Free(&mem, ctx_); }

    LeakCheck leaks_;
    Instance instance_{QEL_NGMVPN_Construct, QEL_NGMVPN_Destruct, 1};
    QEL_FAMILY_CTX_S *ctx_ = instance_.ctx;
    platform::Recorder recorder_;
};

TEST_F(NgmvpnScratch, TheInlineBufferServesUpTo256BytesAndMoreIsTheHeaps)
{
    void *inline_mem = QEL_NGMVPN_Malloc(ctx_, 256);
    EXPECT_EQ(inline_mem, ctx_->aucInlineBuf);
    give_back(inline_mem);
    void *heap_mem = QEL_NGMVPN_Malloc(ctx_, 257);
    EXPECT_NE(heap_mem, ctx_->aucInlineBuf);
    give_back(heap_mem);
}

TEST_F(NgmvpnScratch, ASecondRequestIsTheHeapsUntilTheBufferIsBack)
{
    void *first = QEL_NGMVPN_Malloc(ctx_, 16);
    void *second = QEL_NGMVPN_Malloc(ctx_, 16);
    EXPECT_EQ(first, ctx_->aucInlineBuf);
    EXPECT_NE(second, ctx_->aucInlineBuf);
    give_back(first);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    void *third = QEL_NGMVPN_Malloc(ctx_, 16);
    EXPECT_EQ(third, ctx_->aucInlineBuf);
    give_back(second);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 1U);
    give_back(third);
}

TEST_F(NgmvpnScratch, ASizeOfZeroIsNothingAndNoReport)
{
    EXPECT_EQ(QEL_NGMVPN_Malloc(ctx_, 0), nullptr);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnScratch, AMissingContextIsReportedBeforeTheSizeIsLookedAt)
{
    EXPECT_EQ(QEL_NGMVPN_Malloc(nullptr, 0), nullptr);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
}

TEST_F(NgmvpnScratch, AnExhaustedHeapIsNotReported)
{
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_NGMVPN_Malloc(ctx_, 257), nullptr);
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnScratch, GivingBackSetsThePointerToNull)
{
    for (const std::uint32_t size : {1U, 257U}) {
        void *mem = QEL_NGMVPN_Malloc(ctx_, size);
        QEL_NGMVPN_Free(&mem, ctx_);
        EXPECT_EQ(mem, nullptr);
    }
}

TEST_F(NgmvpnScratch, GivingBackNothingIsReportedOnce)
{
    void *nothing = nullptr;
    QEL_NGMVPN_Free(nullptr, ctx_);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    QEL_NGMVPN_Free(&nothing, ctx_);
    EXPECT_EQ(recorder_.asserts().size(), 2U);
    void *held = ctx_->aucInlineBuf;
    QEL_NGMVPN_Free(&held, nullptr);
    EXPECT_EQ(recorder_.asserts().size(), 3U);
    EXPECT_EQ(held, ctx_->aucInlineBuf);
}

TEST_F(NgmvpnScratch, AnInlineBufferThatIsBackAlreadyIsReportedAndStaysBack)
{
    void *mem = ctx_->aucInlineBuf;
    QEL_NGMVPN_Free(&mem, ctx_);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    EXPECT_EQ(mem, nullptr);
}

class NgmvpnDebug : public ::testing::Test {
protected:
    static constexpr std::uint32_t kModule = 0x11223344;
    static constexpr std::uint32_t kHandle = 0x99aabbcc;

    void turn_on() { QEL_NGMVPN_SetLibDebug(kModule, kHandle, ctx_); }

    void expect_lines(const std::vector<std::string> &expected) const
    {
        ASSERT_EQ(recorder_.debugs().size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const platform::DebugRecord &line = recorder_.debugs()[i];
            EXPECT_EQ(line.module, kModule);
            EXPECT_EQ(line.handle, kHandle);
            EXPECT_EQ(line.name, "NULL");
            EXPECT_EQ(line.code, 0x879ac001U);
            ASSERT_EQ(line.text.substr(0, 13), "[MCAST][Line:");
            EXPECT_EQ(line.text.substr(line.text.find("]:", 13) + 2), expected[i]);
        }
    }

    LeakCheck leaks_;
    Instance instance_{QEL_NGMVPN_Construct, QEL_NGMVPN_Destruct, 1};
    QEL_FAMILY_CTX_S *ctx_ = instance_.ctx;
    platform::Recorder recorder_;
};

TEST_F(NgmvpnDebug, SetLibDebugKeepsModuleAndHandleInTheContextAlone)
{
    QEL_FAMILY_CTX_S expected;
    std::memcpy(&expected, ctx_, sizeof(expected));
    expected.uiDebugModule = 5;
    expected.uiDebugHandle = 9;
    EXPECT_EQ(instance_.desc.pfSetLibDebug(5, 9, ctx_), QEL_OK);
    EXPECT_EQ(std::memcmp(ctx_, &expected, sizeof(expected)), 0);
    expected.uiDebugModule = 6;
    expected.uiDebugHandle = 0;
    EXPECT_EQ(instance_.desc.pfSetLibDebug(6, 0, ctx_), QEL_OK);
    EXPECT_EQ(std::memcmp(ctx_, &expected, sizeof(expected)), 0);
}

TEST_F(NgmvpnDebug, SetLibDebugWithoutAContextDoesNothingAndDoesNotReport)
{
    EXPECT_EQ(QEL_NGMVPN_SetLibDebug(5, 9, nullptr), QEL_OK);
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnDebug, WritesThePrefixedMessageThroughThePlatform)
{
    turn_on();
    QEL_NGMVPN_Debug(ctx_, 0, "plain");
    QEL_NGMVPN_Debug(ctx_, 4294967295U, "%d %s %c%%", -7, "text", 'x');
    ASSERT_EQ(recorder_.debugs().size(), 2U);
    EXPECT_EQ(recorder_.debugs()[0].text, "[MCAST][Line:0]:plain");
    EXPECT_EQ(recorder_.debugs()[1].text, "[MCAST][Line:4294967295]:-7 text x%");
    expect_lines({"plain", "-7 text x%"});
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnDebug, AMessageThatLooksLikeAFormatGoesOutAsItIs)
{
    turn_on();
    QEL_NGMVPN_Debug(ctx_, 1, "%s", "%s%n%d");
    expect_lines({"%s%n%d"});
}

TEST_F(NgmvpnDebug, IsOffWithoutContextOrHandleAndDoesNotFormatItsArguments)
{
    // formatting this pointer as a text would end the test
    const auto *nowhere = reinterpret_cast<const char *>(std::uintptr_t{16});
    QEL_NGMVPN_Debug(nullptr, 1, "%s", nowhere);
    QEL_NGMVPN_Debug(ctx_, 1, "%s", nowhere);
    QEL_NGMVPN_SetLibDebug(kModule, 0, ctx_);
    QEL_NGMVPN_Debug(ctx_, 1, "%s", nowhere);
    turn_on();
    QEL_NGMVPN_SetLibDebug(kModule, 0, ctx_);
    QEL_NGMVPN_Debug(ctx_, 1, "%s", nowhere);
    EXPECT_TRUE(recorder_.debugs().empty());
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnDebug, AHandleAloneTurnsItOn)
{
    QEL_NGMVPN_SetLibDebug(0, kHandle, ctx_);
    QEL_NGMVPN_Debug(ctx_, 1, "on");
    ASSERT_EQ(recorder_.debugs().size(), 1U);
    EXPECT_EQ(recorder_.debugs()[0].module, 0U);
    EXPECT_EQ(recorder_.debugs()[0].handle, kHandle);
}

TEST_F(NgmvpnDebug, ATextIsCutAt700BytesWithItsTerminator)
{
    turn_on();
    const std::string prefix = "[MCAST][Line:123]:";
    for (const std::size_t room : {std::size_t{680}, std::size_t{681}, std::size_t{682}, std::size_t{2000}}) {
        recorder_.clear();
        std::string text(room, 'a');
        text.back() = 'z';
        QEL_NGMVPN_Debug(ctx_, 123, "%s", text.c_str());
        ASSERT_EQ(recorder_.debugs().size(), 1U);
        EXPECT_EQ(recorder_.debugs()[0].text, (prefix + text).substr(0, 699));
        EXPECT_TRUE(recorder_.asserts().empty());
    }
}

TEST_F(NgmvpnDebug, AMessageThatCannotBeFormattedIsReportedAndGoesOut)
{
    turn_on();
    const wchar_t no_character[] = {static_cast<wchar_t>(0x7fffffff), 0};
    QEL_NGMVPN_Debug(ctx_, 44, "%ls", no_character);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    ASSERT_EQ(recorder_.debugs().size(), 1U);
    EXPECT_EQ(recorder_.debugs()[0].text.substr(0, 17), "[MCAST][Line:44]:");
}

TEST_F(NgmvpnDebug, AMessageThatCannotBeFormedAtAllIsReportedAndItsPrefixGoesOut)
{
    turn_on();
    const platform::FailText failure(1);
    QEL_NGMVPN_Debug(ctx_, 44, "%d", 7);
    EXPECT_TRUE(failure.fired());
    ASSERT_EQ(recorder_.asserts().size(), 1U);
    EXPECT_EQ(recorder_.asserts()[0].value, UINT64_MAX);
    expect_lines({""});
}

TEST_F(NgmvpnDebug, APrefixThatCannotBeFormedIsLeftOutWithoutAReport)
{
    turn_on();
    const platform::FailText failure(0);
    QEL_NGMVPN_Debug(ctx_, 44, "%d", 7);
    EXPECT_TRUE(failure.fired());
    EXPECT_TRUE(recorder_.asserts().empty());
    ASSERT_EQ(recorder_.debugs().size(), 1U);
    EXPECT_EQ(recorder_.debugs()[0].text, "7");
}

// The buffer is cleared before anything is asked, so that this is reported also while debug output is off.
TEST_F(NgmvpnDebug, ABufferThatCannotBeClearedIsReportedEvenWhileDebugIsOff)
{
    for (const bool on : {false, true}) {
        if (on) {
            turn_on();
        }
        recorder_.clear();
        const FailCopy failure(0);
        QEL_NGMVPN_Debug(ctx_, 44, "%d", 7);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(recorder_.asserts().size(), 1U);
        expect_lines(on ? std::vector<std::string>{"7"} : std::vector<std::string>{});
    }
}

TEST_F(NgmvpnDebug, PrintMemShowsTheFullGroupsOfEightBytes)
{
    turn_on();
    Bytes data;
    for (unsigned i = 0; i < 17; ++i) {
        data.push_back(static_cast<std::uint8_t>(0xf5 + i)); // f5 to ff, then 00 to 05
    }
    const auto begin = [](int n) {
        return "-----------------------BEGIN(" + std::to_string(n) + " bytes)-----------------------";
    };
    const auto end = [](int n) {
        return "------------------------END(" + std::to_string(n) + " bytes)------------------------";
    };
    const std::string first = "Data: f5 f6 f7 f8 f9 fa fb fc";
    const std::string second = "Data: fd fe ff 00 01 02 03 04";
    const struct {
        int length;
        std::vector<std::string> lines;
    } cases[] = {
        {0, {begin(0), end(0)}},
        {1, {begin(1), end(1)}},
        {7, {begin(7), end(7)}},
        {8, {begin(8), first, end(8)}},
        {15, {begin(15), first, end(15)}},
        {16, {begin(16), first, second, end(16)}},
        {17, {begin(17), first, second, end(17)}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.length);
        recorder_.clear();
        const ExactCopy copy({data.data(), static_cast<std::size_t>(c.length)});
        QEL_NGMVPN_Print_Mem(ctx_, copy.data(), copy.size());
        expect_lines(c.lines);
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnDebug, PrintMemIsSilentWhileDebugIsOff)
{
    const Bytes data(16, 1);
    QEL_NGMVPN_Print_Mem(ctx_, data.data(), 16);
    QEL_NGMVPN_Print_Mem(nullptr, data.data(), 16);
    EXPECT_TRUE(recorder_.debugs().empty());
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnDebug, PrintMemWithoutDataIsReportedAndShowsNoData)
{
    turn_on();
    QEL_NGMVPN_Print_Mem(ctx_, nullptr, 8);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    for (const platform::DebugRecord &line : recorder_.debugs()) {
        EXPECT_EQ(line.text.find("Data:"), std::string::npos);
    }
}

TEST_F(NgmvpnDebug, TheDisabledLogDoesNothing)
{
    turn_on();
    QEL_NGMVPN_Print_LogInfo("%s %u", "text", 5U);
    EXPECT_TRUE(recorder_.debugs().empty());
    EXPECT_TRUE(recorder_.asserts().empty());
}

// A value at an odd address of its own heap block, so that a read past it or an aligned access shows.
template <class Value> class OddValue {
public:
    explicit OddValue(const Bytes &octets) : copy_(with_lead(octets)) { EXPECT_EQ(octets.size(), sizeof(Value)); }
    Value *get() { return reinterpret_cast<Value *>(copy_.data() + 1); }
    std::string hex() const { return test::hex({copy_.data() + 1, sizeof(Value)}); }

private:
    static Bytes with_lead(Bytes octets)
    {
        octets.insert(octets.begin(), 0xee);
        return octets;
    }
    ExactCopy copy_;
};

std::string hex_of(std::string_view text)
{
    return hex(bytes(text));
}

// The type word as it lies in memory: in host order.
std::string host_word(std::uint32_t type)
{
    return hex(Bytes{static_cast<std::uint8_t>(type), static_cast<std::uint8_t>(type >> 8)});
}

// The type word in network order.
std::string net_word(std::uint32_t type)
{
    return hex(Bytes{static_cast<std::uint8_t>(type >> 8), static_cast<std::uint8_t>(type)});
}

constexpr std::string_view kValue = "a1a2a3a4a5a6";
constexpr std::string_view kAs2Swapped = "a2a1a6a5a4a3";
constexpr std::string_view kIp4Swapped = "a4a3a2a1a6a5";

template <std::size_t kCount> bool is_in(const std::uint32_t (&list)[kCount], std::uint32_t type)
{
    return std::find(std::begin(list), std::end(list), type) != std::end(list);
}

constexpr std::uint32_t kAs2Targets[] = {0x0002};
constexpr std::uint32_t kIp4Targets[] = {0x0102, 0x0202, 0x010a, 0x010b, 0xffff};
constexpr std::uint32_t kIpv6Targets[] = {0x000b, 0x0002, 0x0102, 0x010a, 0x010b, 0xffff};

// Every type near those that count, and some everywhere else.
std::vector<std::uint32_t> many_types()
{
    std::vector<std::uint32_t> types;
    for (std::uint32_t type = 0; type <= 0xffff; type += type < 0x400 || type >= 0xff00 ? 1 : 0xb3) {
        types.push_back(type);
    }
    if (types.back() != 0xffff) {
        types.push_back(0xffff);
    }
    return types;
}

std::string swapped_target(std::uint32_t type)
{
    return std::string(is_in(kAs2Targets, type) ? kAs2Swapped : is_in(kIp4Targets, type) ? kIp4Swapped : kValue);
}

constexpr std::string_view kIpv6Value = "01020304 11121314 21222324 31323334 4142";
constexpr std::string_view kIpv6Swapped = "04030201 14131211 24232221 34333231 4241";

TEST(NgmvpnRd, ConvertsEachTypeFromHostToNetworkOrder)
{
    const struct {
        std::uint32_t type;
        std::string_view value;
    } cases[] = {{0, kAs2Swapped}, {1, kIp4Swapped}, {2, kIp4Swapped}};
    for (const auto &c : cases) {
        OddValue<QEL_RD_VALUE_S> rd(bytes(host_word(c.type) + std::string(kValue)));
        QEL_NGMVPN_ConvertRDValueHTON(rd.get());
        EXPECT_EQ(rd.hex(), net_word(c.type) + hex_of(c.value)) << c.type;
    }
}

// 0x0100 and 0x0200 would be types 1 and 2 if the type were read behind the swap.
TEST(NgmvpnRd, ATypeAbove2HasItsTypeWordSwappedAlone)
{
    for (const std::uint32_t type : many_types()) {
        if (type <= 2) {
            continue;
        }
        OddValue<QEL_RD_VALUE_S> rd(bytes(host_word(type) + std::string(kValue)));
        QEL_NGMVPN_ConvertRDValueHTON(rd.get());
        ASSERT_EQ(rd.hex(), net_word(type) + hex_of(kValue)) << type;
    }
}

TEST(NgmvpnRt, ConvertsEveryTypeFromHostToNetworkOrder)
{
    const platform::Recorder recorder;
    for (const std::uint32_t type : many_types()) {
        OddValue<QEL_EXTCOMM_S> rt(bytes(host_word(type) + std::string(kValue)));
        QEL_NGMVPN_ConvertRTValueHTON(rt.get(), 8);
        ASSERT_EQ(rt.hex(), net_word(type) + swapped_target(type)) << type;
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(NgmvpnRt, RefusesNullAndASizeBelowEightWithAReport)
{
    const platform::Recorder recorder;
    OddValue<QEL_EXTCOMM_S> rt(bytes("0200 a1a2a3a4a5a6"));
    QEL_NGMVPN_ConvertRTValueHTON(nullptr, 8);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    QEL_NGMVPN_ConvertRTValueHTON(rt.get(), 7);
    EXPECT_EQ(recorder.asserts().size(), 2U);
    QEL_NGMVPN_ConvertRTValueHTON(rt.get(), 0);
    EXPECT_EQ(recorder.asserts().size(), 3U);
    QEL_NGMVPN_ConvertRTValueHTON(nullptr, 0);
    EXPECT_EQ(recorder.asserts().size(), 4U);
    EXPECT_EQ(rt.hex(), "0200a1a2a3a4a5a6");
    QEL_NGMVPN_ConvertRTValueHTON(rt.get(), 9);
    EXPECT_EQ(recorder.asserts().size(), 4U);
    EXPECT_EQ(rt.hex(), "0002a2a1a6a5a4a3");
}

TEST(NgmvpnRt, ConvertsTheValueByTheGivenTypeAndLeavesTheTypeWord)
{
    for (const std::uint32_t type : many_types()) {
        OddValue<QEL_EXTCOMM_S> rt(bytes("0201" + std::string(kValue)));
        QEL_NGMVPN_ConvertRtValuebyType(type, rt.get());
        ASSERT_EQ(rt.hex(), "0201" + swapped_target(type)) << type;
    }
    for (const std::uint32_t type : {0x10002U, 0x10102U, 0xffffffffU}) {
        OddValue<QEL_EXTCOMM_S> rt(bytes("0200" + std::string(kValue)));
        QEL_NGMVPN_ConvertRtValuebyType(type, rt.get());
        EXPECT_EQ(rt.hex(), "0200" + std::string(kValue)) << type;
    }
}

TEST(NgmvpnIpv6Rt, BothValueConversionsSwapWhateverTheTypeSays)
{
    for (const auto convert : {QEL_NGMVPN_ConvertIPv6RtValuebyType, QEL_NGMVPN_ConvertIPv6RtValueHTONbyType}) {
        for (const std::uint32_t type : {0U, 2U, 0xbU, 0x102U, 0x202U, 0x9999U, 0xffffffffU}) {
            OddValue<QEL_IPV6_EXTCOMM_S> rt(bytes("0b00" + std::string(kIpv6Value)));
            convert(type, rt.get());
            EXPECT_EQ(rt.hex(), hex_of("0b00" + std::string(kIpv6Swapped))) << type;
        }
    }
}

TEST(NgmvpnIpv6Rt, ConvertsEveryTypeBothWays)
{
    const platform::Recorder recorder;
    for (const std::uint32_t type : many_types()) {
        const std::string value = hex_of(is_in(kIpv6Targets, type) ? kIpv6Swapped : kIpv6Value);
        OddValue<QEL_IPV6_EXTCOMM_S> from_wire(bytes(net_word(type) + std::string(kIpv6Value)));
        QEL_NGMVPN_ConvertIPv6RTValueNTOH(from_wire.get());
        ASSERT_EQ(from_wire.hex(), host_word(type) + value) << type;
        OddValue<QEL_IPV6_EXTCOMM_S> from_host(bytes(host_word(type) + std::string(kIpv6Value)));
        QEL_NGMVPN_ConvertIPv6RTValueHTON(from_host.get(), 20);
        ASSERT_EQ(from_host.hex(), net_word(type) + value) << type;
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(NgmvpnIpv6Rt, ASizeBelowTwentyIsReportedAndChangesNothing)
{
    const platform::Recorder recorder;
    OddValue<QEL_IPV6_EXTCOMM_S> rt(bytes("0b00" + std::string(kIpv6Value)));
    QEL_NGMVPN_ConvertIPv6RTValueHTON(rt.get(), 19);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    QEL_NGMVPN_ConvertIPv6RTValueHTON(rt.get(), 8);
    EXPECT_EQ(recorder.asserts().size(), 2U);
    EXPECT_EQ(rt.hex(), hex_of("0b00" + std::string(kIpv6Value)));
    QEL_NGMVPN_ConvertIPv6RTValueHTON(rt.get(), 21);
    EXPECT_EQ(recorder.asserts().size(), 2U);
    EXPECT_EQ(rt.hex(), hex_of("000b" + std::string(kIpv6Swapped)));
}

// 0x0009 is a community type elsewhere and no route target here.
TEST(NgmvpnGetRtValue, TakesRouteTargetsAndLeavesTheCursorBeforeAnythingElse)
{
    const platform::Recorder recorder;
    for (const std::uint32_t type : many_types()) {
        const bool target = is_in(kAs2Targets, type) || is_in(kIp4Targets, type);
        const ExactCopy wire(bytes(net_word(type) + std::string(kValue)));
        const std::uint8_t *cursor = wire.data();
        OddValue<QEL_EXTCOMM_S> rt(Bytes(8, 0xcc));
        ASSERT_EQ(QEL_NGMVPN_GetRtValue(&cursor, rt.get()), target ? QEL_OK : QEL_ERR_VALUE) << type;
        ASSERT_EQ(cursor, wire.data() + (target ? 8 : 0)) << type;
        ASSERT_EQ(rt.hex(), host_word(type) + swapped_target(type)) << type;
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(NgmvpnGetIpv6RtValue, TakesRouteTargetsAndLeavesTheCursorBeforeAnythingElse)
{
    const platform::Recorder recorder;
    for (const std::uint32_t type : many_types()) {
        const bool target = is_in(kIpv6Targets, type);
        const ExactCopy wire(bytes(net_word(type) + std::string(kIpv6Value)));
        const std::uint8_t *cursor = wire.data();
        OddValue<QEL_IPV6_EXTCOMM_S> rt(Bytes(20, 0xcc));
        ASSERT_EQ(QEL_NGMVPN_GetIPv6RtValue(&cursor, rt.get()), target ? QEL_OK : QEL_ERR_VALUE) << type;
        ASSERT_EQ(cursor, wire.data() + (target ? 20 : 0)) << type;
        ASSERT_EQ(rt.hex(), host_word(type) + hex_of(target ? kIpv6Swapped : kIpv6Value)) << type;
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(NgmvpnGetIpv6RtValue, AFailedCopyIsReported)
{
    const platform::Recorder recorder;
    const std::uint8_t *cursor = nullptr;
    QEL_IPV6_EXTCOMM_S rt{};
    EXPECT_EQ(QEL_NGMVPN_GetIPv6RtValue(&cursor, &rt), QEL_ERR_FAILED);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(cursor, nullptr);
}

// kept: the twin of the above carries on with what the element held
TEST(NgmvpnGetRtValue, AFailedCopyIsReportedAndTheWorkGoesOn)
{
    const platform::Recorder recorder;
    const std::uint8_t *cursor = nullptr;
    OddValue<QEL_EXTCOMM_S> rt(bytes("0009 a1a2a3a4a5a6"));
    EXPECT_EQ(QEL_NGMVPN_GetRtValue(&cursor, rt.get()), QEL_ERR_VALUE);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(cursor, nullptr);
    EXPECT_EQ(rt.hex(), "0900a1a2a3a4a5a6");
}

TEST(NgmvpnConvert, ANullElementIsReportedOnce)
{
    void (*const conversions[])() = {
        [] { QEL_NGMVPN_ConvertRDValueHTON(nullptr); },
        [] { QEL_NGMVPN_ConvertRTValueHTON(nullptr, 8); },
        [] { QEL_NGMVPN_ConvertRtValuebyType(2, nullptr); },
        [] { QEL_NGMVPN_ConvertRtValuebyType(0x0102, nullptr); },
        [] { QEL_NGMVPN_ConvertIPv6RtValuebyType(11, nullptr); },
        [] { QEL_NGMVPN_ConvertIPv6RtValueHTONbyType(11, nullptr); },
        [] { QEL_NGMVPN_ConvertIPv6RTValueNTOH(nullptr); },
        [] { QEL_NGMVPN_ConvertIPv6RTValueHTON(nullptr, 20); },
        [] { QEL_NGMVPN_ConvertKvoIPv6AddrInHost(nullptr); },
        [] { QEL_NGMVPN_ConvertKvoIPv6AddrInNet(nullptr); },
    };
    for (std::size_t i = 0; i < std::size(conversions); ++i) {
        const platform::Recorder recorder;
        conversions[i]();
        EXPECT_EQ(recorder.asserts().size(), 1U) << i;
    }
}

TEST(NgmvpnConvert, AReaderWithoutACursorIsRefused)
{
    const platform::Recorder recorder;
    std::array<std::uint8_t, 20> out{};
    EXPECT_EQ(QEL_NGMVPN_GetRtValue(nullptr, reinterpret_cast<QEL_EXTCOMM_S *>(out.data())), QEL_ERR_NULL);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(QEL_NGMVPN_GetIPv6RtValue(nullptr, reinterpret_cast<QEL_IPV6_EXTCOMM_S *>(out.data())), QEL_ERR_NULL);
    EXPECT_EQ(recorder.asserts().size(), 2U);
    EXPECT_EQ(QEL_NGMVPN_GetGtmRdZeroValue(nullptr, out.data()), QEL_ERR_NULL);
    EXPECT_EQ(recorder.asserts().size(), 3U);
}

TEST(NgmvpnConvert, AReaderWithoutAnElementReportsAndLeavesTheCursor)
{
    const platform::Recorder recorder;
    const ExactCopy wire(bytes("0002" + std::string(kValue)));
    const std::uint8_t *cursor = wire.data();
    EXPECT_EQ(QEL_NGMVPN_GetRtValue(&cursor, nullptr), QEL_ERR_NULL);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(QEL_NGMVPN_GetIPv6RtValue(&cursor, nullptr), QEL_ERR_FAILED); // the failed copy's code
    EXPECT_EQ(recorder.asserts().size(), 2U);
    EXPECT_EQ(cursor, wire.data());
}

TEST(NgmvpnGetGtmRdZeroValue, CopiesFourBytesAsTheyStand)
{
    const ExactCopy wire(bytes("01020304"));
    const std::uint8_t *cursor = wire.data();
    OddValue<std::array<std::uint8_t, 4>> out(Bytes(4, 0xcc));
    EXPECT_EQ(QEL_NGMVPN_GetGtmRdZeroValue(&cursor, out.get()), QEL_OK);
    EXPECT_EQ(out.hex(), "01020304");
    EXPECT_EQ(cursor, wire.data() + 4);
}

constexpr std::string_view kAddress = "a0a1a2a3 b0b1b2b3 c0c1c2c3 d0d1d2d3";

TEST(NgmvpnKvoIpv6, InHostEndsEachWordHalfFirst)
{
    OddValue<KVO_IPV6_ADDR_S> addr(bytes(kAddress));
    QEL_NGMVPN_ConvertKvoIPv6AddrInHost(addr.get());
    EXPECT_EQ(addr.hex(), hex_of("a2a3a0a1 b2b3b0b1 c2c3c0c1 d2d3d0d1"));
}

TEST(NgmvpnKvoIpv6, InNetSwapsTheHalvesAlone)
{
    OddValue<KVO_IPV6_ADDR_S> addr(bytes(kAddress));
    QEL_NGMVPN_ConvertKvoIPv6AddrInNet(addr.get());
    EXPECT_EQ(addr.hex(), hex_of("a1a0a3a2 b1b0b3b2 c1c0c3c2 d1d0d3d2"));
}

TEST(NgmvpnKvoIpv6, NothingBehindTheAddressIsTouched)
{
    for (const auto convert : {QEL_NGMVPN_ConvertKvoIPv6AddrInHost, QEL_NGMVPN_ConvertKvoIPv6AddrInNet}) {
        Bytes octets = bytes(std::string(kAddress) + "01020304");
        convert(reinterpret_cast<KVO_IPV6_ADDR_S *>(octets.data()));
        EXPECT_EQ(hex({octets.data() + 16, 4}), "01020304");
    }
}

// kept: the two are no inverses of each other
TEST(NgmvpnKvoIpv6, InHostAndThenInNetDoesNotGiveTheAddressBack)
{
    OddValue<KVO_IPV6_ADDR_S> addr(bytes(kAddress));
    QEL_NGMVPN_ConvertKvoIPv6AddrInHost(addr.get());
    QEL_NGMVPN_ConvertKvoIPv6AddrInNet(addr.get());
    EXPECT_NE(addr.hex(), hex_of(kAddress));
    EXPECT_EQ(addr.hex(), hex_of("a3a2a1a0 b3b2b1b0 c3c2c1c0 d3d2d1d0"));
}

} // namespace
} // namespace qel::test
