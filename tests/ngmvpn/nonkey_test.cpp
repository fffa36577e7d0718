// The non-key message in both directions, and what other components add to a route that is there: non-key fields and
// communities.
#include "intercomp_cases.h"

#include "dirty_heap.h"

#include <algorithm>

namespace qel::test {
namespace {

constexpr std::uint16_t kAllFlags = 0x17;
constexpr std::uint32_t kTypeTlv = 1;
constexpr std::uint32_t kUserTlv = 2;
constexpr std::uint32_t kEmbeddedTlv = 4;
constexpr std::uint32_t kRdTlv = 16;

Bytes numbered(std::size_t length, unsigned from = 1)
{
    Bytes out(length);
    for (std::size_t i = 0; i < length; ++i) {
        out[i] = static_cast<std::uint8_t>(from + i);
    }
    return out;
}

// A non-key with every field set; the address as four words.
QEL_NGMVPN_NONKEY_S full_nonkey(std::uint16_t flags, std::uint16_t addr_len)
{
    auto out = zeroed<QEL_NGMVPN_NONKEY_S>();
    out.usFlags = flags;
    out.usUserAddrLen = addr_len;
    out.uiKeyType = 0x01020304;
    out.uiReserved8 = 0xeeeeeeee;
    const Bytes addr = bytes("b80d0120 03020100 07060504 0b0a0908");
    std::copy(addr.begin(), addr.end(), out.stUserAddr.aucIpv6);
    out.uiUserValue = 0x11121314;
    out.stRd = rd_b();
    const Bytes embedded = numbered(60, 0x40);
    std::copy(embedded.begin(), embedded.end(), out.aucEmbeddedKey);
    return out;
}

const Bytes kTypeSub = tlv(kTypeTlv, bytes("01020304"));
const Bytes kUser4Sub = tlv(kUserTlv, bytes("20010db8 11121314"));
const Bytes kUser6Sub = tlv(kUserTlv, bytes("00000000 11121314 20010db8 00010203 04050607 08090a0b"));
const Bytes kEmbeddedSub = tlv(kEmbeddedTlv, numbered(60, 0x40));
const Bytes kRdSub = tlv(kRdTlv, bytes_of(rd_b()));

Bytes message_of(std::uint16_t flags, const Bytes &subs)
{
    return wire16(flags) + wire16(static_cast<std::uint32_t>(subs.size())) + subs;
}

// The record of the flags and nothing else.
QEL_NGMVPN_NONKEY_S flags_alone(std::uint16_t flags)
{
    auto out = zeroed<QEL_NGMVPN_NONKEY_S>();
    out.usFlags = flags;
    return out;
}

class NonKey : public AttributeTest {
protected:
    MessageGot parse(const Bytes &message) { return read_message(QEL_NGMVPN_ParseRtNonKeyTlv, message, ctx_); }
    void expect_record(const Bytes &message, const QEL_NGMVPN_NONKEY_S &nonkey)
    {
        SCOPED_TRACE(hex(message));
        expect_sections(parse(message), nonkey, std::nullopt);
    }
};

// --- reading --------------------------------------------------------------------------------------------------------

TEST_F(NonKey, OneOctetIsAKeyType)
{
    for (unsigned octet = 0; octet < 256; ++octet) {
        expect_record({static_cast<std::uint8_t>(octet)}, nonkey_of(octet, 0x1));
    }
    const MessageGot got = parse({3});
    ASSERT_TRUE(got.block);
    auto nonkey = zeroed<QEL_NGMVPN_NONKEY_S>();
    std::memcpy(&nonkey, got.block.at(32), sizeof(nonkey));
    EXPECT_EQ(nonkey.usFlags, 1);
    EXPECT_EQ(nonkey.uiKeyType, 3U);
}

TEST_F(NonKey, NoOctetTwoOrThreeAreRefused)
{
    expect_no_result(parse({}), kFailed, 0);
    expect_no_result(parse(bytes("0001")), kFailed, 0);
    expect_no_result(parse(bytes("0001 00")), kFailed, 0);
}

// Nothing behind them is looked at either, though it would make a header and a faulty sub-TLV.
TEST_F(NonKey, ThreeOctetsAreNoHeader)
{
    const Bytes behind = bytes("08 0001 0003 010203") + slack(8, QEL_MSG_READ_SLACK - 8);
    const MessageGot got = read_message(Message(bytes("0001 00"), behind), [&](auto data, auto told, auto result) {
        return QEL_NGMVPN_ParseRtNonKeyTlv(data, told, result, ctx_);
    });
    expect_no_result(got, kFailed, 0);
}

TEST_F(NonKey, AZeroSumIsReported)
{
    expect_no_result(parse(bytes("0001 0000")), kFailed, 1);
    expect_no_result(parse(bytes("0001 0000") + kTypeSub), kFailed, 1);
}

// kept: beyond not being zero the sum means nothing
TEST_F(NonKey, TheSumIsNotHeldAgainstTheMessage)
{
    for (const std::uint32_t sum : {1U, 7U, 8U, 9U, 0x100U, 0xffffU}) {
        expect_record(bytes("0001") + wire16(sum) + kTypeSub, nonkey_of(0x01020304, 0x1));
        expect_record(bytes("0001") + wire16(sum), flags_alone(0x1));
    }
}

// kept: the flags are taken as they come, whatever sub-TLVs follow
TEST_F(NonKey, TheFlagsAreTheMessagesOwn)
{
    for (std::uint32_t flags = 0; flags < 65536; flags += flags < 300 ? 1 : 251) {
        expect_record(wire16(flags) + bytes("0001"), flags_alone(static_cast<std::uint16_t>(flags)));
    }
    QEL_NGMVPN_NONKEY_S typed = flags_alone(0);
    typed.uiKeyType = 0x01020304;
    expect_record(bytes("0000 0008") + kTypeSub, typed);
}

TEST_F(NonKey, EverySubTlvFillsItsField)
{
    QEL_NGMVPN_NONKEY_S record = flags_alone(0x1);
    record.uiKeyType = 0x01020304;
    expect_record(message_of(0x1, kTypeSub), record);

    record = flags_alone(0x2);
    record.usUserAddrLen = 4;
    record.stUserAddr.uiIpv4 = 0x20010db8;
    record.uiUserValue = 0x11121314;
    expect_record(message_of(0x2, kUser4Sub), record);

    record = flags_alone(0x2);
    record.usUserAddrLen = 16;
    record.uiUserValue = 0x11121314;
    const Bytes words = bytes("b80d0120 03020100 07060504 0b0a0908");
    std::copy(words.begin(), words.end(), record.stUserAddr.aucIpv6);
    expect_record(message_of(0x2, kUser6Sub), record);
    // the first four octets mean nothing
    expect_record(message_of(0x2, tlv(2, bytes("ffffffff 11121314 20010db8 00010203 04050607 08090a0b"))), record);

    record = flags_alone(0x4);
    const Bytes embedded = numbered(60, 0x40);
    std::copy(embedded.begin(), embedded.end(), record.aucEmbeddedKey);
    expect_record(message_of(0x4, kEmbeddedSub), record);

    record = flags_alone(0x10);
    record.stRd = rd_b();
    expect_record(message_of(0x10, kRdSub), record);
}

TEST_F(NonKey, AKeyTypeIsAWordInNetworkOrder)
{
    expect_record(bytes("0001 0008 0001 0004 00000103"), nonkey_of(0x103, 0x1));
}

TEST_F(NonKey, AUserAddressOfEightOctetsIsOneWordAndItsValue)
{
    auto record = flags_alone(0x2);
    record.usUserAddrLen = 4;
    record.stUserAddr.uiIpv4 = 0x0a000001;
    record.uiUserValue = 0x0b0c0d0e;
    expect_record(bytes("0002 000c 0002 0008 0a000001 0b0c0d0e"), record);
}

TEST_F(NonKey, AUserAddressOfTwentyFourOctetsIsItsValueAndFourWords)
{
    auto record = flags_alone(0x2);
    record.usUserAddrLen = 16;
    record.uiUserValue = 0x0b0c0d0e;
    const Bytes words = bytes("04030201 08070605 0c0b0a09 100f0e0d");
    std::copy(words.begin(), words.end(), record.stUserAddr.aucIpv6);
    expect_record(bytes("0002 001c 0002 0018 77777777 0b0c0d0e 01020304 05060708 090a0b0c 0d0e0f10"), record);
}

TEST_F(NonKey, AnRdIsTakenAsItStands)
{
    auto record = flags_alone(0x10);
    const Bytes rd = bytes("0102 0304 05060708");
    std::memcpy(&record.stRd, rd.data(), 8);
    expect_record(bytes("0010 000c 0010 0008 0102 0304 05060708"), record);
}

TEST_F(NonKey, AKeyTypeOfThreeOctetsIsReported)
{
    expect_no_result(parse(message_of(0x1, tlv(1, bytes("010203")))), kFailed, 1);
    expect_no_result(parse(message_of(0x1, tlv(1, bytes("010203")) + kRdSub)), kFailed, 1);
}

TEST_F(NonKey, UserDataOfOtherLengthsThanEightAndTwentyFourIsReported)
{
    for (const std::size_t length : {0U, 4U, 7U, 9U, 20U, 23U, 25U}) {
        expect_no_result(parse(message_of(0x2, tlv(2, Bytes(length)))), kFailed, 1);
    }
}

TEST_F(NonKey, ASubTlvLongerThanWhatIsLeftIsReported)
{
    for (const std::uint32_t type : {1U, 2U, 4U, 16U, 3U}) {
        expect_no_result(parse(message_of(0x1f, kTypeSub + tlv(type, Bytes(8), 9))), kFailed, 1);
    }
}

TEST_F(NonKey, AnUnknownSubTlvIsRefusedWithoutAReport)
{
    for (const std::uint32_t type : {0U, 3U, 5U, 8U, 15U, 17U, 0x101U}) {
        expect_no_result(parse(message_of(0x1, kTypeSub + tlv(type, Bytes(8)))), kFailed, 0);
    }
}

TEST_F(NonKey, SubTlvsMayStandInAnyOrderAndMoreThanOnce)
{
    QEL_NGMVPN_NONKEY_S all = full_nonkey(kAllFlags, 16);
    all.uiReserved8 = 0;
    expect_record(message_of(kAllFlags, kTypeSub + kUser6Sub + kEmbeddedSub + kRdSub), all);
    expect_record(message_of(kAllFlags, kRdSub + kEmbeddedSub + kUser6Sub + kTypeSub), all);
    expect_record(message_of(kAllFlags, tlv(1, bytes("ffffffff")) + kRdSub + kEmbeddedSub + kUser6Sub + kTypeSub), all);
    QEL_NGMVPN_NONKEY_S mixed = flags_alone(0x2);
    mixed.usUserAddrLen = 4;
    const Bytes words = bytes("b80d0120 03020100 07060504 0b0a0908"); // the words of the first stay
    std::copy(words.begin(), words.end(), mixed.stUserAddr.aucIpv6);
    mixed.stUserAddr.uiIpv4 = 0x0a000001;
    mixed.uiUserValue = 7;
    expect_record(message_of(0x2, kUser6Sub + tlv(2, bytes("0a000001 00000007"))), mixed);
}

TEST_F(NonKey, UpToThreeOctetsAtTheEndAreNotLookedAt)
{
    for (std::size_t rest = 0; rest <= 3; ++rest) {
        expect_record(message_of(0x1, kTypeSub) + Bytes(rest, 0xff), nonkey_of(0x01020304, 0x1));
    }
    expect_no_result(parse(message_of(0x1, kTypeSub) + Bytes(4, 0xff)), kFailed, 1);
}

struct SubRow {
    std::string name;
    Bytes subs;
    std::size_t asserts;
};

TEST_F(NonKey, FaultySubTlvsAreRefused)
{
    const SubRow rows[] = {
        {"type of 0", tlv(1, {}), 1},
        {"type of 3", tlv(1, bytes("010203")), 1},
        {"type longer than the message", tlv(1, bytes("01020304"), 5), 1},
        {"type much longer than the message", tlv(1, bytes("01020304"), 0xffff), 1},
        {"user data of 0", tlv(2, {}), 1},
        {"user data of 4", tlv(2, Bytes(4)), 1},
        {"user data of 7", tlv(2, Bytes(7)), 1},
        {"user data of 9", tlv(2, Bytes(9)), 1},
        {"user data of 16", tlv(2, Bytes(16)), 1},
        {"user data of 20", tlv(2, Bytes(20)), 1},
        {"user data of 23", tlv(2, Bytes(23)), 1},
        {"user data of 25", tlv(2, Bytes(25)), 1},
        {"user data of 264", tlv(2, Bytes(264)), 1},
        {"user data longer than the message", tlv(2, Bytes(8), 24), 1},
        {"embedded key longer than the message", tlv(4, Bytes(60), 61), 1},
        {"RD longer than the message", tlv(16, Bytes(8), 9), 1},
        {"unknown longer than the message", tlv(3, Bytes(8), 9), 1},
        {"unknown and empty, one octet too long", tlv(3, {}, 1), 1},
    };
    for (const SubRow &row : rows) {
        SCOPED_TRACE(row.name);
        expect_no_result(parse(message_of(0x17, row.subs)), kFailed, row.asserts);
        expect_no_result(parse(message_of(0x17, kTypeSub + kUser4Sub + row.subs)), kFailed, row.asserts);
    }
    for (std::uint32_t type = 0; type < 65536; type += type < 300 ? 1 : 97) {
        if (type != 1 && type != 2 && type != 4 && type != 16) {
            SCOPED_TRACE(type);
            expect_no_result(parse(message_of(0x17, tlv(type, Bytes(8)))), kFailed, 0);
            expect_no_result(parse(message_of(0x17, kRdSub + tlv(type, {}))), kFailed, 0);
            expect_no_result(parse(message_of(0x17, tlv(type, {}) + kRdSub)), kFailed, 0);
        }
    }
}

TEST_F(NonKey, AKeyTypeMayBeLongerThanItIs)
{
    expect_record(message_of(0x11, tlv(1, bytes("01020304 ff")) + kRdSub), nonkey_of(0x01020304, 0x11, rd_b()));
}

TEST_F(NonKey, AnEmbeddedKeyIsTakenUpToSixtyOctets)
{
    for (const std::size_t length : {0U, 1U, 14U, 59U, 60U, 61U, 100U, 300U}) {
        SCOPED_TRACE(length);
        QEL_NGMVPN_NONKEY_S record = nonkey_of(0x01020304, 0x5);
        const Bytes key = numbered(length);
        std::copy_n(key.begin(), std::min<std::size_t>(length, 60), record.aucEmbeddedKey);
        expect_record(message_of(0x5, tlv(4, key) + kTypeSub), record);
    }
}

// kept: eight octets of RD are read whatever the sub-TLV says; hosts keep the octets behind a message readable
TEST_F(NonKey, AnRdIsEightOctetsWhateverItsSubTlvSays)
{
    for (std::size_t length = 0; length <= 12; ++length) {
        SCOPED_TRACE(length);
        const Bytes value = numbered(length);
        QEL_NGMVPN_NONKEY_S record = flags_alone(0x10);
        const Bytes read = slice(value + slack(), 0, 8);
        std::memcpy(&record.stRd, read.data(), 8);
        expect_record(message_of(0x10, tlv(16, value)), record);
        // where a sub-TLV follows, its header is what is read
        record.usFlags = 0x11;
        record.uiKeyType = 0x01020304;
        const Bytes before = slice(value + kTypeSub + slack(), 0, 8);
        std::memcpy(&record.stRd, before.data(), 8);
        expect_record(message_of(0x11, tlv(16, value) + kTypeSub), record);
    }
}

TEST_F(NonKey, ReportsOneMissingArgument)
{
    const Message message(message_of(0x1, kTypeSub));
    for (const std::uint32_t length : {0U, 1U, 2U, 12U}) {
        const platform::Recorder recorder;
        QEL_ROUTE_BLOCK_S *result = nullptr;
        EXPECT_EQ(QEL_NGMVPN_ParseRtNonKeyTlv(nullptr, length, &result, ctx_), kNull);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(result, nullptr);
    }
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        QEL_ROUTE_BLOCK_S *result = nullptr;
        return instance_.desc.pfParseAttrMsg(null_if(nulls, 0, message.data()), 12, 34, null_if(nulls, 1, &result),
                                             null_if(nulls, 2, ctx_));
    });
    for (const bool no_result : {true, false}) {
        const platform::Recorder recorder;
        QEL_ROUTE_BLOCK_S *result = nullptr;
        EXPECT_EQ(QEL_NGMVPN_ParseRtNonKeyTlv(message.data(), message.size(), no_result ? nullptr : &result,
                                              no_result ? ctx_ : nullptr),
                  kNull);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(result, nullptr);
    }
}

