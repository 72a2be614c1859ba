// What a plugin file is, without trusting it.
#pragma once

#include <string>

#include "commands.h"

namespace kzv::runner {

int describe_plugin(const Options &options, const std::string &path, const Output &output);

}  // namespace kzv::runner
