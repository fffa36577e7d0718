#include "host/text_reader.h"

#include "host/bgp_stream.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace qel::host {

namespace {

constexpr std::uint64_t kMustBeText = 4096;       // octets at the head of the file: no control characters at all
constexpr std::uint64_t kMaxLineText = 16U << 20; // characters; no line of text is that long
constexpr std::size_t kMaxLineOctets = kBgpMaxMessage;
constexpr std::size_t kBlockSize = 1U << 16;
constexpr int kNoDigit = -1;

bool is_blank(std::uint8_t character)
{
    return character == ' ' || character == '\t' || character == '\r' || character == '\f' || character == '\v';
}

bool is_control(std::uint8_t character)
{
    return (character < ' ' && character != '\n' && !is_blank(character)) || character == 0x7f;
}

int digit_value(std::uint8_t character)
{
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    const int letter = character | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : kNoDigit;
}

std::string show(std::uint8_t character)
{
    return character > ' ' && character < 0x7f ? fmt::format("'{}'", static_cast<char>(character))
                                               : fmt::format("octet 0x{:02x}", character);
}

class TextReader {
public:
    TextReader(ByteSource &source, std::string_view file, InputSink &sink) : source_(source), sink_(sink), file_(file)
    {
        octets_.reserve(kMaxLineOctets);
        columns_.reserve(kMaxLineOctets);
    }

    bool run();

private:
    bool read_block(std::span<const std::uint8_t> block);
    bool looks_binary(std::span<const std::uint8_t> block);
    void take(std::uint8_t character);
    void take_digit(std::uint8_t character);
    void end_line();
    void read_messages();
    void read_attribute();
    bool check_length(std::string_view what, std::size_t at, std::size_t announced, std::size_t present);
    void mistake(std::uint64_t column, std::string_view text);
    Origin origin(std::uint64_t column) const;

    ByteSource &source_;
    InputSink &sink_;
    std::string_view file_;
    std::uint64_t line_ = 1;
    std::uint64_t column_ = 0;       // of the last character taken; the first one is 1
    std::uint64_t digit_column_ = 0; // of the pending digit
    int pending_ = kNoDigit;         // the first digit of an octet
    bool word_begins_ = true;        // only blanks since the line or the last word
    bool prefix_possible_ = false;   // the word is "0" so far
    bool used_ = false;              // the line holds more than blanks and a comment
    bool comment_ = false;
    bool bad_ = false; // the line's mistake is reported; the rest of it is passed over
    std::vector<std::uint8_t> octets_;
    std::vector<std::uint32_t> columns_; // of each octet's first digit
};

bool TextReader::run()
{
    ReadingProgress progress(source_, sink_);
    std::vector<std::uint8_t> block(kBlockSize);
    for (;;) {
        const ssize_t got = source_.read(block.data(), block.size());
        if (got < 0) {
            sink_.problem(origin(0), fmt::format("cannot be read further: {}", std::strerror(errno)));
            return false;
        }
        if (got == 0) {
            if (column_ > 0) {
                end_line();
            }
            progress.finish();
            return true;
        }
        if (!read_block({block.data(), static_cast<std::size_t>(got)})) {
            return false;
        }
        progress.step();
    }
}

bool TextReader::read_block(std::span<const std::uint8_t> block)
{
    if (looks_binary(block)) {
        sink_.problem(origin(0), "neither a capture (pcap, pcapng) nor hex text: it holds binary data");
        return false;
    }
    for (const std::uint8_t character : block) {
        take(character);
        if (column_ > kMaxLineText) {
            sink_.problem(origin(0), fmt::format("no hex text: a line of more than {} characters", kMaxLineText));
            return false;
        }
    }
    return true;
}

bool TextReader::looks_binary(std::span<const std::uint8_t> block)
{
    const std::uint64_t before = source_.octets_read() - block.size();
    const auto head = block.first(
        static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), kMustBeText - std::min(before, kMustBeText))));
    return std::any_of(head.begin(), head.end(), is_control) || std::memchr(block.data(), 0, block.size()) != nullptr;
}

