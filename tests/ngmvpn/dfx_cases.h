// What the tests of display texts and configuration records share: one call of a handler that writes text over an
// exact-size room, and the routes and attributes that are shown.
#pragma once

#include "attribute_cases.h"

#include "ngmvpn/qel_ngmvpn.h"
#include "ngmvpn/qel_ngmvpn_dfx.h"
#include "ngmvpn/qel_ngmvpn_util.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <vector>

namespace qel::test::dfx {

inline constexpr std::uint8_t kFill = 0xa5;
inline constexpr std::uint32_t kIndexBefore = 0x1d1d1d1d;
inline constexpr std::uint32_t kMoreBefore = 0x5a5a5a5a;
inline constexpr std::uint32_t kNoText = 1;
inline constexpr std::uint32_t kNoScratch = 3;

// --- one call
// ---------------------------------------------------------------------------------------------------------

// What a call left behind.
struct TextCall {
    std::uint32_t code = 0;
    std::string room; // all of it, kFill where nothing was written
    std::uint32_t index = 0;
    std::uint32_t more = 0;
    std::ptrdiff_t moved = 0; // of a configuration handler's cursor
    std::size_t asserts = 0;
    std::vector<std::string> files; // of the asserts
    std::uint64_t allocations = 0;
};

// What one call is given: uiOutLen, bytes behind it that are the caller's too, and the place in the list.
struct Asked {
    std::uint32_t out_len = 0;
    std::uint32_t spare = 0;
    std::uint32_t index = kIndexBefore;
};

using TextDoor = std::function<TextCall(const QEL_ROUTE_INFO_S &, const Asked &)>;

template <typename Call> TextCall run_text(const Asked &asked, Call call)
{
    ExactCopy room(Bytes(asked.out_len + asked.spare, kFill));
    TextCall got;
    got.index = asked.index;
    got.more = kMoreBefore;
    const std::uint64_t before = allocations();
    const platform::Recorder recorder;
    got.code = call(room.data(), got);
    got.allocations = allocations() - before;
    got.room.assign(room.data(), room.data() + room.size());
    got.asserts = recorder.asserts().size();
    for (const platform::AssertRecord &record : recorder.asserts()) {
        got.files.push_back(record.file);
    }
    return got;
}

using DisplayHandler = decltype(&QEL_NGMVPN_MpNlriData2Str);
using ConfigHandler = decltype(&QEL_NGMVPN_FormatCfgRd);

inline TextCall run_display(DisplayHandler handler, const QEL_ROUTE_INFO_S &route, const Asked &asked,
                            QEL_FAMILY_CTX_S *ctx)
{
    if (ctx != nullptr) {
        std::memset(ctx->aucInlineBuf, 'Z', sizeof(ctx->aucInlineBuf)); // what an earlier user left there
    }
    return run_text(asked, [&](std::uint8_t *room, TextCall &got) {
        return handler(&route, reinterpret_cast<char *>(room), asked.out_len, &got.index, &got.more, ctx);
    });
}

inline TextCall run_config(ConfigHandler handler, const QEL_ROUTE_INFO_S &route, const Asked &asked)
{
    return run_text(asked, [&](std::uint8_t *room, TextCall &got) {
        std::uint8_t *cursor = room;
        const std::uint32_t code = handler(&route, &cursor, asked.out_len, &got.index, &got.more);
        got.moved = cursor - room;
        return code;
    });
}

inline TextDoor display_door(DisplayHandler handler, QEL_FAMILY_CTX_S *ctx)
{
    return [=](const QEL_ROUTE_INFO_S &route, const Asked &asked) { return run_display(handler, route, asked, ctx); };
}

inline TextDoor config_door(ConfigHandler handler)
{
    return [=](const QEL_ROUTE_INFO_S &route, const Asked &asked) { return run_config(handler, route, asked); };
}

inline std::string filled(std::size_t count)
{
    return std::string(count, static_cast<char>(kFill));
}

// A room that holds the text, its NUL and nothing else.
inline std::string room_with(const std::string &text, std::size_t room)
{
    std::string out = text;
    out.push_back('\0');
    if (out.size() > room) {
        throw std::invalid_argument("no room for: " + text);
    }
    return out + filled(room - out.size());
}

inline void expect_shown(const TextCall &got, const std::string &text, std::uint32_t index = 0, std::uint32_t more = 0,
                         std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.room, room_with(text, got.room.size()));
    EXPECT_EQ(got.index, index);
    EXPECT_EQ(got.more, more);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.asserts, asserts);
}

