#include "host/bgp_stream.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

namespace qel::host {

namespace {

constexpr std::size_t kMaxOldMessage = 4096; // OPEN and KEEPALIVE stay below it, RFC 8654

bool all_ones(std::span<const std::uint8_t> octets)
{
    return std::all_of(octets.begin(), octets.end(), [](std::uint8_t octet) { return octet == 0xff; });
}

// A header good enough to get into step at: a length that the message type can have.
bool plausible_header(std::span<const std::uint8_t> octets)
{
    struct Bounds {
        std::size_t least;
        std::size_t most;
    };
    // OPEN, UPDATE, NOTIFICATION, KEEPALIVE, ROUTE-REFRESH
    static constexpr Bounds kBounds[] = {{29, kMaxOldMessage},
                                         {23, kBgpMaxMessage},
                                         {21, kBgpMaxMessage},
                                         {kBgpHeaderSize, kBgpHeaderSize},
                                         {23, kBgpMaxMessage}};

    const std::uint8_t type = octets[kBgpHeaderSize - 1];
    if (!has_bgp_marker(octets) || type < 1 || type > std::size(kBounds)) {
        return false;
    }
    // In a longer run of ones the marker is its end, not a length of 0xff00 and more.
    if (octets[kBgpMarkerSize] == 0xff) {
        return false;
    }
    const std::size_t length = bgp_message_length(octets);
    return length >= kBounds[type - 1].least && length <= kBounds[type - 1].most;
}

// Where the next message begins or may begin: the rest behind it is too short to tell, or a plausible header.
std::size_t next_candidate(std::span<const std::uint8_t> data)
{
    std::size_t at = 0;
    while (at < data.size()) {
        const void *ones = std::memchr(data.data() + at, 0xff, data.size() - at);
        if (ones == nullptr) {
            return data.size();
        }
        at = static_cast<std::size_t>(static_cast<const std::uint8_t *>(ones) - data.data());
        const auto rest = data.subspan(at);
        const bool candidate = rest.size() < kBgpHeaderSize
                                   ? all_ones(rest.first(std::min(rest.size(), kBgpMarkerSize)))
                                   : plausible_header(rest);
        if (candidate) {
            return at;
        }
        ++at;
    }
    return data.size();
}

} // namespace

bool has_bgp_marker(std::span<const std::uint8_t> octets)
{
    return all_ones(octets.first(kBgpMarkerSize));
}

std::size_t bgp_message_length(std::span<const std::uint8_t> octets)
{
    return static_cast<std::size_t>(octets[kBgpMarkerSize] * 256U + octets[kBgpMarkerSize + 1]);
}

void BgpStream::feed(std::span<const std::uint8_t> chunk, Handler &handler)
{
    while (!buffer_.empty() && !chunk.empty()) {
        const auto next = chunk.first(std::min(wanted(), chunk.size()));
        buffer_.insert(buffer_.end(), next.begin(), next.end());
        chunk = chunk.subspan(next.size());
        const std::size_t used = consume(buffer_, handler);
        buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(used));
    }
    if (!chunk.empty()) {
        const auto rest = chunk.subspan(consume(chunk, handler));
        buffer_.assign(rest.begin(), rest.end());
    }
}

// How many octets the buffer lacks for the next decision.
std::size_t BgpStream::wanted() const
{
    const std::size_t needed =
        in_step_ && buffer_.size() >= kBgpHeaderSize ? bgp_message_length(buffer_) : kBgpHeaderSize;
    return needed - buffer_.size();
}

// Hands on what is complete and returns how many octets are done with. The rest is an incomplete header or, in step,
// an incomplete message.
std::size_t BgpStream::consume(std::span<const std::uint8_t> data, Handler &handler)
{
    std::size_t used = 0;
    const auto advance = [&](std::size_t octets) {
        used += octets;
        offset_ += octets;
    };
    for (;;) {
        if (!in_step_) {
            const std::size_t skipped = next_candidate(data.subspan(used));
            skipped_ += skipped;
            advance(skipped);
        }
        const auto rest = data.subspan(used);
        if (rest.size() < kBgpHeaderSize) {
            return used;
        }
        come_into_step(handler);
        if (!check_header(rest, handler)) {
            continue;
        }
        const std::size_t length = bgp_message_length(rest);
        if (rest.size() < length) {
            return used;
        }
        handler.on_message(offset_, rest.first(length));
        advance(length);
    }
}

// Says once how much of a stream that was joined midway went by before its first message.
void BgpStream::come_into_step(Handler &handler)
{
    in_step_ = true;
    if (!silent_ && skipped_ > 0) {
        handler.on_problem(offset_ - skipped_,
                           fmt::format("{} octets skipped before the first whole message", skipped_));
    }
    silent_ = true;
}

bool BgpStream::check_header(std::span<const std::uint8_t> header, Handler &handler)
{
    if (!has_bgp_marker(header)) {
        handler.on_problem(offset_, "no BGP marker where a message should begin; looking for the next one");
        in_step_ = false;
    } else if (const std::size_t length = bgp_message_length(header); length < kBgpHeaderSize) {
        handler.on_problem(offset_, fmt::format("message length {} is below {}; looking for the next message", length,
                                                kBgpHeaderSize));
        in_step_ = false;
    }
    return in_step_;
}

void BgpStream::lose(std::uint64_t octets, std::string_view why, Handler &handler)
{
    const bool inside = in_step_ && !buffer_.empty();
    offset_ += buffer_.size();
    buffer_.clear();
    handler.on_problem(offset_, fmt::format("{} octets missing{}: {}", octets, inside ? " inside a message" : "", why));
    offset_ += octets;
    in_step_ = false;
    silent_ = true;
}

void BgpStream::end(Handler &handler)
{
    if (in_step_ && !buffer_.empty()) {
        handler.on_problem(offset_, fmt::format("the stream ends inside a message, {} octets", buffer_.size()));
    } else if (const std::uint64_t passed = skipped_ + buffer_.size(); !silent_ && passed > 0) {
        handler.on_problem(offset_ - skipped_, fmt::format("no BGP message in the {} octets of the stream", passed));
    }
    offset_ += buffer_.size();
    buffer_.clear();
    silent_ = true;
}

} // namespace qel::host
