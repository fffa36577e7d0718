// What the tests of route import share: route targets in both byte orders, routes that hold them, one call of a walk,
// route keys as private import route targets hold them.
#pragma once

#include "attribute_cases.h"
#include "dirty_heap.h"

#include "ngmvpn/qel_ngmvpn.h"
#include "ngmvpn/qel_ngmvpn_cross.h"

#include <algorithm>
#include <array>
#include <functional>
#include <initializer_list>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qel::test {

// Component codes, and the 0 of plain construction.
inline constexpr std::uint16_t kKindPlain = 0;
inline constexpr std::uint16_t kKindMvrf4 = 985;
inline constexpr std::uint16_t kKindMvrf6 = 298;
inline constexpr std::uint16_t kKindMvpn4 = 1793;
inline constexpr std::uint16_t kKindMvpn6 = 299;
inline constexpr std::uint16_t kKinds[] = {kKindPlain, kKindMvrf4, kKindMvrf6, kKindMvpn4, kKindMvpn6};

inline bool is_mvrf(std::uint16_t kind)
{
    return kind == kKindMvrf4 || kind == kKindMvrf6;
}
inline bool is_mvpn(std::uint16_t kind)
{
    return kind == kKindMvpn4 || kind == kKindMvpn6;
}
inline bool is_ipv4_kind(std::uint16_t kind)
{
    return kind == kKindMvrf4 || kind == kKindMvpn4;
}
inline bool is_ipv6_kind(std::uint16_t kind)
{
    return kind == kKindMvrf6 || kind == kKindMvpn6;
}

// --- communities ----------------------------------------------------------------------------------------------------

inline Bytes wire16(std::uint32_t value)
{
    return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}
inline Bytes wire32(std::uint32_t value)
{
    return wire16(value >> 16) + wire16(value & 0xffff);
}
inline Bytes host16(std::uint32_t value)
{
    return reversed(wire16(value), 0, 2);
}
inline Bytes host32(std::uint32_t value)
{
    return reversed(wire32(value), 0, 4);
}

// One community as it stands in a list and on the wire.
struct Target {
    Bytes host;
    Bytes wire;
    std::uint32_t type = 0;
};

inline Target as2(std::uint32_t type, std::uint32_t asn, std::uint32_t number)
{
    return {host16(type) + host16(asn) + host32(number), wire16(type) + wire16(asn) + wire32(number), type};
}
inline Target ip4(std::uint32_t type, std::uint32_t admin, std::uint32_t number)
{
    return {host16(type) + host32(admin) + host16(number), wire16(type) + wire32(admin) + wire16(number), type};
}
inline Target target6(std::uint32_t type, std::string_view addr, std::uint32_t number)
{
    const Bytes octets = bytes(addr);
    Bytes words;
    for (std::size_t at = 0; at < 16; at += 4) {
        words = words + reversed(octets, at, 4);
    }
    return {host16(type) + words + host16(number), wire16(type) + octets + wire16(number), type};
}

inline Bytes with_type(std::uint32_t type, const Bytes &host)
{
    return host16(type) + slice(host, 2, host.size() - 2);
}

inline constexpr const char *kAddr6 = "20010db8 00010203 04050607 08090a0b";

inline const Target kRtAs2 = as2(0x0002, 65001, 0x00010064);
inline const Target kRtIp4 = ip4(0x0102, 0xc0000201, 7);
inline const Target kRtAs4 = ip4(0x0202, 0x00010203, 0x1234);
inline const Target kRt6 = target6(0x0002, kAddr6, 0x1122);
inline const Target kRt6Type1 = target6(0x0102, kAddr6, 0x3344);
inline const Target kSourceAs = as2(0x0009, 65001, 5);
inline const Target kVrfImport = ip4(0x010b, 0xc0000201, 9);

inline Bytes list_of(std::initializer_list<Target> targets)
{
    Bytes out;
    for (const Target &target : targets) {
        out = out + target.host;
    }
    return out;
}

// --- routes ---------------------------------------------------------------------------------------------------------

inline constexpr std::uint16_t kFlagType = 0x1;
inline constexpr std::uint16_t kFlagRd = 0x10;

inline QEL_NGMVPN_NONKEY_S nonkey_of(std::uint32_t key_type, std::uint16_t flags,
                                     const QEL_RD_VALUE_S &rd = zeroed<QEL_RD_VALUE_S>())
{
    auto out = zeroed<QEL_NGMVPN_NONKEY_S>();
    out.usFlags = flags;
    out.uiKeyType = key_type;
    out.stRd = rd;
    return out;
}

