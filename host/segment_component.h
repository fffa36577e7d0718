// A stand-in for the multicast component of a segmentation point: it is asked for a route's replaced tunnel and
// Segmented Next-Hop in messages 137 and 138, and answers in the same.
#pragma once

#include "host/update.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace qel::host {

class SegmentComponent {
public:
    enum class Mood : std::uint8_t {
        prompt, // an answer is ready at once
        late,   // it waits for its release
        silent, // there is never one
    };
    // What the next segment uses. Nothing: the answer goes without it.
    struct Replacement {
        std::optional<std::array<std::uint8_t, 8>> segmented_next_hop; // in wire order
        std::optional<std::vector<std::uint8_t>> tunnel;               // the PMSI tunnel attribute's value
    };
    struct Answer {
        std::vector<std::uint8_t> route;      // message 137
        std::vector<std::uint8_t> attributes; // message 138
    };

    void set_mood(Mood mood) { mood_ = mood; }
    void set_replacement(Replacement replacement) { replacement_ = std::move(replacement); }

    // A request: messages 137 and 138 as they were written. What is answered is settled here, however late it comes.
    void hear(Octets route, Octets attributes);
    // The next answer that is ready.
    std::optional<Answer> next();
    // Makes the oldest `count` of the answers that wait ready; returns how many there were.
    std::size_t release(std::size_t count);
    std::size_t waiting() const { return waiting_.size(); }

private:
    Answer answer_to(Octets route, Octets attributes) const;

    Mood mood_ = Mood::prompt;
    Replacement replacement_;
    std::deque<Answer> ready_;
    std::deque<Answer> waiting_;
};

} // namespace qel::host
