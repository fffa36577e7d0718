// One JSON object per line. Lines are written by hand, member by member: a run may hold millions of routes. The summary
// comes once and takes the comfortable way.
#include "host/render.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <string>

namespace qel::host {
namespace {

using Json = nlohmann::ordered_json;

// Writes the commas of one object or array.
class Separator {
public:
    void reset() { first_ = true; }
    void next(Buffer &out)
    {
        if (!first_) {
            out.push_back(',');
        }
        first_ = false;
    }

private:
    bool first_ = true;
};

// The elements of an array that is written behind others: gathered until then.
class Later {
public:
    Buffer &element()
    {
        separator_.next(text_);
        return text_;
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
        text_.clear();
        separator_.reset();
    }

private:
    Buffer text_;
    Separator separator_;
};

void append_member(Buffer &out, std::string_view name, std::uint64_t value)
{
    append(out, ",\"");
    append(out, name);
    append(out, "\":");
    append_number(out, value);
}

// For values that hold nothing to escape.
void append_plain_member(Buffer &out, std::string_view name, std::string_view value)
{
    append(out, ",\"");
    append(out, name);
    append(out, "\":\"");
    append(out, value);
    out.push_back('"');
}

void append_address_member(Buffer &out, std::string_view name, const MvpnAddress &address)
{
    if (address.kind == MvpnAddress::Kind::absent) {
        return;
    }
    append(out, ",\"");
    append(out, name);
    append(out, "\":\"");
    append_address(out, address);
    out.push_back('"');
}

void append_origin(Buffer &out, const Origin &origin)
{
    append(out, ",\"file\":");
    append_json_string(out, origin.file);
    append_plain_member(out, "unit", unit_name(origin.unit));
    append_member(out, "number", origin.number);
    append_member(out, "offset", origin.offset);
    append(out, ",\"time\":");
    if (origin.time_ns) {
        out.push_back('"');
        append_time(out, *origin.time_ns);
        out.push_back('"');
    } else {
        append(out, "null");
    }
    if (!origin.from.empty()) {
        append(out, ",\"from\":");
        append_json_string(out, origin.from);
    }
    if (!origin.to.empty()) {
        append(out, ",\"to\":");
        append_json_string(out, origin.to);
    }
}

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

class JsonRenderer final : public Renderer {
public:
    explicit JsonRenderer(Output &out) : output_(out) {}

    void begin_update(const Origin &origin) override
    {
        append(out(), R"({"kind":"update")");
        append_origin(out(), origin);
        append(out(), R"(,"nlri":[)");
        nlri_.reset();
    }

    void begin_nlri(const FamilyInfo &family, const MpAttribute &mp) override
    {
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
        if (decoded_) {
            append(out(), ",\"routes\":[");
            routes_.reset();
        } else {
            append_member(out(), "not_decoded_octets", mp.nlri.size());
        }
    }

    void route(std::size_t offset, const NgMvpnRoute &route) override
    {
        routes_.next(out());
        append(out(), "{\"offset\":");
        append_number(out(), offset);
        append_member(out(), "type", route.type);
        append_plain_member(out(), "name", ng_mvpn_type_name(route.type));
        append(out(), ",\"rd\":\"");
        append_rd(out(), route.rd);
        out().push_back('"');
        append_member(out(), "rd_type", route.rd.usRdType);
        if (route.source_as) {
            append_member(out(), "source_as", *route.source_as);
        }
        append_address_member(out(), "source", route.source);
        append_address_member(out(), "group", route.group);
        append_address_member(out(), "originator", route.originator);
        append_address_member(out(), "leaf", route.leaf);
        if (route.answers != 0) {
            append_member(out(), "answers", route.answers);
        }
        if (route.explicit_wildcard) {
            append(out(), ",\"explicit_wildcard\":true");
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
        case WalkStep::Kind::unread:
        case WalkStep::Kind::block:
            return append_trouble(unread_.element(), trouble, false);
        }
    }

    void end_nlri() override
    {
        if (decoded_) {
            out().push_back(']');
        }
        refused_.give(out(), "refused");
        lost_.give(out(), "lost");
        unread_.give(out(), "unread");
        out().push_back('}');
    }

    void attribute_trouble(const Trouble &trouble) override
    {
        append_trouble(attributes_refused_.element(), trouble, true);
    }

    void end_update() override
    {
        out().push_back(']');
        attributes_refused_.give(out(), "refused");
        append(out(), "}\n");
        output_.flush_when_full();
    }

    void problem(const Origin &origin, std::string_view text) override
    {
        append(out(), R"({"kind":"problem")");
        append_origin(out(), origin);
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

    Output &output_;
    Separator nlri_;
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
    for (std::uint8_t type = 1; type <= kNgMvpnTypes; ++type) {
        routes.push_back({{"type", type},
                          {"name", ng_mvpn_type_name(type)},
                          {"announced", summary.routes[type].announced},
                          {"withdrawn", summary.routes[type].withdrawn}});
    }
    Json refused = Json::object();
    for (const auto &[code, count] : summary.refused) {
        refused[fmt::format("0x{:x}", code)] = count;
    }
    const Json line{
        {"kind", "summary"},
        {"messages",
         {{"open", summary.messages[1]},
          {"update", summary.messages[2]},
          {"notification", summary.messages[3]},
          {"keepalive", summary.messages[4]},
          {"route_refresh", summary.messages[5]},
          {"other", summary.messages[0]}}},
        {"bare_attributes", summary.bare_attributes},
        {"updates", {{"shown", summary.updates_shown}, {"not_shown", summary.updates_without_family}}},
        {"end_of_rib", summary.end_of_rib},
        {"attributes_offered", summary.attributes_offered},
        {"not_decoded", summary.not_decoded},
        {"routes", routes},
        {"refused", refused},
        {"lost", summary.lost},
        {"unread", summary.unread},
        {"problems", summary.problems},
        {"assertions", summary.assertions},
        {"blocks_leaked", summary.blocks_leaked},
    };
    append(out(), line.dump());
    out().push_back('\n');
}

} // namespace

std::unique_ptr<Renderer> make_json_renderer(Output &out)
{
    return std::make_unique<JsonRenderer>(out);
}

} // namespace qel::host
