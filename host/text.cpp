#include "host/text.h"

#include "platform/kvo.h"
#include "qel_byteorder.h"
#include "qel_codes.h"

#include <fmt/compile.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <iterator>
#include <string>

namespace qel::host {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

// Printable ASCII that stands for itself in a JSON string.
bool plain_in_json(char c)
{
    return c >= ' ' && c <= '~' && c != '"' && c != '\\';
}

} // namespace

void append_number(Buffer &out, std::uint64_t value)
{
    const fmt::format_int text(value);
    out.append(text.data(), text.data() + text.size());
}

void append_code(Buffer &out, std::uint32_t code)
{
    fmt::format_to(fmt::appender(out), FMT_COMPILE("0x{:x}"), code);
}

void append_ipv4(Buffer &out, std::uint32_t address)
{
    std::array<char, 16> text;
    append(out, KVO_IpAddrToStr(address, text.data()));
}

void append_ipv6(Buffer &out, const std::uint8_t *address)
{
    KVO_IPV6_ADDR_S halves;
    std::memcpy(halves.aucAddr, address, sizeof(halves.aucAddr));
    for (std::size_t half = 0; half < sizeof(halves.aucAddr); half += 2) {
        QEL_SwapAt16(halves.aucAddr + half);
    }
    std::array<char, 47> text;
    append(out, KVO_Inet_ntoa_b_ipv6_ex(halves, text.data(), text.size()));
}

void append_rd(Buffer &out, const QEL_RD_VALUE_S &rd)
{
    switch (rd.usRdType) {
    case 0:
        append_number(out, rd.usAsn);
        out.push_back(':');
        append_number(out, rd.uiAssigned);
        return;
    case 1:
        append_ipv4(out, rd.uiAdmin);
        break;
    case 2:
        append_number(out, rd.uiAdmin);
        break;
    default:
        append_number(out, rd.usRdType);
        append(out, ":0x");
        append_hex(out, rd.aucValue);
        return;
    }
    out.push_back(':');
    append_number(out, rd.usAssigned);
}

void append_hex(Buffer &out, std::span<const std::uint8_t> octets)
{
    const std::size_t start = out.size();
    out.resize(start + 2 * octets.size());
    char *to = out.data() + start;
    for (const std::uint8_t octet : octets) {
        *to++ = kHexDigits[octet >> 4];
        *to++ = kHexDigits[octet & 15];
    }
}

void append_time(Buffer &out, std::int64_t time_ns)
{
    using namespace std::chrono;
    const nanoseconds since_epoch{time_ns};
    const auto day = floor<days>(since_epoch);
    const year_month_day date{sys_days{day}};
    const hh_mm_ss<nanoseconds> clock{since_epoch - day};
    fmt::format_to(fmt::appender(out), FMT_COMPILE("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}."),
                   static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                   static_cast<unsigned>(date.day()), clock.hours().count(), clock.minutes().count(),
                   clock.seconds().count());
    const auto fraction = clock.subseconds().count();
    if (fraction % 1000 == 0) {
        fmt::format_to(fmt::appender(out), FMT_COMPILE("{:06}Z"), fraction / 1000);
    } else {
        fmt::format_to(fmt::appender(out), FMT_COMPILE("{:09}Z"), fraction);
    }
}

void pad_to(Buffer &out, std::size_t start, std::size_t width)
{
    while (out.size() < start + width) {
        out.push_back(' ');
    }
}

void append_visible(Buffer &out, std::string_view text)
{
    for (const char c : text) {
        const auto octet = static_cast<unsigned char>(c);
        if (octet < 0x20 || octet == 0x7f) {
            fmt::format_to(fmt::appender(out), FMT_COMPILE("\\x{:02x}"), octet);
        } else {
            out.push_back(c);
        }
    }
}

void append_json_string(Buffer &out, std::string_view text)
{
    if (!std::all_of(text.begin(), text.end(), plain_in_json)) {
        append(out, nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
        return;
    }
    out.push_back('"');
    append(out, text);
    out.push_back('"');
}

std::string_view code_meaning(std::uint32_t code)
{
    switch (code) {
    case QEL_ERR_NLRI_MALFORMED:
        return "malformed: wrong length of the route or of an address in it";
    case QEL_ERR_NLRI_REFUSED:
        return "route not accepted: unknown route type or RD type, zero address, or address of the other family";
    case QEL_ERR_EXTCOMM_EMPTY:
        return "no extended community in the attribute";
    case QEL_ERR_EXTCOMM_LEN:
        return "not a whole number of communities";
    case QEL_ERR_PMSI_NO_TUNNEL:
        return "no PMSI tunnel information";
    case QEL_ERR_PMSI_FLAGS:
        return "unknown PMSI tunnel flags";
    case QEL_ERR_PMSI_IDENT:
        return "PMSI tunnel identifier not valid";
    case QEL_ERR_PMSI_LEN:
        return "PMSI tunnel attribute or identifier of the wrong length";
    case QEL_ERR_PFXSID_LEN:
        return "Prefix-SID attribute of the wrong length";
    case QEL_ERR_PFXSID_TLV:
        return "Prefix-SID TLV of the wrong length";
    case QEL_ERR_NO_ENTRY:
        return "Prefix-SID of a kind that is not carried: no SRv6 L3 service with a SID";
    case QEL_ERR_MSID:
        return "malformed MSID attribute";
    case QEL_ERR_EXTCOMM_TLV:
        return "malformed extended communities";
    case QEL_ERR_VALUE:
        return "value not valid";
    case QEL_ERR_FAILED:
        return "failed";
    case QEL_ERR_SPACE:
    case QEL_ERR_ABSENT:
        return "not enough room, or a part of the route is missing";
    case QEL_ERR_MEMORY:
    case QEL_ERR_ALLOC:
        return "out of memory";
    case QEL_ERR_ARGUMENT:
    case QEL_ERR_NULL:
        return "bad argument";
    default:
        return "not accepted";
    }
}

std::string_view attribute_name(std::uint8_t type)
{
    switch (type) {
    case 14:
        return "MP_REACH_NLRI";
    case 15:
        return "MP_UNREACH_NLRI";
    case QEL_ATTR_TYPE_EXTCOMM:
        return "extended communities";
    case QEL_ATTR_TYPE_PMSI:
        return "PMSI tunnel";
    case QEL_ATTR_TYPE_IPV6_EXTCOMM:
        return "IPv6 extended communities";
    case QEL_ATTR_TYPE_PFXSID:
        return "Prefix-SID";
    case QEL_ATTR_TYPE_MSID:
        return "MSID";
    default:
        return "path attribute";
    }
}

} // namespace qel::host
