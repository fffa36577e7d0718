// One JSON object per line. Lines are written by hand, member by member: a run may hold millions of routes. The summary
// comes once and takes the comfortable way.
#include "host/json.h"
#include "host/render.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <utility>

namespace qel::host {
namespace {

using Json = nlohmann::ordered_json;

// The elements of an array that is written behind others: gathered until then.
class Later {
public:
    Buffer &element()
    {
        separator_.next(text_);
        return text_;
    }

    void clear()
    {
        text_.clear();
        separator_.reset();
    }

    // Writes ,"name":[...] if there is anything in it, and forgets it.
    void give(Buffer &out, std::string_view name)
    {
        if (text_.size() != 0) {
            append(out, ",\"");
            append(out, name);
            append(out, "\":[");
            append(out, {text_.data(), text_.size()});
            out.push_back(']');
        }
        clear();
    }

private:
    Buffer text_;
    Separator separator_;
};

// {"offset":N,"octets":"hex"} with what else the trouble tells in front.
void append_trouble(Buffer &out, const Trouble &trouble, bool with_attribute)
{
    out.push_back('{');
    if (with_attribute) {
        append(out, "\"attribute\":");
        append_number(out, trouble.attribute);
        out.push_back(',');
    }
    if (trouble.kind == WalkStep::Kind::refused) {
        append(out, "\"code\":\"");
        append_code(out, trouble.code);
        append(out, "\",\"meaning\":\"");
        append(out, code_meaning(trouble.code));
        append(out, "\",");
    }
    append(out, "\"offset\":");
    append_number(out, trouble.offset);
    append(out, ",\"octets\":\"");
    append_hex(out, trouble.octets);
    append(out, "\"}");
}

void append_pmsi(Buffer &out, const QEL_NGMVPN_PMSI_TNL_S &tunnel, std::string_view text)
{
    append(out, "{\"flags\":");
    append_number(out, tunnel.ucFlags);
    append_member(out, "type", tunnel.ucTnlType);
    append_plain_member(out, "name", tunnel_type_name(tunnel.ucTnlType));
    append_member(out, "label", tunnel.uiLabel);
    switch (tunnel.ucTnlType) {
    case QEL_NGMVPN_TNL_RSVP_TE_P2MP:
        append_member(out, "p2mp_id", tunnel.uTnl.stRsvpTe.uiP2mpId);
        append_member(out, "tunnel_id", tunnel.uTnl.stRsvpTe.usTunnelId);
        append_ipv4_member(out, "ext_tunnel_id", tunnel.uTnl.stRsvpTe.uiExtTunnelId);
        break;
    case QEL_NGMVPN_TNL_MLDP_P2MP: {
        const auto &mldp = tunnel.uTnl.stMldp;
        const std::size_t length = std::min<std::size_t>(mldp.usOpaqueLen, sizeof(mldp.aucOpaque));
        append_ipv4_member(out, "root", mldp.uiRootAddr);
        append_member(out, "fec_type", mldp.ucFecType);
        append_hex_member(out, "opaque", {mldp.aucOpaque, length});
        break;
    }
    case QEL_NGMVPN_TNL_BIER:
        append_member(out, "sub_domain", tunnel.uTnl.stBier.ucSubDomainId);
        append_member(out, "bfr_id", tunnel.uTnl.stBier.usBfrId);
        if (tunnel.uTnl.stBier.ucBfrPrefixLen == sizeof(std::uint32_t)) {
            append_ipv4_member(out, "bfr_prefix", tunnel.uTnl.stBier.stBfrPrefix.uiIpv4);
        } else {
            append_ipv6_member(out, "bfr_prefix", tunnel.uTnl.stBier.stBfrPrefix.aucIpv6);
        }
        break;
    default:
        break;
    }
    append_text_member(out, "text", text);
    out.push_back('}');
}

void append_not_carried(Buffer &out, const NotCarriedTunnel &tunnel)
{
    append(out, "{\"attribute\":");
    append_number(out, QEL_ATTR_TYPE_PMSI);
    append_member(out, "tunnel_type", tunnel.type());
    append_plain_member(out, "name", tunnel_type_name(tunnel.type()));
    append_member(out, "flags", tunnel.flags());
    append_member(out, "label", tunnel.label());
    append_member(out, "offset", tunnel.offset);
    append_hex_member(out, "octets", tunnel.octets);
    out.push_back('}');
}

void append_wire(Buffer &out, const PathAttribute &attribute)
{
    append(out, "{\"attribute\":");
    append_number(out, attribute.type);
    append_member(out, "flags", attribute.flags);
    append_member(out, "offset", attribute.value_offset);
    append_hex_member(out, "octets", attribute.value);
    out.push_back('}');
}

// The members of one object, each written by `write`.
class Members {
public:
    explicit Members(Buffer &out) : out_(out) {}

