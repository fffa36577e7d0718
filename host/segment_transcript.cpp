#include "host/segment_transcript.h"

#include "host/decode.h"
#include "host/json.h"
#include "host/ng_mvpn_message_words.h"
#include "host/text.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace qel::host {
namespace {

constexpr std::uint32_t kMemHandle = 2; // of the decoder: beside the accounts of the segmentation point
constexpr std::size_t kNoteWidth = 14;
constexpr std::size_t kFieldWidth = 12;

std::string spaced(std::string_view name)
{
    std::string out(name);
    std::replace(out.begin(), out.end(), '_', ' ');
    return out;
}

std::string shouted(std::string_view name)
{
    std::string out(name);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return out;
}

// An UPDATE as the decoder shows it.
class UpdateText {
public:
    explicit UpdateText(bool json)
        : out_([this](std::string_view piece) { text_ += piece; }), decoder_(options(json), out_)
    {
    }

    std::string decode(Octets message)
    {
        Origin origin;
        origin.file = "sent";
        decoder_.message(origin, message);
        out_.flush();
        return std::exchange(text_, {});
    }

private:
    static DecodeOptions options(bool json)
    {
        DecodeOptions out;
        out.json = json;
        out.mem_handle = kMemHandle;
        return out;
    }

    std::string text_;
    Output out_;
    Decoder decoder_;
};

// What a message between components says, part by part.
class MessageText {
public:
    std::vector<std::string> lines(const Note::Message &message)
    {
        const MessageBuffer octets(message.octets);
        Delivery delivery;
        delivery.type = message.type;
        delivery.octets = octets.octets();
        delivery.family = &family_;
        parts_.clear();
        append_ng_mvpn_message(parts_, delivery);
        std::vector<std::string> out;
        for (std::size_t i = 0; i < parts_.size(); ++i) {
            out.emplace_back(parts_[i]);
            out.back().erase(out.back().find_last_not_of(' ') + 1);
        }
        return out;
    }

private:
    Family family_{*find_family(1, 5), kMemHandle};
    Parts parts_;
};

std::string hex(Octets octets)
{
    Buffer out;
    append_hex(out, octets);
    return fmt::to_string(out);
}

std::vector<std::string> lines_of(std::string_view text)
{
    std::vector<std::string> out;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string line(text.substr(0, end));
        line.erase(line.find_last_not_of(' ') + 1);
        if (!line.empty()) {
            out.push_back(std::move(line));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return out;
}

class TextTranscript final : public SegmentTranscript {
public:
    TextTranscript(Output &out, bool log) : output_(out), log_(log) {}

    void remark(std::string_view text) override;
    void step(std::uint64_t line, std::string_view event) override;
    void note(const Note &note) override;
    void flush() override { output_.flush(); }

private:
    Buffer &out() { return output_.buffer(); }

    void set_apart(bool apart);
    void value(const Note::Value &value);
    void inline_field(const Note::Field &field, bool first);
    void below(std::string_view name, const std::vector<std::string> &lines);
    void below(const Note::Field &field);
    void headline(const Note &note);

    // Fields that have lines of their own.
    static bool stands_below(const Note::Field &field)
    {
        return field.name == "before" || field.name == "after" || field.name == "record" || field.name == "octets" ||
               field.name == "troubles";
    }

    Output &output_;
    bool log_;
    bool begun_ = false;                               // there is text above
    bool remarked_ = false;                            // right above stands a remark
    bool noted_ = false;                               // the last step has notes
    const std::vector<std::string> *before_ = nullptr; // the lines above, of the note at work
    UpdateText updates_{false};
    MessageText messages_;
};

// An empty line in front of what begins something new.
void TextTranscript::set_apart(bool apart)
{
    if (std::exchange(begun_, true) && apart) {
        out().push_back('\n');
    }
}

void TextTranscript::remark(std::string_view text)
{
    set_apart(!remarked_);
    remarked_ = true;
    noted_ = false;
    append_visible(out(), text);
    out().push_back('\n');
}

void TextTranscript::step(std::uint64_t line, std::string_view event)
{
    set_apart(std::exchange(noted_, false));
    remarked_ = false;
    append(out(), "line ");
    append_number(out(), line);
    append(out(), "  ");
    append_visible(out(), event);
    out().push_back('\n');
}

void TextTranscript::value(const Note::Value &value)
{
    if (const auto *text = std::get_if<std::string>(&value)) {
        append_visible(out(), *text);
    } else if (const auto *number = std::get_if<std::uint64_t>(&value)) {
        append_number(out(), *number);
    } else if (const auto *lines = std::get_if<std::vector<std::string>>(&value)) {
        for (const std::string &line : *lines) {
            append(out(), &line == &lines->front() ? "" : "; ");
            append_visible(out(), line);
        }
    }
}

void TextTranscript::inline_field(const Note::Field &field, bool first)
{
    append(out(), first ? "" : ", ");
    if (field.name != "result" && field.name != "reason" && field.name != "why" && field.name != "actions") {
        append(out(), spaced(field.name));
        out().push_back(' ');
    }
    value(field.value);
}

void TextTranscript::below(std::string_view name, const std::vector<std::string> &lines)
{
    std::string label = spaced(name);
    for (const std::string &line : lines) {
        const std::size_t start = out().size();
        pad_to(out(), start, kNoteWidth + 2);
        append(out(), label);
        pad_to(out(), start, kNoteWidth + kFieldWidth + 2);
        out().push_back(' ');
        append_visible(out(), line);
        out().push_back('\n');
        label.clear();
    }
}

void TextTranscript::below(const Note::Field &field)
{
    if (const auto *text = std::get_if<std::string>(&field.value)) {
        below(field.name, {*text});
    } else if (field.name == "after" && before_ != nullptr &&
               *before_ == std::get<std::vector<std::string>>(field.value)) {
        below(field.name, {"as before"});
    } else {
        below(field.name, std::get<std::vector<std::string>>(field.value));
    }
}

void TextTranscript::headline(const Note &note)
{
    const std::size_t start = out().size();
    append(out(), "  ");
    append(out(), spaced(note.what));
    pad_to(out(), start, kNoteWidth);
    append(out(), "  ");
    bool first = true;
    for (const Note::Field &field : note.fields) {
        if (const auto *yes = std::get_if<bool>(&field.value); yes != nullptr) {
            append(out(), *yes ? " + " : "");
            append(out(), *yes ? shouted(field.name) : "");
        } else if (!stands_below(field)) {
            inline_field(field, first);
            first = false;
        }
    }
    if (note.reports != 0) {
        inline_field({"failed_checks_reported", note.reports}, first);
    }
    out().push_back('\n');
}

void TextTranscript::note(const Note &note)
{
    remarked_ = false;
    noted_ = true;
    if (log_) {
        below("log", note.log);
    }
    headline(note);
    before_ = nullptr;
    for (const Note::Field &field : note.fields) {
        if (stands_below(field)) {
            below(field);
            before_ = std::get_if<std::vector<std::string>>(&field.value);
        }
    }
    for (const Note::Message &message : note.messages) {
        std::vector<std::string> lines = messages_.lines(message);
        lines.insert(lines.begin(), hex(message.octets));
        below(fmt::format("message_{}", message.type), lines);
    }
    if (!note.update.empty()) {
        std::vector<std::string> lines = lines_of(updates_.decode(note.update));
        lines.erase(lines.begin(), lines.begin() + (lines.empty() ? 0 : 1)); // where it stood
        below("says", lines);
    }
    output_.flush_when_full();
}

class JsonTranscript final : public SegmentTranscript {
public:
    JsonTranscript(Output &out, bool log) : output_(out), log_(log) {}

    void remark(std::string_view) override {}
    void step(std::uint64_t line, std::string_view event) override;
    void note(const Note &note) override;
    void flush() override { output_.flush(); }

private:
    Buffer &out() { return output_.buffer(); }

    void begin(std::string_view kind);
    void list(std::string_view name, const std::vector<std::string> &lines);
    void member(const Note::Field &field);
    void end()
    {
        append(out(), "}\n");
        output_.flush_when_full();
    }

    Output &output_;
    bool log_;
    std::uint64_t line_ = 0;
    UpdateText updates_{true};
    MessageText messages_;
};

void JsonTranscript::begin(std::string_view kind)
{
    append(out(), "{\"kind\":\"");
    append(out(), kind);
    out().push_back('"');
    append_member(out(), "line", line_);
}

void JsonTranscript::step(std::uint64_t line, std::string_view event)
{
    line_ = line;
    begin("step");
    append_text_member(out(), "event", event);
    end();
}

void JsonTranscript::list(std::string_view name, const std::vector<std::string> &lines)
{
    append(out(), ",\"");
    append(out(), name);
    append(out(), "\":[");
    Separator comma;
    for (const std::string &line : lines) {
        comma.next(out());
        append_json_string(out(), line);
    }
    out().push_back(']');
}

void JsonTranscript::member(const Note::Field &field)
{
    if (const auto *text = std::get_if<std::string>(&field.value)) {
        append_text_member(out(), field.name, *text);
    } else if (const auto *number = std::get_if<std::uint64_t>(&field.value)) {
        append_member(out(), field.name, *number);
    } else if (const auto *yes = std::get_if<bool>(&field.value)) {
        append(out(), ",\"");
        append(out(), field.name);
        append(out(), *yes ? "\":true" : "\":false");
    } else {
        list(field.name, std::get<std::vector<std::string>>(field.value));
    }
}

void JsonTranscript::note(const Note &note)
{
    begin(note.what);
    for (const Note::Field &field : note.fields) {
        member(field);
    }
    if (note.reports != 0) {
        append_member(out(), "failed_checks_reported", note.reports);
    }
    if (log_ && !note.log.empty()) {
        list("log", note.log);
    }
    for (const Note::Message &message : note.messages) {
        append_hex_member(out(), fmt::format("message_{}", message.type), message.octets);
        list(fmt::format("message_{}_says", message.type), messages_.lines(message));
    }
    if (!note.update.empty()) {
        // One object; none for an UPDATE without multicast routes.
        for (const std::string &line : lines_of(updates_.decode(note.update))) {
            append(out(), ",\"says\":");
            append(out(), line);
        }
    }
    end();
}

} // namespace

std::unique_ptr<SegmentTranscript> make_text_transcript(Output &out, bool log)
{
    return std::make_unique<TextTranscript>(out, log);
}

std::unique_ptr<SegmentTranscript> make_json_transcript(Output &out, bool log)
{
    return std::make_unique<JsonTranscript>(out, log);
}

} // namespace qel::host
