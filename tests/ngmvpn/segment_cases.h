// What the tests of a segmentation point and of attribute setting share: import attribute records told by their fields,
// host routes whose sections end where their heap blocks end, one call that may give a block.
#pragma once

#include "dirty_heap.h"
#include "policy_cases.h"

#include "ngmvpn/qel_ngmvpn.h"
#include "ngmvpn/qel_ngmvpn_segment_policy.h"

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace qel::test {

// --- communities and tunnels ----------------------------------------------------------------------------------------

inline const std::string kTarget = " 0002 fde9 00000064 ";       // route target 65001:100
inline const std::string kTarget2 = " 0102 c0000201 0007 ";      // route target 192.0.2.1:7
inline const std::string kOpaque = " 4302 fde9 00000064 ";       // not transitive
inline const std::string kSnhArrived = " 0112 c0a80a0b 0000 ";   // segmented next hop 192.168.10.11
inline const std::string kSnhOther = " 0112 c0a81415 0001 ";     // segmented next hop 192.168.20.21
inline const std::string kSnhReplacing = " 0112 0a0b0c0d 0002 "; // segmented next hop 10.11.12.13
inline const Bytes kTunnel = bytes("00 01 0203 04 05060708 09"); // the arrived tunnel's record
inline const Bytes kNextTunnel = bytes("20 02 f0f1f2f3f4f5f6f7f8f9fafb");

inline Bytes le16(std::uint32_t value)
{
    return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)};
}

inline Bytes le32(std::uint32_t value)
{
    return le16(value & 0xffff) + le16(value >> 16);
}