TEST_F(NonKey, TheBlockIsTheOneAllocation)
{
    const std::uint64_t before = allocations();
    EXPECT_EQ(parse(message_of(kAllFlags, kTypeSub + kUser4Sub + kEmbeddedSub + kRdSub)).code, 0U);
    EXPECT_EQ(allocations() - before, 1U);
    for (const Bytes &message : {Bytes{3}, message_of(0x1, kTypeSub)}) {
        const platform::FailAllocation fail(0);
        expect_no_result(parse(message), kNoMemory, 1);
        EXPECT_TRUE(fail.fired());
    }
    const platform::FailAllocation fail(0); // refused before
    expect_no_result(parse(message_of(0x1, tlv(3, {}))), kFailed, 0);
    EXPECT_FALSE(fail.fired());
}

// --- writing --------------------------------------------------------------------------------------------------------

class HeldNonKey {
public:
    explicit HeldNonKey(const QEL_NGMVPN_NONKEY_S &nonkey) : octets_(bytes_of(nonkey))
    {
        info.uiNonKeyLen = octets_.size();
        info.pucNonKey = octets_.data();
    }
    HeldNonKey(const HeldNonKey &) = delete;
    HeldNonKey &operator=(const HeldNonKey &) = delete;

    QEL_ROUTE_INFO_S info{};

private:
    OddBytes octets_;
};

