// What the command writes to standard error, and whether colours are welcome.
#pragma once

#include "host/output.h"

#include <chrono>
#include <cstdint>
#include <string_view>

namespace qel::cli {

enum class ColourChoice { automatic, always, never };

// Colours on standard output: NO_COLOR (https://no-color.org) and a dumb terminal turn the automatic choice off.
bool use_colour(ColourChoice choice);

// Messages, one per line behind the command's name, and below them a progress line on a terminal.
class Terminal {
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    void message(std::string_view text);
    void progress(std::string_view file, std::uint64_t read, std::uint64_t total);
    void clear_progress();

private:
    void write(std::string_view text);

    bool shows_progress_;
    bool progress_shown_ = false;
    std::chrono::steady_clock::time_point last_progress_;
    host::Buffer line_;
};

} // namespace qel::cli
