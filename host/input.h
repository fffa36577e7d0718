// Reading input: captures and hex text become BGP messages with a note of where each came from.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qel::host {

// Where a message or a mistake of the input was found.
struct Origin {
    enum class Unit { packet, line };

    std::string_view file;    // the name as the user gave it; "-" for standard input
    Unit unit = Unit::packet; // what `number` counts
    std::uint64_t number = 0; // the packet that completed the message, or the line it began on; from 1
    std::uint64_t offset = 0; // octet in the TCP stream's direction, or column octet of the text line, of its start
    bool in_file = false;     // the offset is that of the packet in the file
    std::optional<std::int64_t> time_ns; // since 1970, UTC; captures only
    std::string_view from;               // "10.0.0.1:179", "[2001:db8::1]:179"; empty for text
    std::string_view to;
};

// Receives what a reader finds. The spans and views hold for the duration of the call.
class InputSink {
public:
    virtual ~InputSink() = default;
    // A whole BGP message (RFC 4271, section 4.1; up to 65535 octets, RFC 8654), its 19-octet header included.
    virtual void message(const Origin &origin, std::span<const std::uint8_t> octets) = 0;
    // A bare path attribute from hex text: flags, type, length, value (RFC 4271, section 4.3).
    virtual void attribute(const Origin &origin, std::span<const std::uint8_t> octets) = 0;
    // Something in the input that could not be read; reading goes on behind it where that is possible.
    virtual void problem(const Origin &origin, std::string_view text) = 0;
    // How far the reader has come, for a progress line; total 0 if it is not known.
    virtual void progress(std::uint64_t octets_read, std::uint64_t octets_total) = 0;
};

// Reads one file ("-": standard input) to its end, streaming. Captures (pcap, pcapng; recognised by their magic) have
// their TCP streams on port 179 reassembled; anything else is taken for hex text, one BGP message or one bare path
// attribute per line, blanks and an optional 0x free, '#' begins a comment. Returns false if the file could not be
// opened or not be read to its end; problem() has said why.
bool read_input(const std::string &file, InputSink &sink);

} // namespace qel::host
