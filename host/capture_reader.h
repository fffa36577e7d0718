// Reads the BGP messages of a capture file.
#pragma once

#include "host/byte_source.h"
#include "host/input.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace qel::host {

// Whether a file with these first octets is a capture, pcap or pcapng.
bool is_capture(std::span<const std::uint8_t> head);

// False if the capture cannot be read to its end; a problem has said why.
bool read_capture(ByteSource &source, std::string_view file, InputSink &sink);

} // namespace qel::host
