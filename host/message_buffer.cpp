#include "host/message_buffer.h"

#include "qel_family.h"

namespace qel::host {

MessageBuffer::MessageBuffer(std::span<const std::uint8_t> octets)
    : octets_(std::make_unique<std::uint8_t[]>(octets.size() + QEL_MSG_READ_SLACK)),
      size_(static_cast<std::uint32_t>(octets.size()))
{
    std::copy(octets.begin(), octets.end(), octets_.get());
}

} // namespace qel::host
