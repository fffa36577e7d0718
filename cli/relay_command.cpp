// qel-mcast relay: the messages between the components of a router that routes become.
#include "commands.h"
#include "reader.h"

#include "host/relay.h"

#include <memory>
#include <optional>

namespace qel::cli {

Command add_relay(CLI::App &program)
{
    const auto arguments = std::make_shared<ReaderArguments>();
    CLI::App *relay = program.add_subcommand(
        "relay", "Send the routes around the components of a router and show every message between them");
    add_reader(*relay, *arguments);
    add_filters(*relay, arguments->filter, "--rt");
    return {relay, [arguments] {
                std::optional<host::Relay> ring;
                host::DecodeOptions options;
                options.stats = true;
                options.filter = arguments->filter;
                const auto start = [&](host::Output &out, host::DecodeOptions &with) {
                    ring.emplace(arguments->json ? host::make_json_relay_listing(out)
                                                 : host::make_text_relay_listing(out, arguments->coloured()),
                                 with.mem_handle, with.diagnostic);
                    with.routes = &*ring;
                };
                const auto end = [&](host::Output &, const Diagnostic &) {
                    ring->clear();
                    return ring->failures() == 0;
                };
                return run_reader(*arguments, std::move(options), end, start);
            }};
}

} // namespace qel::cli
