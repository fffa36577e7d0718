// What the tests of the families that log nothing share: an instance, routes whose sections end where their heap blocks
// end, result blocks stated section by section, runs of a reader and of a writer. Records are stated as they lie in
// memory.
#pragma once

#include "lent_buffer.h"
#include "octets.h"
#include "support.h"
#include "written.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qel::test {

inline constexpr std::uint32_t kNull = 0x50002;
inline constexpr std::uint32_t kNoBlock = 0x50001;
inline constexpr std::uint32_t kFailed = 1;
inline constexpr std::uint32_t kBadArgument = 2;
inline constexpr std::uint32_t kOutOfMemory = 3;
inline constexpr std::uint32_t kNoRoom = 4;
inline constexpr std::uint32_t kMalformed = 0x60001;
inline constexpr std::uint32_t kRefusedRoute = 0x60002;
inline constexpr std::uint32_t kBadValue = 0x80001;
inline constexpr std::uint32_t kBadCommunityTlv = 0x80002;
inline constexpr std::uint32_t kNoEntry = 0x80003;
inline constexpr std::uint32_t kAbsent = 0x80012;
inline constexpr std::uint32_t kNoAction = 0x80013;
inline constexpr std::uint32_t kBadCfgRd = 0x80015;
inline constexpr std::uint32_t kNoText = 0x80017;

inline constexpr std::uint8_t kSlackOctet = 0xd7;
inline constexpr std::uint32_t kUnwritten = 0x5a5a5a5a;

// What a trusted sender hands over: the value, and exactly as many readable octets behind it as are promised.
class Trusted {
public:
    explicit Trusted(const Bytes &value)
        : size_(static_cast<std::uint32_t>(value.size())), value_(value + Bytes(QEL_MSG_READ_SLACK, kSlackOctet))
    {
    }
    const std::uint8_t *data() const { return value_.data(); }
    std::uint32_t size() const { return size_; }
    Bytes bytes() const { return slice(value_.bytes(), 0, size_); }

private:
    std::uint32_t size_;
    OddBytes value_;
};

// An instance whose scratch is back and whose heap is empty at the end of the test. Calls: kConstruct, kDestruct,
// kMalloc, kFree.
template <class Calls> class FamilyTest : public ::testing::Test {
protected:
    using LentBuffer = LentBufferOf<Calls::kMalloc, Calls::kFree>;

    void TearDown() override { EXPECT_EQ(ctx_->uiInlineBufUsed, 0U); }
    static std::optional<LentBuffer> lend_if(bool lent, QEL_FAMILY_CTX_S *ctx)
    {
        return lent_buffer_if<LentBuffer>(lent, ctx);
    }

    LeakCheck leaks_;
    Instance instance_{Calls::kConstruct, Calls::kDestruct, 1};
    const QEL_FAMILY_DESC_S &desc_ = instance_.desc;
    QEL_FAMILY_CTX_S *ctx_ = instance_.ctx;
};

// --- routes ---------------------------------------------------------------------------------------------------------

// A word as it lies in memory.
inline Bytes word(std::uint32_t value)
{
    return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
            static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
}

// A family's routes have a non-key or a label, never both.
struct Sections {
    std::optional<Bytes> rd{};
    std::optional<Bytes> key{};
    std::optional<Bytes> nonkey{};
    std::optional<std::uint32_t> label{};
    std::optional<Bytes> list{};
    std::optional<Bytes> cross{};
};