// The non-key of a Leaf A-D route that answers a route with the given key.
inline QEL_NGMVPN_NONKEY_S leaf_nonkey(std::uint32_t key_type, const Bytes &route_key)
{
    QEL_NGMVPN_NONKEY_S out = nonkey_of(key_type, 0x5);
    const Bytes embedded =
        Bytes{static_cast<std::uint8_t>(key_type == 4 ? 1 : 3), static_cast<std::uint8_t>(route_key.size())} +
        route_key;
    std::memcpy(out.aucEmbeddedKey, embedded.data(), embedded.size());
    return out;
}

// A host route whose sections stand at odd addresses, each ending where its heap block ends.
class CrossRoute {
public:
    explicit CrossRoute(const QEL_NGMVPN_NONKEY_S &nonkey, const Bytes &list = {}, const Bytes &list6 = {})
        : nonkey_(bytes_of(nonkey)), list_(list), list6_(list6)
    {
        info.uiValidMask = 0x7;
        info.uiNonKeyLen = nonkey_.size();
        info.pucNonKey = nonkey_.data();
        info.uiExtCommLen = list_.size();
        info.pucExtComm = list.empty() ? nullptr : list_.data();
        info.uiIpv6ExtCommLen = list6_.size();
        info.pucIpv6ExtComm = list6.empty() ? nullptr : list6_.data();
    }

    const QEL_NGMVPN_NONKEY_AT_S *nonkey() const
    {
        return reinterpret_cast<const QEL_NGMVPN_NONKEY_AT_S *>(nonkey_.data());
    }
    // Fails the test if the library wrote to what it was only to read.
    void expect_unchanged(const QEL_NGMVPN_NONKEY_S &nonkey, const Bytes &list, const Bytes &list6 = {}) const
    {
        EXPECT_EQ(nonkey_.hex(), hex(bytes_of(nonkey)));
        EXPECT_EQ(list_.hex(), hex(list));
        EXPECT_EQ(list6_.hex(), hex(list6));
    }

    QEL_ROUTE_INFO_S info{};

private:
    OddBytes nonkey_;
    OddBytes list_;
    OddBytes list6_;
};

// --- one call of a walk ---------------------------------------------------------------------------------------------

struct CrossGot {
    std::uint32_t code = 0;
    bool written = false;   // the value pointer
    bool has_value = false; // it is not null either
    Bytes value;
    std::uint32_t length = kUnwritten;
    std::uint32_t cursor = 0;
    std::uint32_t more = kUnwritten;
    std::size_t asserts = 0;
    std::uint64_t allocations = 0;
};

inline CrossGot call_cross(QEL_GET_CROSS_F get, const QEL_ROUTE_INFO_S &route, std::uint32_t cursor,
                           QEL_FAMILY_CTX_S *ctx)
{
    std::uint8_t untouched = 0;
    std::uint8_t *value = &untouched;
    CrossGot got;
    got.cursor = cursor;
    const std::uint64_t before = allocations();
    const platform::Recorder recorder;
    got.code = get(&route, &value, &got.length, &got.cursor, &got.more, ctx);
    got.asserts = recorder.asserts().size();
    got.allocations = allocations() - before;
    got.written = value != &untouched;
    got.has_value = got.written && value != nullptr;
    if (got.has_value) {
        if (got.code == 0 && got.length != kUnwritten) {
            got.value.assign(value, value + got.length);
        }
        ZVK_Free_F(value, __FILE__, __LINE__);
    }
    return got;
}

inline void expect_cross(const CrossGot &got, const Bytes &value, std::uint32_t cursor)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_TRUE(got.has_value);
    EXPECT_EQ(got.length, value.size());
    EXPECT_EQ(hex(got.value), hex(value));
    EXPECT_EQ(got.more, 1U);
    EXPECT_EQ(got.cursor, cursor);
    EXPECT_EQ(got.asserts, 0U);
    EXPECT_EQ(got.allocations, 1U);
}

// The walk is over: null, 0 and 0.
inline void expect_end(const CrossGot &got, std::uint32_t cursor)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_TRUE(got.written);
    EXPECT_FALSE(got.has_value);
    EXPECT_EQ(got.length, 0U);
    EXPECT_EQ(got.more, 0U);
    EXPECT_EQ(got.cursor, cursor);
    EXPECT_EQ(got.asserts, 0U);
    EXPECT_EQ(got.allocations, 0U);
}

