#include "host/input.h"

#include "capture_builder.h"
#include "host/bgp_stream.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace qel::test {
namespace {

using host::Origin;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Found {
    std::string file;
    Origin::Unit unit = Origin::Unit::packet;
    std::uint64_t number = 0;
    std::uint64_t offset = 0;
    std::optional<std::int64_t> time_ns;
    std::string from;
    std::string to;
    Bytes octets;
    std::string text;
};

class Collector : public host::InputSink {
public:
    void message(const Origin &origin, std::span<const std::uint8_t> octets) override
    {
        messages.push_back(found(origin, octets, ""));
    }
    void attribute(const Origin &origin, std::span<const std::uint8_t> octets) override
    {
        attributes.push_back(found(origin, octets, ""));
    }
    void problem(const Origin &origin, std::string_view text) override { problems.push_back(found(origin, {}, text)); }
    void progress(std::uint64_t octets_read, std::uint64_t octets_total) override
    {
        reports.emplace_back(octets_read, octets_total);
    }

    std::vector<Bytes> message_octets() const
    {
        std::vector<Bytes> out;
        for (const Found &one : messages) {
            out.push_back(one.octets);
        }
        return out;
    }
    std::vector<std::string> problem_texts() const
    {
        std::vector<std::string> out;
        for (const Found &one : problems) {
            out.push_back(one.text);
        }
        return out;
    }

    std::vector<Found> messages;
    std::vector<Found> attributes;
    std::vector<Found> problems;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> reports;
    bool complete = false;

private:
    static Found found(const Origin &origin, std::span<const std::uint8_t> octets, std::string_view text)
    {
        return {std::string(origin.file),
                origin.unit,
                origin.number,
                origin.offset,
                origin.time_ns,
                std::string(origin.from),
                std::string(origin.to),
                {octets.begin(), octets.end()},
                std::string(text)};
    }
};

struct CaseName {
    template <class Case> std::string operator()(const testing::TestParamInfo<Case> &test) const
    {
        return test.param.name;
    }
};

class TempFile {
public:
    explicit TempFile(std::span<const std::uint8_t> content)
    {
        const int fd = ::mkstemp(name_.data());
        if (fd < 0) {
            throw std::runtime_error("no temporary file");
        }
        std::size_t written = 0;
        while (written < content.size()) {
            const ssize_t got = ::write(fd, content.data() + written, content.size() - written);
            if (got <= 0) {
                throw std::runtime_error("temporary file not written");
            }
            written += static_cast<std::size_t>(got);
        }
        ::close(fd);
    }
    ~TempFile() { ::unlink(name_.c_str()); }
    TempFile(const TempFile &) = delete;
    TempFile &operator=(const TempFile &) = delete;
    const std::string &name() const { return name_; }

private:
    std::string name_ = testing::TempDir() + "/qel_input_XXXXXX";
};

// A pipe into which a thread writes, piece by piece, until all is written or the reader has gone.
class FedPipe {
public:
    using Next = std::function<Bytes()>; // the next piece; empty: the end
    explicit FedPipe(Next next)
    {
        if (::pipe(ends_) != 0 || std::signal(SIGPIPE, SIG_IGN) == SIG_ERR) {
            throw std::runtime_error("no pipe");
        }
        feeder_ = std::thread([this, next = std::move(next)] {
            for (Bytes piece = next(); !piece.empty(); piece = next()) {
                if (::write(ends_[1], piece.data(), piece.size()) < 0) {
                    break;
                }
            }
            ::close(ends_[1]);
        });
    }
    ~FedPipe()
    {
        ::close(ends_[0]);
        feeder_.join();
    }
    FedPipe(const FedPipe &) = delete;
    FedPipe &operator=(const FedPipe &) = delete;

    std::string name() const { return "/dev/fd/" + std::to_string(ends_[0]); }
    int reading_end() const { return ends_[0]; }

private:
    int ends_[2] = {-1, -1};
    std::thread feeder_;
};

FedPipe::Next in_pieces(Bytes all, std::size_t size)
{
    return [all = std::move(all), size, at = std::size_t{0}]() mutable {
        const std::size_t take = std::min(size, all.size() - at);
        Bytes piece(all.begin() + static_cast<std::ptrdiff_t>(at),
                    all.begin() + static_cast<std::ptrdiff_t>(at + take));
        at += take;
        return piece;
    };
}

Collector read_file(const std::string &name)
{
    Collector out;
    out.complete = host::read_input(name, out);
    return out;
}

Collector read_bytes(std::span<const std::uint8_t> content)
{
    return read_file(TempFile(content).name());
}

Collector read_text(std::string_view text)
{
    return read_bytes(Bytes(text.begin(), text.end()));
}

Collector read_frames(const std::vector<CapturedFrame> &frames, std::uint32_t link_type = kEthernet)
{
    CaptureWriter writer;
    writer.link_type = link_type;
    return read_bytes(writer.pcap(frames));
}

Collector read_segments(const std::vector<Segment> &segments)
{
    std::vector<CapturedFrame> frames;
    for (const Segment &segment : segments) {
        frames.push_back({frame(segment)});
    }
    return read_frames(frames);
}

Bytes slice(const Bytes &all, std::size_t from, std::size_t size)
{
    const auto begin = all.begin() + static_cast<std::ptrdiff_t>(from);
    return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

Segment syn(std::uint32_t isn)
{
    return {.sequence = isn, .payload = {}, .flags = kSyn};
}

Segment data(std::uint32_t sequence, Bytes payload)
{
    return {.sequence = sequence, .payload = std::move(payload)};
}

// ---- files ----

TEST(Input, EmptyFileIsAProblem)
{
    const Collector out = read_bytes({});
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.problem_texts(), ElementsAre("empty input"));
}

TEST(Input, MissingFileIsAProblem)
{
    const Collector out = read_file(testing::TempDir() + "/qel_no_such_file");
    EXPECT_FALSE(out.complete);
    ASSERT_EQ(out.problems.size(), 1U);
    EXPECT_EQ(out.problems[0].text, "cannot be read: No such file or directory");
    EXPECT_EQ(out.problems[0].file, testing::TempDir() + "/qel_no_such_file");
    EXPECT_EQ(out.problems[0].number, 0U);
}

TEST(Input, DirectoryIsAProblem)
{
    const Collector out = read_file(testing::TempDir());
    EXPECT_FALSE(out.complete);
    EXPECT_THAT(out.problem_texts(), ElementsAre("cannot be read: Is a directory"));
}

TEST(Input, FileWithoutPermissionIsAProblem)
{
    const TempFile file(keepalive());
    ASSERT_EQ(::chmod(file.name().c_str(), 0), 0);
    const uid_t user = ::geteuid();
    if (user == 0) {
        ASSERT_EQ(::seteuid(65534), 0); // permissions do not bind root
    }
    const Collector out = read_file(file.name());
    ASSERT_EQ(::seteuid(user), 0);
    EXPECT_FALSE(out.complete);
    EXPECT_THAT(out.problem_texts(), ElementsAre("cannot be read: Permission denied"));
}

TEST(Input, EndlessBinaryInputEndsAtOnce)
{
    for (const char *device : {"/dev/urandom", "/dev/zero"}) {
        const Collector out = read_file(device);
        EXPECT_FALSE(out.complete);
        EXPECT_THAT(out.messages, IsEmpty());
        EXPECT_THAT(out.problem_texts(),
                    ElementsAre("neither a capture (pcap, pcapng) nor hex text: it holds binary data"));
    }
}

TEST(Input, EndlessBinaryInputBehindTextEnds)
{
    bool first = true;
    const FedPipe pipe([&first] {
        const Bytes piece(65536, first ? '\n' : 0);
        first = false;
        return piece;
    });
    const Collector out = read_file(pipe.name());
    EXPECT_FALSE(out.complete);
    EXPECT_THAT(out.problem_texts(), ElementsAre(HasSubstr("binary data")));
}

TEST(Input, EndlessLineEnds)
{
    const FedPipe pipe([] { return Bytes(65536, 'a'); });
    const Collector out = read_file(pipe.name());
    EXPECT_FALSE(out.complete);
    EXPECT_THAT(out.problem_texts(), ElementsAre("the line holds more than 65535 octets",
                                                 "no hex text: a line of more than 16777216 characters"));
}

TEST(Input, EndlessCommentEnds)
{
    const FedPipe pipe([] { return Bytes(65536, '#'); });
    const Collector out = read_file(pipe.name());
    EXPECT_FALSE(out.complete);
    EXPECT_THAT(out.problem_texts(), ElementsAre("no hex text: a line of more than 16777216 characters"));
}

TEST(Input, PipeIsReadLikeAFile)
{
    const Bytes capture = CaptureWriter{}.pcap({{{frame(syn(1))}, {frame(data(2, keepalive()))}}});
    for (const std::size_t size : {1U, 3U, 1000U}) {
        const FedPipe pipe(in_pieces(capture, size));
        const Collector out = read_file(pipe.name());
        EXPECT_TRUE(out.complete);
        EXPECT_THAT(out.message_octets(), ElementsAre(keepalive()));
        EXPECT_EQ(out.reports.back(), (std::pair<std::uint64_t, std::uint64_t>{capture.size(), 0}));
    }
    const std::string text = "40 01 01 00\n" + hex(keepalive()) + "\n";
    const FedPipe pipe(in_pieces(Bytes(text.begin(), text.end()), 1));
    const Collector out = read_file(pipe.name());
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive()));
    EXPECT_EQ(out.attributes.size(), 1U);
}