// A host route over copies of the sections, each at an odd address; no call may change them.
class Held {
public:
    explicit Held(const Sections &from)
        : from_(from), rd_(from.rd.value_or(Bytes{})), key_(from.key.value_or(Bytes{})),
          nonkey_(from.nonkey.value_or(Bytes{})), list_(from.list.value_or(Bytes{})),
          cross_(from.cross.value_or(Bytes{}))
    {
        std::memset(&info, 0, sizeof(info));
        info.uiValidMask = from.nonkey ? 0x4 : 0;
        info.uiRdLen = rd_.size();
        info.pucRd = from.rd ? rd_.data() : nullptr;
        info.uiKeyLen = key_.size();
        info.pucKey = from.key ? key_.data() : nullptr;
        info.uiNonKeyLen = nonkey_.size();
        info.pucNonKey = from.nonkey ? nonkey_.data() : nullptr;
        info.uiLabelLen = from.label ? 4 : 0;
        info.uiMplsLabel = from.label.value_or(kUnwritten);
        info.uiExtCommLen = list_.size();
        info.pucExtComm = from.list ? list_.data() : nullptr;
        info.uiCrossLen = cross_.size();
        info.pucCross = from.cross ? cross_.data() : nullptr;
    }
    ~Held()
    {
        EXPECT_EQ(rd_.bytes(), from_.rd.value_or(Bytes{}));
        EXPECT_EQ(key_.bytes(), from_.key.value_or(Bytes{}));
        EXPECT_EQ(nonkey_.bytes(), from_.nonkey.value_or(Bytes{}));
        EXPECT_EQ(list_.bytes(), from_.list.value_or(Bytes{}));
        EXPECT_EQ(cross_.bytes(), from_.cross.value_or(Bytes{}));
    }
    Held(const Held &) = delete;
    Held &operator=(const Held &) = delete;

    QEL_ROUTE_INFO_S info;

private:
    Sections from_;
    OddBytes rd_;
    OddBytes key_;
    OddBytes nonkey_;
    OddBytes list_;
    OddBytes cross_;
};

// --- blocks ---------------------------------------------------------------------------------------------------------

// The block of these sections, byte by byte; the list is the attribute section, of type 16 and flag 0.
inline Bytes block_of(const Sections &sections)
{
    QEL_ROUTE_BLOCK_S header;
    std::memset(&header, 0, sizeof(header));
    Bytes body;
    const auto add = [&](const std::optional<Bytes> &section, std::uint32_t bit, std::uint16_t &offset,
                         std::uint16_t &length) {
        if (section) {
            header.uiValidMask |= bit;
            offset = static_cast<std::uint16_t>(32 + body.size());
            length = static_cast<std::uint16_t>(section->size());
            body = body + *section;
        }
    };
    add(sections.rd, 0x1, header.usRdOffset, header.usRdLen);
    add(sections.key, 0x2, header.usKeyOffset, header.usKeyLen);
    add(sections.nonkey, 0x4, header.usNonKeyOffset, header.usNonKeyLen);
    add(sections.label ? std::optional(word(*sections.label)) : std::nullopt, 0x20, header.usLabelOffset,
        header.usLabelLen);
    add(sections.list, 0x8, header.usAttrOffset, header.usAttrLen);
    add(sections.cross, 0x10, header.usCrossOffset, header.usCrossLen);
    header.ucAttrType = sections.list ? 16 : 0;
    Bytes out(sizeof(header));
    std::memcpy(out.data(), &header, sizeof(header));
    return out + body;
}

inline void expect_block(const Block &block, const Sections &sections)
{
    ASSERT_TRUE(block);
    const Bytes want = block_of(sections);
    EXPECT_EQ(hex(block.section(0, static_cast<std::uint16_t>(want.size()))), hex(want));
}

inline QEL_ROUTE_BLOCK_S *block_marker()
{
    static QEL_ROUTE_BLOCK_S block{};
    return &block;
}

// What an operation that makes a block did.
struct Made {
    std::uint32_t code = 0;
    bool stored = false; // the result pointer was written
    Block block;         // empty: null or not stored
    std::size_t asserts = 0;
    std::uint64_t allocations = 0;
};

template <typename Call> inline Made make(Call call)
{
    QEL_ROUTE_BLOCK_S *result = block_marker();
    Made got;
    const std::uint64_t before = allocations();
    const platform::Recorder recorder;
    got.code = call(&result);
    got.allocations = allocations() - before;
    got.stored = result != block_marker();
    if (got.stored) {
        got.block = Block(result);
    }
    got.asserts = recorder.asserts().size();
    EXPECT_TRUE(recorder.debugs().empty()) << "this family logs nothing";
    return got;
}

inline void expect_made(const Made &got, const Sections &sections, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, asserts);
    expect_block(got.block, sections);
}

