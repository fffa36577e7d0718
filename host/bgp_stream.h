// Cuts one direction of a TCP stream into BGP messages (RFC 4271, section 4.1).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace qel::host {

inline constexpr std::size_t kBgpMarkerSize = 16;
inline constexpr std::size_t kBgpHeaderSize = 19;
inline constexpr std::size_t kBgpMaxMessage = 65535; // RFC 8654

// Whether the octets, at least 16, begin with the marker.
bool has_bgp_marker(std::span<const std::uint8_t> octets);
// The length field behind the marker; the octets hold at least 18.
std::size_t bgp_message_length(std::span<const std::uint8_t> octets);

class BgpStream {
public:
    class Handler {
    public:
        virtual ~Handler() = default;
        // A message and the stream offset of its first octet. The span holds for the duration of the call.
        virtual void on_message(std::uint64_t offset, std::span<const std::uint8_t> octets) = 0;
        virtual void on_problem(std::uint64_t offset, std::string_view text) = 0;
    };

    // joined: the stream may be anywhere inside a message.
    explicit BgpStream(bool joined) : in_step_(!joined), silent_(!joined) {}

    // The next octets of the stream. Messages that lie in one chunk are handed on without a copy; at most one
    // incomplete message is kept.
    void feed(std::span<const std::uint8_t> chunk, Handler &handler);
    // That many octets of the stream will not come.
    void lose(std::uint64_t octets, std::string_view why, Handler &handler);
    // The stream ends here.
    void end(Handler &handler);

private:
    std::size_t wanted() const;
    std::size_t consume(std::span<const std::uint8_t> data, Handler &handler);
    bool check_header(std::span<const std::uint8_t> header, Handler &handler);
    void come_into_step(Handler &handler);

    std::vector<std::uint8_t> buffer_; // an incomplete message, or what may be the beginning of a marker
    std::uint64_t offset_ = 0;         // of the buffer's first octet
    bool in_step_;                     // offset_ is where a message begins
    bool silent_;                      // nothing is to be said of skipped octets: their reason has been
    std::uint64_t skipped_ = 0;        // octets of a joined stream before its first message
};

} // namespace qel::host
