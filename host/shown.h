// Text of unknown content, made safe for messages.
#pragma once

#include <string>
#include <string_view>

namespace kzv::host {

// The text without its middle where it is long, and with "\x1B" for control characters and malformed UTF-8: a
// message stays on one line and cannot control the terminal.
std::string shown(std::string_view text);

}  // namespace kzv::host
