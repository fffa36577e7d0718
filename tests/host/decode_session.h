// A decoder with its output, for tests that look at what comes out of a message.
#pragma once

#include "host/decode.h"

#include "../support.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::test {

// A decoder whose listing, messages and summary are looked at.
struct Session {
    explicit Session(host::DecodeOptions options = {}, std::uint32_t mem_handle = kMemHandle)
    {
        options.mem_handle = mem_handle;
        options.diagnostic = [this](std::string_view line) { diagnostics.emplace_back(line); };
        decoder = std::make_unique<host::Decoder>(std::move(options), out);
    }

    Session &message(const Bytes &octets)
    {
        const ExactCopy copy(octets);
        decoder->message(origin, {copy.data(), copy.size()});
        ++origin.number;
        return *this;
    }

    Session &attribute(const Bytes &octets)
    {
        const ExactCopy copy(octets);
        decoder->attribute(origin, {copy.data(), copy.size()});
        ++origin.number;
        return *this;
    }

    // What was written since the last look.
    std::string text()
    {
        out.flush();
        return std::exchange(written, {});
    }

    const host::Summary &finish()
    {
        decoder->finish();
        return decoder->summary();
    }

    std::string written;
    host::Output out{[this](std::string_view piece) { written += piece; }};
    std::vector<std::string> diagnostics;
    std::unique_ptr<host::Decoder> decoder;
    host::Origin origin{.file = "test.pcap",
                        .unit = host::Origin::Unit::packet,
                        .number = 1,
                        .offset = 0,
                        .time_ns = {},
                        .from = {},
                        .to = {}};
};

inline host::DecodeOptions as_json()
{
    host::DecodeOptions options;
    options.json = true;
    return options;
}

inline host::DecodeOptions only(host::FamilyKind kind)
{
    host::DecodeOptions options;
    options.family = kind;
    return options;
}

inline std::vector<nlohmann::json> lines(const std::string &text)
{
    std::vector<nlohmann::json> out;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        out.push_back(nlohmann::json::parse(line));
    }
    return out;
}

} // namespace qel::test
