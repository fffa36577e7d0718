// A list of short texts in one piece of memory.
#pragma once

#include "host/text.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace qel::host {

class Parts {
public:
    void clear()
    {
        text_.clear();
        starts_.clear();
    }

    // Begins a text; it is what is written to the buffer until the next one begins.
    Buffer &begin()
    {
        starts_.push_back(text_.size());
        return text_;
    }

    std::size_t size() const { return starts_.size(); }
    std::string_view operator[](std::size_t index) const
    {
        const std::size_t end = index + 1 < starts_.size() ? starts_[index + 1] : text_.size();
        return {text_.data() + starts_[index], end - starts_[index]};
    }

private:
    Buffer text_;
    std::vector<std::size_t> starts_;
};

} // namespace qel::host