// Nothing but the code, the reports and the two words.
inline void expect_nothing_shown(const TextCall &got, std::uint32_t code, std::size_t asserts = 0,
                                 std::uint32_t index = kIndexBefore, std::uint32_t more = kMoreBefore)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.room, filled(got.room.size()));
    EXPECT_EQ(got.index, index);
    EXPECT_EQ(got.more, more);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.asserts, asserts);
}

// A text that needs its length and a NUL: every room from none to two bytes more than that.
inline void expect_room_rule(const TextDoor &door, const QEL_ROUTE_INFO_S &route, const std::string &text)
{
    const auto length = static_cast<std::uint32_t>(text.size());
    for (std::uint32_t room = 0; room <= length; ++room) {
        SCOPED_TRACE(room);
        expect_nothing_shown(door(route, {.out_len = room}), kNoRoom);
    }
    expect_shown(door(route, {.out_len = length + 1}), text);
    expect_shown(door(route, {.out_len = length + 2}), text);
    expect_shown(door(route, {.out_len = 600}), text);
}

// --- lists
// ------------------------------------------------------------------------------------------------------------

struct Community {
    Bytes element;
    std::string text;
};

using RouteOfList = QEL_ROUTE_INFO_S (*)(const std::uint8_t *list, std::uint32_t length);

inline QEL_ROUTE_INFO_S route_with_communities(const std::uint8_t *list, std::uint32_t length)
{
    return route_holding(16, list, length);
}

inline QEL_ROUTE_INFO_S route_with_ipv6_communities(const std::uint8_t *list, std::uint32_t length)
{
    return route_holding(25, list, length);
}

inline Community as2_community(std::uint16_t type, std::uint16_t as, std::uint32_t number, std::string text)
{
    QEL_EXTCOMM_S element{};
    element.usType = type;
    element.usGlobalAdmin = as;
    element.uiLocalAdmin = number;
    return {bytes_of(element), std::move(text)};
}

inline Community ip4_community(std::uint16_t type, std::uint32_t admin, std::uint16_t number, std::string text)
{
    QEL_EXTCOMM_S element{};
    element.usType = type;
    element.uiGlobalAdmin = admin;
    element.usLocalAdmin = number;
    return {bytes_of(element), std::move(text)};
}

inline Community ipv6_community(std::uint16_t type, std::string_view address, std::uint16_t number, std::string text)
{
    QEL_IPV6_EXTCOMM_S element{};
    element.usType = type;
    const Bytes wire = bytes(address);
    for (std::size_t word = 0; word < 4; ++word) {
        const std::uint8_t *at = &wire.at(4 * word);
        element.auiAddr[word] = static_cast<std::uint32_t>(at[0]) << 24 | static_cast<std::uint32_t>(at[1]) << 16 |
                                static_cast<std::uint32_t>(at[2]) << 8 | at[3];
    }
    element.usLocalAdmin = number;
    return {bytes_of(element), std::move(text)};
}

inline Bytes list_of(std::span<const Community> communities)
{
    Bytes out;
    for (const Community &community : communities) {
        out = out + community.element;
    }
    return out;
}

// Lists of every number of elements up to those given, with every number of odd bytes behind them, shown one by one.
inline void expect_steps_through_lists(const TextDoor &door, RouteOfList route_of_list,
                                       std::span<const Community> communities)
{
    const std::size_t step = communities[0].element.size();
    for (std::size_t count = 0; count <= communities.size(); ++count) {
        for (std::size_t odd = 0; odd < step; ++odd) {
            SCOPED_TRACE(std::to_string(count) + " elements and " + std::to_string(odd) + " bytes");
            const OddBytes list(list_of(communities.first(count)) + Bytes(odd, 0x02));
            const QEL_ROUTE_INFO_S route = route_of_list(list.data(), list.size());
            for (std::uint32_t index = 0; index < count; ++index) {
                expect_shown(door(route, {.out_len = 300, .index = index}), communities[index].text, index + 1,
                             index + 1 < count ? 1 : 0);
            }
            const auto end = static_cast<std::uint32_t>(count);
            for (const std::uint32_t index : {end, end + 1, 0xffffffffU}) {
                expect_nothing_shown(door(route, {.out_len = 300, .index = index}), 0, 0, index, 0);
                expect_nothing_shown(door(route, {.out_len = 0, .index = index}), 0, 0, index, 0);
            }
        }
    }
}

