#include "host/capture_reader.h"

#include "host/packet.h"
#include "host/tcp_streams.h"

#include <fmt/format.h>
#include <pcap/pcap.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

namespace qel::host {

namespace {

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

struct CloseCapture {
    void operator()(pcap_t *capture) const { pcap_close(capture); }
};

using Capture = std::unique_ptr<pcap_t, CloseCapture>;

ssize_t read_source(void *source, char *to, std::size_t room)
{
    return static_cast<ByteSource *>(source)->read(to, room);
}

// A stream asks where its source stands to know where it stands itself; it goes nowhere else.
int tell_source(void *source, off64_t *offset, int whence)
{
    if (*offset != 0 || whence != SEEK_CUR) {
        return -1;
    }
    *offset = static_cast<off64_t>(static_cast<ByteSource *>(source)->octets_read());
    return 0;
}

// Gives libpcap the source, the octets already looked at included, as a stream that it closes with the capture.
Capture open_capture(ByteSource &source, std::string &error)
{
    constexpr cookie_io_functions_t kReadOnly{read_source, nullptr, tell_source, nullptr};
    constexpr std::size_t kBufferSize = 1U << 16;

    std::unique_ptr<std::FILE, CloseFile> file(fopencookie(&source, "rb", kReadOnly));
    if (file == nullptr) {
        error = std::strerror(errno);
        return nullptr;
    }
    std::setvbuf(file.get(), nullptr, _IOFBF, kBufferSize);
    char text[PCAP_ERRBUF_SIZE] = "";
    Capture capture(pcap_fopen_offline_with_tstamp_precision(file.get(), PCAP_TSTAMP_PRECISION_NANO, text));
    if (capture != nullptr) {
        (void)file.release(); // the capture closes it
    }
    error = text;
    return capture;
}

std::string link_type_name(int link_type)
{
    const char *name = pcap_datalink_val_to_name(link_type);
    return name != nullptr ? fmt::format("{} ({})", link_type, name) : fmt::format("{}", link_type);
}

// Since 1970; none if it is too far from there.
std::optional<std::int64_t> time_of(const pcap_pkthdr &header)
{
    constexpr std::int64_t kPerSecond = 1'000'000'000;
    std::int64_t time = 0;
    if (__builtin_mul_overflow(std::int64_t{header.ts.tv_sec}, kPerSecond, &time) ||
        __builtin_add_overflow(time, std::int64_t{header.ts.tv_usec}, &time)) {
        return std::nullopt;
    }
    return time;
}

class CaptureReader {
public:
    CaptureReader(ByteSource &source, std::string_view file, InputSink &sink)
        : source_(source), sink_(sink), file_(file), streams_(file, sink)
    {
    }

    bool run();

private:
    bool read_packets(pcap_t *capture, PacketDecoder &decoder);
    void read_packet(PacketDecoder &decoder, const Frame &frame, const std::optional<std::int64_t> &time);
    void report(std::uint64_t packet, std::optional<std::uint64_t> file_octet, const std::optional<std::int64_t> &time,
                std::string_view text);

    ByteSource &source_;
    InputSink &sink_;
    std::string_view file_;
    TcpStreams streams_;
    std::optional<std::uint64_t> packet_at_; // in the file
};

bool CaptureReader::run()
{
    std::string error;
    const Capture capture = open_capture(source_, error);
    if (capture == nullptr) {
        report(0, source_.octets_read(), std::nullopt, fmt::format("not a readable capture: {}", error));
        return false;
    }
    const int link_type = pcap_datalink(capture.get());
    auto decoder = PacketDecoder::for_link_type(link_type);
    if (!decoder) {
        report(0, std::nullopt, std::nullopt, fmt::format("link type {} is not supported", link_type_name(link_type)));
        return false;
    }
    const bool complete = read_packets(capture.get(), *decoder);
    for (const std::uint64_t packet : decoder->unfinished()) {
        report(packet, std::nullopt, std::nullopt, "IP datagram in fragments, not all of which are in the capture");
    }
    streams_.finish();
    return complete;
}

bool CaptureReader::read_packets(pcap_t *capture, PacketDecoder &decoder)
{
    ReadingProgress progress(source_, sink_);
    std::uint64_t number = 0;
    for (;;) {
        pcap_pkthdr *header = nullptr;
        const u_char *octets = nullptr;
        const off_t at = ftello(pcap_file(capture));
        packet_at_ = at >= 0 ? std::optional(static_cast<std::uint64_t>(at)) : std::nullopt;
        const int status = pcap_next_ex(capture, &header, &octets);
        ++number;
        if (status != 1) {
            progress.finish();
            if (status != PCAP_ERROR_BREAK) {
                report(number, packet_at_, std::nullopt,
                       fmt::format("the capture breaks off: {}", pcap_geterr(capture)));
            }
            return status == PCAP_ERROR_BREAK;
        }
        read_packet(decoder, {{octets, header->caplen}, header->len, number}, time_of(*header));
        progress.step();
    }
}

void CaptureReader::read_packet(PacketDecoder &decoder, const Frame &frame, const std::optional<std::int64_t> &time)
{
    std::optional<TcpSegment> segment;
    try {
        segment = decoder.decode(frame);
    } catch (const PacketError &error) {
        report(frame.number, packet_at_, time, error.what());
        return;
    }
    if (segment) {
        streams_.add(*segment, {frame.number, time});
    }
}

void CaptureReader::report(std::uint64_t packet, std::optional<std::uint64_t> file_octet,
                           const std::optional<std::int64_t> &time, std::string_view text)
{
    Origin origin;
    origin.file = file_;
    origin.number = packet;
    origin.in_file = file_octet.has_value();
    origin.offset = file_octet.value_or(0);
    origin.time_ns = time;
    sink_.problem(origin, text);
}

} // namespace

bool is_capture(std::span<const std::uint8_t> head)
{
    // pcap with microseconds, with nanoseconds and with the longer packet header, in either byte order; pcapng
    static constexpr std::array<std::uint8_t, 4> kMagics[] = {
        {0xa1, 0xb2, 0xc3, 0xd4}, {0xd4, 0xc3, 0xb2, 0xa1}, {0xa1, 0xb2, 0x3c, 0x4d}, {0x4d, 0x3c, 0xb2, 0xa1},
        {0xa1, 0xb2, 0xcd, 0x34}, {0x34, 0xcd, 0xb2, 0xa1}, {0x0a, 0x0d, 0x0d, 0x0a},
    };
    return std::any_of(std::begin(kMagics), std::end(kMagics), [&](const auto &magic) {
        return head.size() >= magic.size() && std::equal(magic.begin(), magic.end(), head.begin());
    });
}

bool read_capture(ByteSource &source, std::string_view file, InputSink &sink)
{
    return CaptureReader(source, file, sink).run();
}

} // namespace qel::host
