// The listing for people: a head line per UPDATE, below it one line per MP attribute, below that one line per route.
#include "host/listing.h"
#include "host/render.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>

namespace qel::host {
namespace {

constexpr std::size_t kAttributeWidth = 16;
// More octets than that tell a reader nothing; JSON has them all.
constexpr std::size_t kOctetsShown = 80;

std::string_view labels_told(Labels labels)
{
    static constexpr std::array<std::string_view, 5> told{"", "  with labels", "  without labels",
                                                          "  with labels (the octets fit without them as well)",
                                                          "  with labels (the octets do not fit, with or without)"};
    return told[static_cast<std::size_t>(labels)];
}

class TextRenderer final : public Renderer {
public:
    TextRenderer(Output &out, bool colour, bool raw) : output_(out), colours_(palette(colour)), raw_(raw) {}

    void begin_update(const Origin &origin) override
    {
        update_start_ = out().size();
        head(origin);
    }
    void attributes(UpdateAttributes &attributes) override;
    void attribute_trouble(const Trouble &trouble) override
    {
        show_trouble(trouble, attribute_name(trouble.attribute));
    }
    void begin_nlri(const FamilyInfo &family, const MpAttribute &mp) override;
    void route(std::size_t offset, Octets octets, const RouteValues &route) override;
    void trouble(const Trouble &trouble) override { show_trouble(trouble, {}); }
    void end_nlri(bool keep) override
    {
        if (!keep) {
            out().resize(nlri_start_);
        }
    }
    void end_update(bool keep) override
    {
        if (!keep) {
            out().resize(update_start_);
            return;
        }
        out().push_back('\n');
        output_.flush_when_full();
    }
    void problem(const Origin &origin, std::string_view text) override;
    void summary(const Summary &summary) override;

private:
    Buffer &out() { return output_.buffer(); }

    void painted(std::string_view colour, std::string_view text) { append_painted(out(), colours_, colour, text); }

    // A line of the attributes above the routes.
    template <class Write> void attribute(std::string_view label, Write write)
    {
        append(out(), "  ");
        const std::size_t start = out().size();
        append(out(), colours_.label);
        append(out(), label);
        append(out(), colours_.off);
        pad_to(out(), start, kAttributeWidth + colours_.label.size() + colours_.off.size());
        append(out(), "  ");
        write();
        out().push_back('\n');
    }

    void head(const Origin &origin) { append_head(out(), colours_, origin); }
    void communities(AttributeView &attributes);
    void ipv6_communities(AttributeView &attributes);
    void tunnel(AttributeView &attributes);
    void not_carried(const NotCarriedTunnel &tunnel);
    void segment_ids(AttributeView &attributes);
    void show_trouble(const Trouble &trouble, std::string_view attribute);
    void counts(std::string_view label, std::uint64_t value, std::string_view remark = {});

