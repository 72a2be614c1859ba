// Describes a plugin file without trusting it.
#pragma once

#include "options.h"

namespace kzv::runner {

int describe_plugin(const Options &options, const Words &words, const Output &output);

}  // namespace kzv::runner
