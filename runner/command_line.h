// The runner's words, cut into options and what stands besides.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kzv::runner {

struct CommandLine {
  std::map<std::string_view, std::string> options;  // by name; empty for those without a value
  std::vector<std::string> words;

  bool has(std::string_view option) const { return options.contains(option); }
};

// Options may stand anywhere before "--". Throws UsageError.
CommandLine read_command_line(std::vector<std::string> words);

}  // namespace kzv::runner
