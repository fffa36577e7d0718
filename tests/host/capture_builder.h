// Captures for the tests of the readers, built octet by octet: BGP messages, TCP segments, frames, pcap and pcapng
// files.
#pragma once

#include "support.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <vector>

namespace qel::test {

inline void append(Bytes &to, std::span<const std::uint8_t> more)
{
    to.insert(to.end(), more.begin(), more.end());
}

inline Bytes join(std::initializer_list<Bytes> parts)
{
    Bytes out;
    for (const Bytes &part : parts) {
        append(out, part);
    }
    return out;
}

inline void put_big(Bytes &to, std::uint64_t value, std::size_t octets)
{
    for (std::size_t i = octets; i-- > 0;) {
        to.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

// ---- BGP ----

inline Bytes bgp_message(std::uint8_t type, std::span<const std::uint8_t> body)
{
    Bytes out(16, 0xff);
    put_big(out, 19 + body.size(), 2);
    out.push_back(type);
    append(out, body);
    return out;
}

inline Bytes keepalive()
{
    return bgp_message(4, {});
}

// An UPDATE whose body is `size` octets of `fill`.
inline Bytes update(std::size_t size, std::uint8_t fill = 0)
{
    return bgp_message(2, Bytes(size, fill));
}

// ---- TCP over IP ----

enum TcpFlag : std::uint8_t { kFin = 1, kSyn = 2, kRst = 4, kAck = 16 };

struct Segment {
    std::uint32_t sequence = 0;
    Bytes payload;
    std::uint8_t flags = kAck;
    bool back = false; // from the second host, on its port, to the first
    std::uint16_t port = 40000;
    std::uint16_t bgp_port = 179;
};

// 192.0.2.1 or 2001:db8::1 (port `port`) and 192.0.2.2 or 2001:db8::2 (port `bgp_port`).
inline Bytes tcp(const Segment &segment)
{
    Bytes out;
    put_big(out, segment.back ? segment.bgp_port : segment.port, 2);
    put_big(out, segment.back ? segment.port : segment.bgp_port, 2);
    put_big(out, segment.sequence, 4);
    put_big(out, 0, 4);
    out.push_back(0x50);
    out.push_back(segment.flags);
    put_big(out, 0xffff'0000'0000, 6);
    append(out, segment.payload);
    return out;
}

// fragment: the flags and offset word of the header.
inline Bytes ipv4_packet(std::span<const std::uint8_t> payload, bool back, std::uint8_t protocol = 6,
                         std::uint16_t fragment = 0, std::uint16_t id = 1)
{
    Bytes out = bytes("4500");
    put_big(out, 20 + payload.size(), 2);
    put_big(out, id, 2);
    put_big(out, fragment, 2);
    put_big(out, 64, 1);
    put_big(out, protocol, 1);
    put_big(out, 0, 2);
    append(out, bytes(back ? "c0000202 c0000201" : "c0000201 c0000202"));
    append(out, payload);
    return out;
}

inline Bytes ipv4(const Segment &segment)
{
    return ipv4_packet(tcp(segment), segment.back);
}

// extension: extension headers, of which the first is of type `next_header`.
inline Bytes ipv6(const Segment &segment, std::uint8_t next_header = 6, const Bytes &extension = {})
{
    const Bytes payload = tcp(segment);
    Bytes out = bytes("60000000");
    put_big(out, extension.size() + payload.size(), 2);
    put_big(out, next_header, 1);
    put_big(out, 64, 1);
    const Bytes first = bytes("20010db8000000000000000000000001");
    const Bytes second = bytes("20010db8000000000000000000000002");
    append(out, segment.back ? second : first);
    append(out, segment.back ? first : second);
    append(out, extension);
    append(out, payload);
    return out;
}

inline Bytes ethernet(const Bytes &packet, std::string_view type = "0800")
{
    return join({bytes("020000000002 020000000001"), bytes(type), packet});
}

inline Bytes frame(const Segment &segment)
{
    return ethernet(ipv4(segment));
}

// ---- capture files ----

inline constexpr std::uint16_t kEthernet = 1;

struct CapturedFrame {
    Bytes octets;
    std::uint64_t time_ns = 0;
    std::size_t cut_to = SIZE_MAX; // the snap length
};

class CaptureWriter {
public:
    bool big_endian = false;
    bool nanoseconds = false;
    bool raw_time = false; // pcapng: write the frame's time_ns as it stands, in the file's units
    std::uint32_t link_type = kEthernet;

    Bytes pcap(std::span<const CapturedFrame> frames) const
    {
        Bytes out;
        put(out, nanoseconds ? 0xa1b23c4d : 0xa1b2c3d4, 4);
        put(out, 2, 2);
        put(out, 4, 2);
        put(out, 0, 8);
        put(out, 65535, 4);
        put(out, link_type, 4);
        for (const CapturedFrame &one : frames) {
            const std::size_t size = std::min(one.octets.size(), one.cut_to);
            put(out, one.time_ns / 1'000'000'000, 4);
            put(out, one.time_ns % 1'000'000'000 / (nanoseconds ? 1 : 1000), 4);
            put(out, size, 4);
            put(out, one.octets.size(), 4);
            append(out, std::span(one.octets).first(size));
        }
        return out;
    }

    Bytes pcapng(std::span<const CapturedFrame> frames) const
    {
        Bytes section;
        put(section, 0x1a2b3c4d, 4);
        put(section, 1, 2);
        put(section, 0, 2);
        put(section, UINT64_MAX, 8);
        Bytes out = block(0x0a0d0d0a, section);

        Bytes interface;
        put(interface, link_type, 2);
        put(interface, 0, 2);
        put(interface, 65535, 4);
        if (nanoseconds) {
            put(interface, 9, 2); // if_tsresol
            put(interface, 1, 2);
            append(interface, bytes("09000000"));
            put(interface, 0, 4);
        }
        append(out, block(1, interface));
        for (const CapturedFrame &one : frames) {
            append(out, block(6, enhanced_packet(one)));
        }
        return out;
    }

private:
    void put(Bytes &to, std::uint64_t value, std::size_t octets) const
    {
        for (std::size_t i = 0; i < octets; ++i) {
            to.push_back(static_cast<std::uint8_t>(value >> (8 * (big_endian ? octets - 1 - i : i))));
        }
    }

    Bytes block(std::uint32_t type, const Bytes &body) const
    {
        Bytes out;
        put(out, type, 4);
        put(out, body.size() + 12, 4);
        append(out, body);
        put(out, body.size() + 12, 4);
        return out;
    }

    Bytes enhanced_packet(const CapturedFrame &one) const
    {
        const std::size_t size = std::min(one.octets.size(), one.cut_to);
        const std::uint64_t time = one.time_ns / (nanoseconds || raw_time ? 1 : 1000);
        Bytes body;
        put(body, 0, 4);
        put(body, time >> 32, 4);
        put(body, time & UINT32_MAX, 4);
        put(body, size, 4);
        put(body, one.octets.size(), 4);
        append(body, std::span(one.octets).first(size));
        body.resize((body.size() + 3) / 4 * 4);
        return body;
    }
};

} // namespace qel::test