inline void expect_a_missing_list_ends_at_once(const TextDoor &door, RouteOfList route_of_list)
{
    for (const std::uint32_t claim : {0U, 20U, 400U, 0xffffffffU}) {
        const QEL_ROUTE_INFO_S route = route_of_list(nullptr, claim);
        for (const std::uint32_t index : {0U, 3U}) {
            expect_nothing_shown(door(route, {.out_len = 300, .index = index}), 0, 0, index, 0);
        }
    }
}

// The last element of a list in rooms of every size; `more_after_refusal` is what the more-word holds then.
inline void expect_room_rule_of_element(const TextDoor &door, RouteOfList route_of_list, const Community &community,
                                        std::uint32_t more_after_refusal)
{
    SCOPED_TRACE(community.text);
    const OddBytes list(community.element + community.element);
    const QEL_ROUTE_INFO_S route = route_of_list(list.data(), list.size());
    const auto length = static_cast<std::uint32_t>(community.text.size());
    for (std::uint32_t index = 0; index < 2; ++index) {
        for (std::uint32_t room = 0; room <= length; ++room) {
            expect_nothing_shown(door(route, {.out_len = room, .index = index}), kNoRoom, 0, index, more_after_refusal);
        }
        expect_shown(door(route, {.out_len = length + 1, .index = index}), community.text, index + 1, 1 - index);
        expect_shown(door(route, {.out_len = 600, .index = index}), community.text, index + 1, 1 - index);
    }
}

inline std::vector<Community> some_communities()
{
    return {as2_community(0x0002, 100, 1, "RT <100 : 1>"),
            ip4_community(0x010a, 0xc0000201, 7, "Import RT <192.0.2.1 : 7>"),
            ip4_community(0x0312, 1, 2, "Segmented Next-Hop")};
}

inline std::vector<Community> some_ipv6_communities()
{
    return {ipv6_community(0x0002, "20010db8000000000000000000000a01", 7, "RT <2001:db8::a01 . 7>"),
            ipv6_community(0x0202, "20010db8000000000000000000000a01", 7, ""),
            ipv6_community(0x000b, "0102030405060708090a0b0c0d0e0f10", 65535,
                           "Import RT <102:304:506:708:90a:b0c:d0e:f10 . 65535>")};
}

// --- tunnels
// ----------------------------------------------------------------------------------------------------------

template <typename Record> inline Bytes front_of(const Record &record, std::size_t length)
{
    Bytes out = bytes_of(record);
    out.resize(length);
    return out;
}

inline Bytes rsvp_te(std::uint8_t flags, std::uint32_t label, std::uint32_t p2mp, std::uint16_t tunnel,
                     std::uint32_t ext_tunnel)
{
    QEL_NGMVPN_PMSI_TNL_S record{};
    record.ucFlags = flags;
    record.ucTnlType = 1;
    record.uiLabel = label;
    record.uTnl.stRsvpTe.uiP2mpId = p2mp;
    record.uTnl.stRsvpTe.usTunnelId = tunnel;
    record.uTnl.stRsvpTe.uiExtTunnelId = ext_tunnel;
    return front_of(record, 20);
}

inline Bytes mldp(std::uint8_t flags, std::uint32_t label, std::uint32_t root, const Bytes &opaque)
{
    QEL_NGMVPN_PMSI_TNL_S record{};
    record.ucFlags = flags;
    record.ucTnlType = 2;
    record.uiLabel = label;
    record.uTnl.stMldp.ucFecType = 6;
    record.uTnl.stMldp.ucAddrLen = 4;
    record.uTnl.stMldp.usAddrFamily = 1;
    record.uTnl.stMldp.uiRootAddr = root;
    record.uTnl.stMldp.usOpaqueLen = static_cast<std::uint16_t>(opaque.size());
    return front_of(record, 20) + opaque;
}

inline Bytes bier(std::uint8_t flags, std::uint32_t label, std::uint8_t sub_domain, std::uint16_t bfr,
                  const Addr &prefix)
{
    QEL_NGMVPN_PMSI_TNL_S record{};
    record.ucFlags = flags;
    record.ucTnlType = 11;
    record.uiLabel = label;
    record.uTnl.stBier.ucSubDomainId = sub_domain;
    record.uTnl.stBier.ucBfrPrefixLen = static_cast<std::uint8_t>(prefix.len / 8);
    record.uTnl.stBier.usBfrId = bfr;
    record.uTnl.stBier.stBfrPrefix = prefix.value;
    return front_of(record, prefix.len == 128 ? 28 : 16);
}

