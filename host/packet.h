// From a captured frame to the TCP segment on the BGP port that it carries.
#pragma once

#include <tins/ip_reassembler.h>
#include <tins/pdu.h>

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Tins {
class IP;
} // namespace Tins

namespace qel::host {

struct Endpoint {
    bool ipv6 = false;
    std::array<std::uint8_t, 16> address{}; // network order; IPv4 in the first four octets
    std::uint16_t port = 0;

    auto operator<=>(const Endpoint &) const = default;
};

// "10.0.0.1:179", "[2001:db8::1]:179"
std::string to_string(const Endpoint &endpoint);

struct TcpSegment {
    Endpoint from;
    Endpoint to;
    std::uint32_t sequence = 0; // of the first payload octet
    bool begins = false;        // SYN: the stream begins at `sequence`
    bool ends = false;          // FIN: the stream ends behind the payload
    std::span<const std::uint8_t> payload;
    std::size_t missing = 0; // octets of payload that the capture cut off
};

// One captured frame.
struct Frame {
    std::span<const std::uint8_t> octets;
    std::size_t wire_size = 0; // before it was cut to the capture's snap length
    std::uint64_t number = 0;
};

// A frame that cannot be decoded.
class PacketError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class PacketDecoder {
public:
    // The decoder for a link type of libpcap (DLT_...); none if that is unknown.
    static std::optional<PacketDecoder> for_link_type(int link_type);

    // The segment, valid until the next call; none if the frame holds no TCP segment on port 179 or only a fragment of
    // one. Throws PacketError.
    std::optional<TcpSegment> decode(const Frame &frame);

    // The IP datagrams that never became whole: the number of a frame of each.
    std::vector<std::uint64_t> unfinished() const;

private:
    using ParseLink = std::unique_ptr<Tins::PDU> (*)(std::span<const std::uint8_t>);
    // identification and the two addresses, the lower one first, as the reassembler takes them
    using DatagramKey = std::pair<std::uint16_t, std::pair<std::uint32_t, std::uint32_t>>;

    explicit PacketDecoder(ParseLink parse) : parse_(parse) {}
    bool add_fragment(Tins::IP &ip, std::uint64_t frame_number);

    ParseLink parse_;
    std::unique_ptr<Tins::PDU> packet_;
    Tins::IPv4Reassembler reassembler_;
    std::map<DatagramKey, std::uint64_t> pending_; // datagrams of which a fragment is kept, and its frame
};

} // namespace qel::host
