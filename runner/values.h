// Values: read from the command line, passed to the host.
#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "declaration.h"
#include "host.h"
#include "options.h"

namespace kzv::runner {

// Null for a nil string or memory block.
using Value = std::variant<host::String, host::MemoryBlock, std::int32_t, double, bool>;

// Reads one argument as the parameter's type. A string or memory block is text as typed, "file:PATH", "-" for
// standard input, "hex:4142", "nil", or "text:..." for text that looks like one of these. Typed text is
// converted from UTF-8 to `label`; bytes from elsewhere are not converted. Throws UsageError.
Value read_argument(const Parameter &parameter, const std::string &word, REALencoding label);

// Reads the default that the declaration gives.
Value read_default(const Parameter &parameter);

std::string to_hex(std::string_view bytes);

}  // namespace kzv::runner
