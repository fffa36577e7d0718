#include "host/relay_listing.h"

#include "host/json.h"
#include "host/listing.h"
#include "host/render.h"

#include <string>
#include <tuple>

namespace qel::host {
namespace {

// Widths of the columns of a message.
constexpr std::size_t kWayWidth = 21;
constexpr std::size_t kTypeWidth = 15;
constexpr std::size_t kLengthWidth = 13;

// A head line per UPDATE, below it its routes, below each route its messages.
class TextRelayListing final : public RelayListing {
public:
    TextRelayListing(Output &out, bool colour) : output_(out), colours_(palette(colour)) {}

    void begin_route(const FamilyInfo &family, const Origin &origin, Change change, std::size_t offset,
                     const RouteValues &route) override
    {
        if (origin.file != file_ || origin.number != number_ || origin.offset != offset_) {
            std::tie(file_, number_, offset_) = std::tuple(std::string(origin.file), origin.number, origin.offset);
            append_head(out(), colours_, origin);
        }
        append(out(), "  ");
        const bool withdrawn = change == Change::withdraw;
        append_painted(out(), colours_, withdrawn ? colours_.withdrawn : colours_.announced,
                       withdrawn ? "withdrawn" : "announced");
        append(out(), "  ");
        append(out(), family.title);
        append(out(), ", octet ");
        append_number(out(), offset);
        append(out(), "\n    ");
        append_route(out(), colours_, route);
        out().push_back('\n');
    }

    void message(const Delivery &delivery, const Parts &words) override
    {
        append(out(), "      ");
        column(kWayWidth, [&] {
            append(out(), delivery.from);
            append(out(), " -> ");
            append(out(), delivery.to);
        });
        column(kTypeWidth, [&] {
            append(out(), carrier_name(delivery.carrier));
            out().push_back(' ');
            append_number(out(), delivery.type);
        });
        column(kLengthWidth, [&] {
            append_number(out(), delivery.octets.size());
            append(out(), delivery.octets.size() == 1 ? " octet" : " octets");
        });
        append_hex(out(), delivery.octets);
        out().push_back('\n');
        if (delivery.code != 0) {
            append(out(), "        ");
            append(out(), colours_.trouble);
            append(out(), "failed ");
            append_code(out(), delivery.code);
            append(out(), colours_.off);
            out().push_back('\n');
        }
        for (std::size_t i = 0; i < words.size(); ++i) {
            append(out(), "        ");
            append(out(), words[i]);
            out().push_back('\n');
        }
    }

    void end_route() override
    {
        out().push_back('\n');
        output_.flush_when_full();
    }

private:
    Buffer &out() { return output_.buffer(); }

    template <class Write> void column(std::size_t width, Write write)
    {
        const std::size_t start = out().size();
        write();
        pad_to(out(), start, width);
    }

    Output &output_;
    const Palette &colours_;
    // The UPDATE that stands in the last head line.
    std::string file_;
    std::uint64_t number_ = 0;
    std::uint64_t offset_ = 0;
};

class JsonRelayListing final : public RelayListing {
public:
    explicit JsonRelayListing(Output &out) : output_(out) {}

    void begin_route(const FamilyInfo &family, const Origin &origin, Change change, std::size_t offset,
                     const RouteValues &route) override
    {
        append(out(), R"({"kind":"route")");
        append_origin_members(out(), origin);
        append_plain_member(out(), "action", change == Change::withdraw ? "withdraw" : "announce");
        append_plain_member(out(), "family", family.name);
        append_member(out(), "afi", family.afi);
        append_member(out(), "safi", family.safi);
        append_member(out(), "route_offset", offset);
        append_route_members(out(), route);
        append(out(), ",\"messages\":[");
        separator_.reset();
    }

    void message(const Delivery &delivery, const Parts &words) override
    {
        separator_.next(out());
        append(out(), R"({"from":")");
        append(out(), delivery.from);
        out().push_back('"');
        append_plain_member(out(), "to", delivery.to);
        append_plain_member(out(), "carrier", carrier_name(delivery.carrier));
        append_member(out(), "type", delivery.type);
        append_member(out(), "length", delivery.octets.size());
        append_hex_member(out(), "octets", delivery.octets);
        append(out(), ",\"text\":[");
        Separator texts;
        for (std::size_t i = 0; i < words.size(); ++i) {
            texts.next(out());
            append_json_string(out(), words[i]);
        }
        out().push_back(']');
        if (delivery.code != 0) {
            append(out(), ",\"code\":\"");
            append_code(out(), delivery.code);
            out().push_back('"');
        }
        out().push_back('}');
    }

    void end_route() override
    {
        append(out(), "]}\n");
        output_.flush_when_full();
    }

private:
    Buffer &out() { return output_.buffer(); }

    Output &output_;
    Separator separator_;
};

} // namespace

std::string_view carrier_name(Carrier carrier)
{
    switch (carrier) {
    case Carrier::message:
        return "message";
    case Carrier::ha:
        return "HA";
    default:
        return "attribute";
    }
}

std::unique_ptr<RelayListing> make_text_relay_listing(Output &out, bool colour)
{
    return std::make_unique<TextRelayListing>(out, colour);
}

std::unique_ptr<RelayListing> make_json_relay_listing(Output &out)
{
    return std::make_unique<JsonRelayListing>(out);
}

} // namespace qel::host
