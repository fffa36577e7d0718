// The routes that a decoder reads, sent around a ring of components; every message is shown.
#pragma once

#include "host/component_ring.h"
#include "host/decode.h"
#include "host/relay_listing.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>

namespace qel::host {

class Relay final : public RouteSink, public DeliverySink {
public:
    // `diagnostic` gets every failed message as one line without its newline. The components allocate on the handle.
    Relay(std::unique_ptr<RelayListing> listing, std::uint32_t mem_handle,
          std::function<void(std::string_view)> diagnostic)
        : listing_(std::move(listing)), mem_handle_(mem_handle), diagnostic_(std::move(diagnostic))
    {
    }

    // VPNv4 multicast has no messages between components, only to their backups.
    bool takes(FamilyKind kind) const override { return kind != FamilyKind::vpnv4_mcast; }
    void place(const Origin &origin, const MpAttribute &mp, std::size_t offset) override;
    void announce(const Family &family, StoredRoute route) override;
    void withdraw(const Family &family, const StoredRoute &route) override;
    void delivered(const Delivery &delivery) override;

    // How many messages failed.
    std::uint64_t failures() const { return failures_; }
    // Ends the components.
    void clear() { rings_.clear(); }

private:
    struct Entry {
        const FamilyInfo *info;
        std::unique_ptr<ComponentRing> ring;
    };

    ComponentRing &ring(const FamilyInfo &info);
    void pass(const Family &family, const StoredRoute &stored, Change change);

    std::unique_ptr<RelayListing> listing_;
    std::uint32_t mem_handle_;
    std::function<void(std::string_view)> diagnostic_;
    std::deque<Entry> rings_;
    std::uint64_t failures_ = 0;
    Parts words_;

    // The route at work.
    const Origin *origin_ = nullptr;
    const MpAttribute *mp_ = nullptr;
    std::size_t offset_ = 0;
};

} // namespace qel::host
