// Any file through the readers and the decoder, shown as text and as JSON: the way of the command, in memory.
#include "check.h"

#include "host/decode.h"
#include "host/input.h"
#include "host/output.h"

#include <nlohmann/json.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace qel::fuzz {
namespace {

using host::Summary;

// The input as a file that has a name and lies in memory.
class InputFile {
public:
    InputFile() : fd_(::memfd_create("input", MFD_CLOEXEC)), name_("/proc/self/fd/" + std::to_string(fd_))
    {
        require(fd_ >= 0, "a file in memory");
    }
    ~InputFile() { ::close(fd_); }
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    const std::string &name() const { return name_; }

    void set(Octets octets)
    {
        require(::ftruncate(fd_, 0) == 0, "an empty file");
        for (std::size_t at = 0; at < octets.size();) {
            const ssize_t written = ::pwrite(fd_, octets.data() + at, octets.size() - at, static_cast<off_t>(at));
            require(written > 0, "a written file");
            at += static_cast<std::size_t>(written);
        }
    }

private:
    int fd_;
    std::string name_;
};

// No line end inside of a line, and nothing that steers a terminal.
bool printable(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) {
        const auto octet = static_cast<unsigned char>(c);
        return octet >= 0x20 && octet != 0x7f;
    });
}

template <class Visit> void for_each_line(std::string_view text, Visit visit)
{
    require(text.empty() || text.back() == '\n', "whole lines");
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        visit(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
}

struct Decoded {
    std::string text;
    std::string diagnostics;
    Summary summary;
    bool readable = false;
};

Decoded decode(const InputFile &file, bool json)
{
    Decoded decoded;
    host::DecodeOptions options;
    options.json = json;
    options.diagnostic = [&](std::string_view line) {
        require(!line.empty() && printable(line), "a diagnostic is one line of text");
        decoded.diagnostics.append(line).push_back('\n');
    };
    host::Output out([&](std::string_view piece) { decoded.text += piece; });
    host::Decoder decoder(std::move(options), out);
    decoded.readable = host::read_input(file.name(), decoder);
    decoder.finish();
    out.flush();
    decoded.summary = decoder.summary();
    require(decoded.summary.blocks_leaked == 0, "nothing stays allocated");
    return decoded;
}

std::uint64_t route_count(const Summary &summary)
{
    std::uint64_t count = 0;
    for (const Summary::RouteCount &type : summary.routes) {
        count += type.announced + type.withdrawn;
    }
    return count;
}

std::uint64_t refusal_count(const Summary &summary)
{
    std::uint64_t count = 0;
    for (const auto &[code, refused] : summary.refused) {
        count += refused;
    }
    return count;
}

// Counts by hand what the JSON lines show.
void check_json(const Decoded &decoded)
{
    std::uint64_t routes = 0;
    std::uint64_t refused = 0;
    std::uint64_t updates = 0;
    std::uint64_t problems = 0;
    std::uint64_t summaries = 0;
    for_each_line(decoded.text, [&](std::string_view line) {
        const nlohmann::json object = nlohmann::json::parse(line, nullptr, false);
        require(object.is_object() && object.contains("kind") && summaries == 0, "one JSON object per line");
        const std::string kind = object["kind"];
        problems += kind == "problem" ? 1U : 0U;
        summaries += kind == "summary" ? 1U : 0U;
        if (kind == "update") {
            ++updates;
            refused += object.contains("refused") ? object["refused"].size() : 0;
            for (const nlohmann::json &nlri : object.at("nlri")) {
                routes += nlri.contains("routes") ? nlri["routes"].size() : 0;
                refused += nlri.contains("refused") ? nlri["refused"].size() : 0;
            }
        }
    });
    require(summaries == 1, "the summary ends the output");
    require(routes == route_count(decoded.summary), "every route is shown");
    require(refused == refusal_count(decoded.summary), "every refusal is shown");
    require(problems == decoded.summary.problems, "every problem is shown");
    require(updates >= decoded.summary.updates_shown, "every UPDATE is shown");
}

void check_same(const Decoded &a, const Decoded &b)
{
    require(a.readable == b.readable && a.diagnostics == b.diagnostics, "both forms read alike");
    require(a.summary.messages == b.summary.messages && a.summary.bare_attributes == b.summary.bare_attributes &&
                a.summary.updates_shown == b.summary.updates_shown && a.summary.refused == b.summary.refused &&
                a.summary.unread == b.summary.unread && a.summary.lost == b.summary.lost &&
                a.summary.problems == b.summary.problems && a.summary.assertions == b.summary.assertions &&
                route_count(a.summary) == route_count(b.summary),
            "both forms count alike");
    require(a.summary.lost == 0, "no route is lost while there is memory");
}

void run(Octets input)
{
    static InputFile file;
    file.set(input);
    const Decoded text = decode(file, false);
    for_each_line(text.text, [](std::string_view line) { require(printable(line), "text is printable"); });
    const Decoded json = decode(file, true);
    check_json(json);
    check_same(text, json);
}

} // namespace
} // namespace qel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    qel::fuzz::run({data, size});
    return 0;
}