    Output &output_;
    Palette colours_;
    bool raw_;
    std::size_t update_start_ = 0;
    std::size_t nlri_start_ = 0;
};

void TextRenderer::communities(AttributeView &attributes)
{
    if (community_count(attributes.info()) != 0) {
        attribute("communities", [&] { append_communities(out(), attributes); });
    }
}

void TextRenderer::ipv6_communities(AttributeView &attributes)
{
    if (ipv6_community_count(attributes.info()) != 0) {
        attribute("IPv6 communities", [&] { append_ipv6_communities(out(), attributes); });
    }
}

void TextRenderer::tunnel(AttributeView &attributes)
{
    if (attributes.info().pucPmsi != nullptr) {
        attribute("tunnel", [&] { append_tunnel(out(), attributes); });
    }
}

void TextRenderer::not_carried(const NotCarriedTunnel &tunnel)
{
    attribute("tunnel", [&] {
        if (tunnel.type() == QEL_NGMVPN_TNL_NONE) {
            append(out(), tunnel_type_name(tunnel.type()));
        } else {
            fmt::format_to(fmt::appender(out()), FMT_COMPILE("type {} ({}) not carried by this family"), tunnel.type(),
                           tunnel_type_name(tunnel.type()));
        }
        append(out(), ", octets ");
        append_hex(out(), tunnel.octets);
    });
}

void TextRenderer::segment_ids(AttributeView &attributes)
{
    if (attributes.info().pucPfxSid != nullptr) {
        attribute("Prefix-SID", [&] { append_prefix_sid(out(), attributes); });
    }
    if (attributes.info().pucMsid != nullptr) {
        attribute("MSID", [&] { append_msid(out(), attributes); });
    }
}

void TextRenderer::attributes(UpdateAttributes &attributes)
{
    std::optional<AttributeView> view = attributes.view();
    if (view) {
        communities(*view);
        ipv6_communities(*view);
        tunnel(*view);
    }
    for (const NotCarriedTunnel &each : attributes.not_carried()) {
        not_carried(each);
    }
    if (view) {
        segment_ids(*view);
    }
    for (const PathAttribute &each : attributes.wire()) {
        attribute(fmt::format(FMT_COMPILE("raw attribute {}"), each.type), [&] { append_hex(out(), each.value); });
    }
}

void TextRenderer::begin_nlri(const FamilyInfo &family, const MpAttribute &mp)
{
    nlri_start_ = out().size();
    append(out(), "  ");
    if (is_announcement(mp)) {
        painted(colours_.announced, "announced");
    } else {
        painted(colours_.withdrawn, "withdrawn");
    }
    append(out(), "  ");
    append(out(), family.title);
    fmt::format_to(fmt::appender(out()), FMT_COMPILE(" (AFI {}, SAFI {})"), mp.afi, mp.safi);
    const std::size_t next_hops = next_hop_count(mp);
    for (std::size_t i = 0; i < next_hops; ++i) {
        if (i == 0) {
            append(out(), "  ");
            painted(colours_.label, next_hops == 1 ? "next hop" : "next hops");
            out().push_back(' ');
        } else {
            append(out(), ", ");
        }
        append_next_hop(out(), mp, i);
    }
    if (is_end_of_rib(mp)) {
        append(out(), "  End-of-RIB");
    } else if (mp.nlri.empty()) {
        append(out(), "  no routes");
    } else if (!family.decodable()) {
        fmt::format_to(fmt::appender(out()), FMT_COMPILE("  {} octets, not decoded yet"), mp.nlri.size());
    } else {
        append(out(), labels_told(mp.labels));
    }
    out().push_back('\n');
}

void TextRenderer::route(std::size_t, Octets octets, const RouteValues &route)
{
    append(out(), "    ");
    append_route(out(), colours_, route);
    if (raw_) {
        append(out(), "\n      octets ");
        append_hex(out(), octets);
    }
    out().push_back('\n');
}

void TextRenderer::show_trouble(const Trouble &trouble, std::string_view attribute)
{
    append(out(), attribute.empty() ? "    " : "  ");
    append(out(), colours_.trouble);
    switch (trouble.kind) {
    case WalkStep::Kind::refused:
        append(out(), "refused ");
        append_code(out(), trouble.code);
        break;
    case WalkStep::Kind::lost:
        append(out(), "lost");
        break;
    default:
        append(out(), "not read");
        break;
    }
    append(out(), colours_.off);
    if (!attribute.empty()) {
        fmt::format_to(fmt::appender(out()), FMT_COMPILE("  {} (attribute {})"), attribute, trouble.attribute);
    }
    if (trouble.kind == WalkStep::Kind::refused) {
        append(out(), "  ");
        append(out(), code_meaning(trouble.code));
    } else if (trouble.kind == WalkStep::Kind::lost) {
        append(out(), "  no memory for the route");
    }
    const std::size_t count = trouble.octets.size();
    fmt::format_to(fmt::appender(out()), FMT_COMPILE("\n      octet {}, {} octet{}: "), trouble.offset, count,
                   count == 1 ? "" : "s");
    append_hex(out(), trouble.octets.first(std::min(count, kOctetsShown)));
    append(out(), count > kOctetsShown ? " ...\n" : "\n");
}

void TextRenderer::problem(const Origin &origin, std::string_view text)
{
    head(origin);
    append(out(), "  ");
    painted(colours_.trouble, "problem");
    append(out(), "  ");
    append_visible(out(), text);
    append(out(), "\n\n");
    output_.flush_when_full();
}

void TextRenderer::counts(std::string_view label, std::uint64_t value, std::string_view remark)
{
    fmt::format_to(fmt::appender(out()), "  {:<20}{:>12}", label, value);
    if (!remark.empty()) {
        append(out(), "   ");
        append(out(), remark);
    }
    out().push_back('\n');
}

void TextRenderer::summary(const Summary &summary)
{
    painted(colours_.head, "Summary");
    out().push_back('\n');
    static constexpr std::array<std::pair<std::size_t, std::string_view>, 6> types{
        {{1, "OPEN"}, {2, "UPDATE"}, {3, "NOTIFICATION"}, {4, "KEEPALIVE"}, {5, "ROUTE-REFRESH"}, {0, "other"}}};
    std::uint64_t messages = 0;
    std::string by_type;
    for (const auto &[type, name] : types) {
        messages += summary.messages[type];
        if (summary.messages[type] != 0) {
            by_type += fmt::format("{}{} {}", by_type.empty() ? "" : ", ", name, summary.messages[type]);
        }
    }
    counts("messages", messages, by_type);
    if (summary.bare_attributes != 0) {
        counts("bare attributes", summary.bare_attributes);
    }
    counts("UPDATEs shown", summary.updates_shown,
           fmt::format("{}{} of other families, {} End-of-RIB",
                       summary.routes_matched ? fmt::format("{} without a match, ", summary.updates_without_match) : "",
                       summary.updates_without_family, summary.end_of_rib));
    counts("attributes offered", summary.attributes_offered, "beside MP_REACH_NLRI and MP_UNREACH_NLRI");
    if (summary.tunnels_not_carried != 0) {
        counts("tunnels not carried", summary.tunnels_not_carried, "of another type, or no tunnel information");
    }
    if (summary.not_decoded != 0) {
        counts("not decoded yet", summary.not_decoded, "MP attributes of families that are only named");
    }
    if (summary.routes_matched) {
        counts("routes matched", *summary.routes_matched, "by the filter");
    }
    fmt::format_to(fmt::appender(out()), "\n  {:<20}{:>12}{:>12}\n", "routes", "announced", "withdrawn");
    Summary::RouteCount all;
    for (std::size_t form = 1; form < summary.routes.size(); ++form) {
        const Summary::RouteCount &count = summary.routes[form];
        all.announced += count.announced;
        all.withdrawn += count.withdrawn;
        if (count.announced + count.withdrawn != 0) {
            const std::string type = form <= kNgMvpnTypes ? fmt::format("{} ", form) : "";
            fmt::format_to(fmt::appender(out()), "  {:<20} {:>11}{:>12}\n",
                           fmt::format("{}{}", type, route_form_name(form)), count.announced, count.withdrawn);
        }
    }
    fmt::format_to(fmt::appender(out()), "  {:<20}{:>12}{:>12}\n\n", "all", all.announced, all.withdrawn);
    std::uint64_t refused = 0;
    for (const auto &entry : summary.refused) {
        refused += entry.second;
    }
    counts("refused", refused);
    for (const auto &[code, count] : summary.refused) {
        fmt::format_to(fmt::appender(out()), "    {:<18}{:>12}   {}\n", fmt::format("0x{:x}", code), count,
                       code_meaning(code));
    }
    if (summary.lost != 0) {
        counts("routes lost", summary.lost, "out of memory");
    }
    counts("stretches not read", summary.unread);
    counts("problems", summary.problems);
    counts("assertions", summary.assertions, "reported by the library");
    fmt::format_to(fmt::appender(out()), "  blocks leaked: {}\n", summary.blocks_leaked);
}

} // namespace

std::unique_ptr<Renderer> make_text_renderer(Output &out, bool colour, bool raw)
{
    return std::make_unique<TextRenderer>(out, colour, raw);
}

} // namespace qel::host
