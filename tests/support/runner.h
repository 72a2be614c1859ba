// Runs command lines in which "kzv" is the runner of this build.
#pragma once

#include "support/shell.h"

namespace kzv {

inline Outcome run(const std::string &command) { return shell("PATH=" KZV_FOLDER ":$PATH\n" + command); }

}  // namespace kzv
