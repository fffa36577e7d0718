#include "host/input.h"

#include "host/byte_source.h"
#include "host/capture_reader.h"
#include "host/text_reader.h"

#include <fmt/format.h>

#include <optional>
#include <system_error>

namespace qel::host {

bool read_input(const std::string &file, InputSink &sink)
{
    Origin origin;
    origin.file = file;
    origin.unit = Origin::Unit::line;

    std::optional<ByteSource> source;
    try {
        source.emplace(file);
    } catch (const std::system_error &error) {
        sink.problem(origin, fmt::format("cannot be read: {}", error.code().message()));
        return false;
    }
    if (source->head().empty()) {
        sink.problem(origin, "empty input");
        return true;
    }
    return is_capture(source->head()) ? read_capture(*source, file, sink) : read_text(*source, file, sink);
}

} // namespace qel::host
