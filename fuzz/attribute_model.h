// What the NG-MVPN family makes of a path attribute's value, said a second time and without the library's records, for
// the library to be held against: the code, the cursor, the octets that the route holds and those that it writes.
#pragma once

#include "check.h"

#include "qel_codes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace qel::fuzz {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kExtComm = 16;
constexpr std::uint8_t kPmsi = 22;
constexpr std::uint8_t kIpv6ExtComm = 25;
constexpr std::uint8_t kPrefixSid = 40;
constexpr std::uint8_t kMsid = 66;

struct AttributeVerdict {
    std::uint32_t code = QEL_OK;
    std::size_t advance = 0;
    bool more_written = false;
    Bytes section{};   // held by the route
    Bytes written{};   // by the formatter
    bool again = true; // whether what is written is taken again
};

class AttributeModel {
public:
    AttributeModel(std::uint8_t type, Octets value) : type_(type), value_(value) {}

    AttributeVerdict judge() const
    {
        if (value_.empty()) {
            return {};
        }
        switch (type_) {
        case kExtComm:
            return value_.size() % 8 != 0 ? refused(QEL_ERR_EXTCOMM_LEN) : list(8, host_community, community_order);
        case kIpv6ExtComm:
            return value_.size() % 20 != 0 ? refused(QEL_ERR_EXTCOMM_LEN)
                                           : list(20, host_ipv6_community, ipv6_community_order);
        case kPmsi:
            return tunnel();
        case kPrefixSid:
            return prefix_sid();
        default:
            return msid();
        }
    }

private:
    static AttributeVerdict refused(std::uint32_t code) { return {.code = code}; }
    static AttributeVerdict taken(Bytes section, Octets written)
    {
        return {.code = QEL_OK,
                .advance = written.size(),
                .more_written = true,
                .section = std::move(section),
                .written = Bytes(written.begin(), written.end())};
    }

    std::uint32_t number(std::size_t at, std::size_t octets) const
    {
        std::uint32_t value = 0;
        for (const std::uint8_t octet : value_.subspan(at, octets)) {
            value = value << 8 | octet;
        }
        return value;
    }

    // Appends octets the other way round: a number of the wire as a little-endian host holds it.
    static void put_reversed(Bytes &to, Octets from) { to.insert(to.end(), from.rbegin(), from.rend()); }
    void put_host(Bytes &to, std::size_t at, std::size_t octets) const { put_reversed(to, value_.subspan(at, octets)); }
    void put_wire(Bytes &to, std::size_t at, std::size_t octets) const
    {
        const Octets from = value_.subspan(at, octets);
        to.insert(to.end(), from.begin(), from.end());
    }

    // ---- lists of communities ----

    static std::uint32_t type_word(Octets element) { return static_cast<std::uint32_t>(element[0] << 8 | element[1]); }

    // A number of a community as the host holds it.
    static std::uint64_t host_number(const Bytes &element, std::size_t at, std::size_t octets)
    {
        std::uint64_t value = 0;
        for (std::size_t i = octets; i > 0; --i) {
            value = value << 8 | element[at + i - 1];
        }
        return value;
    }

    static Bytes host_community(Octets wire)
    {
        const bool two_octet_as = type_word(wire) == 0x0002 || type_word(wire) == 0x0009;
        const std::size_t first = two_octet_as ? 2 : 4;
        Bytes host;
        put_reversed(host, wire.first(2));
        put_reversed(host, wire.subspan(2, first));
        put_reversed(host, wire.subspan(2 + first));
        return host;
    }

    static std::vector<std::uint64_t> community_order(const Bytes &host)
    {
        const std::size_t first = host[1] == 1 || host[1] == 2 ? 4 : 2;
        return {host[0], host[1], host_number(host, 2, first), host_number(host, 2 + first, 6 - first)};
    }

