// What the commands that read files have in common: their arguments, and the run from the first file to the summary.
#pragma once

#include "host/decode.h"
#include "terminal.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qel::cli {

inline constexpr int kExitClean = 0;
inline constexpr int kExitFindings = 1; // something was refused, or could not be read or written
inline constexpr int kExitUsage = 2;

struct ReaderArguments {
    std::optional<host::FamilyKind> family;
    host::Component component = host::Component::mvpn;
    host::LabelChoice labels = host::LabelChoice::automatic;
    bool json = false;
    host::RouteFilter filter;
    ColourChoice colour = ColourChoice::automatic;
    std::vector<std::string> files;

    bool coloured() const { return !json && use_colour(colour); }
};

// --family, --vpnv4mcast-labels, --json, --color, FILE
void add_reader(CLI::App &command, ReaderArguments &arguments);
// --type, --rd, --source, --group, and the route target as `target_option`
void add_filters(CLI::App &command, host::RouteFilter &filter, const std::string &target_option);
// --component
void add_component(CLI::App &command, host::Component &component);

// An option whose text `parse` turns into a value, if it can; what it refuses is a mistake of the command line.
template <class Parse, class Take>
CLI::Option *add_parsed(CLI::App &command, const std::string &name, const std::string &help, Parse parse, Take take)
{
    return command.add_option_function<std::string>(
        name,
        [parse, take, name](const std::string &text) {
            auto value = parse(text);
            if (!value) {
                throw CLI::ValidationError(name, "not understood: " + text);
            }
            take(*value);
        },
        help);
}

using Diagnostic = std::function<void(std::string_view)>;

// Reads all files; then `show` writes what is to stand in front of the summary and says whether all went well; then
// the decoder settles its accounts. `start` comes before all of it and sees the options as they are used. Returns the
// exit status.
int run_reader(const ReaderArguments &arguments, host::DecodeOptions options,
               const std::function<bool(host::Output &, const Diagnostic &)> &show,
               const std::function<void(host::Output &, host::DecodeOptions &)> &start = {});

} // namespace qel::cli
