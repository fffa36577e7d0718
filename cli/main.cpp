// qel-mcast: shows the multicast routes that BGP messages in captures or in hex text carry.
#include "host/decode.h"
#include "host/filter.h"
#include "host/input.h"
#include "host/output.h"
#include "terminal.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

using namespace qel;

constexpr int kExitClean = 0;
constexpr int kExitFindings = 1; // something was refused, or could not be read or written
constexpr int kExitUsage = 2;

constexpr const char *kVersion = "qel-mcast " QEL_MCAST_VERSION;

struct DecodeArguments {
    std::optional<host::FamilyKind> family;
    bool json = false;
    bool raw = false;
    bool stats = false;
    host::RouteFilter filter;
    cli::ColourChoice colour = cli::ColourChoice::automatic;
    std::vector<std::string> files;
};

// An option whose text `parse` turns into an optional value; what it refuses is a mistake of the command line.
template <class Value, class Parse>
void add_parsed(CLI::App &app, const std::string &name, const std::string &placeholder, const std::string &help,
                std::optional<Value> &value, Parse parse)
{
    app.add_option_function<std::string>(
           name,
           [&value, parse, name](const std::string &text) {
               value = parse(text);
               if (!value) {
                   throw CLI::ValidationError(name, "not understood: " + text);
               }
           },
           help)
        ->type_name(placeholder)
        ->group("Filters (a route is shown if it agrees with all of them)");
}

void add_filters(CLI::App &decode, host::RouteFilter &filter)
{
    add_parsed(decode, "--type", "N[,N...]", "Route types, 1 to 7", filter.types, host::route_types);
    add_parsed(decode, "--rd", "RD", "Route distinguisher, such as 65000:99 or 10.0.0.1:5", filter.rd,
               host::canonical_rd);
    add_parsed(decode, "--rt", "RT", "A route target of the UPDATE, such as 100:1, 192.0.2.1:5 or 2001:db8::1.7",
               filter.route_target, host::canonical_route_target);
    add_parsed(decode, "--source", "ADDR", "Source address, or * for the wildcard", filter.source, host::flow_address);
    add_parsed(decode, "--group", "ADDR", "Group address, or * for the wildcard", filter.group, host::flow_address);
}

void add_decode(CLI::App &app, DecodeArguments &arguments)
{
    static const std::map<std::string, std::optional<host::FamilyKind>> families{
        {"all", std::nullopt},
        {"ng-mvpn", host::FamilyKind::ng_mvpn},
        {"mdt", host::FamilyKind::mdt},
        {"vpnv4-mcast", host::FamilyKind::vpnv4_mcast}};
    static const std::map<std::string, cli::ColourChoice> colours{{"auto", cli::ColourChoice::automatic},
                                                                  {"always", cli::ColourChoice::always},
                                                                  {"never", cli::ColourChoice::never}};
    CLI::App *decode = app.add_subcommand("decode", "Show the multicast routes in captures or hex text");
    decode
        ->add_option_function<std::string>(
            "--family", [&arguments](const std::string &name) { arguments.family = families.at(name); },
            "Show this address family alone")
        ->check(CLI::IsMember(&families))
        ->default_str("all");
    decode->add_flag("--json", arguments.json, "One JSON object per line instead of the listing");
    decode->add_flag("--raw", arguments.raw, "Add the octets of every route and path attribute in hex");
    decode->add_flag("--stats", arguments.stats, "Only the summary");
    decode
        ->add_option_function<std::string>(
            "--color", [&arguments](const std::string &name) { arguments.colour = colours.at(name); },
            "Colours in the listing; auto: on a terminal, unless NO_COLOR is set")
        ->check(CLI::IsMember(&colours))
        ->default_str("auto");
    add_filters(*decode, arguments.filter);
    decode->add_option("FILE", arguments.files, "pcap, pcapng or hex text; - is standard input")->required();
}

int run_decode(const DecodeArguments &arguments)
{
    cli::Terminal terminal;
    host::Output out([](std::string_view text) { host::write_all(STDOUT_FILENO, text); });
    const bool one_terminal = ::isatty(STDOUT_FILENO) != 0 && ::isatty(STDERR_FILENO) != 0;
    std::string_view file;

    host::DecodeOptions options;
    options.json = arguments.json;
    options.colour = !arguments.json && cli::use_colour(arguments.colour);
    options.family = arguments.family;
    options.raw = arguments.raw;
    options.stats = arguments.stats;
    options.filter = arguments.filter;
    // Where both streams meet on a terminal, a message stands right below the listing that it belongs to.
    options.diagnostic = [&](std::string_view line) {
        if (one_terminal) {
            out.flush();
        }
        terminal.message(line);
    };
    options.progress = [&](std::uint64_t read, std::uint64_t total) { terminal.progress(file, read, total); };

    host::Decoder decoder(std::move(options), out);
    bool all_read = true;
    const auto status = [&] { return all_read && decoder.summary().clean() ? kExitClean : kExitFindings; };
    try {
        for (const std::string &name : arguments.files) {
            file = name;
            all_read = host::read_input(name, decoder) && all_read;
            terminal.clear_progress();
        }
        decoder.finish();
        out.flush();
    } catch (const host::OutputError &error) {
        if (error.code().value() == EPIPE) {
            return status(); // whoever read the listing has seen enough
        }
        terminal.message("cannot write the listing: " + error.code().message());
        return kExitFindings;
    }
    return status();
}

int run(int argc, char **argv)
{
    CLI::App app("Multicast address families of BGP: NG-MVPN, MDT, VPNv4 multicast", "qel-mcast");
    app.set_version_flag("--version", kVersion);
    app.require_subcommand(1);
    app.footer("Exit status: 0 all was read and nothing refused, 1 something was refused or could not be read,\n"
               "2 the command line is wrong.");
    DecodeArguments arguments;
    add_decode(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? kExitClean : kExitUsage;
    }
    return run_decode(arguments);
}

} // namespace

int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN); // a write tells
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "qel-mcast: %s\n", error.what());
    } catch (...) {
        std::fputs("qel-mcast: an unknown error\n", stderr);
    }
    return kExitFindings;
}