// All values of a walk in hex.
inline std::vector<std::string> walk(QEL_GET_CROSS_F get, const QEL_ROUTE_INFO_S &route, QEL_FAMILY_CTX_S *ctx)
{
    std::vector<std::string> out;
    std::uint32_t cursor = 0;
    for (int calls = 0; calls < 100; ++calls) {
        const CrossGot got = call_cross(get, route, cursor, ctx);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.asserts, 0U);
        if (got.code != 0 || got.more != 1) {
            EXPECT_EQ(got.more, 0U);
            EXPECT_FALSE(got.has_value);
            EXPECT_EQ(got.length, 0U);
            return out;
        }
        out.push_back(hex(got.value));
        cursor = got.cursor;
    }
    ADD_FAILURE() << "the walk does not end";
    return out;
}

inline std::vector<std::string> hexes(std::initializer_list<Bytes> values)
{
    std::vector<std::string> out;
    for (const Bytes &value : values) {
        out.push_back(hex(value));
    }
    return out;
}

// --- checks ---------------------------------------------------------------------------------------------------------

// Runs `call` with argument i null, alone and together with all arguments behind it: the same single report.
inline void expect_nulls_reported_in_order(unsigned count, const std::function<void(unsigned)> &call)
{
    for (unsigned i = 0; i < count; ++i) {
        SCOPED_TRACE(i);
        platform::Recorder recorder;
        call(1U << i);
        ASSERT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(recorder.asserts()[0].value, 0U);
        const platform::AssertRecord alone = recorder.asserts()[0];
        EXPECT_NE(alone.file.find("qel_ngmvpn_cross.cpp"), std::string::npos) << alone.file;
        recorder.clear();
        call((1U << count) - (1U << i));
        ASSERT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(recorder.asserts()[0].line, alone.line);
    }
}

template <typename T> inline T *null_if(unsigned nulls, unsigned i, T *target)
{
    return (nulls >> i & 1U) != 0 ? nullptr : target;
}

// --- route keys and private import route targets --------------------------------------------------------------------

// The octet in front of a route key of that length, 0 where there is none.
inline std::uint8_t irt_type_of(std::size_t key_len, std::uint16_t kind)
{
    const auto one_of = [key_len](std::initializer_list<std::size_t> lengths) {
        return std::find(lengths.begin(), lengths.end(), key_len) != lengths.end();
    };
    if (key_len == 12) {
        return 3;
    }
    if (key_len == 24) {
        return 8;
    }
    if (is_ipv4_kind(kind)) {
        return one_of({14, 18, 22}) ? 2 : one_of({26, 30, 34}) ? 7 : 0;
    }
    if (is_ipv6_kind(kind)) {
        return one_of({14, 30, 46}) ? 2 : one_of({26, 42, 58}) ? 9 : 0;
    }
    return 0;
}

// A route key as a private import route target of the instance holds it.
inline Bytes key_in_irt(const Bytes &key, std::uint16_t kind)
{
    const std::size_t length = key.size();
    const bool short_key = length == 14 || length == 18 || length == 26 || length == 30;
    if (kind != kKindMvrf4 || !short_key) {
        return key;
    }
    const std::size_t orig = length >= 26 ? 16 : 4;
    Bytes out(length >= 26 ? 34 : 22, 0);
    const auto put = [&](std::size_t from, std::size_t count, std::size_t to) {
        std::copy_n(key.begin() + static_cast<std::ptrdiff_t>(from), count,
                    out.begin() + static_cast<std::ptrdiff_t>(to));
    };
    put(0, 8, 0);
    if (length == 14 || length == 26) {
        put(10, orig, 18);
    } else if (key[8] == 0 && key[9] != 0) {
        put(9, 1, 13);
        put(10, 4, 14);
        put(14, orig, 18);
    } else if (key[8] != 0 && key[13] == 0) {
        put(8, 5, 8);
        put(14, orig, 14); // kept: in the group's place
    } else {
        return key;
    }
    return out;
}

inline Bytes private_irt(std::uint8_t type, const Bytes &key, const Bytes &target_wire)
{
    return Bytes{type} + key + target_wire;
}

} // namespace qel::test
