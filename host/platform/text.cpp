// Text of numbers and addresses, and byte compares.
#include "platform/kvo.h"
#include "qel_byteorder.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

namespace {

using Halves = std::array<std::uint16_t, 8>;

// Appends to a buffer that holds the longest address text.
class AddressText {
public:
    void add(char c) { text_[length_++] = c; }

    void add(std::uint32_t number, int base)
    {
        char *const end = text_.data() + text_.size();
        length_ = static_cast<std::size_t>(std::to_chars(text_.data() + length_, end, number, base).ptr - text_.data());
    }

    void add_ipv4(std::uint32_t address)
    {
        for (const unsigned shift : {24U, 16U, 8U, 0U}) {
            add((address >> shift) & 0xFFU, 10);
            if (shift != 0) {
                add('.');
            }
        }
    }

    std::string_view view() const { return {text_.data(), length_}; }

private:
    std::array<char, 48> text_{};
    std::size_t length_ = 0;
};

struct Run {
    std::size_t first = 0;
    std::size_t length = 0;
};

// The run of zero groups that "::" stands for: the longest, the first of equals, never a single group.
Run longest_zero_run(const Halves &groups)
{
    Run best;
    Run here;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (groups[i] != 0) {
            here.length = 0;
            continue;
        }
        if (here.length++ == 0) {
            here.first = i;
        }
        if (here.length > best.length) {
            best = here;
        }
    }
    return best.length > 1 ? best : Run{};
}

// RFC 5952. The dotted form of section 5 is for IPv4-mapped addresses, ::ffff:0:0/96, alone: that prefix by itself says
// that an IPv4 address follows, which the deprecated ::/96 doesn't.
void add_ipv6(AddressText &text, const Halves &groups)
{
    constexpr Halves mapped{0, 0, 0, 0, 0, 0xFFFF, 0, 0};
    const bool dotted = std::equal(groups.begin(), groups.begin() + 6, mapped.begin());
    const Run run = longest_zero_run(groups);
    const std::size_t in_hex = dotted ? 6 : groups.size();
    for (std::size_t i = 0; i < in_hex; ++i) {
        if (run.length != 0 && i == run.first) {
            text.add(':');
            text.add(':');
            i += run.length - 1;
            continue;
        }
        if (i != 0 && i != run.first + run.length) {
            text.add(':');
        }
        text.add(groups[i], 16);
    }
    if (dotted) {
        text.add(':');
        text.add_ipv4(static_cast<std::uint32_t>(groups[6]) << 16 | groups[7]);
    }
}

// As much of the text as the room holds beside the terminator.
char *put(std::string_view text, char *out, std::size_t room)
{
    if (out != nullptr && room != 0) {
        const std::size_t length = std::min(text.size(), room - 1);
        std::memcpy(out, text.data(), length);
        out[length] = '\0';
    }
    return out;
}

} // namespace

uint32_t KVO_StrLen(const char *pszText)
{
    return pszText != nullptr ? static_cast<std::uint32_t>(std::strlen(pszText)) : 0;
}

int32_t KVO_MemCmp(const void *pvA, const void *pvB, uint32_t uiLen)
{
    return uiLen != 0 ? std::memcmp(pvA, pvB, uiLen) : 0;
}

char *KVO_IpAddrToStr(uint32_t uiAddr, char *pcOut)
{
    AddressText text;
    text.add_ipv4(uiAddr);
    return put(text.view(), pcOut, 16);
}

char *KVO_Uint32ToStr(uint32_t uiValue, char *pcOut, uint32_t uiBase)
{
    AddressText text;
    if (uiBase == 10 || uiBase == 16) {
        text.add(uiValue, static_cast<int>(uiBase));
    }
    return put(text.view(), pcOut, 11);
}

char *KVO_Inet_ntoa_b_ipv6_ex(KVO_IPV6_ADDR_S stAddr, char *pcOut, uint32_t uiOutLen)
{
    Halves groups{};
    for (std::size_t i = 0; i < groups.size(); ++i) {
        groups[i] = QEL_Load16(&stAddr.aucAddr[2 * i]);
    }
    AddressText text;
    add_ipv6(text, groups);
    return put(text.view(), pcOut, uiOutLen);
}
