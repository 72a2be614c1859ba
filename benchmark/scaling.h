// How the work grows with the size of hostile input, and what a second thread brings.
#pragma once

#include <regex>

#include "calls.h"

namespace kzv::bench {

// In instructions, with those of a call on a short text. Throws std::runtime_error without callgrind.
void print_scaling(Plugin &plugin, const std::regex &wanted);

void print_threads(Plugin &plugin, const std::regex &wanted);

}  // namespace kzv::bench
