#include "host/tcp_streams.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <limits>

namespace qel::host {

namespace {

constexpr std::size_t kMaxConnections = 4096;
// Beyond these a hole is taken for octets that the capture lacks.
constexpr std::size_t kMaxHeldPieces = 1024;
constexpr std::size_t kPieceOverhead = 128;
constexpr std::size_t kMaxHeldOctets = 1U << 20;
constexpr std::size_t kMaxHeldOfAll = 64U << 20;
// No sender is that far ahead of its receiver, or repeats what is that far back.
constexpr std::int64_t kWindow = 16 << 20;

} // namespace

TcpDirection::TcpDirection(CaptureContext &context, const Endpoint &from, const Endpoint &to)
    : context_(context), from_(to_string(from)), to_(to_string(to))
{
}

TcpDirection::~TcpDirection()
{
    context_.held_octets -= held_octets_;
}

Origin TcpDirection::origin(std::uint64_t offset) const
{
    Origin origin;
    origin.file = context_.file;
    origin.unit = Origin::Unit::packet;
    origin.number = stamp_.number;
    origin.offset = offset;
    origin.time_ns = stamp_.time_ns;
    origin.from = from_;
    origin.to = to_;
    return origin;
}

void TcpDirection::on_message(std::uint64_t offset, std::span<const std::uint8_t> octets)
{
    context_.sink.message(origin(offset), octets);
}

void TcpDirection::on_problem(std::uint64_t offset, std::string_view text)
{
    context_.sink.problem(origin(offset), text);
}

bool TcpDirection::is_restart(const TcpSegment &segment) const
{
    return segment.begins && stream_ && segment.sequence != first_sequence_;
}

void TcpDirection::begin(const TcpSegment &segment)
{
    stream_.emplace(!segment.begins);
    first_sequence_ = segment.sequence;
    next_ = 0;
    end_.reset();
    ended_ = false;
}

void TcpDirection::restart()
{
    finish();
    stream_.reset();
}

void TcpDirection::add(const TcpSegment &segment, const PacketStamp &stamp)
{
    const bool carries = !segment.payload.empty() || segment.missing > 0;
    if (!segment.begins && !carries && (!segment.ends || !stream_)) {
        return;
    }
    if (!stream_) {
        stamp_ = stamp;
        begin(segment);
    }
    const auto ahead =
        static_cast<std::int32_t>(segment.sequence - first_sequence_ - static_cast<std::uint32_t>(next_));
    if (carries && (ahead > kWindow || ahead < -kWindow)) {
        restart();
        stamp_ = stamp;
        begin(segment);
        on_problem(0, "the TCP sequence number jumps; taken for another connection on the same ports");
        return add(segment, stamp);
    }
    stamp_ = stamp;
    const std::int64_t offset = next_ + ahead;
    const Piece piece{segment.payload, segment.missing};
    if (segment.ends && ahead >= 0 && ahead <= kWindow) {
        end_ = offset + static_cast<std::int64_t>(piece.octets.size() + piece.missing);
    }
    if (carries && !ended_) {
        if (offset > next_) {
            hold(offset, piece);
        } else {
            deliver(offset, piece);
            deliver_held(false);
        }
    }
    check_end();
}

// Hands the framing what of the piece, which begins at or before the next octet, is new.
void TcpDirection::deliver(std::int64_t offset, Piece piece)
{
    const auto known = static_cast<std::uint64_t>(next_ - offset);
    const std::size_t from = static_cast<std::size_t>(std::min<std::uint64_t>(known, piece.octets.size()));
    piece.octets = piece.octets.subspan(from);
    piece.missing -= std::min(piece.missing, known - from);

    stream_->feed(piece.octets, *this);
    if (piece.missing > 0) {
        stream_->lose(piece.missing, "the packet is cut by the capture's snap length", *this);
    }
    next_ += static_cast<std::int64_t>(piece.octets.size() + piece.missing);
}

// Goes on with what is held, up to the next hole. What the current packet has made readable is complete with that
// packet; after a hole that remains it is complete with the packet that brought it.
void TcpDirection::deliver_held(bool own_stamps)
{
    while (!held_.empty() && held_.begin()->first <= next_) {
        const auto node = held_.extract(held_.begin());
        const HeldPiece &piece = node.mapped();
        count_held(0, piece.octets.size() + kPieceOverhead);
        if (own_stamps && piece.stamp.number > stamp_.number) {
            stamp_ = piece.stamp;
        }
        deliver(node.key(), {piece.octets, piece.missing});
    }
}

void TcpDirection::hold(std::int64_t offset, const Piece &piece)
{
    const auto [at, is_new] = held_.try_emplace(offset);
    HeldPiece &held = at->second;
    if (is_new || piece.octets.size() > held.octets.size()) {
        count_held(piece.octets.size() + (is_new ? kPieceOverhead : 0), held.octets.size());
        held = {{piece.octets.begin(), piece.octets.end()}, piece.missing, stamp_};
    }
    while (held_octets_ > kMaxHeldOctets || held_.size() > kMaxHeldPieces ||
           (context_.held_octets > kMaxHeldOfAll && !held_.empty())) {
        skip_hole();
    }
}

void TcpDirection::count_held(std::size_t more, std::size_t less)
{
    held_octets_ = held_octets_ + more - less;
    context_.held_octets = context_.held_octets + more - less;
}

// Gives up the octets before the first held piece and reads on there.
void TcpDirection::skip_hole()
{
    const PacketStamp latest = stamp_;
    stamp_ = held_.begin()->second.stamp;
    const std::int64_t missing = held_.begin()->first - next_;
    stream_->lose(static_cast<std::uint64_t>(missing), "the capture lacks their segments", *this);
    next_ += missing;
    deliver_held(true);
    stamp_ = latest;
}

void TcpDirection::check_end()
{
    if (end_ && next_ >= *end_ && !ended_) {
        ended_ = true;
        stream_->end(*this);
    }
}

void TcpDirection::finish()
{
    if (!stream_) {
        return;
    }
    while (!held_.empty()) {
        skip_hole();
    }
    if (!ended_) {
        ended_ = true;
        stream_->end(*this);
    }
}

std::size_t TcpStreams::KeyHash::operator()(const Key &key) const
{
    const auto hash = [](const Endpoint &endpoint) {
        const std::string_view address(reinterpret_cast<const char *>(endpoint.address.data()),
                                       endpoint.address.size());
        return std::hash<std::string_view>{}(address)*31 + endpoint.port;
    };
    return hash(key.first) * 31 + hash(key.second);
}

TcpStreams::Connection &TcpStreams::find(const Key &key)
{
    if (const auto known = index_.find(key); known != index_.end()) {
        connections_.splice(connections_.begin(), connections_, known->second);
        return connections_.front();
    }
    if (connections_.size() >= kMaxConnections) {
        Connection &oldest = connections_.back();
        oldest.up.finish();
        oldest.down.finish();
        index_.erase(oldest.key);
        connections_.pop_back();
    }
    connections_.emplace_front(context_, key);
    index_.emplace(key, connections_.begin());
    return connections_.front();
}

void TcpStreams::add(const TcpSegment &segment, const PacketStamp &stamp)
{
    const bool up = segment.from < segment.to;
    Connection &connection = find(up ? Key{segment.from, segment.to} : Key{segment.to, segment.from});
    TcpDirection &direction = up ? connection.up : connection.down;
    if (direction.is_restart(segment)) {
        connection.up.restart();
        connection.down.restart();
    }
    direction.add(segment, stamp);
}

void TcpStreams::finish()
{
    for (auto connection = connections_.rbegin(); connection != connections_.rend(); ++connection) {
        connection->up.finish();
        connection->down.finish();
    }
}

} // namespace qel::host
