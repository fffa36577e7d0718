// The transcript of a scenario at a segmentation point: as text for people, as JSON for programs.
#pragma once

#include "host/output.h"
#include "host/segment_notes.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace qel::host {

class SegmentTranscript : public NoteSink {
public:
    // A line of the scenario that is a comment and nothing else.
    virtual void remark(std::string_view text) = 0;
    // The event of a line begins.
    virtual void step(std::uint64_t line, std::string_view event) = 0;
    virtual void flush() = 0;
};

// `log`: with the library's own log lines.
std::unique_ptr<SegmentTranscript> make_text_transcript(Output &out, bool log);
std::unique_ptr<SegmentTranscript> make_json_transcript(Output &out, bool log);

} // namespace qel::host
