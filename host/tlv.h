// TLVs of messages: a header of four octets, type and length of the value in network order, no padding.
#pragma once

#include "qel_byteorder.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qel::host {

inline constexpr std::size_t kTlvHeader = 4;

// Calls `found(type, value)` for each TLV; returns what is left behind the last whole one.
template <class Found> std::span<const std::uint8_t> for_each_tlv(std::span<const std::uint8_t> octets, Found found)
{
    while (octets.size() >= kTlvHeader) {
        const std::size_t length = QEL_LoadBe16(octets.data() + 2);
        if (length > octets.size() - kTlvHeader) {
            break;
        }
        found(QEL_LoadBe16(octets.data()), octets.subspan(kTlvHeader, length));
        octets = octets.subspan(kTlvHeader + length);
    }
    return octets;
}

inline void append_tlv(std::vector<std::uint8_t> &out, std::uint16_t type, std::span<const std::uint8_t> value)
{
    std::uint8_t header[kTlvHeader];
    QEL_StoreBe16(header, type);
    QEL_StoreBe16(header + 2, static_cast<std::uint16_t>(value.size()));
    out.insert(out.end(), header, header + kTlvHeader);
    out.insert(out.end(), value.begin(), value.end());
}

} // namespace qel::host