void TextReader::take(std::uint8_t character)
{
    if (character == '\n') {
        end_line();
        return;
    }
    ++column_;
    if (comment_ || bad_) {
        return;
    }
    if (character == '#') {
        comment_ = true;
    } else if (is_blank(character)) {
        word_begins_ = true;
        prefix_possible_ = false;
    } else {
        used_ = true;
        take_digit(character);
    }
}

void TextReader::take_digit(std::uint8_t character)
{
    const int digit = digit_value(character);
    if (prefix_possible_ && (character == 'x' || character == 'X')) {
        pending_ = kNoDigit;
        prefix_possible_ = false;
        return;
    }
    if (digit == kNoDigit) {
        mistake(column_, fmt::format("{} is no hex digit", show(character)));
        return;
    }
    prefix_possible_ = word_begins_ && digit == 0 && pending_ == kNoDigit;
    word_begins_ = false;
    if (pending_ == kNoDigit) {
        pending_ = digit;
        digit_column_ = column_;
        return;
    }
    if (octets_.size() == kMaxLineOctets) {
        mistake(digit_column_, fmt::format("the line holds more than {} octets", kMaxLineOctets));
        return;
    }
    octets_.push_back(static_cast<std::uint8_t>(pending_ * 16 + digit));
    columns_.push_back(static_cast<std::uint32_t>(digit_column_));
    pending_ = kNoDigit;
}

void TextReader::end_line()
{
    if (used_ && !bad_) {
        if (pending_ != kNoDigit) {
            mistake(digit_column_, "the last octet has one digit only");
        } else if (octets_.empty()) {
            mistake(digit_column_, "no octets behind the prefix");
        } else if (octets_.size() >= kBgpMarkerSize && has_bgp_marker(octets_)) {
            read_messages();
        } else {
            read_attribute();
        }
    }
    octets_.clear();
    columns_.clear();
    ++line_;
    column_ = 0;
    pending_ = kNoDigit;
    word_begins_ = true;
    prefix_possible_ = used_ = comment_ = bad_ = false;
}

// One message or several, one behind the other.
void TextReader::read_messages()
{
    std::span<const std::uint8_t> rest(octets_);
    while (!rest.empty()) {
        const std::size_t at = octets_.size() - rest.size();
        if (rest.size() < kBgpHeaderSize) {
            mistake(columns_[at], fmt::format("a BGP message has a header of {} octets; {} are present", kBgpHeaderSize,
                                              rest.size()));
            return;
        }
        const std::size_t length = bgp_message_length(rest);
        if (length < kBgpHeaderSize) {
            mistake(columns_[at],
                    fmt::format("the message's length field says {}, below the header's {}", length, kBgpHeaderSize));
            return;
        }
        const bool more = rest.size() >= length + kBgpMarkerSize && has_bgp_marker(rest.subspan(length));
        if (!more && !check_length("message", at, length, rest.size())) {
            return;
        }
        sink_.message(origin(columns_[at]), rest.first(length));
        rest = rest.subspan(length);
    }
}

void TextReader::read_attribute()
{
    constexpr std::uint8_t kExtendedLength = 0x10;
    const std::size_t header = (octets_[0] & kExtendedLength) != 0 ? 4 : 3;
    if (octets_.size() < header) {
        mistake(columns_[0],
                fmt::format("a path attribute has a header of {} octets; {} are present", header, octets_.size()));
        return;
    }
    const std::size_t length = header == 4 ? octets_[2] * 256U + octets_[3] : octets_[2];
    if (check_length("attribute", 0, header + length, octets_.size())) {
        sink_.attribute(origin(columns_[0]), octets_);
    }
}

bool TextReader::check_length(std::string_view what, std::size_t at, std::size_t announced, std::size_t present)
{
    if (announced != present) {
        mistake(columns_[at],
                fmt::format("the {}'s length field makes it {} octets; {} are present", what, announced, present));
    }
    return announced == present;
}

void TextReader::mistake(std::uint64_t column, std::string_view text)
{
    bad_ = true;
    sink_.problem(origin(column), text);
}

Origin TextReader::origin(std::uint64_t column) const
{
    Origin origin;
    origin.file = file_;
    origin.unit = Origin::Unit::line;
    origin.number = line_;
    origin.offset = column;
    return origin;
}

} // namespace

bool read_text(ByteSource &source, std::string_view file, InputSink &sink)
{
    return TextReader(source, file, sink).run();
}

} // namespace qel::host
