// Reads BGP messages and path attributes from hex text.
#pragma once

#include "host/byte_source.h"
#include "host/input.h"

#include <string_view>

namespace qel::host {

// A line holds one BGP message, several of them one behind the other, or one path attribute. False if the file cannot
// be read to its end or is no text; a problem has said why.
bool read_text(ByteSource &source, std::string_view file, InputSink &sink);

} // namespace qel::host
