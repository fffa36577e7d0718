// What a segmentation point tells of its work, in words and octets: one note for each thing that happens.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace qel::host {

struct Note {
    // A text, a number, yes or no, or lines.
    using Value = std::variant<std::string, std::uint64_t, bool, std::vector<std::string>>;
    struct Field {
        std::string_view name;
        Value value;
    };

    struct Message {
        std::uint32_t type;
        std::vector<std::uint8_t> octets;
    };

    explicit Note(std::string_view name) : what(name) {}

    Note &with(std::string_view name, Value value) &
    {
        fields.push_back({name, std::move(value)});
        return *this;
    }
    Note &&with(std::string_view name, Value value) && { return std::move(with(name, std::move(value))); }

    std::string_view what;            // "decision"; the names are those of the JSON form too
    std::vector<Field> fields;        // the first one is what a reader wants to know before all others
    std::vector<std::uint8_t> update; // a whole BGP message that belongs to the note
    std::vector<Message> messages;    // what passed between this router's components
    std::uint64_t reports = 0;        // failed checks that the library reported since the note before
    std::vector<std::string> log;     // what the library wrote to its log since then
};

class NoteSink {
public:
    virtual ~NoteSink() = default;
    virtual void note(const Note &note) = 0;
};

} // namespace qel::host
