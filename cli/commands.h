// The commands. Each adds itself to the program and returns what runs it; the arguments live in there.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace qel::cli {

struct Command {
    CLI::App *app = nullptr;
    std::function<int()> run; // returns the exit status
};

Command add_decode(CLI::App &program);
Command add_table(CLI::App &program);
Command add_policy(CLI::App &program);
Command add_relay(CLI::App &program);
Command add_segment(CLI::App &program);

} // namespace qel::cli