Written write_nonkey(const QEL_NGMVPN_NONKEY_S &nonkey, std::size_t room, QEL_FAMILY_CTX_S *ctx)
{
    const HeldNonKey route(nonkey);
    return write_message(QEL_NGMVPN_FormatRtNonKeyTlv, route.info, room, ctx);
}

// kept: four octets of the long user data are skipped and keep what the buffer held
const Bytes kUser6Written = bytes("0002 0018") + untouched(4) + slice(kUser6Sub, 8, 20);

Bytes subs_of(std::uint16_t flags, bool short_user)
{
    Bytes out;
    if ((flags & 0x1) != 0) {
        out = out + kTypeSub;
    }
    if ((flags & 0x2) != 0) {
        out = out + (short_user ? kUser4Sub : kUser6Written);
    }
    if ((flags & 0x4) != 0) {
        out = out + kEmbeddedSub;
    }
    if ((flags & 0x10) != 0) {
        out = out + kRdSub;
    }
    return out;
}

TEST_F(NonKey, EveryFlagHasItsSubTlv)
{
    for (std::uint32_t flags = 0; flags < 64; ++flags) {
        for (const std::uint16_t addr_len : std::initializer_list<std::uint16_t>{4, 16, 0, 8, 0x104}) {
            SCOPED_TRACE(std::to_string(flags) + ", " + std::to_string(addr_len));
            const auto mask = static_cast<std::uint16_t>(flags);
            const Bytes wire = message_of(mask, subs_of(mask, addr_len == 4));
            for (std::size_t room = 0; room < wire.size(); ++room) {
                expect_not_moved(write_nonkey(full_nonkey(mask, addr_len), room, ctx_), kNoRoom);
            }
            for (const std::size_t spare : {0U, 1U, 50U}) {
                expect_written(write_nonkey(full_nonkey(mask, addr_len), wire.size() + spare, ctx_), wire);
            }
        }
    }
}