TEST(Input, DashIsStandardInput)
{
    const std::string text = hex(keepalive());
    const FedPipe pipe(in_pieces(Bytes(text.begin(), text.end()), 5));
    const int before = ::dup(STDIN_FILENO);
    ASSERT_GE(before, 0);
    ASSERT_EQ(::dup2(pipe.reading_end(), STDIN_FILENO), STDIN_FILENO);
    const Collector out = read_file("-");
    ASSERT_EQ(::dup2(before, STDIN_FILENO), STDIN_FILENO);
    ::close(before);
    EXPECT_TRUE(out.complete);
    ASSERT_EQ(out.messages.size(), 1U);
    EXPECT_EQ(out.messages[0].file, "-");
}

TEST(Input, ProgressComesEveryMebibyteAndAtTheEnd)
{
    const std::string line = std::string(1023, ' ') + "\n";
    std::string text;
    for (int i = 0; i < 3 * 1024; ++i) {
        text += line;
    }
    const Collector out = read_text(text);
    ASSERT_GE(out.reports.size(), 4U);
    EXPECT_LE(out.reports.size(), 5U);
    EXPECT_EQ(out.reports.back(), (std::pair<std::uint64_t, std::uint64_t>{text.size(), text.size()}));
}

TEST(Input, ProgressComesEveryThousandPackets)
{
    const std::vector<CapturedFrame> frames(2500, {ethernet(bytes("00"), "0806")});
    const Collector out = read_frames({frames.begin(), frames.end()}, 12);
    EXPECT_TRUE(out.complete);
    EXPECT_EQ(out.reports.size(), 3U);
}

// ---- capture formats ----

struct Format {
    const char *name;
    bool pcapng;
    bool big_endian;
    bool nanoseconds;
};

class CaptureFormat : public testing::TestWithParam<Format> {
protected:
    Bytes write(const std::vector<CapturedFrame> &frames) const
    {
        CaptureWriter writer;
        writer.big_endian = GetParam().big_endian;
        writer.nanoseconds = GetParam().nanoseconds;
        return GetParam().pcapng ? writer.pcapng(frames) : writer.pcap(frames);
    }
};

INSTANTIATE_TEST_SUITE_P(
    All, CaptureFormat,
    testing::Values(Format{"PcapLittle", false, false, false}, Format{"PcapBig", false, true, false},
                    Format{"PcapNanoLittle", false, false, true}, Format{"PcapNanoBig", false, true, true},
                    Format{"PcapngLittle", true, false, false}, Format{"PcapngBig", true, true, false},
                    Format{"PcapngNanoLittle", true, false, true}, Format{"PcapngNanoBig", true, true, true}),
    CaseName{});

TEST_P(CaptureFormat, MessagesComeWithTheirOrigin)
{
    const std::uint64_t time = 1'700'000'000'123'456'789;
    const Bytes content =
        write({{frame(syn(100)), time},
               {frame({.sequence = 900, .payload = {}, .flags = kSyn | kAck, .back = true}), time + 1000},
               {frame(data(101, join({keepalive(), update(4)}))), time + 2000},
               {frame({.sequence = 901, .payload = keepalive(), .back = true}), time + 3000}});
    const TempFile file(content);
    const Collector out = read_file(file.name());

    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.problems, IsEmpty());
    ASSERT_EQ(out.messages.size(), 3U);
    const auto shown = [&](std::uint64_t ns) {
        return static_cast<std::int64_t>(GetParam().nanoseconds ? ns : ns / 1000 * 1000);
    };
    EXPECT_EQ(out.messages[0].file, file.name());
    EXPECT_EQ(out.messages[0].unit, Origin::Unit::packet);
    EXPECT_EQ(out.messages[0].number, 3U);
    EXPECT_EQ(out.messages[0].offset, 0U);
    EXPECT_EQ(out.messages[0].time_ns, shown(time + 2000));
    EXPECT_EQ(out.messages[0].from, "192.0.2.1:40000");
    EXPECT_EQ(out.messages[0].to, "192.0.2.2:179");
    EXPECT_EQ(out.messages[0].octets, keepalive());
    EXPECT_EQ(out.messages[1].number, 3U);
    EXPECT_EQ(out.messages[1].offset, 19U);
    EXPECT_EQ(out.messages[1].octets, update(4));
    EXPECT_EQ(out.messages[2].number, 4U);
    EXPECT_EQ(out.messages[2].offset, 0U);
    EXPECT_EQ(out.messages[2].time_ns, shown(time + 3000));
    EXPECT_EQ(out.messages[2].from, "192.0.2.2:179");
    EXPECT_EQ(out.messages[2].to, "192.0.2.1:40000");
    EXPECT_EQ(out.reports.back(), (std::pair<std::uint64_t, std::uint64_t>{content.size(), content.size()}));
}

