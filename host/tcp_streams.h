// The TCP connections of a capture: puts their segments in order and hands the streams to the BGP framing.
#pragma once

#include "host/bgp_stream.h"
#include "host/input.h"
#include "host/packet.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qel::host {

// Which packet of the capture it was.
struct PacketStamp {
    std::uint64_t number = 0;
    std::optional<std::int64_t> time_ns;
};

// Where every message and problem of one capture goes, and how many octets all its streams hold back together.
struct CaptureContext {
    std::string_view file;
    InputSink &sink;
    std::size_t held_octets = 0;
};

// One direction of a connection. Octets are counted from the stream's first one, or from where it was joined.
class TcpDirection final : private BgpStream::Handler {
public:
    TcpDirection(CaptureContext &context, const Endpoint &from, const Endpoint &to);
    ~TcpDirection() override;
    TcpDirection(const TcpDirection &) = delete;
    TcpDirection &operator=(const TcpDirection &) = delete;

    // Whether the segment opens another stream than the one followed.
    bool is_restart(const TcpSegment &segment) const;
    void add(const TcpSegment &segment, const PacketStamp &stamp);
    // Reads what is still held, across the holes, and reports what is unfinished.
    void finish();
    void restart();

private:
    struct Piece {
        std::span<const std::uint8_t> octets;
        std::uint64_t missing = 0; // behind the octets
    };
    struct HeldPiece {
        std::vector<std::uint8_t> octets;
        std::uint64_t missing = 0;
        PacketStamp stamp;
    };

    void on_message(std::uint64_t offset, std::span<const std::uint8_t> octets) override;
    void on_problem(std::uint64_t offset, std::string_view text) override;
    Origin origin(std::uint64_t offset) const;

    void begin(const TcpSegment &segment);
    void deliver(std::int64_t offset, Piece piece);
    void deliver_held(bool own_stamps);
    void hold(std::int64_t offset, const Piece &piece);
    void count_held(std::size_t more, std::size_t less);
    void skip_hole();
    void check_end();

    CaptureContext &context_;
    std::string from_;
    std::string to_;
    std::optional<BgpStream> stream_; // from the first segment on
    std::uint32_t first_sequence_ = 0;
    std::int64_t next_ = 0; // offset of the next octet in order
    std::optional<std::int64_t> end_;
    bool ended_ = false;
    std::map<std::int64_t, HeldPiece> held_; // out of order, by offset
    std::size_t held_octets_ = 0;
    PacketStamp stamp_;
};

// All connections. The one longest unused makes room when there are too many.
class TcpStreams {
public:
    TcpStreams(std::string_view file, InputSink &sink) : context_{file, sink} {}
    void add(const TcpSegment &segment, const PacketStamp &stamp);
    // The capture ends here.
    void finish();

private:
    using Key = std::pair<Endpoint, Endpoint>; // the lower endpoint first
    struct KeyHash {
        std::size_t operator()(const Key &key) const;
    };
    struct Connection {
        Connection(CaptureContext &context, const Key &ends)
            : key(ends), up(context, ends.first, ends.second), down(context, ends.second, ends.first)
        {
        }
        Key key;
        TcpDirection up; // from the lower endpoint
        TcpDirection down;
    };

    Connection &find(const Key &key);

    CaptureContext context_;
    std::list<Connection> connections_; // last used first
    std::unordered_map<Key, std::list<Connection>::iterator, KeyHash> index_;
};

} // namespace qel::host
