// The runner's command line, separated into options and words.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "usage.h"

namespace kzv::runner {

struct CommandLine {
  std::vector<std::pair<const Row *, std::string>> options;  // with their values, empty for those without
  Words words;
};

// Options are accepted anywhere before "--". Throws UsageError.
CommandLine read_command_line(Words words, std::span<const Row> options);

}  // namespace kzv::runner
