#include "host/show_table.h"

#include "host/cross.h"
#include "host/family_words.h"
#include "host/match.h"

#include <fmt/format.h>

#include <algorithm>

namespace qel::host {
namespace {

using List = TableListing::List;

class TableShow {
public:
    TableShow(const RouteTable &table, const ShowOptions &options, TableListing &listing)
        : table_(table), family_(table.family()), words_(family_words(family_.info().kind)), options_(options),
          listing_(listing)
    {
    }

    std::uint64_t run()
    {
        const auto all = static_cast<std::ptrdiff_t>(table_.size());
        listing_.table(family_.info(), table_.size(),
                       static_cast<std::size_t>(
                           options_.filter.active()
                               ? std::count_if(table_.begin(), table_.end(),
                                               [&](const StoredRoute &route) { return accepted(route.info()); })
                               : all));
        for (const StoredRoute &stored : table_) {
            const QEL_ROUTE_INFO_S route = stored.info();
            if (!options_.filter.active() || accepted(route)) {
                show(route);
            }
        }
        return failures_;
    }

private:
    bool accepted(const QEL_ROUTE_INFO_S &route) const
    {
        const std::optional<RouteValues> values = words_.route(route);
        AttributeView attributes(family_, route);
        return values && options_.filter.accepts(*values) && options_.filter.accepts_targets(attributes);
    }

    void show(const QEL_ROUTE_INFO_S &route)
    {
        const std::optional<RouteValues> values = words_.route(route);
        listing_.begin_route(family_.info(), values.value());
        if (options_.cross) {
            show_cross(route);
        }
        if (options_.match) {
            show_match(route);
        }
        if (options_.action) {
            show_action(route);
        }
        listing_.end_route();
    }

    void show_cross(const QEL_ROUTE_INFO_S &route)
    {
        listing_.begin_list(List::cross);
        CrossWalk walk(family_, route);
        while (const std::optional<Cross> cross = walk.next()) {
            text_.clear();
            const std::string_view form = words_.cross(text_, family_, cross->octets());
            listing_.cross(form, cross->octets(), text());
        }
        end_list("none", "cross values", walk.code());
    }

    void show_match(const QEL_ROUTE_INFO_S &route)
    {
        listing_.begin_list(List::match);
        const std::uint32_t code = for_each_match(
            family_, route, [&](std::uint32_t match) { return words_.match_written(route, match); },
            [&](const MatchTlv &tlv) {
                text_.clear();
                words_.match(text_, family_, tlv);
                listing_.match(tlv.type, tlv.value, text());
            });
        end_list("none", "match buffer", code);
    }

    void show_action(const QEL_ROUTE_INFO_S &route)
    {
        show_communities(List::before, route, "no communities", QEL_OK);
        const PolicyAction::Result result = options_.action->apply(family_, route);
        QEL_ROUTE_INFO_S after = route;
        if (result.block != nullptr) {
            place_sections(after, *result.block);
        }
        show_communities(List::after, after, result.block != nullptr ? "no communities remain" : "no communities",
                         result.code);
    }

    void show_communities(List list, const QEL_ROUTE_INFO_S &route, std::string_view empty, std::uint32_t code)
    {
        listing_.begin_list(list);
        AttributeView attributes(family_, route);
        for (std::size_t i = 0; code == QEL_OK && i < community_count(route); ++i) {
            listing_.community(attributes, i);
        }
        end_list(empty, "policy action", code);
    }

    void end_list(std::string_view empty, std::string_view what, std::uint32_t code)
    {
        listing_.end_list(empty, code);
        if (code != QEL_OK) {
            ++failures_;
            options_.diagnostic(
                fmt::format("{}: {} failed, 0x{:x}, {}", family_.info().title, what, code, code_meaning(code)));
        }
    }

    std::string_view text() const { return {text_.data(), text_.size()}; }

    const RouteTable &table_;
    const Family &family_;
    const FamilyWords &words_;
    const ShowOptions &options_;
    TableListing &listing_;
    Buffer text_;
    std::uint64_t failures_ = 0;
};

} // namespace

std::uint64_t show_tables(const Rib &rib, const ShowOptions &options, TableListing &listing)
{
    std::uint64_t failures = 0;
    for (const RouteTable &table : rib.tables()) {
        failures += TableShow(table, options, listing).run();
    }
    return failures;
}

} // namespace qel::host