    static Bytes host_ipv6_community(Octets wire)
    {
        const std::uint32_t type = type_word(wire);
        const bool target =
            type == 0x000b || type == 0x0002 || type == 0x0102 || type == 0x010a || type == 0x010b || type == 0xffff;
        Bytes host;
        put_reversed(host, wire.first(2));
        if (!target) {
            host.insert(host.end(), wire.begin() + 2, wire.end());
            return host;
        }
        for (const std::size_t word : {2U, 6U, 10U, 14U}) {
            put_reversed(host, wire.subspan(word, 4));
        }
        put_reversed(host, wire.subspan(18));
        return host;
    }

    static std::vector<std::uint64_t> ipv6_community_order(const Bytes &host)
    {
        std::vector<std::uint64_t> order{host[0], host[1]};
        if (host[1] > 1 || (host[0] != 2 && host[0] != 11)) {
            order.insert(order.end(), host.begin() + 2, host.end());
            return order;
        }
        for (const std::size_t word : {2U, 6U, 10U, 14U}) {
            order.push_back(host_number(host, word, 4));
        }
        order.push_back(host_number(host, 18, 2));
        return order;
    }

    // In order, each element once.
    AttributeVerdict list(std::size_t size, Bytes (*to_host)(Octets),
                          std::vector<std::uint64_t> (*order)(const Bytes &)) const
    {
        struct Element {
            std::vector<std::uint64_t> order;
            Bytes host;
            Octets wire;
        };
        std::vector<Element> elements;
        for (std::size_t at = 0; at < value_.size(); at += size) {
            const Octets wire = value_.subspan(at, size);
            Bytes host = to_host(wire);
            std::vector<std::uint64_t> place = order(host);
            elements.push_back({std::move(place), std::move(host), wire});
        }
        std::sort(elements.begin(), elements.end(),
                  [](const Element &a, const Element &b) { return a.order < b.order; });
        AttributeVerdict verdict{.code = QEL_OK, .advance = value_.size(), .more_written = true};
        Octets last;
        for (const Element &element : elements) {
            if (!equal(element.wire, last)) {
                verdict.section.insert(verdict.section.end(), element.host.begin(), element.host.end());
                verdict.written.insert(verdict.written.end(), element.wire.begin(), element.wire.end());
            }
            last = element.wire;
        }
        return verdict;
    }

    // ---- tunnels ----

    // Well formed and not carried: passed over.
    AttributeVerdict passed_over(std::size_t lowest, std::size_t highest) const
    {
        const std::size_t identifier = value_.size() - 5;
        if (identifier < lowest || identifier > highest) {
            return refused(QEL_ERR_PMSI_LEN);
        }
        return {.code = QEL_ERR_PMSI_IDENT, .advance = value_.size(), .more_written = true};
    }

    AttributeVerdict tunnel() const
    {
        if (value_.size() < 5) {
            return refused(QEL_ERR_PMSI_LEN);
        }
        if ((value_[0] & 0xde) != 0) {
            return refused(QEL_ERR_PMSI_FLAGS);
        }
        switch (value_[1]) {
        case 0:
            return refused(value_.size() == 5 ? QEL_ERR_PMSI_NO_TUNNEL : QEL_ERR_PMSI_LEN);
        case 1:
            return rsvp_te();
        case 2:
            return mldp();
        case 3:
        case 4:
        case 5:
            return passed_over(8, 8);
        case 6:
            return passed_over(4, 4);
        case 7:
            return passed_over(10, 250);
        case 11:
            return bier();
        default:
            return passed_over(0, SIZE_MAX);
        }
    }

    Bytes tunnel_head() const
    {
        Bytes head{value_[0], value_[1], 0, 0};
        put_host(head, 2, 3);
        head.push_back(0);
        return head;
    }

