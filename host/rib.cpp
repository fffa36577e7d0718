#include "host/rib.h"

#include <algorithm>
#include <utility>

namespace qel::host {

RouteTable &Rib::table(const Family &family)
{
    const auto found = std::find_if(tables_.begin(), tables_.end(),
                                    [&](const RouteTable &table) { return &table.family() == &family; });
    return found != tables_.end() ? *found : tables_.emplace_back(family);
}

void Rib::announce(const Family &family, StoredRoute route)
{
    table(family).insert_or_replace(std::move(route));
}

void Rib::withdraw(const Family &family, const StoredRoute &route)
{
    table(family).erase(route.key(), route.rd());
}

} // namespace qel::host
