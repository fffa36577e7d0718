#include "host/import_table.h"

#include <algorithm>

namespace qel::host {
namespace {

std::int32_t compare(const Family &family, std::span<const std::uint8_t> a, std::span<const std::uint8_t> b)
{
    return family.desc().pfCmpData(a.data(), static_cast<std::uint32_t>(a.size()), b.data(),
                                   static_cast<std::uint32_t>(b.size()), QEL_SECTION_CROSS);
}

} // namespace

std::int32_t cross_order(const Family &family, std::span<const std::uint8_t> a, std::span<const std::uint8_t> b)
{
    if (std::equal(a.begin(), a.end(), b.begin(), b.end())) {
        return 0;
    }
    const std::int32_t answer = compare(family, a, b);
    if ((answer == 1 || answer == -1) && compare(family, b, a) == -answer) {
        return answer;
    }
    const bool below = a.size() != b.size() ? a.size() < b.size()
                                            : std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
    return below ? -1 : 1;
}

bool cross_matches(const Family &family, std::span<const std::uint8_t> stored, std::span<const std::uint8_t> searched)
{
    return compare(family, stored, searched) == 0 || compare(family, searched, stored) == 0;
}

} // namespace qel::host
