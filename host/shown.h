// Words from elsewhere as messages show them.
#pragma once

#include <string>
#include <string_view>

namespace kzv::host {

// The text with its middle left out where it is long, and with control characters and what is no UTF-8 as
// "\x1B": a message stays one line and leaves the terminal alone.
std::string shown(std::string_view text);

}  // namespace kzv::host
