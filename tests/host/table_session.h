// Messages go through a decoder into tables, and the tables are shown.
#pragma once

#include "host/rib.h"
#include "host/show_table.h"

#include "decode_session.h"
#include "table_cases.h"

#include <string>
#include <vector>

namespace qel::test {

inline const Bytes kNextHop = bytes("c0000201");
inline const Bytes kTargets = bytes("0002006400000001 0102c00002010007");

struct Tables {
    explicit Tables(host::Component component = host::Component::mvpn, std::uint32_t mem_handle = kMemHandle)
        : session(options(component), mem_handle)
    {
    }

    Tables &announce(const Bytes &nlri, const Bytes &list = kTargets, std::uint8_t afi = 1, std::uint8_t safi = 5)
    {
        session.message(
            update(join({list.empty() ? Bytes{} : attribute(16, list), mp_reach(afi, safi, kNextHop, nlri)})));
        return *this;
    }
    Tables &withdraw(const Bytes &nlri, std::uint8_t safi = 5)
    {
        session.message(update(mp_unreach(1, safi, nlri)));
        return *this;
    }

    std::string text(const host::ShowOptions &show)
    {
        return shown(show, *host::make_text_listing(session.out, false));
    }
    std::string coloured(const host::ShowOptions &show)
    {
        return shown(show, *host::make_text_listing(session.out, true));
    }
    std::vector<nlohmann::json> json(const host::ShowOptions &show)
    {
        return lines(shown(show, *host::make_json_listing(session.out)));
    }

    void finish()
    {
        rib.clear();
        EXPECT_EQ(session.finish().blocks_leaked, 0U);
    }

    host::Rib rib;
    Session session;
    std::uint64_t failures = 0;
    std::vector<std::string> diagnostics;

private:
    host::DecodeOptions options(host::Component component)
    {
        host::DecodeOptions out;
        out.stats = true;
        out.routes = &rib;
        out.component = component;
        return out;
    }
    std::string shown(host::ShowOptions show, host::TableListing &listing)
    {
        show.diagnostic = [this](std::string_view line) { diagnostics.emplace_back(line); };
        failures = host::show_tables(rib, show, listing);
        return session.text();
    }
};

inline host::ShowOptions with_cross()
{
    host::ShowOptions out;
    out.cross = true;
    return out;
}

inline host::ShowOptions with_match()
{
    host::ShowOptions out;
    out.match = true;
    return out;
}

inline host::ShowOptions with_action(host::PolicyAction::Kind kind, const Bytes &communities = {})
{
    host::ShowOptions out;
    out.action.emplace(kind, communities);
    return out;
}

} // namespace qel::test