struct TunnelText {
    std::string name;
    Bytes section;
    std::string head; // the flags
    std::string body; // the rest
    std::string text() const { return head + body; }
};

inline std::ostream &operator<<(std::ostream &out, const TunnelText &tunnel)
{
    return out << tunnel.name;
}

inline std::string opaque_text(const Bytes &opaque)
{
    std::string out;
    for (std::size_t i = 0; i < opaque.size(); ++i) {
        out += hex(std::span(opaque).subspan(i, 1)) + " ";
    }
    return out;
}

inline Bytes counted(std::size_t count)
{
    Bytes out(count);
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<std::uint8_t>(i + 1);
    }
    return out;
}

inline std::vector<TunnelText> cut_tunnels()
{
    const std::string mldp_head = " mLDP P2MP LSP, Label 0:0:0(1193046), Root node address: 192.0.2.1, Opaque value: ";
    return {
        {"RSVP-TE", rsvp_te(1, 0x123456, 0x0a0b0c0d, 4097, 0x0e0f1011), "PMSI: Flags 0x1,",
         " RSVP-TE P2MP LSP, Label 0:0:0(1193046), P2MP ID: 0xa0b0c0d, Tunnel ID: 4097, "
         "Extended tunnel ID: 14.15.16.17"},
        {"RSVP-TE, all zero", rsvp_te(0, 0, 0, 0, 0), "PMSI: Flags 0x0,",
         " RSVP-TE P2MP LSP, Label 0:0:0(0), P2MP ID: 0x0, Tunnel ID: 0, Extended tunnel ID: 0.0.0.0"},
        {"RSVP-TE, all ones", rsvp_te(0xff, 0xffffffff, 0xffffffff, 0xffff, 0xffffffff), "PMSI: Flags 0xff,",
         " RSVP-TE P2MP LSP, Label 0:0:0(4294967295), P2MP ID: 0xffffffff, Tunnel ID: 65535, "
         "Extended tunnel ID: 255.255.255.255"},
        {"mLDP without opaque bytes", mldp(0x21, 0x123456, 0xc0000201, {}), "PMSI: Flags 0x21,", mldp_head},
        {"mLDP with one opaque byte", mldp(0, 0x123456, 0xc0000201, bytes("00")), "PMSI: Flags 0x0,",
         mldp_head + "00 "},
        {"mLDP with two opaque bytes", mldp(0, 0x123456, 0xc0000201, bytes("0102")), "PMSI: Flags 0x0,",
         mldp_head + "01 02 "},
        {"mLDP with high opaque bytes", mldp(0, 0x123456, 0xc0000201, bytes("80ff7f")), "PMSI: Flags 0x0,",
         mldp_head + "80 ff 7f "},
        {"mLDP with 100 opaque bytes", mldp(0, 0x123456, 0xc0000201, counted(100)), "PMSI: Flags 0x0,",
         mldp_head + opaque_text(counted(100))},
    };
}

inline std::vector<TunnelText> bier_tunnels()
{
    return {
        {"BIER, IPv4", bier(1, 0x123456, 7, 258, v4(0xc0000201)), "PMSI: Flags 0x1,",
         " BIER, Label 18:52:86(1193046), subdomain ID: 7, BFR ID: 258, BFR prefix: 192.0.2.1"},
        {"BIER, IPv6", bier(0x20, 0x010203, 255, 65535, s6()), "PMSI: Flags 0x20,",
         " BIER, Label 1:2:3(66051), subdomain ID: 255, BFR ID: 65535, BFR prefix: 2001:db8::a01"},
        {"BIER, label beyond its 24 bits", bier(0, 0xff123456, 0, 0, v6("0102030405060708090a0b0c0d0e0f10")),
         "PMSI: Flags 0x0,",
         " BIER, Label 18:52:86(4279383126), subdomain ID: 0, BFR ID: 0, BFR prefix: 102:304:506:708:90a:b0c:d0e:f10"},
    };
}

// --- SIDs
// -------------------------------------------------------------------------------------------------------------

inline void set_words(std::uint32_t (&words)[4], std::string_view address)
{
    const Bytes wire = bytes(address);
    for (std::size_t word = 0; word < 4; ++word) {
        const std::uint8_t *at = &wire.at(4 * word);
        words[word] = static_cast<std::uint32_t>(at[0]) << 24 | static_cast<std::uint32_t>(at[1]) << 16 |
                      static_cast<std::uint32_t>(at[2]) << 8 | at[3];
    }
}

