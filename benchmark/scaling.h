// How times grow: with the size of hostile input, and with a second thread.
#pragma once

#include <regex>

#include "calls.h"

namespace kzv::bench {

void print_scaling(Plugin &plugin, const std::regex &wanted);

}  // namespace kzv::bench
