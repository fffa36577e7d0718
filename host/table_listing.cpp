#include "host/table_listing.h"

#include "host/json.h"
#include "host/listing.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <array>

namespace qel::host {
namespace {

std::string_view list_name(TableListing::List list)
{
    static constexpr std::array<std::string_view, 4> names{"cross", "match", "before", "after"};
    return names[static_cast<std::size_t>(list)];
}

// Below each route one line for each element of a list, the list's name in front of the first.
class TextListing final : public TableListing {
public:
    TextListing(Output &out, bool colour) : output_(out), colours_(palette(colour)) {}

    void table(const FamilyInfo &family, std::size_t routes, std::size_t shown) override
    {
        append_painted(out(), colours_, colours_.head, family.title);
        fmt::format_to(fmt::appender(out()), FMT_COMPILE(" (AFI {}, SAFI {})  {} route{}"), family.afi, family.safi,
                       routes, routes == 1 ? "" : "s");
        if (shown != routes) {
            fmt::format_to(fmt::appender(out()), FMT_COMPILE(", {} shown"), shown);
        }
        out().push_back('\n');
    }

    void begin_route(const FamilyInfo &, const RouteValues &route) override
    {
        append(out(), "  ");
        append_route(out(), colours_, route);
        out().push_back('\n');
    }

    void begin_list(List list) override
    {
        name_ = list_name(list);
        elements_ = 0;
    }

    void cross(std::string_view, Octets, std::string_view words) override { line(words); }

    void match(std::uint16_t tlv_type, Octets, std::string_view words) override
    {
        element([&] {
            append_number(out(), tlv_type);
            append(out(), "  ");
            append(out(), words);
        });
    }

    void community(AttributeView &attributes, std::size_t index) override
    {
        element([&] { append_community(out(), attributes, index); });
    }

    void end_list(std::string_view empty, std::uint32_t code) override
    {
        if (code != 0) {
            element([&] {
                append(out(), colours_.trouble);
                append(out(), "failed ");
                append_code(out(), code);
                append(out(), colours_.off);
            });
        } else if (elements_ == 0) {
            line(empty);
        }
    }

    void end_route() override { output_.flush_when_full(); }

private:
    Buffer &out() { return output_.buffer(); }

    template <class Write> void element(Write write)
    {
        static constexpr std::size_t kNameWidth = 8;
        append(out(), "       ");
        const std::size_t start = out().size();
        if (elements_++ == 0) {
            append_painted(out(), colours_, colours_.label, name_);
            pad_to(out(), start, kNameWidth + colours_.label.size() + colours_.off.size());
        } else {
            pad_to(out(), start, kNameWidth);
        }
        write();
        out().push_back('\n');
    }

    void line(std::string_view text)
    {
        element([&] { append(out(), text); });
    }

    Output &output_;
    const Palette &colours_;
    std::string_view name_;
    std::size_t elements_ = 0;
};

class JsonListing final : public TableListing {
public:
    explicit JsonListing(Output &out) : output_(out) {}

    void table(const FamilyInfo &family, std::size_t routes, std::size_t shown) override
    {
        append(out(), R"({"kind":"table")");
        family_members(family);
        append_member(out(), "routes", routes);
        append_member(out(), "shown", shown);
        append(out(), "}\n");
    }

    void begin_route(const FamilyInfo &family, const RouteValues &route) override
    {
        append(out(), R"({"kind":"route")");
        family_members(family);
        append_route_members(out(), route);
    }

    void begin_list(List list) override
    {
        name_ = list_name(list);
        append(out(), ",\"");
        append(out(), name_);
        append(out(), "\":[");
        separator_.reset();
    }

    void cross(std::string_view form, Octets value, std::string_view words) override
    {
        separator_.next(out());
        append(out(), R"({"form":")");
        append(out(), form);
        out().push_back('"');
        told(value, words);
    }

    void match(std::uint16_t tlv_type, Octets value, std::string_view words) override
    {
        separator_.next(out());
        append(out(), R"({"type":)");
        append_number(out(), tlv_type);
        told(value, words);
    }

    void community(AttributeView &attributes, std::size_t index) override
    {
        separator_.next(out());
        append_community_object(out(), attributes, index);
    }

    void end_list(std::string_view, std::uint32_t code) override
    {
        out().push_back(']');
        if (code != 0) {
            fmt::format_to(fmt::appender(out()), FMT_COMPILE(",\"{}_code\":\"0x{:x}\""), name_, code);
        }
    }

    void end_route() override
    {
        append(out(), "}\n");
        output_.flush_when_full();
    }

private:
    Buffer &out() { return output_.buffer(); }

    void family_members(const FamilyInfo &family)
    {
        append_plain_member(out(), "family", family.name);
        append_member(out(), "afi", family.afi);
        append_member(out(), "safi", family.safi);
    }

    void told(Octets value, std::string_view words)
    {
        append_hex_member(out(), "octets", value);
        append_text_member(out(), "text", words);
        out().push_back('}');
    }

    Output &output_;
    std::string_view name_;
    Separator separator_;
};

} // namespace

std::unique_ptr<TableListing> make_text_listing(Output &out, bool colour)
{
    return std::make_unique<TextListing>(out, colour);
}

std::unique_ptr<TableListing> make_json_listing(Output &out)
{
    return std::make_unique<JsonListing>(out);
}

} // namespace qel::host