// Refused one octet short, with the cursor where it was.
void expect_sub(std::uint16_t flag, std::uint16_t addr_len, const Bytes &wire, QEL_FAMILY_CTX_S *ctx)
{
    expect_written(write_nonkey(full_nonkey(flag, addr_len), wire.size(), ctx), wire);
    expect_not_moved(write_nonkey(full_nonkey(flag, addr_len), wire.size() - 1, ctx), kNoRoom);
}

TEST_F(NonKey, AKeyTypeTakesEightOctets)
{
    expect_sub(0x1, 4, bytes("0001 0008 0001 0004 01020304"), ctx_);
}

TEST_F(NonKey, AnIpv4UserAddressTakesTwelveOctets)
{
    expect_sub(0x2, 4, bytes("0002 000c 0002 0008 20010db8 11121314"), ctx_);
}

// kept: four octets keep what the buffer held
TEST_F(NonKey, AnIpv6UserAddressTakesTwentyEightOctetsOfWhichFourAreSkipped)
{
    expect_sub(0x2, 16,
               bytes("0002 001c 0002 0018") + untouched(4) + bytes("11121314 20010db8 00010203 04050607 08090a0b"),
               ctx_);
}

TEST_F(NonKey, AnEmbeddedKeyTakesSixtyFourOctets)
{
    expect_sub(0x4, 4, bytes("0004 0040 0004 003c") + numbered(60, 0x40), ctx_);
}

TEST_F(NonKey, AnRdTakesTwelveOctetsAndGoesOutAsItStands)
{
    expect_sub(0x10, 4, bytes("0010 000c 0010 0008") + bytes_of(rd_b()), ctx_);
}

TEST_F(NonKey, SubTlvsStandInTheOrderOfTheirFlags)
{
    const Written got = write_nonkey(full_nonkey(kAllFlags, 4), 100, ctx_);
    EXPECT_EQ(hex(slice(got.buffer, 4, 2)), "0001");
    EXPECT_EQ(hex(slice(got.buffer, 12, 2)), "0002");
    EXPECT_EQ(hex(slice(got.buffer, 24, 2)), "0004");
    EXPECT_EQ(hex(slice(got.buffer, 88, 2)), "0010");
}

TEST_F(NonKey, ItsHeaderNeedsFourOctets)
{
    for (std::size_t room = 0; room < 4; ++room) {
        expect_not_written(write_nonkey(full_nonkey(0, 4), room, ctx_), kNoRoom);
    }
}

TEST_F(NonKey, OfARouteWithAllBitsSetTakesAHundredOctets)
{
    const Written got = write_nonkey(full_nonkey(kAllFlags, 4), 100, ctx_);
    expect_written(got, message_of(kAllFlags, kTypeSub + kUser4Sub + kEmbeddedSub + kRdSub));
    EXPECT_EQ(got.moved, 4 + 8 + 12 + 64 + 12);
    EXPECT_EQ(write_nonkey(full_nonkey(kAllFlags, 16), 116, ctx_).moved, 116);
}

TEST_F(NonKey, FlagsWithoutASubTlvGoOutAsTheyAre)
{
    expect_written(write_nonkey(full_nonkey(0xffe8, 4), 4, ctx_), bytes("ffe8 0000"));
    expect_written(write_nonkey(full_nonkey(0xffff, 4), 100, ctx_),
                   message_of(0xffff, kTypeSub + kUser4Sub + kEmbeddedSub + kRdSub));
}

// kept: a message of flags alone has a sum of zero, which its reader refuses
TEST_F(NonKey, WithoutAFlagItIsWrittenAndNotReadBack)
{
    const Written got = write_nonkey(full_nonkey(0, 4), 4, ctx_);
    expect_written(got, bytes("0000 0000"));
    expect_no_result(parse(got.buffer), kFailed, 1);
}

