// The routes that a decoder reads, in one table for each family.
#pragma once

#include "host/decode.h"
#include "host/route_table.h"

#include <deque>

namespace qel::host {

// A route that is announced again replaces the one before, a withdrawn one goes.
class Rib final : public RouteSink {
public:
    bool takes(FamilyKind) const override { return true; }
    void announce(const Family &family, StoredRoute route) override;
    void withdraw(const Family &family, const StoredRoute &route) override;

    // In the order in which the families came up.
    const std::deque<RouteTable> &tables() const { return tables_; }
    void clear() { tables_.clear(); }

private:
    RouteTable &table(const Family &family);

    std::deque<RouteTable> tables_;
};

} // namespace qel::host