    AttributeVerdict rsvp_te() const
    {
        if (value_.size() != 17) {
            return refused(QEL_ERR_PMSI_LEN);
        }
        if (number(9, 2) != 0) {
            return refused(QEL_ERR_PMSI_IDENT);
        }
        Bytes section = tunnel_head();
        put_host(section, 5, 4);
        put_host(section, 9, 2);
        put_host(section, 11, 2);
        put_host(section, 13, 4);
        return taken(std::move(section), value_);
    }

    // Of an IPv6 root four octets are read, and the next two as the length of the opaque value.
    AttributeVerdict mldp() const
    {
        const std::size_t identifier = value_.size() - 5;
        if (identifier < 10 || identifier > 250) {
            return refused(QEL_ERR_PMSI_LEN);
        }
        const std::uint32_t family = number(6, 2);
        if (family != 1 && family != 2) {
            return refused(QEL_ERR_PMSI_IDENT);
        }
        const std::size_t root = value_[8];
        const std::size_t opaque = number(13, 2);
        if (root != (family == 1 ? 4 : 16) || opaque + 6 + root != identifier) {
            return refused(QEL_ERR_PMSI_LEN);
        }
        Bytes section = tunnel_head();
        section.push_back(value_[5]);
        section.push_back(value_[8]);
        put_host(section, 6, 2);
        put_host(section, 9, 4);
        put_host(section, 13, 2);
        section.insert(section.end(), 2, 0);
        put_wire(section, 15, opaque);
        AttributeVerdict verdict = taken(std::move(section), value_.first(15 + opaque));
        verdict.again = family == 1;
        return verdict;
    }

    AttributeVerdict bier() const
    {
        if (value_.size() != 12 && value_.size() != 24) {
            return refused(QEL_ERR_PMSI_LEN);
        }
        const bool ipv4 = value_.size() == 12;
        Bytes section = tunnel_head();
        section.push_back(value_[5]);
        section.push_back(ipv4 ? 4 : 16);
        put_host(section, 6, 2);
        if (ipv4) {
            put_host(section, 8, 4);
        } else {
            put_wire(section, 8, 16);
        }
        return taken(std::move(section), value_);
    }

    // ---- SIDs ----

    void put_sid(Bytes &to, std::size_t at) const
    {
        for (std::size_t word = 0; word < 4; ++word) {
            put_host(to, at + 4 * word, 4);
        }
    }

    AttributeVerdict prefix_sid() const
    {
        if (value_.size() != 28) {
            return refused(QEL_ERR_PFXSID_LEN);
        }
        for (const auto &[at, type, length] : {std::array{0U, 5U, 25U}, std::array{4U, 1U, 21U}}) {
            if (value_[at] != type) {
                return refused(QEL_ERR_NO_ENTRY);
            }
            if (number(at + 1, 2) != length) {
                return refused(QEL_ERR_PFXSID_TLV);
            }
        }
        Bytes section;
        put_host(section, 25, 2);
        section.insert(section.end(), 2, 0);
        put_sid(section, 8);
        put_wire(section, 0, value_.size());
        return taken(std::move(section), value_);
    }

    AttributeVerdict msid() const
    {
        if ((value_.size() != 20 && value_.size() != 28) || value_[0] != 1 || number(1, 2) != value_.size() - 3) {
            return refused(QEL_ERR_MSID);
        }
        Bytes section{0, 0, 0, 0};
        for (std::size_t at = 20; at < value_.size();) {
            if (value_.size() - at < 3 || number(at + 1, 2) > value_.size() - at - 3) {
                return refused(QEL_ERR_MSID);
            }
            if (value_[at] == 1) {
                if (number(at + 1, 2) != 5) {
                    return refused(QEL_ERR_MSID);
                }
                section = {value_[at + 4], value_[at + 5], 1, 0};
            }
            at += 3 + number(at + 1, 2);
        }
        put_sid(section, 4);
        put_wire(section, 0, value_.size());
        return taken(std::move(section), value_);
    }

    std::uint8_t type_;
    Octets value_;
};

} // namespace qel::fuzz
