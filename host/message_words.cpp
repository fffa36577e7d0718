#include "host/message_words.h"

namespace qel::host {

MessageContent content_of(Carrier carrier, std::uint32_t type)
{
    struct Row {
        std::uint32_t type;
        Carrier carrier;
        MessageContent content;
    };
    static constexpr Row rows[] = {
        {53, Carrier::message, MessageContent::route},
        {55, Carrier::message, MessageContent::route},
        {59, Carrier::message, MessageContent::route},
        {61, Carrier::message, MessageContent::route},
        {5, Carrier::message, MessageContent::route},
        {15, Carrier::message, MessageContent::route},
        {6, Carrier::message, MessageContent::path},
        {16, Carrier::message, MessageContent::path},
        {56, Carrier::message, MessageContent::target},
        {57, Carrier::message, MessageContent::target},
        {18, Carrier::message, MessageContent::target},
        {19, Carrier::message, MessageContent::target},
        {20, Carrier::message, MessageContent::target},
        {21, Carrier::message, MessageContent::target},
        {70, Carrier::message, MessageContent::target},
        {137, Carrier::message, MessageContent::route},
        {138, Carrier::message, MessageContent::path},
        {157, Carrier::message, MessageContent::target},
        {158, Carrier::message, MessageContent::target},
        {1, Carrier::ha, MessageContent::route},
        {3, Carrier::ha, MessageContent::route},
        {5, Carrier::ha, MessageContent::route},
        {8, Carrier::ha, MessageContent::route},
        {6, Carrier::ha, MessageContent::target},
        {7, Carrier::ha, MessageContent::target},
        {10, Carrier::ha, MessageContent::target},
        {11, Carrier::ha, MessageContent::target},
        {11, Carrier::attribute, MessageContent::attribute},
        {21, Carrier::attribute, MessageContent::attribute},
        {25, Carrier::attribute, MessageContent::attribute},
        {34, Carrier::attribute, MessageContent::non_key},
        {43, Carrier::attribute, MessageContent::attribute},
        {50, Carrier::attribute, MessageContent::attribute},
        {51, Carrier::attribute, MessageContent::attribute},
        {59, Carrier::attribute, MessageContent::attribute},
    };
    for (const Row &row : rows) {
        if (row.carrier == carrier && row.type == type) {
            return row.content;
        }
    }
    return MessageContent::unknown;
}

Buffer &begin_tlv(Parts &parts, std::uint16_t type, std::size_t length)
{
    Buffer &out = parts.begin();
    append(out, "TLV ");
    append_number(out, type);
    append(out, ", ");
    append_number(out, length);
    append(out, length == 1 ? " octet: " : " octets: ");
    return out;
}

void append_rest(Parts &parts, Octets rest)
{
    if (!rest.empty()) {
        Buffer &out = parts.begin();
        append(out, "no TLV: ");
        append_hex(out, rest);
    }
}

} // namespace qel::host
