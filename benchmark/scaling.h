// How the work grows with the size of hostile input, in instructions, and what a second thread brings.
#pragma once

#include <regex>

#include "calls.h"

namespace kzv::bench {

void print_scaling(Plugin &plugin, const std::regex &wanted);

}  // namespace kzv::bench
