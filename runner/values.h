// Values between the command line and the host.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

#include "declaration.h"
#include "host.h"

namespace kzv::runner {

// Wrong use of the runner: what is wrong and what to do.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A boolean is a type of its own; a null string or block is a null pointer.
using Value = std::variant<host::String, host::MemoryBlock, std::int32_t, double, bool>;

// Reads one argument as the parameter's type. A string or memory block is text as typed, "file:PATH", "-" for
// standard input, "hex:4142", "nil", or "text:..." for text that looks like one of these. Typed text is
// converted from UTF-8 to `label`; bytes from elsewhere stay as they are and get the label. Throws
// UsageError.
Value read_argument(const Parameter &parameter, const std::string &word, REALencoding label);

// Reads a default as the declaration has it.
Value read_default(const Parameter &parameter);

std::string to_hex(std::string_view bytes);

}  // namespace kzv::runner
