#include "terminal.h"

#include <fmt/format.h>

#include <cstdlib>

#include <unistd.h>

namespace qel::cli {
namespace {

constexpr std::uint64_t kMebi = std::uint64_t{1} << 20;
// Input up to this size is read before a progress line would be noticed.
constexpr std::uint64_t kLargeInput = 8 * kMebi;
constexpr std::chrono::milliseconds kProgressPause{100};
constexpr std::string_view kClearLine = "\r\x1b[K";

} // namespace

bool use_colour(ColourChoice choice)
{
    if (choice != ColourChoice::automatic) {
        return choice == ColourChoice::always;
    }
    const char *no_color = std::getenv("NO_COLOR");
    const char *term = std::getenv("TERM");
    const bool refused =
        (no_color != nullptr && *no_color != '\0') || (term != nullptr && std::string_view(term) == "dumb");
    return !refused && ::isatty(STDOUT_FILENO) != 0;
}

// On one and the same terminal the listing itself shows the progress, and a line below it would only disturb it.
Terminal::Terminal() : shows_progress_(::isatty(STDERR_FILENO) != 0 && ::isatty(STDOUT_FILENO) == 0) {}

Terminal::~Terminal()
{
    clear_progress();
}

void Terminal::write(std::string_view text)
{
    try {
        host::write_all(STDERR_FILENO, text);
    } catch (const host::OutputError &) {
        // There is nowhere left to say so; the listing goes on.
    }
}

void Terminal::message(std::string_view text)
{
    clear_progress();
    line_.clear();
    host::append(line_, "qel-mcast: ");
    host::append_visible(line_, text);
    line_.push_back('\n');
    write({line_.data(), line_.size()});
}

void Terminal::progress(std::string_view file, std::uint64_t read, std::uint64_t total)
{
    const bool large = (total != 0 ? total : read) > kLargeInput;
    const auto now = shows_progress_ && large ? std::chrono::steady_clock::now() : last_progress_;
    if (now - last_progress_ < kProgressPause) {
        return;
    }
    last_progress_ = now;
    line_.clear();
    host::append(line_, kClearLine);
    host::append_visible(line_, file);
    if (total != 0) {
        fmt::format_to(fmt::appender(line_), ": {} of {} MiB, {} %", read / kMebi, total / kMebi, read * 100 / total);
    } else {
        fmt::format_to(fmt::appender(line_), ": {} MiB", read / kMebi);
    }
    write({line_.data(), line_.size()});
    progress_shown_ = true;
}

void Terminal::clear_progress()
{
    if (progress_shown_) {
        write(kClearLine);
        progress_shown_ = false;
    }
}

} // namespace qel::cli
