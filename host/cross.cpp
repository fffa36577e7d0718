#include "host/cross.h"

#include "host/route.h"

namespace qel::host {

std::optional<Cross> CrossWalk::next()
{
    if (ended_) {
        return std::nullopt;
    }
    std::uint8_t *value = nullptr;
    std::uint32_t length = 0;
    std::uint32_t more = 0;
    code_ = family_->desc().pfGetCross(route_, &value, &length, &cursor_, &more, family_->ctx());
    const OctetsPtr owner(code_ == QEL_OK ? value : nullptr);
    ended_ = owner == nullptr || more == 0; // some families say with the last value that it is the last
    return owner == nullptr ? std::nullopt : std::optional<Cross>(std::in_place, std::span(owner.get(), length));
}

} // namespace qel::host
