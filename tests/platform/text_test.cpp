#include "platform/kvo.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <array>
#include <cstring>
#include <random>
#include <string>

namespace qel::test {
namespace {

// The platform's form of an address given as text: eight halves in host order.
KVO_IPV6_ADDR_S ipv6(const char *text)
{
    std::array<std::uint8_t, 16> wire{};
    EXPECT_EQ(inet_pton(AF_INET6, text, wire.data()), 1) << text;
    KVO_IPV6_ADDR_S address{};
    for (std::size_t i = 0; i < wire.size(); ++i) {
        address.aucAddr[i] = wire[i ^ 1U];
    }
    return address;
}

std::string to_text(const KVO_IPV6_ADDR_S &address)
{
    std::array<char, 47> out{};
    EXPECT_EQ(KVO_Inet_ntoa_b_ipv6_ex(address, out.data(), out.size()), out.data());
    return out.data();
}

struct Ipv6Case {
    const char *given;
    const char *shown;
};

const Ipv6Case kIpv6Cases[] = {
    {"::", "::"},
    {"::1", "::1"},
    {"1::", "1::"},
    {"2001:db8::1", "2001:db8::1"},
    {"2001:0DB8:0:0:0:0:2:1", "2001:db8::2:1"},
    {"2001:db8:aaaa:bbbb:cccc:dddd:eeee:AAAA", "2001:db8:aaaa:bbbb:cccc:dddd:eeee:aaaa"},
    // one zero group is written out
    {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
    {"0:1:2:3:4:5:6:7", "0:1:2:3:4:5:6:7"},
    {"1:2:3:4:5:6:7:0", "1:2:3:4:5:6:7:0"},
    // the longest run, the first of equals
    {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1"},
    {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
    {"0:0:1:1:1:1:0:0", "::1:1:1:1:0:0"},
    {"1:1:1:1:1:1:0:0", "1:1:1:1:1:1::"},
    // dotted for IPv4-mapped addresses alone
    {"::ffff:192.0.2.1", "::ffff:192.0.2.1"},
    {"::ffff:0.0.0.0", "::ffff:0.0.0.0"},
    {"::192.0.2.1", "::c000:201"},
    {"64:ff9b::192.0.2.1", "64:ff9b::c000:201"},
    {"::fffe:192.0.2.1", "::fffe:c000:201"},
    {"ff3e:40:2001:db8:0:1:8000:1", "ff3e:40:2001:db8:0:1:8000:1"},
};

TEST(Ipv6Text, follows_the_canonical_form)
{
    for (const Ipv6Case &c : kIpv6Cases) {
        EXPECT_EQ(to_text(ipv6(c.given)), c.shown) << c.given;
    }
}

TEST(Ipv6Text, halves_are_in_host_order)
{
    KVO_IPV6_ADDR_S address{};
    address.aucAddr[0] = 0x01;
    address.aucAddr[1] = 0x20;
    EXPECT_EQ(to_text(address), "2001::");
}

TEST(Ipv6Text, random_addresses_come_back_through_the_reader)
{
    std::mt19937 random(5952);
    for (int round = 0; round < 2000; ++round) {
        KVO_IPV6_ADDR_S address{};
        for (std::size_t half = 0; half < 8; ++half) {
            if (random() % 2 == 0) {
                address.aucAddr[2 * half] = static_cast<std::uint8_t>(random());
                address.aucAddr[2 * half + 1] = static_cast<std::uint8_t>(random() % 3);
            }
        }
        const std::string text = to_text(address);
        const KVO_IPV6_ADDR_S back = ipv6(text.c_str());
        EXPECT_EQ(std::memcmp(&back, &address, sizeof(address)), 0) << text;
    }
}

TEST(Ipv6Text, is_cut_and_terminated_within_the_room)
{
    const KVO_IPV6_ADDR_S address = ipv6("2001:db8::1");
    for (std::uint32_t room = 1; room <= 13; ++room) {
        std::string out(16, '#');
        EXPECT_EQ(KVO_Inet_ntoa_b_ipv6_ex(address, out.data(), room), out.data());
        const std::string shown = std::string("2001:db8::1").substr(0, room - 1);
        EXPECT_EQ(out, shown + '\0' + std::string(15 - shown.size(), '#'));
    }
}

TEST(Ipv6Text, no_room_writes_nothing)
{
    char untouched = '#';
    EXPECT_EQ(KVO_Inet_ntoa_b_ipv6_ex(ipv6("::1"), &untouched, 0), &untouched);
    EXPECT_EQ(untouched, '#');
}

TEST(Text, ipv4_addresses_are_dotted)
{
    std::array<char, 16> out{};
    EXPECT_EQ(KVO_IpAddrToStr(0x0A000001, out.data()), out.data());
    EXPECT_STREQ(out.data(), "10.0.0.1");
    EXPECT_STREQ(KVO_IpAddrToStr(0, out.data()), "0.0.0.0");
    EXPECT_STREQ(KVO_IpAddrToStr(0xFFFFFFFF, out.data()), "255.255.255.255");
}

TEST(Text, numbers_in_base_ten_and_sixteen)
{
    std::array<char, 11> out{};
    EXPECT_EQ(KVO_Uint32ToStr(65000, out.data(), 10), out.data());
    EXPECT_STREQ(out.data(), "65000");
    EXPECT_STREQ(KVO_Uint32ToStr(0, out.data(), 10), "0");
    EXPECT_STREQ(KVO_Uint32ToStr(4294967295U, out.data(), 10), "4294967295");
    EXPECT_STREQ(KVO_Uint32ToStr(0, out.data(), 16), "0");
    EXPECT_STREQ(KVO_Uint32ToStr(0xDEADBEEF, out.data(), 16), "deadbeef");
}

TEST(Text, a_number_in_another_base_has_no_text)
{
    for (const std::uint32_t base : {0U, 8U, 11U, 17U, 0xFFFFFFFFU}) {
        std::array<char, 11> out{'x'};
        EXPECT_STREQ(KVO_Uint32ToStr(5, out.data(), base), "") << base;
    }
}

TEST(Text, length_stops_at_the_terminator)
{
    EXPECT_EQ(KVO_StrLen(""), 0U);
    EXPECT_EQ(KVO_StrLen("abc"), 3U);
    EXPECT_EQ(KVO_StrLen("ab\0c"), 2U);
    EXPECT_EQ(KVO_StrLen(nullptr), 0U);
}

TEST(Text, compare_is_by_unsigned_bytes)
{
    EXPECT_EQ(KVO_MemCmp("abc", "abc", 3), 0);
    EXPECT_EQ(KVO_MemCmp("abX", "abY", 2), 0);
    EXPECT_LT(KVO_MemCmp("abc", "abd", 3), 0);
    EXPECT_GT(KVO_MemCmp("\x80", "\x7f", 1), 0);
    EXPECT_EQ(KVO_MemCmp(nullptr, nullptr, 0), 0);
}

} // namespace
} // namespace qel::test