TEST_P(CaptureFormat, WithoutPacketsIsNoProblem)
{
    const Collector out = read_bytes(write({}));
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.messages, IsEmpty());
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST_P(CaptureFormat, CutAnywhereDeliversWhatIsBefore)
{
    const std::vector<CapturedFrame> frames{
        {frame(syn(100))}, {frame(data(101, keepalive()))}, {frame(data(120, update(7)))}};
    const Bytes whole = write(frames);
    // where a cut leaves a whole file, and how many messages are before it
    std::map<std::size_t, std::size_t> ends;
    for (std::size_t count = 0; count <= frames.size(); ++count) {
        ends[write({frames.begin(), frames.begin() + static_cast<std::ptrdiff_t>(count)}).size()] = count;
    }
    std::size_t packets = 0;
    for (std::size_t size = 4; size <= whole.size(); ++size) {
        SCOPED_TRACE(size);
        const auto end = ends.find(size);
        packets = end != ends.end() ? end->second : packets;
        const Collector out = read_bytes(slice(whole, 0, size));
        EXPECT_EQ(out.messages.size(), packets > 1 ? packets - 1 : 0);
        if (end != ends.end()) {
            EXPECT_TRUE(out.complete);
            EXPECT_THAT(out.problems, IsEmpty());
        } else {
            EXPECT_FALSE(out.complete);
            ASSERT_EQ(out.problems.size(), 1U);
            EXPECT_EQ(out.problems[0].number, size < ends.begin()->first ? 0 : packets + 1);
        }
    }
}

TEST_P(CaptureFormat, DamagedAnywhereNeverCrashes)
{
    const Bytes whole = write({{frame(syn(100))}, {frame(data(101, keepalive()))}, {frame(data(120, update(7)))}});
    for (std::size_t at = 4; at < whole.size(); ++at) {
        for (const std::uint8_t value : bytes("00 7f 80 ff")) {
            Bytes damaged = whole;
            damaged[at] = value;
            EXPECT_LE(read_bytes(damaged).messages.size(), 2U);
        }
    }
}

TEST(Capture, ShorterThanItsMagicIsNoCapture)
{
    EXPECT_THAT(read_bytes(bytes("d4c3b2")).problem_texts(), ElementsAre("octet 0xd4 is no hex digit"));
}

TEST(Capture, UnknownLinkTypeIsNamed)
{
    const Collector out = read_frames({{frame(syn(1))}}, 105);
    EXPECT_FALSE(out.complete);
    EXPECT_THAT(out.problem_texts(), ElementsAre("link type 105 (IEEE802_11) is not supported"));
    EXPECT_THAT(read_frames({}, 9999).problem_texts(), ElementsAre("link type 9999 is not supported"));
}

TEST(Capture, TimeBeyondRangeIsNone)
{
    CaptureWriter writer; // microseconds since 1970 in 64 bits reach further than nanoseconds
    writer.raw_time = true;
    const Collector out = read_bytes(writer.pcapng({{{frame(data(1, keepalive())), UINT64_MAX}}}));
    ASSERT_THAT(out.message_octets(), ElementsAre(keepalive()));
    EXPECT_EQ(out.messages[0].time_ns, std::nullopt);
}

// ---- link layers and IP ----

struct Link {
    const char *name;
    std::uint32_t link_type;
    Bytes frame;
    std::string from = "192.0.2.1:40000";
};

class LinkLayer : public testing::TestWithParam<Link> {};

const Segment kKeepalive{.sequence = 1, .payload = keepalive()};
const std::string kFrom6 = "[2001:db8::1]:40000";

INSTANTIATE_TEST_SUITE_P(
    All, LinkLayer,
    testing::Values(
        Link{"Ethernet", 1, ethernet(ipv4(kKeepalive))},
        Link{"EthernetIpv6", 1, ethernet(ipv6(kKeepalive), "86dd"), kFrom6},
        Link{"EthernetPadded", 1, join({ethernet(ipv4(kKeepalive)), bytes("ffff ffff ffff ffff")})},
        Link{"EthernetIpv6Padded", 1, join({ethernet(ipv6(kKeepalive), "86dd"), bytes("ffff ffff ffff")}), kFrom6},
        Link{"Vlan", 1, ethernet(ipv4(kKeepalive), "8100 0064 0800")},
        Link{"VlanInVlan", 1, ethernet(ipv4(kKeepalive), "8100 0064 8100 0065 0800")},
        Link{"ProviderVlan", 1, ethernet(ipv6(kKeepalive), "88a8 0064 8100 0065 86dd"), kFrom6},
        Link{"Snap", 1, ethernet(ipv4(kKeepalive), "0043 aaaa03 000000 0800")},
        Link{"Cooked", 113, join({bytes("0000 0001 0006 020000000001 0000 0800"), ipv4(kKeepalive)})},
        Link{"CookedIpv6", 113, join({bytes("0000 0001 0006 020000000001 0000 86dd"), ipv6(kKeepalive)}), kFrom6},
        Link{"Cooked2", 276, join({bytes("0800 0000 00000002 0001 00 06 020000000001 0000"), ipv4(kKeepalive)})},
        Link{"Cooked2Ipv6", 276, join({bytes("86dd 0000 00000002 0001 00 06 020000000001 0000"), ipv6(kKeepalive)}),
             kFrom6},
        Link{"Cooked2Vlan", 276,
             join({bytes("8100 0000 00000002 0001 00 06 020000000001 0000 0064 0800"), ipv4(kKeepalive)})},
        Link{"RawIpv4", 101, ipv4(kKeepalive)}, Link{"RawIpv6", 101, ipv6(kKeepalive), kFrom6},
        Link{"OnlyIpv4", 228, ipv4(kKeepalive)}, Link{"OnlyIpv6", 229, ipv6(kKeepalive), kFrom6},
        Link{"NullLittle", 0, join({bytes("02000000"), ipv4(kKeepalive)})},
        Link{"NullBigIpv6", 0, join({bytes("0000001e"), ipv6(kKeepalive)}), kFrom6},
        Link{"Loop", 108, join({bytes("00000002"), ipv4(kKeepalive)})},
        Link{"Ipv4InIpv4", 1, ethernet(ipv4_packet(ipv4(kKeepalive), true, 4))},
        Link{"Ipv6WithExtension", 1, ethernet(ipv6(kKeepalive, 0, bytes("0600 0502 0000 0100")), "86dd"), kFrom6}),
    CaseName{});

