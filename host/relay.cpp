#include "host/relay.h"

#include "host/family_words.h"

#include <fmt/format.h>

#include <algorithm>

namespace qel::host {
namespace {

// The multicast component is told the UPDATE's next hop: of a global and a link-local address the global one.
Octets next_hop_of(const MpAttribute &mp)
{
    static constexpr std::size_t kIpv6 = 16;
    return mp.next_hop.size() == 2 * kIpv6 ? mp.next_hop.first(kIpv6) : mp.next_hop;
}

} // namespace

void Relay::place(const Origin &origin, const MpAttribute &mp, std::size_t offset)
{
    origin_ = &origin;
    mp_ = &mp;
    offset_ = offset;
}

void Relay::announce(const Family &family, StoredRoute route)
{
    pass(family, route, Change::announce);
}

void Relay::withdraw(const Family &family, const StoredRoute &route)
{
    pass(family, route, Change::withdraw);
}

ComponentRing &Relay::ring(const FamilyInfo &info)
{
    const auto found =
        std::find_if(rings_.begin(), rings_.end(), [&](const Entry &entry) { return entry.info == &info; });
    if (found != rings_.end()) {
        return *found->ring;
    }
    return *rings_.emplace_back(Entry{&info, std::make_unique<ComponentRing>(info, mem_handle_, *this)}).ring;
}

void Relay::pass(const Family &family, const StoredRoute &stored, Change change)
{
    const QEL_ROUTE_INFO_S route = stored.info();
    listing_->begin_route(family.info(), *origin_, change, offset_,
                          family_words(family.info().kind).route(route).value());
    ring(family.info()).pass(route, change, {next_hop_of(*mp_)});
    listing_->end_route();
}

void Relay::delivered(const Delivery &delivery)
{
    words_.clear();
    if (delivery.code == QEL_OK) {
        family_words(delivery.family->info().kind).message(words_, delivery);
    } else {
        ++failures_;
        Buffer line;
        append_place(line, *origin_);
        fmt::format_to(fmt::appender(line), ", octet {}: {} {} from {} to {} failed, 0x{:x}, {}", offset_,
                       carrier_name(delivery.carrier), delivery.type, delivery.from, delivery.to, delivery.code,
                       code_meaning(delivery.code));
        diagnostic_({line.data(), line.size()});
    }
    listing_->message(delivery, words_);
}

} // namespace qel::host
