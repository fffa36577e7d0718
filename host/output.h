// Buffered text output.
#pragma once

#include "host/text.h"

#include <functional>
#include <string_view>
#include <system_error>

namespace qel::host {

// The output took no more text; code() says why.
class OutputError : public std::system_error {
public:
    using std::system_error::system_error;
};

// Writes all of the text to a file descriptor. Throws OutputError.
void write_all(int fd, std::string_view text);

// Collects text and passes it on in large pieces. What is not flushed at the end is dropped.
class Output {
public:
    using Write = std::function<void(std::string_view)>;

    explicit Output(Write write) : write_(std::move(write)) {}

    Buffer &buffer() { return buffer_; }
    void flush();
    // Call it where a piece may end.
    void flush_when_full()
    {
        if (buffer_.size() >= kPiece) {
            flush();
        }
    }

private:
    static constexpr std::size_t kPiece = std::size_t{64} * 1024;

    Write write_;
    Buffer buffer_;
};

} // namespace qel::host
