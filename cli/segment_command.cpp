// qel-mcast segment: runs a segmentation point through a scenario and shows what it does, step by step.
#include "commands.h"
#include "reader.h"

#include "host/segment_scenario.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>

#include <unistd.h>

namespace qel::cli {
namespace {

struct Arguments {
    bool json = false;
    bool log = false;
    std::string file;
};

// Opens the file; what kept it from that, or nothing.
std::string why_not_readable(const std::string &file, std::ifstream &opened)
{
    std::error_code unknown;
    if (std::filesystem::is_directory(file, unknown)) {
        return std::strerror(EISDIR);
    }
    opened.open(file);
    if (!opened) {
        return std::strerror(errno);
    }
    return opened.peek() == std::ifstream::traits_type::eof() ? "empty input" : "";
}

int run_segment(const Arguments &arguments)
{
    Terminal terminal;
    host::Output out([](std::string_view text) { host::write_all(STDOUT_FILENO, text); });
    const auto transcript = arguments.json ? host::make_json_transcript(out, arguments.log)
                                           : host::make_text_transcript(out, arguments.log);
    host::SegmentScenario scenario(*transcript, [&](std::uint64_t line, std::string_view text) {
        terminal.message(fmt::format("{}:{}: {}", arguments.file, line, text));
    });
    try {
        std::ifstream opened;
        if (arguments.file != "-") {
            if (const std::string reason = why_not_readable(arguments.file, opened); !reason.empty()) {
                terminal.message(fmt::format("{}: cannot be read: {}", arguments.file, reason));
                return kExitFindings;
            }
        }
        std::istream &lines = arguments.file == "-" ? std::cin : opened;
        scenario.run(lines);
        const bool clean = scenario.finish();
        if (lines.bad()) {
            terminal.message(arguments.file + ": cannot be read to its end");
        }
        return clean && !lines.bad() ? kExitClean : kExitFindings;
    } catch (const host::OutputError &error) {
        if (error.code().value() != EPIPE) {
            terminal.message("cannot write the transcript: " + error.code().message());
        }
        return kExitFindings;
    }
}

} // namespace

Command add_segment(CLI::App &program)
{
    const auto arguments = std::make_shared<Arguments>();
    CLI::App *segment = program.add_subcommand(
        "segment", "Run a segmentation point through a scenario and show each step, to the UPDATEs that it sends");
    segment->add_flag("--json", arguments->json, "One JSON object per line instead of the transcript");
    segment->add_flag("--log", arguments->log, "Add the library's own log lines");
    segment->add_option("SCENARIO", arguments->file, "The scenario, one event per line; - is standard input")
        ->required();
    return {segment, [arguments] { return run_segment(*arguments); }};
}

} // namespace qel::cli