TEST_P(LinkLayer, CarriesMessages)
{
    const Collector out = read_frames({{GetParam().frame}}, GetParam().link_type);
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.problem_texts(), IsEmpty());
    ASSERT_THAT(out.message_octets(), ElementsAre(keepalive()));
    EXPECT_EQ(out.messages[0].from, GetParam().from);
}

TEST_P(LinkLayer, CutAnywhereNeverCrashes)
{
    for (std::size_t size = 0; size < GetParam().frame.size(); ++size) {
        SCOPED_TRACE(size);
        const Collector cut = read_frames({{GetParam().frame, 0, size}}, GetParam().link_type);
        EXPECT_TRUE(cut.complete);
        const Collector shorter = read_frames({{slice(GetParam().frame, 0, size)}}, GetParam().link_type);
        EXPECT_TRUE(shorter.complete);
    }
}

TEST(Packet, OfAnotherPortOrProtocolIsPassedOver)
{
    const Segment other{.sequence = 1, .payload = keepalive(), .port = 40000, .bgp_port = 1790};
    const Collector out =
        read_frames({{frame(other)},
                     {ethernet(ipv4_packet(Bytes(30), false, 17))},
                     {ethernet(bytes("0001 0800 0604 0001 020000000001 c0000201 000000000000 c0000202"), "0806")},
                     {ethernet(Bytes(40), "88cc")}});
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.messages, IsEmpty());
    EXPECT_THAT(out.problem_texts(), IsEmpty());
}

TEST(Packet, WithoutATotalLengthReachesToTheFramesEnd)
{
    Bytes offloaded = frame(data(1, update(300))); // as segmentation in the network card leaves it
    offloaded[14 + 2] = offloaded[14 + 3] = 0;
    const Collector out = read_frames({{offloaded}});
    EXPECT_THAT(out.message_octets(), ElementsAre(update(300)));
    EXPECT_THAT(out.problem_texts(), IsEmpty());
}

TEST(Packet, MalformedOneIsAProblemWithItsNumber)
{
    Bytes bad = frame(data(1, keepalive()));
    bad[14 + 20 + 12] = 0x10; // a TCP header of four octets
    const Collector out = read_frames({{frame(syn(0))}, {bad, 5000}, {frame(data(1, keepalive()))}});
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive()));
    ASSERT_EQ(out.problems.size(), 1U);
    EXPECT_EQ(out.problems[0].number, 2U);
    EXPECT_EQ(out.problems[0].time_ns, 5000);
    EXPECT_EQ(out.problems[0].text, "Malformed packet");
}

TEST(Packet, CutInItsHeadersIsAProblem)
{
    const Collector out = read_frames({{frame(data(1, keepalive())), 0, 40}});
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.problem_texts(), ElementsAre("Malformed packet, cut by the capture's snap length"));
}

TEST(Packet, CutInItsPayloadLosesTheRest)
{
    const Bytes first = join({keepalive(), update(100)});
    const Collector out = read_frames(
        {{frame(syn(0))}, {frame(data(1, first)), 0, 54 + 19 + 30}, {frame(data(1 + 19 + 119, keepalive()))}});
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive(), keepalive()));
    ASSERT_EQ(out.problems.size(), 1U);
    EXPECT_EQ(out.problems[0].number, 2U);
    EXPECT_EQ(out.problems[0].offset, 49U);
    EXPECT_EQ(out.problems[0].text,
              "89 octets missing inside a message: the packet is cut by the capture's snap length");
    EXPECT_EQ(out.messages[1].offset, 138U);
}

TEST(Packet, CutOneThatComesAgainWholeIsNoLossWhileItWaits)
{
    const Bytes all = join({update(50), update(60)});
    const Collector out = read_frames({{frame(syn(0))},
                                       {frame(data(1 + 69, slice(all, 69, 79))), 0, 54 + 30},
                                       {frame(data(1 + 69, slice(all, 69, 79)))},
                                       {frame(data(1, slice(all, 0, 69)))}});
    EXPECT_THAT(out.message_octets(), ElementsAre(update(50), update(60)));
    EXPECT_THAT(out.problem_texts(), IsEmpty());
}

constexpr std::uint16_t kMoreFragments = 0x2000;

TEST(Packet, Ipv4FragmentsArePutTogether)
{
    const Bytes whole = tcp(data(1, update(100)));
    const Bytes first = ethernet(ipv4_packet(slice(whole, 0, 64), false, 6, kMoreFragments));
    const Bytes second = ethernet(ipv4_packet(slice(whole, 64, whole.size() - 64), false, 6, 64 / 8));
    for (const bool swapped : {false, true}) {
        const Collector out = read_frames({{frame(syn(0))}, {swapped ? second : first}, {swapped ? first : second}});
        EXPECT_THAT(out.message_octets(), ElementsAre(update(100)));
        EXPECT_THAT(out.problem_texts(), IsEmpty());
        EXPECT_EQ(out.messages.at(0).number, 3U);
    }
}

TEST(Packet, MissingIpv4FragmentIsAProblem)
{
    const Bytes whole = tcp(data(1, update(100)));
    const Collector out = read_frames({{ethernet(ipv4_packet(slice(whole, 0, 64), false, 6, kMoreFragments))}});
    EXPECT_THAT(out.messages, IsEmpty());
    ASSERT_EQ(out.problems.size(), 1U);
    EXPECT_EQ(out.problems[0].number, 1U);
    EXPECT_THAT(out.problems[0].text, HasSubstr("fragments"));
}

TEST(Packet, CutIpv4FragmentIsAProblem)
{
    const Bytes whole = tcp(data(1, update(100)));
    const Collector out = read_frames({{ethernet(ipv4_packet(slice(whole, 0, 64), false, 6, kMoreFragments)), 0, 60}});
    EXPECT_THAT(out.problem_texts(), ElementsAre("fragment of an IP datagram, cut by the capture's snap length"));
}

