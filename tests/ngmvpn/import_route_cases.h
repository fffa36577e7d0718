// What the tests of import routes share: messages 137 and 138 and attribute message 40 as octets, calls over exact
// copies with the promised slack behind them, tunnels on the wire and in records, the blocks that must come out.
#pragma once

#include "loss_on_purpose.h"
#include "segment_cases.h"

#include "ngmvpn/qel_ngmvpn_segment_importattr.h"
#include "ngmvpn/qel_ngmvpn_segment_parsemsg.h"

#include <cstddef>
#include <regex>
#include <string>
#include <vector>

namespace qel::test {

inline constexpr std::uint32_t kMalformed = 0x60001;
inline constexpr std::uint32_t kRefused = 0x60002;
inline constexpr std::uint32_t kBadValue = 0x80001;
inline constexpr std::uint32_t kBadTlv = 0x80004;
inline constexpr std::uint32_t kBadArgument = 2;
inline constexpr std::uint32_t kFailed = 1;
inline constexpr std::uint8_t kSlackOctet = 0xd7;

inline Bytes wire_u16(std::size_t value)
{
    return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

inline Bytes wire_u32(std::uint32_t value)
{
    return wire_u16(value >> 16) + wire_u16(value & 0xffff);
}

inline Bytes tlv(std::size_t type, const Bytes &value)
{
    return wire_u16(type) + wire_u16(value.size()) + value;
}

// A message at an odd address. Exactly the slack that hosts promise is readable behind it, not a byte more.
class MessageCopy {
public:
    explicit MessageCopy(const Bytes &message)
        : size_(message.size()), copy_(Bytes(1) + message + Bytes(QEL_MSG_READ_SLACK, kSlackOctet))
    {
    }
    const std::uint8_t *data() const { return copy_.data() + 1; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(size_); }

private:
    std::size_t size_;
    ExactCopy copy_;
};

// An instance on a memory handle of its own, where lost blocks may be counted.
inline constexpr std::uint32_t kLossHandle = 70;

class LossyInstance {
public:
    LossyInstance()
    {
        desc.uiAddrFamily = 1;
        ctx = QEL_NGMVPN_Construct4Mvpn(&desc, kLossHandle);
        desc.pfSetLibDebug(3, 4, ctx);
    }
    ~LossyInstance() { QEL_NGMVPN_Destruct(ctx); }
    LossyInstance(const LossyInstance &) = delete;
    LossyInstance &operator=(const LossyInstance &) = delete;
    static std::int64_t live() { return static_cast<std::int64_t>(platform::usage(kLossHandle).live_blocks); }

    QEL_FAMILY_DESC_S desc{};
    QEL_FAMILY_CTX_S *ctx = nullptr;
};

class ImportRouteTest : public PolicyTest {
protected:
    static std::int64_t live() { return static_cast<std::int64_t>(platform::usage(kMemHandle).live_blocks); }
};

// An instance of another side with debug output on.
class LoggingInstance : public NgmvpnInstance {
public:
    explicit LoggingInstance(Side side) : NgmvpnInstance(side) { desc.pfSetLibDebug(3, 4, ctx); }
};

// --- tunnels --------------------------------------------------------------------------------------------------------

struct Tunnel {
    Bytes wire;
    Bytes record;
};

inline Tunnel rsvp_te(std::string_view label = "ff0123")
{
    const Bytes octets = bytes(label);
    return {bytes("21 01") + octets + bytes("0a000001 0000 0102 0b000002"),
            bytes("21 01 0000") + reversed(octets, 0, 3) + bytes("00 0100000a 0000 0201 0200000b")};
}

inline Tunnel mldp(const Bytes &opaque, std::string_view label = "ff0b0c")
{
    const Bytes octets = bytes(label);
    return {bytes("00 02") + octets + bytes("06 0001 04 c0a80102") + wire_u16(opaque.size()) + opaque,
            bytes("00 02 0000") + reversed(octets, 0, 3) + bytes("00 06 04 0100 0201a8c0") +
                le16(static_cast<std::uint32_t>(opaque.size())) + Bytes(2) + opaque};
}

inline Tunnel mldp()
{
    return mldp(bytes("1122334455"));
}

inline Tunnel bier4()
{
    return {bytes("20 0b ff0100 07 0102 0a0b0c0d"), bytes("20 0b 0000 0001ff00 07 04 0201 0d0c0b0a")};
}

inline Tunnel bier6()
{
    const Bytes prefix = bytes("20010db8000100020003000400050006");
    return {bytes("01 0b ff00fe 09 0304") + prefix, bytes("01 0b 0000 fe00ff00 09 10 0403") + prefix};
}

inline std::vector<Tunnel> all_tunnels()
{
    return {rsvp_te(), mldp(), mldp({}), mldp(Bytes(240, 0x3c)), bier4(), bier6()};
}

// --- routes that are imported ---------------------------------------------------------------------------------------

inline constexpr std::uint32_t kPolicy = 0x00abcdef;

inline std::vector<NlriCase> ad_routes()
{
    std::vector<NlriCase> out;
    for (const auto &rows : {ipmsi_routes(), spmsi_routes()}) {
        for (const NlriCase &route : rows) {
            if (route.key.uiKeyType != 2) {
                out.push_back(route);
            }
        }
    }
    return out;
}

inline std::vector<NlriCase> leaf_routes()
{
    std::vector<NlriCase> out = ipmsi_leaf_routes();
    for (const auto &rows : {spmsi_leaf_routes(), padded_leaf_routes()}) {
        out.insert(out.end(), rows.begin(), rows.end());
    }
    return out;
}

// --- message 137 ----------------------------------------------------------------------------------------------------

inline Bytes policy_tlv(std::uint32_t policy_id)
{
    return tlv(16, wire_u32(policy_id));
}

inline Bytes key_message(const Bytes &nlri, std::uint32_t policy_id)
{
    return tlv(11, nlri) + policy_tlv(policy_id);
}

// The record of a route that came with its key alone.
inline ImportRecord key_record(const QEL_NGMVPN_KEY_S &key, std::uint32_t policy_id)
{
    ImportRecord out;
    out.key = key;
    out.policy_id = policy_id;
    out.ply = {};
    out.replaced.flags = kIsSet;
    return out;
}

// A block of RD, key, non-key and the record.
inline void expect_import_block(const Block &block, const QEL_NGMVPN_KEY_S &key, const Bytes &record)
{
    QEL_ROUTE_BLOCK_S header = route_header();
    header.uiValidMask = 0xf;
    header.ucAttrFlag = 2;
    header.ucAttrType = 243;
    header.usAttrOffset = 244;
    header.usAttrLen = static_cast<std::uint16_t>(record.size());
    auto nonkey = zeroed<QEL_NGMVPN_NONKEY_S>();
    nonkey.usFlags = 0x1;
    nonkey.uiKeyType = key.uiKeyType;
    ASSERT_NO_FATAL_FAILURE(expect_block(block, key, nonkey, header));
    EXPECT_EQ(hex(block.section(244, header.usAttrLen)), hex(record));
}

inline Answer parse_key(const Bytes &message, QEL_FAMILY_CTX_S *ctx)
{
    const MessageCopy copy(message);
    return answer_of(
        [&](auto result) { return QEL_NGMVPN_ParseMcImportRouteKeyTlv(copy.data(), copy.size(), result, ctx); });
}

inline Log key_log(std::uint32_t code)
{
    return {"ParseMcImportRouteKeyTlv Success, uiRetCode is " + std::to_string(code)};
}

// --- message 138 ----------------------------------------------------------------------------------------------------

// One TLV and what the reader keeps of it.
struct Part {
    std::uint16_t type;
    Bytes value;
    Bytes held;

    Bytes octets() const { return tlv(type, value); }
};

inline const std::string kSid = " 20010db8 00010203 04050607 08090a0b ";
inline const std::string kSidHost = " b80d0120 03020100 07060504 0b0a0908 ";

inline Part rt_import_part()
{
    return {13, bytes(kTarget2 + kTarget + kTarget2), host_list(kTarget + kTarget2)};
}
inline Part orig_snh_part()
{
    return {19, bytes(kSnhArrived), host_list(kSnhArrived)};
}
inline Part ply_part()
{
    return {18, bytes("05 a1a2a3 c0000201 01020304"), bytes("05000000 010200c0 04030201")};
}
inline Part orig_pmsi_part(const Tunnel &tunnel = rsvp_te())
{
    return {20, tunnel.wire, tunnel.record};
}
inline Part snh_part()
{
    return {15, bytes(kSnhReplacing), host_list(kSnhReplacing)};
}
inline Part pmsi_part(const Tunnel &tunnel = mldp())
{
    return {12, tunnel.wire, tunnel.record};
}
inline Part rt6_part()
{
    return {22, bytes("0002" + kSid + "1122"), bytes("0200" + kSidHost + "2211")};
}
inline Part prefix_sid_part()
{
    const Bytes wire = bytes("05 0019 00 01 0015 00" + kSid + "00 0044 00");
    return {23, wire, bytes("4400 0000" + kSidHost) + wire};
}
inline Part msid_part()
{
    const Bytes wire = bytes("01 0011 00" + kSid);
    return {24, wire, bytes("00000000" + kSidHost) + wire};
}

// In the order of the rows.
inline std::vector<Part> all_parts()
{
    return {rt_import_part(), orig_snh_part(), ply_part(),        orig_pmsi_part(), snh_part(),
            pmsi_part(),      rt6_part(),      prefix_sid_part(), msid_part()};
}

inline Bytes list_message(const std::vector<Part> &parts)
{
    Bytes out;
    for (const Part &part : parts) {
        out = out + part.octets();
    }
    return out;
}

struct NoKeyGot {
    std::uint32_t code = 0;
    QEL_ROUTE_BLOCK_S *result = nullptr;
    std::size_t asserts = 0;
    Log log;
    std::int64_t grown = 0; // blocks on the memory handle
};

// `held` stands in the result pointer. What stands there afterwards is the test's.
inline NoKeyGot parse_nokey(const Bytes &message, QEL_ROUTE_BLOCK_S *held, QEL_FAMILY_CTX_S *ctx)
{
    const MessageCopy copy(message);
    NoKeyGot got;
    got.result = held;
    const auto live = platform::usage(ctx->uiMemHandle).live_blocks;
    const platform::Recorder recorder;
    got.code = QEL_NGMVPN_ParseMcImportRouteNoKeyTlv(copy.data(), copy.size(), &got.result, ctx);
    got.grown = static_cast<std::int64_t>(platform::usage(ctx->uiMemHandle).live_blocks - live);
    got.asserts = recorder.asserts().size();
    got.log = log_of(recorder);
    return got;
}

inline Log nokey_log(std::uint32_t code)
{
    return {"ParseMcImportRouteNoKeyTlv success, uiRetCode is " + std::to_string(code)};
}

inline Log replaced_log(std::uint32_t key_type, std::uint32_t code)
{
    const std::string type = std::to_string(key_type);
    return Log{"ParseMcImportRouteNoKeyTlv input type(" + type + ").",
               "ParseMcImportRouteNoKeyTlv output type(" + type + ")."} +
           nokey_log(code);
}

// --- writers --------------------------------------------------------------------------------------------------------

struct FormatGot {
    std::uint32_t code = 0;
    std::ptrdiff_t moved = 0;
    Bytes buffer; // all of it, kUntouchedOctet where nothing was written
    std::size_t asserts = 0;
    Log log;
    std::uint64_t allocations = 0;
};

// Writes into a buffer of exactly `room` octets at an odd address.
inline FormatGot format_into(std::size_t room, const std::function<std::uint32_t(std::uint8_t **, std::uint32_t)> &call)
{
    OddBytes out(Bytes(room, kUntouchedOctet));
    std::uint8_t *cursor = out.data();
    FormatGot got;
    const std::uint64_t made = allocations();
    const platform::Recorder recorder;
    got.code = call(&cursor, static_cast<std::uint32_t>(room));
    got.allocations = allocations() - made;
    got.moved = cursor - out.data();
    got.buffer = out.bytes();
    got.asserts = recorder.asserts().size();
    got.log = log_of(recorder);
    return got;
}

using MessageFormatter = decltype(&QEL_NGMVPN_FormatMcImportRouteKeyTlv);

inline FormatGot format_route(MessageFormatter formatter, const QEL_ROUTE_INFO_S &route, std::size_t room,
                              QEL_FAMILY_CTX_S *ctx)
{
    return format_into(room, [&](auto cursor, auto space) { return formatter(&route, cursor, space, ctx); });
}

inline void expect_octets(const FormatGot &got, const Bytes &wire, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, std::ssize(wire));
    EXPECT_EQ(got.asserts, asserts);
    EXPECT_EQ(got.allocations, 0U);
    ASSERT_GE(got.buffer.size(), wire.size());
    EXPECT_EQ(hex(got.buffer), hex(wire + untouched(got.buffer.size() - wire.size())));
}

inline void expect_format_failed(const FormatGot &got, std::uint32_t code, std::size_t asserts)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.asserts, asserts);
    EXPECT_EQ(got.allocations, 0U);
}

// The log with the numbers of the progress lines left open.
inline Log without_progress(const Log &log)
{
    static const std::regex progress(
        "(: (?:nlri|plyInfo|orgi attr|replace attr|orgi pmsi|replace pmsi))\\(-?[0-9]+\\)\\.$");
    Log out;
    for (const std::string &line : log) {
        out.push_back(std::regex_replace(line, progress, "$1(N)."));
    }
    return out;
}

} // namespace qel::test
