// The doors of messages as the fuzz targets use them: a message with what stands behind it, one call that may give a
// block, writing in a room.
#pragma once

#include "import_policy_common.h"
#include "message_model.h"

#include "host/platform/platform.h"
#include "host/route.h"

#include <functional>
#include <limits>
#include <optional>
#include <utility>

namespace qel::fuzz {

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

inline std::optional<platform::FailAllocation> failing(std::size_t number)
{
    return number == kNever ? std::optional<platform::FailAllocation>()
                            : std::optional<platform::FailAllocation>(std::in_place, number);
}

// A message with the octets that a host keeps readable behind it, the last of them the last of its heap block.
class Message {
public:
    // What stands behind it: one octet over and over, or the message again, and again.
    Message(Octets octets, std::uint8_t behind, bool odd)
        : size_(octets.size()), whole_(with_slack(octets, behind), odd)
    {
    }
    const std::uint8_t *data() const { return whole_.data(); }
    std::uint32_t size() const { return static_cast<std::uint32_t>(size_); }
    MessageOctets octets() const { return {whole_.octets(), size_}; }

private:
    static Bytes with_slack(Octets octets, std::uint8_t behind)
    {
        Bytes all(octets.begin(), octets.end());
        for (std::size_t i = 0; i < QEL_MSG_READ_SLACK; ++i) {
            all.push_back(behind == 0xff && !octets.empty() ? octets[i % octets.size()] : behind);
        }
        return all;
    }

    std::size_t size_;
    Section whole_;
};

using Reader = std::function<std::uint32_t(QEL_ROUTE_BLOCK_S **)>;

struct Read {
    std::uint32_t code = 0;
    bool stored = false; // the result pointer was written
    host::BlockPtr block;
};

inline Read read(const Reader &reader)
{
    QEL_ROUTE_BLOCK_S untouched{};
    QEL_ROUTE_BLOCK_S *block = &untouched;
    Read out;
    out.code = reader(&block);
    out.stored = block != &untouched;
    out.block.reset(out.stored ? block : nullptr);
    return out;
}

inline Octets section_of(const QEL_ROUTE_BLOCK_S &block, std::uint16_t offset, std::uint16_t length)
{
    return {reinterpret_cast<const std::uint8_t *>(&block) + offset, length};
}

// The header of a block with such sections, and the block's size.
inline std::pair<QEL_ROUTE_BLOCK_S, std::size_t>
header_of(bool route, bool non_key, const std::optional<AttributePart> &attribute, std::uint16_t need_proc = 0)
{
    QEL_ROUTE_BLOCK_S header{};
    header.usNeedProc = need_proc;
    std::size_t at = sizeof(header);
    const auto add = [&](std::uint32_t bit, std::uint16_t &offset, std::uint16_t &length, std::size_t size) {
        header.uiValidMask |= bit;
        offset = static_cast<std::uint16_t>(at);
        length = static_cast<std::uint16_t>(size);
        at += size;
    };
    if (route) {
        add(QEL_SECTION_RD, header.usRdOffset, header.usRdLen, 8);
        add(QEL_SECTION_KEY, header.usKeyOffset, header.usKeyLen, 104);
    }
    if (non_key) {
        add(QEL_SECTION_NONKEY, header.usNonKeyOffset, header.usNonKeyLen, kNonKeySize);
    }
    if (attribute) {
        header.ucAttrFlag = attribute->flag;
        header.ucAttrType = attribute->type;
        add(QEL_SECTION_ATTR, header.usAttrOffset, header.usAttrLen, attribute->section.size());
    }
    return {header, at};
}

using Writer = std::function<std::uint32_t(std::uint8_t **cursor, std::uint32_t room)>;

} // namespace qel::fuzz
