// What the runner can be told to do. Everything returns the exit code: 0, 1 when a function raised a host
// exception or the plugin cannot be loaded, 2 for wrong use.
#pragma once

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "abi.h"

namespace kzv::runner {

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUse = 2;

enum class Format { kBytes, kHex, kJson };

struct Options {
  std::filesystem::path plugin;
  REALencoding label = kEncodingUTF8;
  Format format = Format::kBytes;
  bool newline_at_end = false;  // behind a result in bytes
  std::optional<double> host_version = 2013.03;
};

struct Output {
  std::ostream &out;
  std::ostream &err;
};

int call_function(const Options &options, const std::vector<std::string> &words, const Output &output);
int list_functions(const Options &options, const Output &output);
int help_on(const std::vector<std::string> &names, const Output &output);

// Runs a command line for the tour: the words of an example, with the tour's own options where it names none.
using RunWords = int (*)(const std::vector<std::string> &words, const Options &defaults,
                         const Output &output);
int tour(const Options &options, RunWords run, const Output &output);

}  // namespace kzv::runner
