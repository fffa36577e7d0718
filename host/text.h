// Small writers of text into a growing buffer: what is shown once per route has to be quick.
#pragma once

#include "qel_route.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace qel::host {

using Buffer = fmt::memory_buffer;

inline void append(Buffer &out, std::string_view text)
{
    out.append(text.data(), text.data() + text.size());
}

void append_number(Buffer &out, std::uint64_t value);
// "0x60002"
void append_code(Buffer &out, std::uint32_t code);
// Dotted text of a host-order address.
void append_ipv4(Buffer &out, std::uint32_t address);
// RFC 5952 text of 16 octets in network order.
void append_ipv6(Buffer &out, const std::uint8_t *address);
// "65000:99", "10.0.0.1:5" or "70000:5" by the RD's type; a type that nobody knows as "3:0x000000640001".
void append_rd(Buffer &out, const QEL_RD_VALUE_S &rd);
void append_hex(Buffer &out, std::span<const std::uint8_t> octets);
// Nanoseconds since 1970 as RFC 3339 text in UTC, with six digits of a second, or nine where six do not say it all.
void append_time(Buffer &out, std::int64_t time_ns);
// Blanks until the buffer holds `width` characters from `start` on.
void pad_to(Buffer &out, std::size_t start, std::size_t width);
// Text from outside, with its control characters made visible, so that it can not steer a terminal.
void append_visible(Buffer &out, std::string_view text);
// A quoted JSON string; octets that are no UTF-8 become U+FFFD.
void append_json_string(Buffer &out, std::string_view text);

// What a return code of the library means, in words.
std::string_view code_meaning(std::uint32_t code);
// The name of an UPDATE's path attribute, or "path attribute".
std::string_view attribute_name(std::uint8_t type);

} // namespace qel::host
