// What the messages of all families have in common, in words.
#pragma once

#include "host/channel.h"
#include "host/parts.h"
#include "host/text.h"
#include "host/tlv.h"
#include "qel_byteorder.h"

#include <cstddef>
#include <cstdint>

namespace qel::host {

// What a message carries, whatever wraps it. A type code means the same in every family that has it.
enum class MessageContent : std::uint8_t { route, path, target, attribute, non_key, unknown };
MessageContent content_of(Carrier carrier, std::uint32_t type);

// "TLV 11, 14 octets: " in front of what the value says.
Buffer &begin_tlv(Parts &parts, std::uint16_t type, std::size_t length);
// Octets that are no TLV; nothing if there are none.
void append_rest(Parts &parts, Octets rest);

// A non-key: `write(out, type, value)` says what each of its TLVs is. The flags and the count of octets behind them
// look like a TLV without its value.
template <class Write> void append_non_key(Parts &parts, Octets octets, Write write)
{
    if (octets.size() < kTlvHeader) {
        return append_rest(parts, octets);
    }
    Buffer &out = parts.begin();
    append(out, "non-key, flags ");
    append_code(out, QEL_LoadBe16(octets.data()));
    append_rest(parts, for_each_tlv(octets.subspan(kTlvHeader), [&](std::uint16_t type, Octets value) {
                    write(begin_tlv(parts, type, value.size()), type, value);
                }));
}

} // namespace qel::host