TEST(Packet, FragmentsThatNeverBecomeWholeAreGivenUp)
{
    const Bytes whole = tcp(data(1, update(100)));
    std::vector<CapturedFrame> frames;
    for (std::uint16_t id = 0; id < 600; ++id) {
        frames.push_back({ethernet(ipv4_packet(slice(whole, 0, 64), false, 6, kMoreFragments, id))});
    }
    const Collector out = read_frames(frames);
    const auto texts = out.problem_texts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "more than 256 IP datagrams are in fragments; those are given up"),
              2);
    EXPECT_EQ(out.problems[0].number, 257U);
}

TEST(Packet, FragmentOfAnotherProtocolIsPassedOver)
{
    const Collector out = read_frames({{ethernet(ipv4_packet(Bytes(64), false, 17, kMoreFragments))}});
    EXPECT_THAT(out.problem_texts(), IsEmpty());
}

TEST(Packet, Ipv6FragmentIsAProblem)
{
    const Collector out = read_frames({{ethernet(ipv6(kKeepalive, 44, bytes("0600 0001 00000001")), "86dd")}});
    EXPECT_THAT(out.messages, IsEmpty());
    EXPECT_THAT(out.problem_texts(), ElementsAre("fragment of an IPv6 packet; these are not reassembled"));
}

// ---- TCP ----

TEST(TcpStream, MessageAcrossSegmentsIsTheLastOnes)
{
    const Bytes all = join({update(100), keepalive()});
    const Collector out =
        read_segments({syn(0), data(1, slice(all, 0, 10)), data(11, slice(all, 10, 60)), data(71, slice(all, 70, 68))});
    EXPECT_THAT(out.message_octets(), ElementsAre(update(100), keepalive()));
    EXPECT_EQ(out.messages[0].number, 4U);
    EXPECT_EQ(out.messages[0].offset, 0U);
    EXPECT_EQ(out.messages[1].offset, 119U);
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST(TcpStream, OneOctetPerSegment)
{
    const Bytes all = join({update(300, 0xff), keepalive(), update(9)});
    std::vector<Segment> segments{syn(0)};
    for (std::uint32_t at = 0; at < all.size(); ++at) {
        segments.push_back(data(1 + at, {all[at]}));
    }
    const Collector out = read_segments(segments);
    EXPECT_THAT(out.message_octets(), ElementsAre(update(300, 0xff), keepalive(), update(9)));
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST(TcpStream, LongestMessage)
{
    const Bytes longest = update(65535 - 19, 0x5a);
    std::vector<Segment> segments{syn(0)};
    for (std::uint32_t at = 0; at < longest.size(); at += 1000) {
        segments.push_back(data(1 + at, slice(longest, at, std::min<std::size_t>(1000, longest.size() - at))));
    }
    const Collector out = read_segments(segments);
    EXPECT_THAT(out.message_octets(), ElementsAre(longest));
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST(TcpStream, EveryOrderOfSegmentsGivesTheSameStream)
{
    const Bytes all = join({update(40, 1), update(50, 2), keepalive(), update(60, 3)});
    std::vector<std::uint32_t> order{0, 1, 2, 3, 4};
    const std::uint32_t size = static_cast<std::uint32_t>(all.size() / order.size() + 1);
    do {
        for (const std::uint32_t overlap : {0U, 7U, 60U}) {
            std::vector<Segment> segments{syn(0xffffffc0)}; // the sequence number goes round
            for (const std::uint32_t piece : order) {
                const std::uint32_t from = piece * size - std::min(piece * size, overlap);
                const std::uint32_t end =
                    std::min<std::uint32_t>((piece + 1) * size, static_cast<std::uint32_t>(all.size()));
                segments.push_back(data(0xffffffc1 + from, slice(all, from, end - from)));
            }
            const Collector out = read_segments(segments);
            EXPECT_THAT(out.message_octets(), ElementsAre(update(40, 1), update(50, 2), keepalive(), update(60, 3)));
            EXPECT_THAT(out.problem_texts(), IsEmpty());
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(TcpStream, RetransmissionIsNotReadTwice)
{
    const Collector out = read_segments({syn(0), syn(0), data(1, keepalive()), data(1, keepalive()),
                                         data(1, join({keepalive(), update(4)})), data(19, {0}), data(20, update(4))});
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive(), update(4)));
    EXPECT_THAT(out.problem_texts(), IsEmpty());
}

TEST(TcpStream, RetransmissionBehindTheEndIsNotReadTwice)
{
    const Collector out = read_segments({syn(0),
                                         {.sequence = 50, .payload = {}, .flags = kSyn | kAck, .back = true},
                                         data(1, keepalive()),
                                         {.sequence = 20, .payload = {}, .flags = kFin | kAck},
                                         {.sequence = 51, .payload = {}, .flags = kFin | kAck, .back = true},
                                         data(1, keepalive()),
                                         {.sequence = 20, .payload = {}, .flags = kFin | kAck}});
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive()));
    EXPECT_THAT(out.problem_texts(), IsEmpty());
}

TEST(TcpStream, LostSegmentIsAProblemAndReadingGoesOn)
{
    const Collector out = read_segments({syn(0), data(1, update(10)), data(30 + 100, keepalive()),
                                         data(149, slice(update(30), 0, 40)), data(189, slice(update(30), 40, 9))});
    EXPECT_THAT(out.message_octets(), ElementsAre(update(10), keepalive(), update(30)));
    ASSERT_EQ(out.problems.size(), 1U);
    EXPECT_EQ(out.problems[0].text, "100 octets missing: the capture lacks their segments");
    EXPECT_EQ(out.problems[0].offset, 29U);
    EXPECT_EQ(out.problems[0].number, 3U);
    EXPECT_EQ(out.messages[1].number, 3U);
    EXPECT_EQ(out.messages[1].offset, 129U);
    EXPECT_EQ(out.messages[2].number, 5U);
}

TEST(TcpStream, ReadsOnBehindALostSegmentBeforeTheCaptureEnds)
{
    std::vector<Segment> segments{syn(0)};
    for (std::uint32_t i = 1; i <= 1100; ++i) {
        segments.push_back(data(1 + 19 * i, keepalive()));
    }
    segments.push_back({.sequence = 1, .payload = keepalive(), .back = true});
    const Collector out = read_segments(segments);
    ASSERT_EQ(out.messages.size(), 1101U);
    EXPECT_THAT(out.problem_texts(), ElementsAre("19 octets missing: the capture lacks their segments"));
    EXPECT_EQ(out.messages[0].number, 2U);
    EXPECT_EQ(out.messages.back().from, "192.0.2.2:179");
}

TEST(TcpStream, ReadsOnWhenAMebibyteIsHeld)
{
    const Bytes message = update(60000);
    std::vector<Segment> segments{syn(0)};
    for (std::uint32_t i = 0; i < 20; ++i) {
        segments.push_back(data(100 + static_cast<std::uint32_t>(message.size()) * i, message));
    }
    segments.push_back({.sequence = 1, .payload = keepalive(), .back = true});
    const Collector out = read_segments(segments);
    ASSERT_EQ(out.messages.size(), 21U);
    EXPECT_EQ(out.problems.size(), 1U);
    EXPECT_EQ(out.messages.back().from, "192.0.2.2:179");
}

TEST(TcpStream, JoinedAtAMessageIsNoProblem)
{
    const Collector out = read_segments({data(5000, keepalive()), data(5019, update(4))});
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive(), update(4)));
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST(TcpStream, JoinedInsideAMessageSkipsToTheNext)
{
    for (const std::uint8_t fill : {std::uint8_t{0}, std::uint8_t{0xff}}) {
        for (std::size_t cut = 1; cut < 119; ++cut) {
            SCOPED_TRACE(cut);
            const Bytes all = join({update(100, fill), update(8), keepalive()});
            const Bytes tail = slice(all, cut, all.size() - cut);
            const Collector out =
                read_segments({data(7, slice(tail, 0, 15)), data(22, slice(tail, 15, tail.size() - 15))});
            EXPECT_THAT(out.message_octets(), ElementsAre(update(8), keepalive()));
            ASSERT_EQ(out.problems.size(), 1U);
            EXPECT_EQ(out.problems[0].offset, 0U);
            EXPECT_EQ(out.problems[0].text,
                      std::to_string(119 - cut) + " octets skipped before the first whole message");
            EXPECT_EQ(out.messages[0].offset, 119 - cut);
        }
    }
}

TEST(TcpStream, WithoutAnyMessageIsOneProblem)
{
    const Collector out = read_segments({data(1, Bytes(1000, 0x11)), data(1001, Bytes(500, 0xff))});
    EXPECT_THAT(out.messages, IsEmpty());
    EXPECT_THAT(out.problem_texts(), ElementsAre("no BGP message in the 1500 octets of the stream"));
}

TEST(TcpStream, BadMarkerIsAProblemAndTheNextMessageIsFound)
{
    Bytes bad = update(20, 0xff);
    bad[3] = 0;
    const Collector out = read_segments({syn(0), data(1, join({keepalive(), bad, keepalive(), update(5)}))});
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive(), keepalive(), update(5)));
    ASSERT_EQ(out.problems.size(), 1U);
    EXPECT_EQ(out.problems[0].offset, 19U);
    EXPECT_EQ(out.problems[0].number, 2U);
    EXPECT_EQ(out.problems[0].text, "no BGP marker where a message should begin; looking for the next one");
    EXPECT_EQ(out.messages[1].offset, 58U);
}