TEST_F(NonKey, ARouteWithoutANonKeyWritesNothing)
{
    QEL_ROUTE_INFO_S route{};
    route.uiValidMask = 0x4;
    route.uiNonKeyLen = 100;
    for (const std::size_t room : {0U, 3U, 100U}) {
        expect_written(write_message(QEL_NGMVPN_FormatRtNonKeyTlv, route, room, ctx_), {});
    }
}

// The pointer alone counts, not the mask.
TEST_F(NonKey, WriterLooksAtThePointerAlone)
{
    HeldNonKey route(full_nonkey(0x1, 4));
    for (const std::uint32_t mask : {0U, 0x4U, 0xfffffffbU}) {
        route.info.uiValidMask = mask;
        expect_written(write_message(QEL_NGMVPN_FormatRtNonKeyTlv, route.info, 12, ctx_), message_of(0x1, kTypeSub));
    }
}

TEST_F(NonKey, WriterReportsOneMissingArgument)
{
    const HeldNonKey route(full_nonkey(0x1, 4));
    for (const std::uint32_t room : {0U, 100U}) {
        const platform::Recorder recorder;
        std::uint8_t *cursor = nullptr;
        EXPECT_EQ(QEL_NGMVPN_FormatRtNonKeyTlv(nullptr, &cursor, room, ctx_), kNull);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(cursor, nullptr);
    }
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        std::uint8_t *cursor = nullptr;
        return QEL_NGMVPN_FormatRtNonKeyTlv(null_if(nulls, 0, &route.info), null_if(nulls, 1, &cursor), 100, nullptr);
    });
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        std::uint8_t *cursor = nullptr;
        return instance_.desc.pfFormatAttrMsg(null_if(nulls, 0, &route.info), 34, null_if(nulls, 1, &cursor), 100,
                                              ctx_);
    });
}

TEST_F(NonKey, WhatIsWrittenIsReadBack)
{
    for (std::uint32_t flags = 1; flags < 32; ++flags) {
        for (const std::uint16_t addr_len : std::initializer_list<std::uint16_t>{4, 16}) {
            const auto mask = static_cast<std::uint16_t>(flags);
            if ((flags & kAllFlags) == 0) {
                continue;
            }
            QEL_NGMVPN_NONKEY_S expected = full_nonkey(mask, addr_len);
            expected.uiReserved8 = 0;
            if ((flags & 0x1) == 0) {
                expected.uiKeyType = 0;
            }
            if ((flags & 0x2) == 0) {
                expected.usUserAddrLen = 0;
                expected.uiUserValue = 0;
                expected.stUserAddr = zeroed<QEL_ADDR_S>();
            } else if (addr_len == 4) {
                const std::uint32_t word = expected.stUserAddr.uiIpv4;
                expected.stUserAddr = zeroed<QEL_ADDR_S>();
                expected.stUserAddr.uiIpv4 = word;
            }
            if ((flags & 0x4) == 0) {
                std::memset(expected.aucEmbeddedKey, 0, 60);
            }
            if ((flags & 0x10) == 0) {
                expected.stRd = zeroed<QEL_RD_VALUE_S>();
            }
            const Written got = write_nonkey(full_nonkey(mask, addr_len), 200, ctx_);
            expect_record(slice(got.buffer, 0, static_cast<std::size_t>(got.moved)), expected);
        }
    }
}

// --- merging a non-key ----------------------------------------------------------------------------------------------

class Merge : public AttributeTest {
protected:
    MessageGot merge_nonkey(const QEL_ROUTE_INFO_S &route, const QEL_NGMVPN_NONKEY_S &added)
    {
        return read_message(Message(bytes_of(added)), [&](auto data, auto length, auto result) {
            return QEL_NGMVPN_ParseNonkeyTlv(&route, data, length, result, ctx_);
        });
    }
    MessageGot merge_nonkey(const QEL_NGMVPN_NONKEY_S &held, const QEL_NGMVPN_NONKEY_S &added)
    {
        HeldNonKey route(held);
        route.info.uiValidMask = 0x4;
        return merge_nonkey(route.info, added);
    }
    MessageGot merge_list(const QEL_ROUTE_INFO_S &route, const Bytes &added)
    {
        return read_message(Message(added), [&](auto data, auto length, auto result) {
            return QEL_NGMVPN_ParseAddAttrTlv(&route, data, length, result, ctx_);
        });
    }
};

TEST_F(Merge, ANonKeyKeepsItsKeyTypeAndTakesOnUserDataAndRd)
{
    for (std::uint32_t held_flags = 1; held_flags < 64; held_flags += 2) {
        for (std::uint32_t added_flags = 0; added_flags < 64; ++added_flags) {
            SCOPED_TRACE(std::to_string(held_flags) + " and " + std::to_string(added_flags));
            QEL_NGMVPN_NONKEY_S held = full_nonkey(static_cast<std::uint16_t>(held_flags), 4);
            QEL_NGMVPN_NONKEY_S added = full_nonkey(static_cast<std::uint16_t>(added_flags), 16);
            added.uiKeyType = 0x99999999;
            added.stRd = rd_c();
            added.uiUserValue = 0x21222324;
            added.stUserAddr = g6().value;
            std::memset(added.aucEmbeddedKey, 0x99, 60);
            auto expected = zeroed<QEL_NGMVPN_NONKEY_S>();
            expected.usFlags = 0x1;
            expected.uiKeyType = 0x01020304;
            if ((held_flags & 0x4) != 0) {
                expected.usFlags = 0x5;
                std::memcpy(expected.aucEmbeddedKey, held.aucEmbeddedKey, 60);
            }
            if ((added_flags & 0x2) != 0) {
                expected.usFlags |= 0x2;
                expected.stUserAddr = added.stUserAddr;
                expected.uiUserValue = 0x21222324;
            }
            if ((added_flags & 0x10) != 0) {
                expected.usFlags |= 0x10;
                expected.stRd = rd_c();
            }
            expect_sections(merge_nonkey(held, added), expected, std::nullopt);
        }
    }
}

