#include "host/packet.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <pcap/dlt.h>
#include <tins/constants.h>
#include <tins/dot1q.h>
#include <tins/ethernetII.h>
#include <tins/exceptions.h>
#include <tins/ip.h>
#include <tins/ipv6.h>
#include <tins/rawpdu.h>
#include <tins/sll.h>
#include <tins/snap.h>
#include <tins/tcp.h>

#include <algorithm>
#include <cstring>

namespace qel::host {

namespace {

using Octets = std::span<const std::uint8_t>;
using Packet = std::unique_ptr<Tins::PDU>;

constexpr std::uint16_t kBgpPort = 179;
constexpr std::uint8_t kProtocolTcp = 6;
constexpr std::size_t kMaxPendingDatagrams = 256;

// ---- link layers ----

template <class Layer> Packet parse_as(Octets octets)
{
    return std::make_unique<Layer>(octets.data(), static_cast<std::uint32_t>(octets.size()));
}

// Ethernet II, and IEEE 802.3 with a SNAP header; other 802.3 frames hold no IP.
Packet parse_ethernet(Octets octets)
{
    constexpr std::size_t kHeader = 14;
    constexpr std::size_t kFirstType = 0x600; // below: a length
    constexpr std::array<std::uint8_t, 3> kSnap{0xaa, 0xaa, 0x03};

    if (octets.size() < kHeader || octets[kHeader - 2] * 256U + octets[kHeader - 1] >= kFirstType) {
        return parse_as<Tins::EthernetII>(octets);
    }
    const Octets rest = octets.subspan(kHeader);
    const bool snap = rest.size() >= kSnap.size() && std::equal(kSnap.begin(), kSnap.end(), rest.begin());
    return snap ? parse_as<Tins::SNAP>(rest) : nullptr;
}

Packet parse_ip(Octets octets)
{
    switch (octets.empty() ? 0 : octets[0] >> 4) {
    case 4:
        return parse_as<Tins::IP>(octets);
    case 6:
        return parse_as<Tins::IPv6>(octets);
    default:
        return nullptr;
    }
}

// Four octets with the address family, whose number and byte order depend on the system, and the IP packet.
Packet parse_loopback(Octets octets)
{
    constexpr std::size_t kHeader = 4;
    if (octets.size() < kHeader) {
        throw PacketError("the loopback header is incomplete");
    }
    return parse_ip(octets.subspan(kHeader));
}

// Linux cooked capture, version 2: the protocol in the first two of twenty octets.
Packet parse_sll2(Octets octets)
{
    constexpr std::size_t kHeader = 20;
    if (octets.size() < kHeader) {
        throw PacketError("the cooked header is incomplete");
    }
    const Octets rest = octets.subspan(kHeader);
    switch (octets[0] * 256U + octets[1]) {
    case Tins::Constants::Ethernet::IP:
    case Tins::Constants::Ethernet::IPV6:
        return parse_ip(rest);
    case Tins::Constants::Ethernet::VLAN:
    case Tins::Constants::Ethernet::QINQ:
        return parse_as<Tins::Dot1Q>(rest);
    default:
        return nullptr;
    }
}

// ---- IP and TCP ----

Endpoint make_endpoint(const Tins::IPv4Address &address, std::uint16_t port)
{
    Endpoint endpoint{.ipv6 = false, .address = {}, .port = port};
    const auto raw = static_cast<std::uint32_t>(address); // network order
    std::memcpy(endpoint.address.data(), &raw, sizeof(raw));
    return endpoint;
}

Endpoint make_endpoint(const Tins::IPv6Address &address, std::uint16_t port)
{
    Endpoint endpoint{.ipv6 = true, .address = {}, .port = port};
    std::copy(address.begin(), address.end(), endpoint.address.begin());
    return endpoint;
}

template <class Ip> void set_endpoints(TcpSegment &segment, const Ip &ip, const Tins::TCP &tcp)
{
    segment.from = make_endpoint(ip.src_addr(), tcp.sport());
    segment.to = make_endpoint(ip.dst_addr(), tcp.dport());
}

// The innermost IP header above a TCP header, and that.
struct Layers {
    Tins::IP *ip = nullptr;
    Tins::IPv6 *ipv6 = nullptr;
    Tins::TCP *tcp = nullptr;
};

Layers find_layers(Tins::PDU *packet)
{
    Layers layers;
    for (Tins::PDU *layer = packet; layer != nullptr && layers.tcp == nullptr; layer = layer->inner_pdu()) {
        switch (layer->pdu_type()) {
        case Tins::PDU::IP:
            layers.ip = static_cast<Tins::IP *>(layer);
            layers.ipv6 = nullptr;
            break;
        case Tins::PDU::IPv6:
            layers.ipv6 = static_cast<Tins::IPv6 *>(layer);
            layers.ip = nullptr;
            break;
        case Tins::PDU::TCP:
            layers.tcp = static_cast<Tins::TCP *>(layer);
            break;
        default:
            break;
        }
    }
    return layers;
}

// The payload octets that the headers announce; 0 if the IP header leaves the length open.
std::size_t announced_payload(const Layers &layers)
{
    std::size_t total = 0;
    std::size_t headers = std::size_t{layers.tcp->data_offset()} * 4;
    if (layers.ip != nullptr) {
        total = layers.ip->tot_len();
        headers += std::size_t{layers.ip->head_len()} * 4;
    } else {
        constexpr std::size_t kFixedHeader = 40;
        total = layers.ipv6->payload_length();
        headers += layers.ipv6->header_size() - kFixedHeader;
    }
    return total > headers ? total - headers : 0;
}

// whole: the IP header's length is that of a fragment, and nothing is missing.
TcpSegment make_segment(const Layers &layers, bool whole)
{
    const Tins::TCP &tcp = *layers.tcp;
    TcpSegment segment;
    if (layers.ip != nullptr) {
        set_endpoints(segment, *layers.ip, tcp);
    } else {
        set_endpoints(segment, *layers.ipv6, tcp);
    }
    segment.begins = tcp.get_flag(Tins::TCP::SYN) != 0;
    segment.ends = tcp.get_flag(Tins::TCP::FIN) != 0;
    segment.sequence = tcp.seq() + (segment.begins ? 1 : 0);
    if (const auto *payload = dynamic_cast<const Tins::RawPDU *>(tcp.inner_pdu())) {
        segment.payload = payload->payload();
    }
    if (!whole) {
        const std::size_t announced = announced_payload(layers);
        segment.missing = announced > segment.payload.size() ? announced - segment.payload.size() : 0;
    }
    return segment;
}

} // namespace

std::string to_string(const Endpoint &endpoint)
{
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(endpoint.ipv6 ? AF_INET6 : AF_INET, endpoint.address.data(), text, sizeof(text));
    return endpoint.ipv6 ? fmt::format("[{}]:{}", text, endpoint.port) : fmt::format("{}:{}", text, endpoint.port);
}

std::optional<PacketDecoder> PacketDecoder::for_link_type(int link_type)
{
    struct Row {
        int link_type;
        ParseLink parse;
    };
    static constexpr Row kRows[] = {
        {DLT_EN10MB, parse_ethernet}, {DLT_LINUX_SLL, parse_as<Tins::SLL>},
        {DLT_LINUX_SLL2, parse_sll2}, {DLT_RAW, parse_ip},
        {DLT_IPV4, parse_ip},         {DLT_IPV6, parse_ip},
        {DLT_NULL, parse_loopback},   {DLT_LOOP, parse_loopback},
    };
    for (const Row &row : kRows) {
        if (row.link_type == link_type) {
            return PacketDecoder(row.parse);
        }
    }
    return std::nullopt;
}

std::optional<TcpSegment> PacketDecoder::decode(const Frame &frame)
{
    bool reassembled = false;
    Layers layers;
    try {
        packet_ = parse_(frame.octets);
        layers = find_layers(packet_.get());
        if (layers.ip != nullptr && layers.ip->is_fragmented()) {
            if (!add_fragment(*layers.ip, frame.number)) {
                return std::nullopt;
            }
            reassembled = true;
            layers = find_layers(packet_.get());
        }
    } catch (const Tins::exception_base &error) {
        const bool cut = frame.octets.size() < frame.wire_size;
        throw PacketError(fmt::format("{}{}", error.what(), cut ? ", cut by the capture's snap length" : ""));
    }
    if (layers.tcp == nullptr) {
        if (layers.ipv6 != nullptr && layers.ipv6->search_header(Tins::IPv6::FRAGMENT) != nullptr) {
            throw PacketError("fragment of an IPv6 packet; these are not reassembled");
        }
        return std::nullopt;
    }
    const Tins::TCP &tcp = *layers.tcp;
    if ((tcp.sport() != kBgpPort && tcp.dport() != kBgpPort) || (layers.ip == nullptr && layers.ipv6 == nullptr)) {
        return std::nullopt;
    }
    // A reset may carry a text for whoever looks at the capture, but no octets of the stream.
    if (tcp.get_flag(Tins::TCP::RST) != 0) {
        return std::nullopt;
    }
    return make_segment(layers, reassembled);
}

// Whether the datagram is whole now; its packet then is.
bool PacketDecoder::add_fragment(Tins::IP &ip, std::uint64_t frame_number)
{
    if (ip.protocol() != kProtocolTcp) {
        return false;
    }
    const auto *payload = dynamic_cast<const Tins::RawPDU *>(ip.inner_pdu());
    const std::size_t size = payload != nullptr ? payload->payload_size() : 0;
    if (std::size_t{ip.head_len()} * 4 + size < ip.tot_len()) {
        throw PacketError("fragment of an IP datagram, cut by the capture's snap length");
    }

    const auto from = static_cast<std::uint32_t>(ip.src_addr());
    const auto to = static_cast<std::uint32_t>(ip.dst_addr());
    const DatagramKey key{ip.id(), {std::min(from, to), std::max(from, to)}};
    const bool whole = reassembler_.process(ip) == Tins::IPv4Reassembler::REASSEMBLED;
    if (whole) {
        pending_.erase(key);
    } else {
        pending_.try_emplace(key, frame_number);
    }
    if (pending_.size() > kMaxPendingDatagrams) {
        reassembler_.clear_streams();
        pending_.clear();
        throw PacketError(
            fmt::format("more than {} IP datagrams are in fragments; those are given up", kMaxPendingDatagrams));
    }
    return whole;
}

std::vector<std::uint64_t> PacketDecoder::unfinished() const
{
    std::vector<std::uint64_t> frames;
    for (const auto &[key, frame] : pending_) {
        frames.push_back(frame);
    }
    std::sort(frames.begin(), frames.end());
    return frames;
}

} // namespace qel::host
