// Scripts that complete the runner's words in a shell.
#pragma once

#include <string>
#include <string_view>

namespace kzv::runner {

// Throws UsageError for a shell that there is none for.
std::string completion_for(std::string_view shell);

}  // namespace kzv::runner
