// Every operation of a family, with good input, as rows that can be called again and again.
#pragma once

#include "support.h"

#include "host/family.h"
#include "host/route.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qel::test {

// Where an operation puts what it hands out. What a failed call may not touch is compared with what stood there.
class Outputs {
public:
    Outputs() : room(1024, 0xee), cursor(room.data()) {}
    ~Outputs()
    {
        if (block_written()) {
            host::BlockFree{}(block);
        }
        if (octets_written()) {
            host::BlockFree{}(octets);
        }
    }
    Outputs(const Outputs &) = delete;
    Outputs &operator=(const Outputs &) = delete;

    // The block that an operation is given to change: message 138 takes that of message 137.
    void hold(host::BlockPtr held) { block = held.release(); }
    bool block_written() const { return block != &untouched_block; }
    bool octets_written() const { return octets != untouched_octets; }
    std::size_t written() const { return static_cast<std::size_t>(cursor - room.data()); }
    // Everything that came out, as text that two calls can be compared by.
    std::string told() const
    {
        std::string text = hex({room.data(), written()}) + "/" + std::to_string(length) + "/" + std::to_string(index) +
                           "/" + std::to_string(more);
        if (block_written() && block != nullptr) {
            const auto *start = reinterpret_cast<const std::uint8_t *>(block);
            text += "/" + hex({start, size_of_block(*block)});
        }
        return text + (octets_written() && octets != nullptr ? "/" + hex({octets, length}) : std::string());
    }

    inline static QEL_ROUTE_BLOCK_S untouched_block{};
    inline static std::uint8_t untouched_octets[1]{};

    static std::size_t size_of_block(const QEL_ROUTE_BLOCK_S &told)
    {
        return sizeof(told) + told.usRdLen + told.usKeyLen + told.usNonKeyLen + told.usLabelLen + told.usAttrLen +
               told.usCrossLen;
    }

    QEL_ROUTE_BLOCK_S *block = &untouched_block;
    std::uint8_t *octets = untouched_octets;
    std::uint32_t length = 0;
    std::uint32_t index = 0;
    std::uint32_t more = 0;
    std::vector<std::uint8_t> room;
    std::uint8_t *cursor;
};

struct FaultRow {
    std::string name;
    std::function<std::uint32_t(Outputs &)> call;
    // What a failed allocation does, a letter for each of the call's allocations in order; with the context's own
    // buffer free, and with it lent to somebody else.
    std::string_view faults = "";
    std::string_view faults_lent = faults;
    std::uint32_t good = QEL_OK; // the code of a call in which nothing fails
};

struct Fault {
    std::uint32_t code;
    bool stores_null = false; // in place of a block or of octets
    bool carries_on = false;  // the call goes on without what it could not have
    bool reported = true;
};

inline Fault fault_of(char letter)
{
    switch (letter) {
    case 'B': // no block
        return {QEL_ERR_ALLOC};
    case 'N': // no block, and a null pointer where it would stand
        return {QEL_ERR_ALLOC, true};
    case 'U': // the same without a report
        return {QEL_ERR_ALLOC, true, false, false};
    case '1': // no work buffer
        return {QEL_ERR_FAILED};
    case '3': // no copy, no work buffer
        return {QEL_ERR_MEMORY};
    case 'z': // no copy, and a null pointer where it would stand
        return {QEL_ERR_MEMORY, true};
    case 'q': // the route is lost quietly
        return {QEL_OK};
    case 'Q': // the same, with a null pointer where its block would stand
        return {QEL_OK, true};
    case 'c': // the call goes on without
        return {QEL_OK, false, true};
    case 'o': // no work buffer: the buffer to hand out is given back, and null stands in its place
        return {QEL_ERR_FAILED, true};
    case 'T': // a TLV whose value could not be kept
        return {QEL_ERR_TLV};
    default:
        ADD_FAILURE() << "no such fault: " << letter;
        return {};
    }
}

// A message between components, with the octets that a host keeps readable behind it.
class TrustedOctets {
public:
    explicit TrustedOctets(std::vector<std::uint8_t> octets) : size_(octets.size()), octets_(std::move(octets))
    {
        octets_.resize(size_ + QEL_MSG_READ_SLACK, 0x5a);
    }
    const std::uint8_t *data() const { return octets_.data(); }
    std::uint32_t size() const { return static_cast<std::uint32_t>(size_); }

private:
    std::size_t size_;
    std::vector<std::uint8_t> octets_;
};

// The octets of what a row hands out, and what it cost.
struct GoodCall {
    std::string told;
    std::uint64_t allocations = 0;
};

inline GoodCall expect_good(const FaultRow &row)
{
    const LeakCheck leaks;
    const std::uint64_t before = platform::usage(kMemHandle).allocations;
    Outputs out;
    EXPECT_EQ(row.call(out), row.good);
    return {out.told(), platform::usage(kMemHandle).allocations - before};
}

inline void expect_nothing_half_written(const Outputs &out, const Fault &fault)
{
    EXPECT_EQ(out.written(), 0U);
    EXPECT_EQ(out.block_written() ? out.block : nullptr, nullptr);
    EXPECT_EQ(out.octets_written() ? out.octets : nullptr, nullptr);
    EXPECT_EQ(out.block_written() || out.octets_written(), fault.stores_null);
}

// One call whose allocation number `after` fails. False: it did not need so many.
inline bool expect_fault(const FaultRow &row, std::string_view faults, std::size_t after)
{
    const LeakCheck leaks;
    const platform::Recorder recorder;
    Outputs out;
    const platform::FailAllocation failure(after);
    const std::uint32_t code = row.call(out);
    if (!failure.fired()) {
        EXPECT_EQ(code, row.good);
        return false;
    }
    if (after >= faults.size()) {
        ADD_FAILURE() << "an allocation more than stated, answered with 0x" << std::hex << code;
        return true;
    }
    const Fault fault = fault_of(faults[after]);
    EXPECT_EQ(code, fault.code) << "allocation " << after;
    EXPECT_EQ(!recorder.asserts().empty(), fault.reported) << "allocation " << after;
    if (!fault.carries_on) {
        expect_nothing_half_written(out, fault);
    }
    return true;
}

inline void expect_faults_of(const FaultRow &row, std::string_view faults)
{
    const GoodCall good = expect_good(row);
    EXPECT_EQ(good.allocations, faults.size());
    std::size_t after = 0;
    while (expect_fault(row, faults, after)) {
        EXPECT_EQ(expect_good(row).told, good.told) << "the call behind a failed one";
        ++after;
    }
    EXPECT_EQ(after, faults.size());
}

// Calls each row with its first, second, ... allocation failing until none fails, with the context's buffer free and
// lent.
inline void expect_faults(const std::vector<FaultRow> &rows, QEL_FAMILY_CTX_S *ctx)
{
    for (const FaultRow &row : rows) {
        SCOPED_TRACE(row.name);
        expect_faults_of(row, row.faults);
        EXPECT_EQ(ctx->uiInlineBufUsed, 0U);
        SCOPED_TRACE("buffer lent");
        ctx->uiInlineBufUsed = 1;
        expect_faults_of(row, row.faults_lent);
        EXPECT_EQ(ctx->uiInlineBufUsed, 1U);
        ctx->uiInlineBufUsed = 0;
    }
}

} // namespace qel::test