TEST_F(Merge, TheEmbeddedKeyIsTheRoutesAndNeverTheAddedOne)
{
    QEL_NGMVPN_NONKEY_S added = full_nonkey(0x4, 4);
    std::memset(added.aucEmbeddedKey, 0x99, 60);
    QEL_NGMVPN_NONKEY_S expected = nonkey_of(0x01020304, 0x5);
    const Bytes embedded = numbered(60, 0x40);
    std::copy(embedded.begin(), embedded.end(), expected.aucEmbeddedKey);
    expect_sections(merge_nonkey(full_nonkey(0x5, 4), added), expected, std::nullopt);
    expect_sections(merge_nonkey(full_nonkey(0x1, 4), added), nonkey_of(0x01020304, 0x1), std::nullopt);
}

TEST_F(Merge, TheAddedUserDataIsTakenOnWhereItIsValid)
{
    QEL_NGMVPN_NONKEY_S expected = nonkey_of(7, 0x3);
    expected.stUserAddr = full_nonkey(0, 4).stUserAddr;
    expected.uiUserValue = 0x11121314;
    expect_sections(merge_nonkey(nonkey_of(7, 0x1), full_nonkey(0x2, 4)), expected, std::nullopt);
    expect_sections(merge_nonkey(nonkey_of(7, 0x1), full_nonkey(0x1, 4)), nonkey_of(7, 0x1), std::nullopt);
}

TEST_F(Merge, TheAddedRdIsTakenOnWhereItIsValid)
{
    expect_sections(merge_nonkey(nonkey_of(7, 0x1), full_nonkey(0x10, 4)), nonkey_of(7, 0x11, rd_b()), std::nullopt);
    expect_sections(merge_nonkey(nonkey_of(7, 0x1), full_nonkey(0x5, 4)), nonkey_of(7, 0x1), std::nullopt);
}

TEST_F(Merge, TheKeyTypeIsTheRoutesOwn)
{
    expect_sections(merge_nonkey(nonkey_of(7, 0x1), nonkey_of(3, 0x1)), nonkey_of(7, 0x1), std::nullopt);
}

// kept: the length of the address is not taken along, so that the merged record goes out in the long form
TEST_F(Merge, TheLengthOfTheUserAddressIsNotTakenAlong)
{
    QEL_NGMVPN_NONKEY_S added = full_nonkey(0x2, 4);
    const MessageGot got = merge_nonkey(nonkey_of(7, 0x1), added);
    ASSERT_TRUE(got.block);
    auto merged = zeroed<QEL_NGMVPN_NONKEY_S>();
    std::memcpy(&merged, got.block.at(32), sizeof(merged));
    EXPECT_EQ(merged.usUserAddrLen, 0);
    EXPECT_EQ(merged.usFlags, 0x3);
    EXPECT_EQ(write_nonkey(merged, 200, ctx_).moved, 4 + 8 + 28);
}

// kept: an RD and user data that the route had are gone, whether or not others come
TEST_F(Merge, TheRoutesOwnRdAndUserDataAreDropped)
{
    expect_sections(merge_nonkey(full_nonkey(0x13, 4), flags_alone(0)), nonkey_of(0x01020304, 0x1), std::nullopt);
}

TEST_F(Merge, ANonKeyWithoutAKeyTypeTakesNothingOn)
{
    for (const std::uint16_t flags : std::initializer_list<std::uint16_t>{0, 0x2, 0x4, 0x10, 0xfffe}) {
        expect_no_result(merge_nonkey(full_nonkey(flags, 4), full_nonkey(0x12, 4)), 0, 0);
        CrossRoute route(full_nonkey(flags, 4), kRtAs2.host);
        expect_no_result(merge_list(route.info, kRtIp4.host), 0, 0);
    }
}

TEST_F(Merge, ARouteWithoutANonKeySectionTakesNothingOn)
{
    CrossRoute no_pointer(nonkey_of(1, 0x1), kRtAs2.host);
    no_pointer.info.pucNonKey = nullptr;
    CrossRoute no_bit(nonkey_of(1, 0x1), kRtAs2.host);
    no_bit.info.uiValidMask = 0xfffffffb;
    for (const QEL_ROUTE_INFO_S &route : {no_pointer.info, no_bit.info}) {
        expect_no_result(merge_nonkey(route, full_nonkey(0x12, 4)), 0, 0);
        expect_no_result(merge_list(route, kRtIp4.host), 0, 0);
    }
    CrossRoute no_mask_but_the_bit(nonkey_of(1, 0x1), kRtAs2.host);
    no_mask_but_the_bit.info.uiValidMask = 0x4;
    expect_attr(merge_list(no_mask_but_the_bit.info, {}), ext_comm(kRtAs2.host));
}

// kept: the length of the message is not looked at; the record is a hundred octets wherever the message ends
TEST_F(Merge, ANonKeyIsReadWhateverTheLengthOfTheMessage)
{
    const Bytes octets = bytes_of(full_nonkey(0x12, 16));
    QEL_NGMVPN_NONKEY_S expected = full_nonkey(0x13, 0);
    expected.uiKeyType = 7;
    expected.uiReserved8 = 0;
    std::memset(expected.aucEmbeddedKey, 0, 60);
    for (const std::size_t length : {0U, 1U, 50U, 99U}) {
        HeldNonKey route(nonkey_of(7, 0x1));
        route.info.uiValidMask = 0x4;
        const Bytes rest = slice(octets, length, 100 - length);
        const Message message(slice(octets, 0, length), rest + slack(0, QEL_MSG_READ_SLACK - rest.size()));
        const MessageGot got = read_message(message, [&](auto data, auto told, auto result) {
            return QEL_NGMVPN_ParseNonkeyTlv(&route.info, data, told, result, ctx_);
        });
        expect_sections(got, expected, std::nullopt);
    }
}

TEST_F(Merge, ANonKeyNeedsOneBlock)
{
    const std::uint64_t before = allocations();
    merge_nonkey(nonkey_of(1, 0x1), flags_alone(0));
    EXPECT_EQ(allocations() - before, 1U);
    const platform::FailAllocation fail(0);
    expect_no_result(merge_nonkey(nonkey_of(1, 0x1), flags_alone(0x12)), kNoMemory, 1);
    EXPECT_TRUE(fail.fired());
}

