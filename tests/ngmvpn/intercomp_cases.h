// What the tests of the messages between components share: values with the octets behind them that a host keeps
// readable, TLVs, one call of a reader or a writer, the blocks that come of it.
#pragma once

#include "cross_cases.h"
#include "policy_cases.h"

#include "ngmvpn/qel_ngmvpn_attribute_msg.h"
#include "ngmvpn/qel_ngmvpn_intercomp_msg.h"

#include <optional>
#include <string>
#include <vector>

namespace qel::test {

using MessageParser = decltype(QEL_DISPATCH_ENTRY_S::pfParseMsg);
using MessageFormatter = decltype(QEL_DISPATCH_ENTRY_S::pfFormatMsg);

inline constexpr std::uint32_t kFailed = 1;
inline constexpr std::uint32_t kArgument = 2;
inline constexpr std::uint32_t kBadValue = 0x80001;
inline constexpr std::uint32_t kNoEntry = 0x80003;
inline constexpr std::uint32_t kBadTlv = 0x80004;

// The octets behind a value, all different, so that it shows which of them have been read.
inline Bytes slack(std::size_t from = 0, std::size_t count = QEL_MSG_READ_SLACK)
{
    Bytes out;
    for (std::size_t i = from; i < from + count; ++i) {
        out.push_back(static_cast<std::uint8_t>(0x80 + i));
    }
    return out;
}

// A message at an odd address, readable for as far behind its end as a host promises and not one octet further.
class Message {
public:
    explicit Message(const Bytes &value, const Bytes &behind = slack())
        : length_(static_cast<std::uint32_t>(value.size())), copy_(value + behind)
    {
        EXPECT_EQ(behind.size(), static_cast<std::size_t>(QEL_MSG_READ_SLACK));
    }
    const std::uint8_t *data() const { return copy_.data(); }
    std::uint32_t size() const { return length_; }

private:
    std::uint32_t length_;
    OddBytes copy_;
};

// `told` is the length in the header where that is not the value's.
inline Bytes tlv(std::uint32_t type, const Bytes &value, std::optional<std::size_t> told = {})
{
    return wire16(type) + wire16(static_cast<std::uint32_t>(told.value_or(value.size()))) + value;
}

// --- reading --------------------------------------------------------------------------------------------------------

struct MessageGot {
    std::uint32_t code = 0;
    bool result_written = false;
    Block block;
    std::size_t asserts = 0;
};

// Runs `call(data, length, result)`.
template <typename Call> inline MessageGot read_message(const Message &message, Call call)
{
    static QEL_ROUTE_BLOCK_S untouched{};
    QEL_ROUTE_BLOCK_S *result = &untouched;
    const platform::Recorder recorder;
    MessageGot got;
    got.code = call(message.data(), message.size(), &result);
    got.result_written = result != &untouched;
    if (got.result_written) {
        got.block = Block(result);
    }
    got.asserts = recorder.asserts().size();
    EXPECT_TRUE(recorder.debugs().empty());
    return got;
}

inline MessageGot read_message(MessageParser parser, const Bytes &value, QEL_FAMILY_CTX_S *ctx)
{
    return read_message(Message(value),
                        [&](auto data, auto length, auto result) { return parser(data, length, result, ctx); });
}

// No block and nothing in the result's place.
inline void expect_no_result(const MessageGot &got, std::uint32_t code, std::size_t asserts)
{
    EXPECT_EQ(got.code, code);
    EXPECT_FALSE(got.result_written);
    EXPECT_EQ(got.asserts, asserts);
}

struct AttrSection {
    std::uint8_t flag;
    std::uint8_t type;
    Bytes octets;
};

// A block of a non-key, of an attribute, or of both.
inline void expect_sections(const MessageGot &got, const std::optional<QEL_NGMVPN_NONKEY_S> &nonkey,
                            const std::optional<AttrSection> &attr, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, asserts);
    ASSERT_TRUE(got.block);
    QEL_ROUTE_BLOCK_S header{};
    Bytes sections;
    if (nonkey) {
        header.uiValidMask |= 0x4;
        header.usNonKeyOffset = 32;
        header.usNonKeyLen = 100;
        sections = bytes_of(*nonkey);
    }
    if (attr) {
        header.uiValidMask |= 0x8;
        header.ucAttrFlag = attr->flag;
        header.ucAttrType = attr->type;
        header.usAttrOffset = static_cast<std::uint16_t>(32 + sections.size());
        header.usAttrLen = static_cast<std::uint16_t>(attr->octets.size());
        sections = sections + attr->octets;
    }
    ASSERT_EQ(hex(got.block.section(0, 32)), hex(bytes_of(header)));
    EXPECT_EQ(hex(got.block.section(32, static_cast<std::uint16_t>(sections.size()))), hex(sections));
}

