// What the NG-MVPN family makes of the octets of a route, said a second time and without a record, for the library to
// be held against: the code, the place of the cursor, the more-word.
#pragma once

#include "check.h"

#include "qel_codes.h"

#include <algorithm>

namespace qel::fuzz {

enum class Component { none, ipv4, ipv6 };

struct Verdict {
    std::uint32_t code = QEL_OK;
    std::size_t advance = 0;
    bool more_written = false;
    std::size_t unread = 0; // octets at the route's end that nobody looks at
};

class RouteModel {
public:
    // `left`: the attribute from the route on. `family` is the instance's.
    RouteModel(Component component, std::uint16_t family, Octets left)
        : component_(component), family_(family), left_(left)
    {
    }

    Verdict judge()
    {
        if (left_.size() < 2 || length() > left_.size() - 2 || length() < 10 || length() > 76) {
            return {QEL_ERR_NLRI_MALFORMED, 0, false};
        }
        at_ = 2;
        switch (left_[0]) {
        case 1:
            return length() != 12 && length() != 24 ? malformed() : fixed_form();
        case 2:
            return length() != 12 ? malformed() : fixed_form();
        case 3:
            return s_pmsi();
        case 4:
            return leaf();
        case 5:
            return length() > 42 ? malformed() : join(8);
        case 6:
        case 7:
            return length() < 14 || length() > 46 ? malformed() : join(12);
        default:
            return skipped(0);
        }
    }

private:
    std::size_t length() const { return left_[1]; }
    bool has(std::size_t octets) const { return left_.size() - at_ >= octets; }

    static Verdict malformed() { return {QEL_ERR_NLRI_MALFORMED, 2, false}; }
    static Verdict refused() { return {QEL_ERR_NLRI_REFUSED, 2, false}; }
    Verdict skipped(std::size_t further) const { return {QEL_ERR_NLRI_REFUSED, 2 + length() + further, true}; }
    Verdict taken(std::size_t unread = 0) const { return {QEL_OK, 2 + length(), true, unread}; }

    bool known_rd() const { return left_[at_] == 0 && left_[at_ + 1] <= 2; }

    Verdict fixed_form() const { return known_rd() ? taken() : skipped(0); }

    static std::uint8_t hint(std::size_t s_pmsi_length)
    {
        switch (s_pmsi_length) {
        case 22:
        case 34:
            return 1;
        case 46:
        case 58:
            return 2;
        default:
            return 0;
        }
    }

    // One address with its length octet. A wildcard has as many zero octets as the hint says.
    std::uint32_t address(std::uint8_t wildcard_hint)
    {
        if (!has(1)) {
            return QEL_ERR_NLRI_MALFORMED;
        }
        const std::uint8_t bits = left_[at_];
        const int family = bits == 32 ? 1 : bits == 128 ? 2 : bits == 0 ? wildcard_hint : -1;
        const std::size_t octets = family == 1 ? 4 : family == 2 ? 16 : 0;
        if (family < 0 || !has(1 + octets)) {
            return QEL_ERR_NLRI_MALFORMED;
        }
        const Octets value = left_.subspan(at_ + 1, octets);
        const bool zero = std::all_of(value.begin(), value.end(), [](std::uint8_t octet) { return octet == 0; });
        at_ += 1 + octets;
        other_family_ = other_family_ || (family_ == 1 && family == 2) || (family_ == 2 && family == 1);
        if (bits == 0) {
            return zero ? QEL_OK : QEL_ERR_NLRI_MALFORMED;
        }
        return zero ? QEL_ERR_NLRI_REFUSED : QEL_OK;
    }

    // Source and group from the cursor, `behind` octets of which `counted` belong to a body of `sum` octets from
    // `body` on.
    Verdict flow(std::uint8_t wildcard_hint, std::size_t behind, std::size_t counted, std::size_t body, std::size_t sum)
    {
        for (int number = 0; number < 2; ++number) {
            const std::uint32_t code = address(wildcard_hint);
            if (code != QEL_OK) {
                return code == QEL_ERR_NLRI_MALFORMED ? malformed() : refused();
            }
        }
        if (!has(behind) || at_ - body + counted != sum) {
            return malformed();
        }
        return other_family_ ? refused() : taken();
    }

    Verdict s_pmsi()
    {
        if (length() < 14 || length() > 58) {
            return malformed();
        }
        if (!known_rd()) {
            return skipped(0);
        }
        const bool long_originator = length() == 26 || length() == 30 || length() == 34 || length() == 58;
        const std::size_t originator = long_originator ? 16 : 4;
        at_ += 8;
        return flow(hint(length()), originator, originator, 2, length());
    }

    Verdict join(std::size_t fixed)
    {
        if (!known_rd()) {
            return skipped(0);
        }
        at_ += fixed;
        return flow(0, 0, 0, 2, length());
    }

    Verdict leaf()
    {
        const std::uint8_t answered = left_[2];
        const std::size_t embedded = left_[3];
        at_ = 4;
        if (answered == 1) {
            const bool fits = (length() == 18 && embedded == 12) || (length() == 42 && embedded == 24);
            return !fits ? malformed() : known_rd() ? taken() : skipped(2);
        }
        return answered == 3 ? leaf_of_s_pmsi(embedded) : refused();
    }

    // Octets of originator and leaf address, each; 0 where the instance can not tell.
    std::size_t leaf_address(std::size_t embedded) const
    {
        const bool short_v4 = embedded == 14 || embedded == 18 || embedded == 22;
        const bool long_v4 = embedded == 26 || embedded == 30 || embedded == 34;
        const bool short_v6 = embedded == 14 || embedded == 30 || embedded == 46;
        const bool long_v6 = embedded == 26 || embedded == 42 || embedded == 58;
        switch (component_) {
        case Component::ipv4:
            return short_v4 ? 4 : long_v4 ? 16 : 0;
        case Component::ipv6:
            return short_v6 ? 4 : long_v6 ? 16 : 0;
        case Component::none:
            break;
        }
        return 0;
    }

    // kept: where the size of the addresses is not known the length has to be that of 16 octets each, yet four each
    // are read.
    Verdict leaf_of_s_pmsi(std::size_t embedded)
    {
        const std::size_t known = leaf_address(embedded);
        const std::size_t read = known == 16 ? 16 : 4;
        if (length() < 20 || embedded < 14 || embedded > 58 || length() != embedded + (known == 4 ? 6U : 18U)) {
            return malformed();
        }
        if (!known_rd()) {
            return skipped(2);
        }
        at_ += 8;
        Verdict verdict = flow(hint(embedded), 2 * read, read, 4, embedded);
        verdict.unread = verdict.code == QEL_OK ? length() - (2 + embedded + read) : 0;
        return verdict;
    }

    Component component_;
    std::uint16_t family_;
    Octets left_;
    std::size_t at_ = 0;
    bool other_family_ = false;
};

} // namespace qel::fuzz