TEST_F(Merge, MergesReportOneMissingArgument)
{
    using Handler = decltype(QEL_DISPATCH_ENTRY_S::pfParseAddAttrMsg);
    const Message message(bytes_of(full_nonkey(0x12, 4)));
    CrossRoute with(nonkey_of(1, 0x1), kRtAs2.host);
    CrossRoute without(nonkey_of(1, 0x0), kRtAs2.host);
    for (const Handler handler : {&QEL_NGMVPN_ParseNonkeyTlv, &QEL_NGMVPN_ParseAddAttrTlv}) {
        for (const QEL_ROUTE_INFO_S *route : {&with.info, &without.info}) {
            expect_null_arguments_refused(3, [&](unsigned nulls) {
                QEL_ROUTE_BLOCK_S *result = nullptr;
                const std::uint32_t code = handler(null_if(nulls, 0, route), message.data(), 8,
                                                   null_if(nulls, 1, &result), null_if(nulls, 2, ctx_));
                EXPECT_EQ(result, nullptr);
                return code;
            });
        }
    }
}

// --- merging communities --------------------------------------------------------------------------------------------

bool takes_on(std::uint32_t key_type)
{
    return key_type != 4 && key_type != 5 && key_type != 7 && key_type != 8;
}

TEST_F(Merge, CommunitiesAreAddedSortedAndWithoutDuplicates)
{
    CrossRoute route(nonkey_of(1, kFlagType), list_of({kSnh, kRtAs4}));
    expect_attr(merge_list(route.info, list_of({kRtAs2, kRtAs4, kSourceAs})),
                ext_comm(list_of({kRtAs2, kRtAs4, kSourceAs, kSnh})));
    route.expect_unchanged(nonkey_of(1, kFlagType), list_of({kSnh, kRtAs4}));
    // alone on either side
    expect_attr(merge_list(route.info, {}), ext_comm(list_of({kRtAs4, kSnh})));
    CrossRoute empty(nonkey_of(1, kFlagType));
    expect_attr(merge_list(empty.info, list_of({kSnh, kRtAs2, kSnh})), ext_comm(list_of({kRtAs2, kSnh})));
    // a length without a list
    empty.info.uiExtCommLen = 16;
    expect_attr(merge_list(empty.info, kRtAs2.host), ext_comm(kRtAs2.host));
}

TEST_F(Merge, FourKeyTypesNeverTakeCommunitiesOnAndHaveTheirOwnCleaned)
{
    for (std::uint32_t type = 0; type < 300; ++type) {
        SCOPED_TRACE(type);
        CrossRoute route(nonkey_of(type, kFlagType), list_of({kSnh, kRtAs4, kSnh}));
        const Bytes expected = takes_on(type) ? list_of({kRtAs2, kRtAs4, kSnh}) : list_of({kRtAs4, kSnh});
        expect_attr(merge_list(route.info, kRtAs2.host), ext_comm(expected));
        // nothing to have cleaned
        CrossRoute empty(nonkey_of(type, kFlagType));
        if (takes_on(type)) {
            expect_attr(merge_list(empty.info, kRtAs2.host), ext_comm(kRtAs2.host));
        } else {
            expect_no_result(merge_list(empty.info, kRtAs2.host), 0, 0);
        }
    }
    CrossRoute high(nonkey_of(0x10007, kFlagType));
    expect_attr(merge_list(high.info, kRtAs2.host), ext_comm(kRtAs2.host));
}

// kept: an own list is cleaned and handed out, whatever is added
TEST_F(Merge, TheOwnListOfALeafOrJoinIsSortedAndFreedOfItsDuplicates)
{
    for (const std::uint32_t type : {4U, 5U, 7U, 8U}) {
        SCOPED_TRACE(type);
        CrossRoute route(nonkey_of(type, kFlagType), list_of({kSnh, kRtAs4, kSnh}));
        expect_attr(merge_list(route.info, kRtAs2.host), ext_comm(list_of({kRtAs4, kSnh})));
        expect_attr(merge_list(route.info, {}), ext_comm(list_of({kRtAs4, kSnh})));
    }
}

TEST_F(Merge, AListIsAttributeSixteenOfFlagZero)
{
    CrossRoute route(nonkey_of(1, kFlagType), kSnh.host);
    const MessageGot got = merge_list(route.info, kRtAs2.host);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->ucAttrFlag, 0);
    EXPECT_EQ(got.block->ucAttrType, 16);
    EXPECT_EQ(got.block->usAttrLen, 16);
}

TEST_F(Merge, AListLengthWithoutAListCountsForNothing)
{
    CrossRoute route(nonkey_of(1, kFlagType));
    route.info.uiExtCommLen = 16;
    expect_attr(merge_list(route.info, kRtAs2.host), ext_comm(kRtAs2.host));
    expect_no_result(merge_list(route.info, {}), 0, 0);
}

// Both lists are in host order and nothing is swapped.
TEST_F(Merge, CommunitiesAreNotConverted)
{
    CrossRoute route(nonkey_of(6, kFlagType), bytes("0308 a1a2a3a4 b1b2"));
    expect_attr(merge_list(route.info, bytes("0900 c1c2 d1d2d3d4")),
                ext_comm(bytes("0308 a1a2a3a4 b1b2 0900 c1c2 d1d2d3d4")));
}

TEST_F(Merge, NothingAndNothingIsNoBlock)
{
    CrossRoute route(nonkey_of(1, kFlagType));
    const std::uint64_t before = allocations();
    expect_no_result(merge_list(route.info, {}), 0, 0);
    CrossRoute with_pointer(nonkey_of(1, kFlagType), kRtAs2.host);
    with_pointer.info.uiExtCommLen = 0;
    expect_no_result(merge_list(with_pointer.info, {}), 0, 0);
    EXPECT_EQ(allocations(), before);
}