inline void expect_attr(const MessageGot &got, const AttrSection &attr, std::size_t asserts = 0)
{
    expect_sections(got, std::nullopt, attr, asserts);
}

// --- writing --------------------------------------------------------------------------------------------------------

// Writes into a buffer of exactly `room` octets at an odd address; `told` is the room that the writer hears of.
template <typename Call>
inline Written write_message(std::size_t room, Call call, std::optional<std::uint32_t> told = {})
{
    OddBytes out(untouched(room));
    std::uint8_t *cursor = out.data();
    const platform::Recorder recorder;
    Written got;
    got.code = call(&cursor, told.value_or(static_cast<std::uint32_t>(room)));
    got.moved = cursor - out.data();
    got.buffer = out.bytes();
    got.asserts = recorder.asserts().size();
    return got;
}

inline Written write_message(MessageFormatter formatter, const QEL_ROUTE_INFO_S &route, std::size_t room,
                             QEL_FAMILY_CTX_S *ctx)
{
    return write_message(room, [&](auto cursor, auto out_len) { return formatter(&route, cursor, out_len, ctx); });
}

// Refused with the cursor where it was; what stands in the buffer is nobody's business.
inline void expect_not_moved(const Written &got, std::uint32_t code, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.asserts, asserts);
}

// --- attributes -----------------------------------------------------------------------------------------------------

inline const std::string kSidText = "20010db8 000a0b0c 0d0e0f10 11121314";
inline const std::string kPfxSidText = "05 0019 a1 01 0015 a2" + kSidText + "a3 0044 a4";
inline const std::string kMsid20Text = "01 0011 b1" + kSidText;
inline const std::string kMsid28Text = "01 0019 b1" + kSidText + "01 0005 b2 20 18 b3b4";
inline const std::string kSidWords = "b80d0120 0c0b0a00 100f0e0d 14131211";

inline const std::string kRsvpText = "21 01 012345 0a0b0c0d 0000 1112 0e0f1011";
inline const std::string kRsvpRecord = "21 01 0000 45230100 0d0c0b0a 0000 1211 11100f0e";
inline const std::string kMldpText = "01 02 abcdef 06 0001 04 c0000201 0003 a1a2a3";
inline const std::string kMldpRecord = "01 02 0000 efcdab00 06 04 0100 010200c0 0300 0000 a1a2a3";
inline const std::string kBierText = "20 0b 000010 07 0102 0a0b0c0d";
inline const std::string kBierRecord = "20 0b 0000 10000000 07 04 0201 0d0c0b0a";
inline const std::string kBier6Text = "00 0b 000010 07 0102 20010db8000000000000000000000a01";
inline const std::string kBier6Record = "00 0b 0000 10000000 07 10 0201 20010db8000000000000000000000a01";

inline AttrSection ext_comm(const Bytes &list)
{
    return {0, 16, list};
}
inline AttrSection ext_comm6(const Bytes &list)
{
    return {3, 25, list};
}
inline AttrSection pmsi(std::string_view record)
{
    return {1, 22, bytes(record)};
}
inline AttrSection pfx_sid()
{
    return {4, 40, bytes("4400 0000" + kSidWords + kPfxSidText)};
}
inline AttrSection msid20()
{
    return {5, 66, bytes("00 00 00 00" + kSidWords + kMsid20Text)};
}
inline AttrSection msid28()
{
    return {5, 66, bytes("20 18 01 00" + kSidWords + kMsid28Text)};
}

inline Bytes wire_of(std::initializer_list<Target> targets)
{
    Bytes out;
    for (const Target &target : targets) {
        out = out + target.wire;
    }
    return out;
}

inline const Target kSnh = ip4(0x0112, 0xc0000209, 0x0102); // Segmented Next-Hop

// An import attribute record, its two PMSI records behind it, at an odd address.
class ImportAttr {
public:
    ImportAttr(const Bytes &snh, const Bytes &original_pmsi, const Bytes &replaced_pmsi)
        : octets_(record(snh, original_pmsi, replaced_pmsi))
    {
    }
    const QEL_NGMVPN_IMPORT_ATTR_S *get() const
    {
        return reinterpret_cast<const QEL_NGMVPN_IMPORT_ATTR_S *>(octets_.data());
    }
    std::uint32_t size() const { return octets_.size(); }

private:
    static Bytes record(const Bytes &snh, const Bytes &original_pmsi, const Bytes &replaced_pmsi)
    {
        const Bytes replaced_snh = ip4(0x0112, 0xdeadbeef, 0xdead).host;
        return Bytes(120, 0x99) + host32(0xb) + snh + host16(0) + host16(std::uint32_t(original_pmsi.size())) +
               host32(0xb) + replaced_snh + host16(std::uint32_t(original_pmsi.size())) +
               host16(std::uint32_t(replaced_pmsi.size())) + original_pmsi + replaced_pmsi;
    }
    OddBytes octets_;
};

} // namespace qel::test
