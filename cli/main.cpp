// qel-mcast: shows the multicast routes that BGP messages in captures or in hex text carry.
#include "host/decode.h"
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

constexpr const char *kVersion = "qel-mcast 0.1.0";

struct DecodeArguments {
    std::optional<host::FamilyKind> family;
    bool json = false;
    cli::ColourChoice colour = cli::ColourChoice::automatic;
    std::vector<std::string> files;
};

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
    decode
        ->add_option_function<std::string>(
            "--color", [&arguments](const std::string &name) { arguments.colour = colours.at(name); },
            "Colours in the listing; auto: on a terminal, unless NO_COLOR is set")
        ->check(CLI::IsMember(&colours))
        ->default_str("auto");
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

} // namespace

int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN); // a write tells

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
    try {
        return run_decode(arguments);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "qel-mcast: %s\n", error.what());
        return kExitFindings;
    }
}
