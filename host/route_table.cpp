#include "host/route_table.h"

namespace qel::host {
namespace {

std::span<const std::uint8_t> section_of(const QEL_ROUTE_BLOCK_S &block, std::uint32_t section, std::uint16_t offset,
                                         std::uint16_t length)
{
    if ((block.uiValidMask & section) == 0 || offset == 0) {
        return {};
    }
    return {reinterpret_cast<const std::uint8_t *>(&block) + offset, length};
}

} // namespace

QEL_ROUTE_INFO_S StoredRoute::info() const
{
    QEL_ROUTE_INFO_S info{};
    info.uiPolicyId = QEL_POLICY_ID_NONE;
    place_sections(info, *nlri_);
    if (attributes_ != nullptr) {
        for (const BlockPtr &block : attributes_->blocks()) {
            place_sections(info, *block);
        }
    }
    return info;
}

std::span<const std::uint8_t> StoredRoute::key() const
{
    return section_of(*nlri_, QEL_SECTION_KEY, nlri_->usKeyOffset, nlri_->usKeyLen);
}

std::span<const std::uint8_t> StoredRoute::rd() const
{
    return section_of(*nlri_, QEL_SECTION_RD, nlri_->usRdOffset, nlri_->usRdLen);
}

std::int32_t RouteTable::compare(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b,
                                 std::uint32_t section) const
{
    return family_->desc().pfCmpData(a.data(), static_cast<std::uint32_t>(a.size()), b.data(),
                                     static_cast<std::uint32_t>(b.size()), section);
}

bool RouteTable::comparable(std::span<const std::uint8_t> octets, std::uint32_t section) const
{
    return !octets.empty() && compare(octets, octets, section) == 0;
}

RouteTable::Slots::Place RouteTable::locate(std::span<const std::uint8_t> key, std::span<const std::uint8_t> rd) const
{
    if (key.empty() || (rd_counts() && rd.empty())) {
        return {};
    }
    return slots_.locate([&](const Slot &slot) {
        const std::int32_t by_rd = rd_counts() ? compare(slot.route->rd(), rd, QEL_SECTION_RD) : 0;
        return by_rd != 0 ? by_rd : compare(slot.key, key, QEL_SECTION_KEY);
    });
}

RouteTable::Insertion RouteTable::insert_or_replace(StoredRoute route)
{
    const std::span<const std::uint8_t> key = route.key();
    const auto search_only = family_->info().search_only;
    if (!comparable(key, QEL_SECTION_KEY) || (rd_counts() && !comparable(route.rd(), QEL_SECTION_RD)) ||
        (search_only != nullptr && search_only(key))) {
        return {};
    }
    const Slots::Place place = locate(key, route.rd());
    if (place.found) {
        Slot &slot = slots_[place];
        slot.key = key; // its octets are the new block's, which stays where it is
        *slot.route = std::move(route);
        return {Change::replaced, slot.route.get()};
    }
    auto owned = std::make_unique<StoredRoute>(std::move(route));
    StoredRoute *stored = owned.get();
    slots_.insert(place, {std::move(owned), key});
    return {Change::added, stored};
}

StoredRoute *RouteTable::find(std::span<const std::uint8_t> key, std::span<const std::uint8_t> rd)
{
    const Slots::Place place = locate(key, rd);
    return place.found ? slots_[place].route.get() : nullptr;
}

const StoredRoute *RouteTable::find(std::span<const std::uint8_t> key, std::span<const std::uint8_t> rd) const
{
    const Slots::Place place = locate(key, rd);
    return place.found ? slots_[place].route.get() : nullptr;
}

bool RouteTable::erase(std::span<const std::uint8_t> key, std::span<const std::uint8_t> rd)
{
    const Slots::Place place = locate(key, rd);
    if (place.found) {
        slots_.erase(place);
    }
    return place.found;
}

std::size_t RouteTable::heap_octets() const
{
    return slots_.heap_octets() + slots_.size() * sizeof(StoredRoute);
}

} // namespace qel::host
