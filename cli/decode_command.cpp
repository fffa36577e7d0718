// qel-mcast decode: the UPDATEs of the files with their routes.
#include "commands.h"
#include "reader.h"

#include <memory>

namespace qel::cli {

Command add_decode(CLI::App &program)
{
    struct Arguments : ReaderArguments {
        bool raw = false;
        bool stats = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App *decode = program.add_subcommand("decode", "Show the multicast routes in captures or hex text");
    add_reader(*decode, *arguments);
    decode->add_flag("--raw", arguments->raw, "Add the octets of every route and path attribute in hex");
    decode->add_flag("--stats", arguments->stats, "Only the summary");
    add_filters(*decode, arguments->filter, "--rt");
    return {decode, [arguments] {
                host::DecodeOptions options;
                options.raw = arguments->raw;
                options.stats = arguments->stats;
                options.filter = arguments->filter;
                return run_reader(*arguments, std::move(options),
                                  [](host::Output &, const Diagnostic &) { return true; });
            }};
}

} // namespace qel::cli
