// The octets of an input file in the order they come, from a file or a pipe, never rewound.
#pragma once

#include "host/input.h"

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace qel::host {

class ByteSource {
public:
    // Opens the file ("-": standard input) and reads its first octets. Throws std::system_error.
    explicit ByteSource(const std::string &name);
    ~ByteSource();
    ByteSource(const ByteSource &) = delete;
    ByteSource &operator=(const ByteSource &) = delete;

    // The first octets of the file, fewer than four only if it holds no more. They remain to be read.
    std::span<const std::uint8_t> head() const { return {head_.data(), head_size_}; }
    // Reads what is there, at most `room` octets. 0 at the end, -1 with errno set if the file cannot be read.
    ssize_t read(void *to, std::size_t room) noexcept;

    std::uint64_t octets_read() const { return octets_read_; }
    // The size of a regular file, from where it was opened; 0 if not known.
    std::uint64_t octets_total() const { return octets_total_; }

private:
    void fill_head();
    ssize_t read_file(void *to, std::size_t room) noexcept;

    int fd_;
    bool owned_;
    std::array<std::uint8_t, 4> head_{};
    std::size_t head_size_ = 0;
    std::size_t head_taken_ = 0;
    std::uint64_t octets_read_ = 0;
    std::uint64_t octets_total_ = 0;
};

// Tells the sink how far a reader has come: every MiB or every thousand steps, and at the end.
class ReadingProgress {
public:
    ReadingProgress(const ByteSource &source, InputSink &sink) : source_(source), sink_(sink) {}
    void step();
    void finish() { sink_.progress(source_.octets_read(), source_.octets_total()); }

private:
    const ByteSource &source_;
    InputSink &sink_;
    std::uint64_t steps_ = 0;
    std::uint64_t next_octets_ = 1U << 20;
};

} // namespace qel::host