// Nothing but the code and the reports.
inline void expect_not_made(const Made &got, std::uint32_t code, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_FALSE(got.stored);
    EXPECT_EQ(got.asserts, asserts);
}

// Every reader of a message's value, and every writer of one, of both families.
using MessageReader = std::uint32_t (*)(const std::uint8_t *, std::uint32_t, QEL_ROUTE_BLOCK_S **, QEL_FAMILY_CTX_S *);
using MessageWriter = std::uint32_t (*)(const QEL_ROUTE_INFO_S *, std::uint8_t **, std::uint32_t, QEL_FAMILY_CTX_S *);

inline Made read_message(MessageReader reader, const Bytes &value, QEL_FAMILY_CTX_S *ctx)
{
    const Trusted message(value);
    Made got = make([&](auto result) { return reader(message.data(), message.size(), result, ctx); });
    EXPECT_EQ(message.bytes(), value);
    return got;
}

// --- writing --------------------------------------------------------------------------------------------------------

// Runs `call(&cursor)` over a buffer of exactly `room` octets at an odd address; nothing is logged.
template <typename Call> inline Written write_into(std::size_t room, Call call)
{
    Written got = write_octets(room, call);
    EXPECT_EQ(got.debugs, 0U);
    return got;
}

inline Written write_message(MessageWriter writer, const QEL_ROUTE_INFO_S &route, std::size_t room,
                             QEL_FAMILY_CTX_S *ctx)
{
    return write_into(room, [&](auto cursor) { return writer(&route, cursor, static_cast<std::uint32_t>(room), ctx); });
}

// --- refusals -------------------------------------------------------------------------------------------------------

template <typename T> inline T *unless(unsigned nulls, unsigned bit, T *argument)
{
    return (nulls >> bit & 1U) != 0 ? nullptr : argument;
}

// Runs `call(nulls)` for every choice of missing arguments out of `count`; bit i of `nulls` means that argument i is
// missing. Each is answered with `code` after one report from the given source, and several are reported by the
// check of the first one.
template <typename Call>
inline void expect_null_arguments_refused(unsigned count, std::string_view source, Call call,
                                          std::uint32_t code = kNull)
{
    std::array<std::uint32_t, 8> lines{};
    const std::uint64_t before = allocations();
    for (unsigned nulls = 1; nulls < 1U << count; ++nulls) {
        SCOPED_TRACE(nulls);
        const platform::Recorder recorder;
        EXPECT_EQ(call(nulls), code);
        ASSERT_EQ(recorder.asserts().size(), 1U);
        EXPECT_TRUE(recorder.asserts()[0].file.ends_with(source)) << recorder.asserts()[0].file;
        EXPECT_EQ(recorder.asserts()[0].value, 0U);
        unsigned first = 0;
        while ((nulls >> first & 1U) == 0) {
            ++first;
        }
        std::uint32_t &line = lines.at(first);
        line = line == 0 ? recorder.asserts()[0].line : line;
        EXPECT_EQ(recorder.asserts()[0].line, line);
        EXPECT_TRUE(recorder.debugs().empty());
    }
    EXPECT_EQ(allocations(), before);
}

// --- allocations that fail ------------------------------------------------------------------------------------------

// Makes each allocation of `call()` fail in turn, which answers with the codes in turn after one report (or as many as
// told); and with nothing failing makes exactly that many. `call` returns something with code, stored and asserts.
template <typename Call>
inline void expect_each_allocation_fails(const std::vector<std::uint32_t> &codes, Call call, std::size_t asserts = 1)
{
    for (std::size_t after = 0; after < codes.size(); ++after) {
        SCOPED_TRACE(after);
        const LeakCheck leaks;
        const platform::FailAllocation failure(after);
        const auto got = call();
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(got.code, codes[after]);
        EXPECT_EQ(got.asserts, asserts);
        EXPECT_FALSE(got.stored);
    }
    const platform::FailAllocation failure(codes.size());
    EXPECT_EQ(call().code, 0U);
    EXPECT_FALSE(failure.fired());
}

} // namespace qel::test