TEST(TcpStream, BadLengthIsAProblemAndTheNextMessageIsFound)
{
    for (const std::uint8_t length : bytes("00 01 12")) {
        Bytes bad = update(6);
        bad[17] = length;
        const Collector out = read_segments({syn(0), data(1, join({bad, keepalive()}))});
        EXPECT_THAT(out.message_octets(), ElementsAre(keepalive()));
        EXPECT_THAT(out.problem_texts(), ElementsAre("message length " + std::to_string(length) +
                                                     " is below 19; looking for the next message"));
    }
}

TEST(TcpStream, UnknownMessageTypeInStepIsHandedOn)
{
    const Collector out = read_segments({syn(0), data(1, join({bgp_message(9, bytes("01")), keepalive()}))});
    EXPECT_THAT(out.message_octets(), ElementsAre(bgp_message(9, bytes("01")), keepalive()));
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST(TcpStream, ResynchronisesOnPlausibleHeadersOnly)
{
    Bytes long_keepalive = bgp_message(4, bytes("00"));
    Bytes short_open = bgp_message(1, bytes("00"));
    Bytes type_6 = bgp_message(6, Bytes(10));
    const Collector out = read_segments({data(1, join({bytes("00"), long_keepalive, short_open, type_6, update(4)}))});
    EXPECT_THAT(out.message_octets(), ElementsAre(update(4)));
}

TEST(TcpStream, EndInsideAMessageIsAProblem)
{
    const Bytes cut = slice(update(50), 0, 33);
    const std::string text = "the stream ends inside a message, 33 octets";
    const Collector at_end = read_segments({syn(0), data(1, join({keepalive(), cut}))});
    EXPECT_THAT(at_end.problem_texts(), ElementsAre(text));
    EXPECT_EQ(at_end.problems[0].offset, 19U);
    EXPECT_EQ(at_end.problems[0].from, "192.0.2.1:40000");

    const Collector at_fin = read_segments({syn(0),
                                            {.sequence = 1, .payload = cut, .flags = kFin | kAck},
                                            {.sequence = 1, .payload = keepalive(), .back = true}});
    EXPECT_THAT(at_fin.problem_texts(), ElementsAre(text));
    EXPECT_EQ(at_fin.problems[0].number, 2U);
}

TEST(TcpStream, EndBeforeItsLastSegmentsWaitsForThem)
{
    const Bytes all = join({update(30), keepalive()});
    const Collector out = read_segments(
        {syn(0), {.sequence = 41, .payload = slice(all, 40, 28), .flags = kFin | kAck}, data(1, slice(all, 0, 40))});
    EXPECT_THAT(out.message_octets(), ElementsAre(update(30), keepalive()));
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST(TcpStream, NewConnectionOnTheSamePortsIsAnother)
{
    for (const std::uint32_t isn : {5U, 0x80000000U, 0x90000000U, 0xfffffff0U}) {
        SCOPED_TRACE(isn);
        const Collector out = read_segments({syn(100),
                                             data(101, join({keepalive(), slice(update(50), 0, 20)})),
                                             syn(isn),
                                             {.sequence = isn + 77, .payload = {}, .flags = kSyn | kAck, .back = true},
                                             data(isn + 1, update(8)),
                                             {.sequence = isn + 78, .payload = keepalive(), .back = true}});
        EXPECT_THAT(out.message_octets(), ElementsAre(keepalive(), update(8), keepalive()));
        EXPECT_THAT(out.problem_texts(), ElementsAre("the stream ends inside a message, 20 octets"));
        EXPECT_EQ(out.messages[1].offset, 0U);
    }
}

TEST(TcpStream, JumpOfTheSequenceNumberIsAnotherConnection)
{
    for (const std::uint32_t jump : {0x10000000U, 0x7fffffffU, 0x80000000U, 0xc0000000U}) {
        const Collector out = read_segments({syn(100), data(101, keepalive()), data(120 + jump, update(8))});
        EXPECT_THAT(out.message_octets(), ElementsAre(keepalive(), update(8)));
        EXPECT_THAT(out.problem_texts(),
                    ElementsAre("the TCP sequence number jumps; taken for another connection on the same ports"));
    }
}

TEST(TcpStream, ResetsTextIsNoPayload)
{
    const Collector out =
        read_segments({syn(0), data(1, keepalive()), {.sequence = 20, .payload = bytes("6e6f"), .flags = kRst}});
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive()));
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST(TcpStream, DataOnTheSynIsRead)
{
    const Collector out = read_segments({{.sequence = 0, .payload = keepalive(), .flags = kSyn}, data(20, update(4))});
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive(), update(4)));
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST(TcpStream, ConnectionsAreKeptApart)
{
    Segment first = data(1, slice(update(30), 0, 25));
    Segment second = data(1, slice(update(40), 0, 25));
    second.port = 40001;
    Segment first_rest = data(26, slice(update(30), 25, 24));
    Segment second_rest = data(26, slice(update(40), 25, 34));
    second_rest.port = 40001;
    const Collector out = read_segments({first, second, second_rest, first_rest});
    EXPECT_THAT(out.message_octets(), ElementsAre(update(40), update(30)));
    EXPECT_EQ(out.messages[0].from, "192.0.2.1:40001");
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST(TcpStream, OldestConnectionMakesRoomAndSaysWhatIsUnfinished)
{
    std::vector<Segment> segments{data(1, join({keepalive(), slice(update(4), 0, 20)}))};
    for (std::uint16_t port = 1000; port < 1000 + 4096; ++port) {
        Segment one = syn(0);
        one.port = port;
        segments.push_back(one);
    }
    segments.push_back({.sequence = 1, .payload = keepalive(), .port = 1500});
    const Collector out = read_segments(segments);
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive(), keepalive()));
    EXPECT_THAT(out.problem_texts(), ElementsAre("the stream ends inside a message, 20 octets"));
}

