// What the walk of an attribute comes upon, as a line of text.
#pragma once

#include "host/update.h"

#include "../support.h"

#include <fmt/format.h>

#include <cstdint>
#include <string>

namespace qel::test {

// "route@0+24 refused:60002@24+14 unread@38+2", the octets checked against what was walked.
inline std::string show_walk(const host::Family &family, std::uint32_t type, const Bytes &octets)
{
    const ExactCopy copy(octets);
    host::AttributeWalk walk(family, type, {copy.data(), copy.size()});
    std::string out;
    for (host::WalkStep step; walk.next(step);) {
        EXPECT_EQ(step.octets.data(), copy.data() + step.offset);
        EXPECT_EQ(step.block != nullptr, step.kind == host::WalkStep::Kind::block);
        switch (step.kind) {
        case host::WalkStep::Kind::block:
            out += "route";
            break;
        case host::WalkStep::Kind::refused:
            out += fmt::format("refused:{:x}", step.code);
            break;
        case host::WalkStep::Kind::lost:
            out += "lost";
            break;
        case host::WalkStep::Kind::unread:
            out += "unread";
            break;
        case host::WalkStep::Kind::not_carried:
            out += fmt::format("not-carried:{:x}", step.code);
            break;
        }
        out += fmt::format("@{}+{} ", step.offset, step.octets.size());
    }
    return out.empty() ? out : out.substr(0, out.size() - 1);
}

} // namespace qel::test
