// The platform services of a standalone build, and the accounts that they keep: what is allocated per memory handle,
// what the library reported, what it wrote to the debug output. Tests and the command read them here.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qel::platform {

// Allocations on one memory handle since the process began. Safe to read while other threads allocate.
struct HandleUsage {
    std::uint64_t live_blocks = 0;
    std::uint64_t live_bytes = 0;
    std::uint64_t allocations = 0; // successful ones, ever
};

HandleUsage usage(std::uint32_t mem_handle);
HandleUsage total_usage();

// A failed check that the library reported through ZVK_Assert.
struct AssertRecord {
    std::string file;
    std::uint32_t line = 0;
    std::uint64_t value = 0;
};

// A message that the library wrote through KSX_Debug, formatted.
struct DebugRecord {
    std::uint32_t module = 0;
    std::uint32_t handle = 0;
    std::string name;
    std::uint32_t code = 0;
    std::string text;
};

// Assertions reported in this process so far, whether recorded or not.
std::uint64_t assert_count();

// Collects the assertions and debug messages of the current thread while it lives. Recorders nest: the innermost one
// receives. Without a recorder assertions are counted only and debug messages are dropped.
class Recorder {
public:
    Recorder();
    ~Recorder();
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

    const std::vector<AssertRecord> &asserts() const { return asserts_; }
    const std::vector<DebugRecord> &debugs() const { return debugs_; }
    void clear();

    // For the services themselves.
    void add(AssertRecord record) { asserts_.push_back(std::move(record)); }
    void add(DebugRecord record) { debugs_.push_back(std::move(record)); }

private:
    Recorder *outer_;
    std::vector<AssertRecord> asserts_;
    std::vector<DebugRecord> debugs_;
};

// Makes allocation number `after` of the current thread fail (0: the next one), once, while it lives.
class FailAllocation {
public:
    explicit FailAllocation(std::uint64_t after);
    ~FailAllocation();
    FailAllocation(const FailAllocation &) = delete;
    FailAllocation &operator=(const FailAllocation &) = delete;

    // Whether the failure happened.
    bool fired() const;
};

// Makes text number `after` of the current thread impossible to form (0: the next one), once, while it lives: the
// answer is -1 and nothing is written. A text is one call of snprintf_truncated_s or vsnprintf_truncated_s.
class FailText {
public:
    explicit FailText(std::uint64_t after);
    ~FailText();
    FailText(const FailText &) = delete;
    FailText &operator=(const FailText &) = delete;

    // Whether the failure happened.
    bool fired() const;
};

} // namespace qel::platform