inline Log operator+(Log left, const Log &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// --- import attribute records ---------------------------------------------------------------------------------------

inline constexpr std::uint32_t kFixedLen = 152;
inline constexpr std::uint32_t kHasSnh = 0x1;
inline constexpr std::uint32_t kHasPmsi = 0x2;
inline constexpr std::uint32_t kIsSet = 0x8;

struct SegSet {
    std::uint32_t flags = 0;
    Bytes snh = Bytes(8);
    std::uint32_t offset = 0;
    std::uint32_t length = 0;

    Bytes octets() const { return le32(flags) + snh + le16(offset) + le16(length); }
};

struct ImportRecord {
    QEL_NGMVPN_KEY_S key = intra_key(rd_a(), o4());
    std::uint32_t policy_id = 0x01020304;
    std::array<std::uint32_t, 3> ply{0x11121314, 0x21222324, 0x31323334};
    SegSet original;
    SegSet replaced;
    Bytes data;

    Bytes octets() const
    {
        Bytes out = bytes_of(key) + le32(policy_id);
        for (const std::uint32_t word : ply) {
            out = out + le32(word);
        }
        return out + original.octets() + replaced.octets() + data;
    }
};

// As action 61 leaves it: the original set alone.
inline ImportRecord arrived_record(const Bytes &tunnel = kTunnel, std::string_view snh = kSnhArrived)
{
    ImportRecord out;
    out.original = {kIsSet | kHasSnh | kHasPmsi, host_list(snh), 0, static_cast<std::uint32_t>(tunnel.size())};
    out.data = tunnel;
    return out;
}

// As it comes back from the multicast component.
inline ImportRecord replaced_record(std::uint32_t flags = kIsSet | kHasSnh | kHasPmsi, const Bytes &tunnel = kTunnel,
                                    const Bytes &next_tunnel = kNextTunnel)
{
    ImportRecord out = arrived_record(tunnel);
    out.replaced = {flags, host_list(kSnhReplacing), static_cast<std::uint32_t>(tunnel.size()),
                    static_cast<std::uint32_t>(next_tunnel.size())};
    out.data = tunnel + next_tunnel;
    return out;
}

// --- host routes ----------------------------------------------------------------------------------------------------

struct Sections {
    std::optional<QEL_NGMVPN_KEY_S> key = intra_key(rd_a(), o4());
    std::optional<Bytes> list{};
    std::optional<Bytes> pmsi{};
    std::optional<Bytes> record{};
    std::optional<Bytes> ipv6_list{};
    std::optional<Bytes> nonkey{};
    std::optional<Bytes> user_data{};
    std::uint32_t policy_id = 0x01020304;
};

// A host route whose sections stand at odd addresses and end where their heap blocks end. Nothing of it changes.
class HostRoute {
public:
    explicit HostRoute(const Sections &from)
        : held_{section(info.pucKey, info.uiKeyLen, from.key ? std::optional(bytes_of(*from.key)) : std::nullopt),
                section(info.pucExtComm, info.uiExtCommLen, from.list),
                section(info.pucPmsi, info.uiPmsiLen, from.pmsi),
                section(record_, info.uiImportAttrLen, from.record),
                section(info.pucIpv6ExtComm, info.uiIpv6ExtCommLen, from.ipv6_list),
                section(info.pucNonKey, info.uiNonKeyLen, from.nonkey),
                section(user_data_, info.uiUserDataLen, from.user_data)}
    {
        info.uiValidMask = 0xf;
        info.pstImportAttr = reinterpret_cast<const QEL_NGMVPN_IMPORT_ATTR_S *>(record_);
        info.pstUserData = user_data_;
        info.uiUserDataKind = 4;
        info.uiPolicyId = from.policy_id;
    }
    ~HostRoute()
    {
        for (const auto &held : held_) {
            if (held) {
                EXPECT_EQ(held->now.bytes(), held->first);
            }
        }
    }
    HostRoute(const HostRoute &) = delete;
    HostRoute &operator=(const HostRoute &) = delete;

    QEL_ROUTE_INFO_S info{};

private:
    struct Held {
        OddBytes now;
        Bytes first;
    };
    static std::unique_ptr<Held> section(const std::uint8_t *&at, std::uint32_t &length,
                                         const std::optional<Bytes> &from)
    {
        if (!from) {
            return nullptr;
        }
        std::unique_ptr<Held> held(new Held{OddBytes(*from), *from});
        at = std::as_const(held->now).data();
        length = held->now.size();
        return held;
    }

    const std::uint8_t *record_ = nullptr;
    const std::uint8_t *user_data_ = nullptr;
    std::array<std::unique_ptr<Held>, 7> held_;
};

// --- one call that may give a block ---------------------------------------------------------------------------------

struct Answer {
    std::uint32_t code = 0;
    bool stored = false; // the result pointer was written
    Block block;         // empty: null
    std::size_t asserts = 0;
    Log log;
    std::uint64_t allocations = 0;
};

inline Answer answer_of(const std::function<std::uint32_t(QEL_ROUTE_BLOCK_S **)> &call)
{
    static QEL_ROUTE_BLOCK_S untouched{};
    QEL_ROUTE_BLOCK_S *result = &untouched;
    Answer got;
    const std::uint64_t made = allocations();
    const platform::Recorder recorder;
    got.code = call(&result);
    got.allocations = allocations() - made;
    got.stored = result != &untouched;
    if (got.stored) {
        got.block = Block(result);
    }
    got.asserts = recorder.asserts().size();
    got.log = log_of(recorder);
    return got;
}

inline void expect_section(const Answer &got, std::uint32_t mask, std::uint8_t flag, std::uint8_t type,
                           std::uint16_t need_proc, const Bytes &section)
{
    ASSERT_TRUE(got.block);
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = mask;
    header.ucAttrFlag = flag;
    header.ucAttrType = type;
    header.usNeedProc = need_proc;
    header.usAttrOffset = 32;
    header.usAttrLen = static_cast<std::uint16_t>(section.size());
    ASSERT_EQ(hex(got.block.section(0, 32)), hex(bytes_of(header)));
    EXPECT_EQ(hex(got.block.section(32, header.usAttrLen)), hex(section));
}

// A block with the attribute section, nothing reported.
inline void expect_attribute(const Answer &got, std::uint8_t flag, std::uint8_t type, const Bytes &section)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    expect_section(got, 0x8, flag, type, 0, section);
}

// The code, the reports, and the result pointer as it was.
inline void expect_untouched(const Answer &got, std::uint32_t code, std::size_t asserts)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.asserts, asserts);
    EXPECT_FALSE(got.stored);
}

// The code, the reports, and null stored.
inline void expect_no_block(const Answer &got, std::uint32_t code, std::size_t asserts)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.asserts, asserts);
    EXPECT_TRUE(got.stored);
    EXPECT_FALSE(got.block);
}

} // namespace qel::test