TEST_F(Merge, WhatIsNoWholeElementAtTheEndIsDropped)
{
    for (std::size_t odd = 1; odd < 8; ++odd) {
        SCOPED_TRACE(odd);
        CrossRoute route(nonkey_of(1, kFlagType), kRtAs2.host);
        expect_attr(merge_list(route.info, Bytes(odd, 0xff)), ext_comm(kRtAs2.host));
        CrossRoute empty(nonkey_of(1, kFlagType));
        expect_attr(merge_list(empty.info, kRtAs2.host + Bytes(odd, 0xff)), ext_comm(kRtAs2.host));
        // two halves that make a whole one
        CrossRoute half(nonkey_of(1, kFlagType), slice(kRtAs2.host, 0, odd));
        expect_attr(merge_list(half.info, slice(kRtAs2.host, odd, 8 - odd)), ext_comm(kRtAs2.host));
    }
}

// kept: a list that holds no whole element still counts one; the rest of it is zero
TEST_F(Merge, LessThanOneElementComesOutAsOne)
{
    for (std::size_t length = 1; length < 8; ++length) {
        SCOPED_TRACE(length);
        dirty_the_heap(8);
        CrossRoute empty(nonkey_of(1, kFlagType));
        const Bytes part = slice(kRtAs2.host, 0, length);
        expect_attr(merge_list(empty.info, part), ext_comm(part + Bytes(8 - length)));
        CrossRoute own(nonkey_of(7, kFlagType), part);
        expect_attr(merge_list(own.info, kSnh.host), ext_comm(part + Bytes(8 - length)));
    }
}

TEST_F(Merge, LongListsAreMerged)
{
    Bytes held;
    Bytes added;
    Bytes expected;
    for (std::uint32_t i = 0; i < 200; ++i) {
        const Bytes one = as2(0x0002, 1, i).host;
        expected = expected + one;
        (i % 2 == 0 ? held : added) = one + (i % 2 == 0 ? held : added);
    }
    CrossRoute route(nonkey_of(3, kFlagType), held);
    expect_attr(merge_list(route.info, added), ext_comm(expected));
    expect_attr(merge_list(route.info, held + added), ext_comm(expected));
}

// kept: the sum is counted in 16 bits; copies that do not fit it fail and are reported, and nothing is written past it
TEST_F(Merge, ASumBeyondSixteenBitsIsCutAndNothingIsWrittenPastIt)
{
    const Bytes held(65536 - 8, 0x11);
    CrossRoute route(nonkey_of(1, kFlagType), held);
    const MessageGot got = merge_list(route.info, Bytes(24, 0x22)); // 16 are left of the sum
    EXPECT_EQ(got.code, 0U);
    EXPECT_GE(got.asserts, 1U);
    EXPECT_TRUE(got.block);
    expect_no_result(merge_list(route.info, Bytes(8, 0x22)), 0, 0); // none is left
}

TEST_F(Merge, EveryAllocationOfAListFailsOnce)
{
    CrossRoute route(nonkey_of(1, kFlagType), list_of({kSnh, kRtAs4}));
    {
        const platform::FailAllocation fail(0);
        expect_no_result(merge_list(route.info, kRtAs2.host), kOutOfMemory, 1);
        EXPECT_TRUE(fail.fired());
    }
    {
        const LentBuffer lent(ctx_); // the sort's scratch
        const platform::FailAllocation fail(1);
        expect_no_result(merge_list(route.info, kRtAs2.host), kNoMemory, 1);
        EXPECT_TRUE(fail.fired());
    }
    {
        const platform::FailAllocation fail(1); // the block
        expect_no_result(merge_list(route.info, kRtAs2.host), kNoMemory, 1);
        EXPECT_TRUE(fail.fired());
    }
    const std::uint64_t before = allocations();
    expect_attr(merge_list(route.info, kRtAs2.host), ext_comm(list_of({kRtAs2, kRtAs4, kSnh})));
    EXPECT_EQ(allocations() - before, 2U);
}

// kept: the merged list comes from the heap, and the inline buffer is left to the sort
TEST_F(Merge, TheListDoesNotTakeTheInlineBuffer)
{
    const LentBuffer lent(ctx_);
    CrossRoute route(nonkey_of(1, kFlagType), kSnh.host);
    const std::uint64_t before = allocations();
    expect_attr(merge_list(route.info, kRtAs2.host), ext_comm(list_of({kRtAs2, kSnh})));
    EXPECT_EQ(allocations() - before, 3U);
}

// --- rows -----------------------------------------------------------------------------------------------------------

TEST_F(Merge, TheTwoTypesLeadToTheirHandlers)
{
    ASSERT_EQ(std::size(g_astQelNgmvpnErtMsgParseTbl), 2U);
    EXPECT_EQ(g_astQelNgmvpnErtMsgParseTbl[0].uiType, 11U);
    EXPECT_EQ(g_astQelNgmvpnErtMsgParseTbl[0].pfParseAddAttrMsg, QEL_NGMVPN_ParseAddAttrTlv);
    EXPECT_EQ(g_astQelNgmvpnErtMsgParseTbl[1].uiType, 34U);
    EXPECT_EQ(g_astQelNgmvpnErtMsgParseTbl[1].pfParseAddAttrMsg, QEL_NGMVPN_ParseNonkeyTlv);
    CrossRoute route(nonkey_of(1, kFlagType), kSnh.host);
    const auto call = [&](std::uint32_t type, const Bytes &added) {
        return read_message(Message(added), [&](auto data, auto length, auto result) {
            return instance_.desc.pfParseAddAttrMsg(&route.info, data, length, type, result, ctx_);
        });
    };
    expect_attr(call(11, kRtAs2.host), ext_comm(list_of({kRtAs2, kSnh})));
    QEL_NGMVPN_NONKEY_S merged = nonkey_of(1, 0x11, rd_b());
    expect_sections(call(34, bytes_of(nonkey_of(9, 0x10, rd_b()))), merged, std::nullopt);
    for (const std::uint32_t type : {0U, 1U, 10U, 12U, 21U, 33U, 35U, 0x10000U + 11}) {
        expect_no_result(call(type, kRtAs2.host), kNoEntry, 0);
    }
}

} // namespace
} // namespace qel::test