    template <class Write> void member(std::string_view name, Write write)
    {
        separator_.next(out_);
        out_.push_back('"');
        append(out_, name);
        append(out_, "\":");
        write();
    }

    // Nothing for an array without elements.
    template <class Write> void array(std::string_view name, std::size_t count, Write write)
    {
        if (count == 0) {
            return;
        }
        member(name, [&] {
            for (std::size_t i = 0; i < count; ++i) {
                out_.push_back(i == 0 ? '[' : ',');
                write(i);
            }
            out_.push_back(']');
        });
    }

private:
    Buffer &out_;
    Separator separator_;
};

void append_displayed(Buffer &out, Members &members, AttributeView &attributes)
{
    const QEL_ROUTE_INFO_S &info = attributes.info();
    members.array("ext_communities", community_count(info),
                  [&](std::size_t i) { append_community_object(out, attributes, i); });
    members.array("ipv6_ext_communities", ipv6_community_count(info),
                  [&](std::size_t i) { append_ipv6_community_object(out, attributes, i); });
    if (const auto tunnel = pmsi_tunnel(info)) {
        members.member("pmsi", [&] { append_pmsi(out, *tunnel, attributes.text(Shown::tunnel)); });
    }
    if (const auto sid = prefix_sid(info)) {
        members.member("prefix_sid", [&] {
            append(out, "{\"sid\":\"");
            append_ipv6(out, sid->sid.data());
            out.push_back('"');
            append_member(out, "behavior", sid->behavior);
            append_text_member(out, "text", attributes.text(Shown::prefix_sid));
            out.push_back('}');
        });
    }
    if (const auto sid = msid(info)) {
        members.member("msid", [&] {
            append(out, "{\"msid\":\"");
            append_ipv6(out, sid->msid.data());
            out.push_back('"');
            if (sid->has_structure) {
                append_member(out, "prefix_len", sid->prefix_len);
                append_member(out, "msid_len", sid->msid_len);
            }
            append_text_member(out, "text", attributes.text(Shown::msid));
            out.push_back('}');
        });
    }
}

void append_attributes(Buffer &out, const UpdateAttributes &attributes)
{
    Members members(out);
    if (std::optional<AttributeView> view = attributes.view()) {
        append_displayed(out, members, *view);
    }
    const auto &not_carried = attributes.not_carried();
    members.array("not_carried", not_carried.size(), [&](std::size_t i) { append_not_carried(out, not_carried[i]); });
    const auto &wire = attributes.wire();
    members.array("octets", wire.size(), [&](std::size_t i) { append_wire(out, wire[i]); });
}

class JsonRenderer final : public Renderer {
public:
    JsonRenderer(Output &out, bool raw) : output_(out), raw_(raw) {}

    void begin_update(const Origin &origin) override
    {
        update_start_ = out().size();
        nlri_.reset();
        nlri_open_ = false;
        append(out(), R"({"kind":"update")");
        append_origin_members(out(), origin);
    }

    void attributes(UpdateAttributes &attributes) override
    {
        if (!attributes.empty()) {
            append(out(), ",\"attributes\":{");
            append_attributes(out(), attributes);
            out().push_back('}');
        }
    }

    void attribute_trouble(const Trouble &trouble) override
    {
        append_trouble(attributes_refused_.element(), trouble, true);
    }

    void begin_nlri(const FamilyInfo &family, const MpAttribute &mp) override
    {
        open_nlri();
        nlri_start_ = out().size();
        nlri_before_ = nlri_;
        nlri_.next(out());
        append(out(), "{\"attribute\":");
        append_number(out(), mp.attribute);
        append_plain_member(out(), "action", is_announcement(mp) ? "announce" : "withdraw");
        append_member(out(), "afi", mp.afi);
        append_member(out(), "safi", mp.safi);
        append_plain_member(out(), "family", family.name);
        if (is_announcement(mp)) {
            append_next_hops(mp);
        }
        if (is_end_of_rib(mp)) {
            append(out(), ",\"end_of_rib\":true");
        }
        decoded_ = family.decodable();
        append_labels(mp.labels);
        if (decoded_) {
            append(out(), ",\"routes\":[");
            routes_.reset();
        } else {
            append_member(out(), "not_decoded_octets", mp.nlri.size());
        }
    }

    void route(std::size_t offset, Octets octets, const RouteValues &route) override
    {
        routes_.next(out());
        append(out(), "{\"offset\":");
        append_number(out(), offset);
        append_route_members(out(), route);
        if (raw_) {
            append_hex_member(out(), "octets", octets);
        }
        out().push_back('}');
    }

