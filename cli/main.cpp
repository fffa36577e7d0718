// qel-mcast: shows the multicast routes that BGP messages in captures or in hex text carry.
#include "commands.h"
#include "reader.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>

namespace {

using namespace qel::cli;

constexpr const char *kVersion = "qel-mcast " QEL_MCAST_VERSION;

int run(int argc, char **argv)
{
    CLI::App program("Multicast address families of BGP: NG-MVPN, MDT, VPNv4 multicast", "qel-mcast");
    program.set_version_flag("--version", kVersion);
    program.require_subcommand(1);
    program.footer("Exit status: 0 all was read and nothing refused, 1 something was refused or could not be read,\n"
                   "2 the command line is wrong.");
    const std::array<Command, 5> commands{add_decode(program), add_table(program), add_policy(program),
                                          add_relay(program), add_segment(program)};
    try {
        program.parse(argc, argv);
    } catch (const CLI::RequiredError &error) {
        if (program.get_subcommands().empty() && argc > 1) {
            std::fprintf(stderr, "qel-mcast: %s is no command of it; qel-mcast --help names them\n", argv[1]);
            return kExitUsage;
        }
        return program.exit(error) == 0 ? kExitClean : kExitUsage;
    } catch (const CLI::ParseError &error) {
        const bool clean = program.exit(error) == 0; // help and version are no errors, if they can be written
        return !clean ? kExitUsage : std::cout.flush() ? kExitClean : kExitFindings;
    }
    const auto *command =
        std::find_if(commands.begin(), commands.end(), [](const Command &each) { return each.app->parsed(); });
    return command->run();
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
