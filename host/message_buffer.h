// Octets of messages between components: the room that they are written in, and the buffers that they are read from.
#pragma once

#include "qel_codes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace qel::host {

// A message as a component reads it. Some of the library's readers go past a message's end: here, and nowhere else, the
// host keeps its promise that the QEL_MSG_READ_SLACK octets behind it can be read.
class MessageBuffer {
public:
    // A copy of the octets.
    explicit MessageBuffer(std::span<const std::uint8_t> octets);

    std::span<const std::uint8_t> octets() const { return {octets_.get(), size_}; }
    const std::uint8_t *data() const { return octets_.get(); }
    std::uint32_t size() const { return size_; }

private:
    std::unique_ptr<std::uint8_t[]> octets_;
    std::uint32_t size_;
};

// Room for the longest message that a length of 16 bits can tell, used again for one message after the other. It is
// zero when a message begins: writers skip octets that have no meaning.
class MessageWriter {
public:
    MessageWriter() : room_(UINT16_MAX) {}

    // `format(cursor, room)` writes, moves the cursor and returns a code, which is handed on. On failure nothing is
    // written.
    template <class Format> std::uint32_t write(Format format)
    {
        std::fill_n(room_.begin(), soiled_, std::uint8_t{0});
        std::uint8_t *cursor = room_.data();
        const std::uint32_t code = format(&cursor, static_cast<std::uint32_t>(room_.size()));
        size_ = code == QEL_OK ? static_cast<std::size_t>(cursor - room_.data()) : 0;
        soiled_ = code == QEL_OK ? size_ : room_.size(); // a writer that fails leaves octets behind its cursor
        return code;
    }

    // Holds until the next write.
    std::span<const std::uint8_t> written() const { return {room_.data(), size_}; }

private:
    std::vector<std::uint8_t> room_;
    std::size_t size_ = 0;
    std::size_t soiled_ = 0;
};

} // namespace qel::host