    void trouble(const Trouble &trouble) override
    {
        switch (trouble.kind) {
        case WalkStep::Kind::refused:
            return append_trouble(refused_.element(), trouble, false);
        case WalkStep::Kind::lost:
            return append_trouble(lost_.element(), trouble, false);
        default:
            return append_trouble(unread_.element(), trouble, false);
        }
    }

    void end_nlri(bool keep) override
    {
        if (!keep) {
            out().resize(nlri_start_);
            nlri_ = nlri_before_;
            refused_.clear();
            lost_.clear();
            unread_.clear();
            return;
        }
        if (decoded_) {
            out().push_back(']');
        }
        refused_.give(out(), "refused");
        lost_.give(out(), "lost");
        unread_.give(out(), "unread");
        out().push_back('}');
    }

    void end_update(bool keep) override
    {
        if (!keep) {
            out().resize(update_start_);
            attributes_refused_.clear();
            return;
        }
        open_nlri();
        out().push_back(']');
        attributes_refused_.give(out(), "refused");
        append(out(), "}\n");
        output_.flush_when_full();
    }

    void problem(const Origin &origin, std::string_view text) override
    {
        append(out(), R"({"kind":"problem")");
        append_origin_members(out(), origin);
        append(out(), ",\"text\":");
        append_json_string(out(), text);
        append(out(), "}\n");
        output_.flush_when_full();
    }

    void summary(const Summary &summary) override;

private:
    Buffer &out() { return output_.buffer(); }

    void append_next_hops(const MpAttribute &mp)
    {
        append(out(), ",\"next_hop\":[");
        for (std::size_t i = 0; i < next_hop_count(mp); ++i) {
            append(out(), i == 0 ? "\"" : ",\"");
            append_next_hop(out(), mp, i);
            out().push_back('"');
        }
        out().push_back(']');
    }

    void append_labels(Labels labels)
    {
        if (labels == Labels::none_known) {
            return;
        }
        append(out(), labels == Labels::without ? ",\"labels\":false" : ",\"labels\":true");
        if (labels == Labels::with_either || labels == Labels::with_neither) {
            append_plain_member(out(), "labels_fit", labels == Labels::with_either ? "both" : "neither");
        }
    }

    void open_nlri()
    {
        if (!std::exchange(nlri_open_, true)) {
            append(out(), ",\"nlri\":[");
        }
    }

    Output &output_;
    bool raw_;
    std::size_t update_start_ = 0;
    std::size_t nlri_start_ = 0;
    bool nlri_open_ = false;
    Separator nlri_;
    Separator nlri_before_;
    Separator routes_;
    bool decoded_ = true;
    Later refused_;
    Later lost_;
    Later unread_;
    Later attributes_refused_;
};

void JsonRenderer::summary(const Summary &summary)
{
    Json routes = Json::array();
    for (std::size_t form = 1; form < summary.routes.size(); ++form) {
        const Summary::RouteCount &count = summary.routes[form];
        const bool typed = form <= kNgMvpnTypes;
        if (!typed && count.announced + count.withdrawn == 0) {
            continue;
        }
        Json row = typed ? Json{{"type", form}} : Json::object();
        row["name"] = route_form_name(form);
        row["announced"] = count.announced;
        row["withdrawn"] = count.withdrawn;
        routes.push_back(std::move(row));
    }
    Json refused = Json::object();
    for (const auto &[code, count] : summary.refused) {
        refused[fmt::format("0x{:x}", code)] = count;
    }
    Json line{
        {"kind", "summary"},
        {"messages",
         {{"open", summary.messages[1]},
          {"update", summary.messages[2]},
          {"notification", summary.messages[3]},
          {"keepalive", summary.messages[4]},
          {"route_refresh", summary.messages[5]},
          {"other", summary.messages[0]}}},
        {"bare_attributes", summary.bare_attributes},
        {"updates",
         {{"shown", summary.updates_shown},
          {"no_match", summary.updates_without_match},
          {"not_shown", summary.updates_without_family}}},
        {"end_of_rib", summary.end_of_rib},
        {"attributes_offered", summary.attributes_offered},
        {"not_carried", summary.tunnels_not_carried},
        {"not_decoded", summary.not_decoded},
        {"routes", routes},
        {"refused", refused},
        {"lost", summary.lost},
        {"unread", summary.unread},
        {"problems", summary.problems},
        {"assertions", summary.assertions},
        {"blocks_leaked", summary.blocks_leaked},
    };
    if (summary.routes_matched) {
        line["routes_matched"] = *summary.routes_matched;
    }
    append(out(), line.dump());
    out().push_back('\n');
}

} // namespace

std::unique_ptr<Renderer> make_json_renderer(Output &out, bool raw)
{
    return std::make_unique<JsonRenderer>(out, raw);
}

} // namespace qel::host
