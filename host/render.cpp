#include "host/render.h"

#include "qel_byteorder.h"

#include <algorithm>
#include <utility>

namespace qel::host {

namespace {

class SummaryRenderer final : public Renderer {
public:
    explicit SummaryRenderer(std::unique_ptr<Renderer> renderer) : renderer_(std::move(renderer)) {}

    void begin_update(const Origin &) override {}
    void attributes(UpdateAttributes &) override {}
    void attribute_trouble(const Trouble &) override {}
    void begin_nlri(const FamilyInfo &, const MpAttribute &) override {}
    void route(std::size_t, Octets, const RouteValues &) override {}
    void trouble(const Trouble &) override {}
    void end_nlri(bool) override {}
    void end_update(bool) override {}
    void problem(const Origin &, std::string_view) override {}
    void summary(const Summary &summary) override { renderer_->summary(summary); }

private:
    std::unique_ptr<Renderer> renderer_;
};

// An IPv4 address behind an RD of zero (RFC 4364, section 4.3.2).
bool has_empty_rd(const MpAttribute &mp)
{
    static constexpr std::uint8_t kVpnv4Mcast = 129;
    static constexpr std::array<std::uint8_t, sizeof(QEL_RD_VALUE_S)> zero{};
    return mp.safi == kVpnv4Mcast && mp.next_hop.size() == zero.size() + sizeof(std::uint32_t) &&
           std::equal(zero.begin(), zero.end(), mp.next_hop.begin());
}

} // namespace

std::unique_ptr<Renderer> make_summary_renderer(std::unique_ptr<Renderer> renderer)
{
    return std::make_unique<SummaryRenderer>(std::move(renderer));
}

std::string_view unit_name(Origin::Unit unit)
{
    return unit == Origin::Unit::packet ? "packet" : "line";
}

void append_place(Buffer &out, const Origin &origin)
{
    append_visible(out, origin.file);
    if (origin.number != 0) {
        append(out, ": ");
        append(out, unit_name(origin.unit));
        out.push_back(' ');
        append_number(out, origin.number);
    }
}

std::size_t next_hop_count(const MpAttribute &mp)
{
    switch (mp.next_hop.size()) {
    case 0:
        return 0;
    case 32:
        return 2;
    default:
        return 1;
    }
}

void append_next_hop(Buffer &out, const MpAttribute &mp, std::size_t index)
{
    switch (mp.next_hop.size()) {
    case 4:
        append_ipv4(out, QEL_LoadBe32(mp.next_hop.data()));
        return;
    case 16:
    case 32:
        append_ipv6(out, mp.next_hop.data() + 16 * index);
        return;
    default:
        if (has_empty_rd(mp)) {
            append_ipv4(out, QEL_LoadBe32(mp.next_hop.data() + sizeof(QEL_RD_VALUE_S)));
            return;
        }
        append(out, "0x");
        append_hex(out, mp.next_hop);
        return;
    }
}

void append_community_type(Buffer &out, std::uint16_t type)
{
    append(out, "0x");
    append_hex(out, std::array{static_cast<std::uint8_t>(type >> 8), static_cast<std::uint8_t>(type)});
}

void append_prefix(Buffer &out, const Vpnv4McastRoute &route)
{
    append_ipv4(out, route.prefix);
    out.push_back('/');
    append_number(out, route.mask_len);
}

void append_address(Buffer &out, const MvpnAddress &address)
{
    switch (address.kind) {
    case MvpnAddress::Kind::absent:
        return;
    case MvpnAddress::Kind::wildcard:
        out.push_back('*');
        return;
    case MvpnAddress::Kind::ipv4:
        append_ipv4(out, address.value.uiIpv4);
        return;
    case MvpnAddress::Kind::ipv6:
        append_ipv6(out, address.value.aucIpv6);
        return;
    }
}

} // namespace qel::host
