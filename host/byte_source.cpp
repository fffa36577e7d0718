#include "host/byte_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace qel::host {

namespace {

[[noreturn]] void fail(int error)
{
    throw std::system_error(error, std::generic_category());
}

std::uint64_t octets_ahead(int fd, const struct stat &status)
{
    if (!S_ISREG(status.st_mode)) {
        return 0;
    }
    const off_t at = ::lseek(fd, 0, SEEK_CUR);
    return at >= 0 && at < status.st_size ? static_cast<std::uint64_t>(status.st_size - at) : 0;
}

} // namespace

ByteSource::ByteSource(const std::string &name)
    : fd_(name == "-" ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | O_CLOEXEC)), owned_(name != "-")
{
    if (fd_ < 0) {
        fail(errno);
    }
    try {
        struct stat status {};
        if (::fstat(fd_, &status) != 0) {
            fail(errno);
        }
        octets_total_ = octets_ahead(fd_, status);
        fill_head();
    } catch (...) {
        if (owned_) {
            ::close(fd_);
        }
        throw;
    }
}

ByteSource::~ByteSource()
{
    if (owned_) {
        ::close(fd_);
    }
}

void ByteSource::fill_head()
{
    while (head_size_ < head_.size()) {
        const ssize_t got = read_file(head_.data() + head_size_, head_.size() - head_size_);
        if (got < 0) {
            fail(errno);
        }
        if (got == 0) {
            return;
        }
        head_size_ += static_cast<std::size_t>(got);
    }
}

ssize_t ByteSource::read_file(void *to, std::size_t room) noexcept
{
    ssize_t got = 0;
    do {
        got = ::read(fd_, to, room);
    } while (got < 0 && errno == EINTR);
    return got;
}

ssize_t ByteSource::read(void *to, std::size_t room) noexcept
{
    const std::size_t take = std::min(room, head_size_ - head_taken_);
    std::memcpy(to, head_.data() + head_taken_, take);
    head_taken_ += take;

    ssize_t got = read_file(static_cast<char *>(to) + take, room - take);
    if (take > 0) {
        // A failure behind the head shows again with the next call.
        got = static_cast<ssize_t>(take) + std::max<ssize_t>(got, 0);
    }
    if (got > 0) {
        octets_read_ += static_cast<std::uint64_t>(got);
    }
    return got;
}

void ReadingProgress::step()
{
    constexpr std::uint64_t kSteps = 1000;
    constexpr std::uint64_t kOctets = 1U << 20;

    if (++steps_ % kSteps == 0 || source_.octets_read() >= next_octets_) {
        next_octets_ = source_.octets_read() + kOctets;
        finish();
    }
}

} // namespace qel::host
