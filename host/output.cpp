#include "host/output.h"

#include <cerrno>

#include <unistd.h>

namespace qel::host {

void write_all(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            throw OutputError(errno, std::generic_category());
        }
    }
}

void Output::flush()
{
    const std::string_view text(buffer_.data(), buffer_.size());
    if (!text.empty()) {
        write_(text);
        buffer_.clear();
    }
}

} // namespace qel::host
