// Scripts that complete the runner's words in a shell.
#pragma once

#include <string>
#include <string_view>

#include "usage.h"

namespace kzv::runner {

// Throws UsageError for a shell other than bash and zsh.
std::string completion_for(std::string_view shell, const Usage &usage);

}  // namespace kzv::runner