inline Bytes prefix_sid(std::uint16_t behavior, std::string_view address)
{
    QEL_NGMVPN_PFXSID_S record{};
    record.usEndpointBehavior = behavior;
    record.usReserved = 0x4544;
    set_words(record.auiSid, address);
    std::fill(std::begin(record.aucRawTlv), std::end(record.aucRawTlv), std::uint8_t{0x41});
    return bytes_of(record);
}

inline Bytes msid(std::uint8_t has_structure, std::uint8_t prefix_len, std::uint8_t msid_len, std::string_view address)
{
    QEL_NGMVPN_MSID_S record{};
    record.ucPrefixLen = prefix_len;
    record.ucMsidLen = msid_len;
    record.ucHasStructure = has_structure;
    record.ucReserved3 = 0x45;
    set_words(record.auiMsid, address);
    return bytes_of(record) + Bytes(has_structure != 0 ? 28 : 20, 0x41);
}

struct SidText {
    std::string name;
    std::uint32_t type; // the attribute
    Bytes section;
    std::string text;
};

inline std::ostream &operator<<(std::ostream &out, const SidText &sid)
{
    return out << sid.name;
}

inline std::vector<SidText> shown_sids()
{
    const std::string doc = "20010db8000000000000000000000a01";
    const std::string counted16 = "0102030405060708090a0b0c0d0e0f10";
    const std::string ones(32, 'f');
    const std::string zeros(32, '0');
    return {
        {"Prefix-SID, IPv4", 40, prefix_sid(69, doc), "SRC-DT4 2001:db8::a01"},
        {"Prefix-SID, IPv6", 40, prefix_sid(68, doc), "SRC-DT6 2001:db8::a01"},
        {"Prefix-SID, every byte", 40, prefix_sid(69, counted16), "SRC-DT4 102:304:506:708:90a:b0c:d0e:f10"},
        {"Prefix-SID, longest", 40, prefix_sid(68, ones), "SRC-DT6 ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
        {"Prefix-SID, zero", 40, prefix_sid(69, zeros), "SRC-DT4 ::"},
        {"MSID without structure", 66, msid(0, 17, 34, doc), "2001:db8::a01, Prefix Len: --, MSID Len: --"},
        {"MSID with structure", 66, msid(1, 17, 34, doc), "2001:db8::a01, Prefix Len: 17, MSID Len: 34"},
        {"MSID, lengths zero", 66, msid(1, 0, 0, zeros), "::, Prefix Len: 0, MSID Len: 0"},
        {"MSID, lengths 255", 66, msid(1, 255, 254, ones),
         "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff, Prefix Len: 255, MSID Len: 254"},
        {"MSID, every byte", 66, msid(0, 0, 0, counted16),
         "102:304:506:708:90a:b0c:d0e:f10, Prefix Len: --, MSID Len: --"},
    };
}

// kept: the host's room has one byte behind uiOutLen, which takes the NUL of a text of exactly uiOutLen.
inline void expect_sid_room_rule(const TextDoor &door, const SidText &sid)
{
    const OddBytes section(sid.section);
    const QEL_ROUTE_INFO_S route = route_holding(sid.type, section.data(), section.size());
    const auto length = static_cast<std::uint32_t>(sid.text.size());
    for (std::uint32_t room = 0; room < length; ++room) {
        SCOPED_TRACE(room);
        const TextCall got = door(route, {.out_len = room, .spare = 1});
        EXPECT_EQ(got.code, kNoRoom);
        EXPECT_EQ(got.room, room_with("", room + 1)) << "the NUL comes before the text is tried";
        EXPECT_EQ(got.index, 0U);
        EXPECT_EQ(got.more, 0U);
        EXPECT_EQ(got.asserts, 0U);
    }
    expect_shown(door(route, {.out_len = length, .spare = 1}), sid.text);
    expect_shown(door(route, {.out_len = length + 1}), sid.text);
    expect_shown(door(route, {.out_len = length + 2}), sid.text);
    expect_shown(door(route, {.out_len = 700}), sid.text);
}

inline void expect_no_sid_text(const TextDoor &door, const QEL_ROUTE_INFO_S &route)
{
    expect_shown(door(route, {.out_len = 0, .spare = 1}), "");
    expect_shown(door(route, {.out_len = 1}), "");
    expect_shown(door(route, {.out_len = 60}), "");
}

} // namespace qel::test::dfx
