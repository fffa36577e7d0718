// A stand-in for the multicast component, which is no part of the library: it speaks its side of the messages, octet by
// octet, and sends back every route that it is told.
#pragma once

#include "host/channel.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace qel::host {

// What the component says of its own about the way to a route.
struct McPath {
    Octets next_hop; // 4 or 16 octets; else none is told
    std::uint8_t user_value = 0;
};

class MulticastComponent {
public:
    // NG-MVPN wraps a route to and from this component in a TLV; other families send it bare.
    explicit MulticastComponent(FamilyKind kind) : wraps_(kind == FamilyKind::ng_mvpn) {}

    // Forgets the last route.
    void reset();
    // Messages 5 and 6, attribute messages 11 and 50, import targets 56 and 57; everything else goes unheard.
    void hear(Carrier carrier, std::uint32_t type, Octets octets);
    // Sends back what it heard: the route, for each attribute its route path with the next hop ahead of it, and the
    // import targets. Readers of a route path take one attribute, so each goes by itself.
    using Say = std::function<void(std::uint32_t type, Octets octets)>;
    void answer(Change change, const McPath &path, const Say &say);

private:
    struct Tlv {
        std::uint16_t type;
        std::vector<std::uint8_t> value;
    };

    void hear_path(Octets octets);
    void say_path(const std::vector<std::uint8_t> &next_hop, const Tlv *attribute, const Say &say);

    bool wraps_;
    std::vector<std::uint8_t> prefix_;
    std::vector<Tlv> attributes_;
    std::vector<std::vector<std::uint8_t>> targets_;
};

} // namespace qel::host