// ---- BGP framing on its own: every way of cutting a stream gives the same messages ----

class Framed : public host::BgpStream::Handler {
public:
    void on_message(std::uint64_t offset, std::span<const std::uint8_t> octets) override
    {
        messages.emplace_back(offset, Bytes(octets.begin(), octets.end()));
        places.push_back(octets.data());
    }
    void on_problem(std::uint64_t offset, std::string_view text) override { problems.emplace_back(offset, text); }

    std::vector<std::pair<std::uint64_t, Bytes>> messages;
    std::vector<std::pair<std::uint64_t, std::string>> problems;
    std::vector<const std::uint8_t *> places;
};

TEST(BgpFraming, DoesNotDependOnHowTheStreamIsCut)
{
    Bytes bad_length = update(5);
    bad_length[17] = 3;
    const Bytes all = join({bytes("0102"), Bytes(20, 0xff), bytes("00"), keepalive(), update(30, 0xff), bad_length,
                            Bytes(17, 0xff), update(3), keepalive(), Bytes(40, 7), keepalive(), bytes("ffff")});
    for (const bool joined : {false, true}) {
        Framed whole;
        host::BgpStream stream(joined);
        stream.feed(all, whole);
        stream.end(whole);
        ASSERT_GE(whole.messages.size(), 4U);
        for (std::size_t size = 1; size < 60; ++size) {
            SCOPED_TRACE(size);
            Framed cut;
            host::BgpStream again(joined);
            for (std::size_t at = 0; at < all.size(); at += size) {
                const ExactCopy chunk(slice(all, at, std::min(size, all.size() - at)));
                again.feed({chunk.data(), chunk.size()}, cut);
            }
            again.end(cut);
            EXPECT_EQ(cut.messages, whole.messages);
            EXPECT_EQ(cut.problems, whole.problems);
        }
    }
}

TEST(BgpFraming, MessagesOfOneChunkAreNotCopied)
{
    const Bytes all = join({keepalive(), update(9)});
    Framed out;
    host::BgpStream stream(false);
    stream.feed(all, out);
    EXPECT_THAT(out.places, ElementsAre(all.data(), all.data() + 19));
}

// ---- hex text ----

struct TextCase {
    const char *name;
    std::string text;
    Bytes octets;
    std::uint64_t line = 1;
    std::uint64_t column = 1;
};

const std::string kHexKeepalive = "ffffffffffffffffffffffffffffffff001304";

class TextMessage : public testing::TestWithParam<TextCase> {};

INSTANTIATE_TEST_SUITE_P(
    All, TextMessage,
    testing::Values(TextCase{"Plain", kHexKeepalive + "\n", keepalive()},
                    TextCase{"WithoutLineEnd", kHexKeepalive, keepalive()},
                    TextCase{"CarriageReturn", kHexKeepalive + "\r\n", keepalive()},
                    TextCase{"UpperCase", "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF001304\n", keepalive()},
                    TextCase{"Prefix", "0x" + kHexKeepalive + "\n", keepalive(), 1, 3},
                    TextCase{"UpperPrefix", "0X" + kHexKeepalive + "\n", keepalive(), 1, 3},
                    TextCase{"Indented", " \t" + kHexKeepalive + "\n", keepalive(), 1, 3},
                    TextCase{"BlanksAndTabs", "ffffffff ffffffff\tffffffffffffffff  0013 04 \n", keepalive()},
                    TextCase{"BlankInsideAnOctet", "f fffffff ffffffff ffffffffffffffff 0013 0 4\n", keepalive()},
                    TextCase{"PrefixOfEachWord", "0xffffffffffffffff 0xffffffffffffffff 0x0013 0x04\n", keepalive(), 1,
                             3},
                    TextCase{"Comment", kHexKeepalive + " # a KEEPALIVE, \xc3\xbc 0xzz\n", keepalive()},
                    TextCase{"CommentAtOnce", kHexKeepalive + "#\n", keepalive()},
                    TextCase{"BehindEmptyLines", "\n# nothing\n   \r\n" + kHexKeepalive, keepalive(), 4}),
    CaseName{});

TEST_P(TextMessage, IsRead)
{
    const Collector out = read_text(GetParam().text);
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.problem_texts(), IsEmpty());
    ASSERT_THAT(out.message_octets(), ElementsAre(GetParam().octets));
    EXPECT_EQ(out.messages[0].unit, Origin::Unit::line);
    EXPECT_EQ(out.messages[0].number, GetParam().line);
    EXPECT_EQ(out.messages[0].offset, GetParam().column);
    EXPECT_EQ(out.messages[0].time_ns, std::nullopt);
    EXPECT_EQ(out.messages[0].from, "");
}

TEST(Text, SeveralMessagesOnOneLine)
{
    const std::string update4 = hex(update(4));
    const Collector out = read_text(kHexKeepalive + " " + update4 + kHexKeepalive + "\n" + update4);
    EXPECT_THAT(out.problem_texts(), IsEmpty());
    ASSERT_THAT(out.message_octets(), ElementsAre(keepalive(), update(4), keepalive(), update(4)));
    EXPECT_EQ(out.messages[1].offset, 40U);
    EXPECT_EQ(out.messages[2].offset, 40U + 46U);
    EXPECT_EQ(out.messages[3].number, 2U);
}

TEST(Text, LongestMessage)
{
    const Collector out = read_text(hex(update(65535 - 19, 0xab)) + "\n" + kHexKeepalive);
    EXPECT_THAT(out.problem_texts(), IsEmpty());
    EXPECT_THAT(out.message_octets(), ElementsAre(update(65535 - 19, 0xab), keepalive()));
}

TEST(Text, BarePathAttributes)
{
    const Collector out = read_text("40 01 01 00\n  800e0300 0105\n900e 0001 07\nc0 08 00\n");
    EXPECT_THAT(out.problem_texts(), IsEmpty());
    EXPECT_THAT(out.messages, IsEmpty());
    ASSERT_EQ(out.attributes.size(), 4U);
    EXPECT_EQ(out.attributes[0].octets, bytes("40010100"));
    EXPECT_EQ(out.attributes[1].octets, bytes("800e03000105"));
    EXPECT_EQ(out.attributes[1].number, 2U);
    EXPECT_EQ(out.attributes[1].offset, 3U);
    EXPECT_EQ(out.attributes[2].octets, bytes("900e000107"));
    EXPECT_EQ(out.attributes[3].octets, bytes("c00800"));
}

struct Mistake {
    const char *name;
    std::string line;
    std::uint64_t column;
    std::string text;
};

class TextMistake : public testing::TestWithParam<Mistake> {};

INSTANTIATE_TEST_SUITE_P(
    All, TextMistake,
    testing::Values(
        Mistake{"Comma", "40,01", 3, "',' is no hex digit"}, Mistake{"Letter", "  4g", 4, "'g' is no hex digit"},
        Mistake{"HighOctet", "40 \xe4", 4, "octet 0xe4 is no hex digit"},
        Mistake{"PrefixTwice", "0x0x40010100", 4, "'x' is no hex digit"},
        Mistake{"PrefixBehindAnOctet", "400x01", 4, "'x' is no hex digit"},
        Mistake{"PrefixBehindADigit", "4 0x01", 4, "'x' is no hex digit"},
        Mistake{"LoneX", "x40", 1, "'x' is no hex digit"},
        Mistake{"OddDigits", "40 01 01 0", 10, "the last octet has one digit only"},
        Mistake{"OddDigitsComment", "40 01 01 0 # odd", 10, "the last octet has one digit only"},
        Mistake{"PrefixAlone", " 0x", 2, "no octets behind the prefix"},
        Mistake{"HeaderCut", "ffffffffffffffffffffffffffffffff0013", 1,
                "a BGP message has a header of 19 octets; 18 are present"},
        Mistake{"MarkerAlone", "ffffffffffffffffffffffffffffffff", 1,
                "a BGP message has a header of 19 octets; 16 are present"},
        Mistake{"LengthTooLarge", "ffffffffffffffffffffffffffffffff00170200", 1,
                "the message's length field makes it 23 octets; 20 are present"},
        Mistake{"LengthTooSmall", " ffffffffffffffffffffffffffffffff00130400", 2,
                "the message's length field makes it 19 octets; 20 are present"},
        Mistake{"LengthBelowHeader", "ffffffffffffffffffffffffffffffff001204", 1,
                "the message's length field says 18, below the header's 19"},
        Mistake{"AttributeHeaderCut", "40 01", 1, "a path attribute has a header of 3 octets; 2 are present"},
        Mistake{"LongAttributeHeaderCut", "90 0e 00", 1, "a path attribute has a header of 4 octets; 3 are present"},
        Mistake{"AttributeCut", "80 0e 05 00 01", 1, "the attribute's length field makes it 8 octets; 5 are present"},
        Mistake{"AttributeTooLong", "80 0e 01 00 01", 1,
                "the attribute's length field makes it 4 octets; 5 are present"},
        Mistake{"LongAttributeCut", "90 0e 0100 01", 1,
                "the attribute's length field makes it 260 octets; 5 are present"},
        Mistake{"TooManyOctets", "0x" + std::string(131072, 'a'), 131073, "the line holds more than 65535 octets"}),
    CaseName{});

TEST_P(TextMistake, IsAProblemWithLineAndColumnAndTheNextLinesGoOn)
{
    for (const std::string_view end : {"\n", "\r\n"}) {
        const Collector out =
            read_text("# first\n" + GetParam().line + std::string(end) + kHexKeepalive + "\n40010100");
        EXPECT_TRUE(out.complete);
        ASSERT_THAT(out.problem_texts(), ElementsAre(GetParam().text));
        EXPECT_EQ(out.problems[0].unit, Origin::Unit::line);
        EXPECT_EQ(out.problems[0].number, 2U);
        EXPECT_EQ(out.problems[0].offset, GetParam().column);
        EXPECT_THAT(out.message_octets(), ElementsAre(keepalive()));
        EXPECT_EQ(out.messages[0].number, 3U);
        EXPECT_EQ(out.attributes.size(), 1U);
    }
}

TEST(Text, MessagesBeforeTheMistakeOfALineAreRead)
{
    const Collector out = read_text(kHexKeepalive + kHexKeepalive + "ffffffffffffffffffffffffffffffff001702");
    EXPECT_THAT(out.message_octets(), ElementsAre(keepalive(), keepalive()));
    ASSERT_THAT(out.problem_texts(), ElementsAre("the message's length field makes it 23 octets; 19 are present"));
    EXPECT_EQ(out.problems[0].offset, 77U);
}

TEST(Text, NothingButCommentsAndBlanksIsNoProblem)
{
    const Collector out = read_text("# nothing\n\n \t \r\n");
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.problems, IsEmpty());
}

TEST(Text, ControlCharacterBehindTheHeadIsABadLine)
{
    std::string text;
    for (int i = 0; i < 2000; ++i) {
        text += "# line\n";
    }
    const Collector out = read_text(text + "40\x01\n" + kHexKeepalive);
    EXPECT_TRUE(out.complete);
    EXPECT_THAT(out.problem_texts(), ElementsAre("octet 0x01 is no hex digit"));
    EXPECT_EQ(out.messages.size(), 1U);
    EXPECT_FALSE(read_text("40\x01\n" + text).complete);
}

} // namespace
} // namespace qel::test
