// What every command is run with, and what it returns.
#pragma once

#include <filesystem>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "abi.h"

namespace kzv::runner {

// Exit codes. A command fails when a function raises a host exception or the plugin cannot be loaded.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUse = 2;

// Wrong use of the runner: what is wrong and what to do.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

enum class Format { kBytes, kHex, kJson };

struct Options {
  std::filesystem::path plugin;
  REALencoding label = kEncodingUTF8;
  Format format = Format::kBytes;
  bool newline_at_end = false;  // after a result in bytes
  std::optional<double> host_version = 2013.03;
};

struct Output {
  std::ostream &out;
  std::ostream &err;
};

// Runs `words`, the first of which is the command's or function's name. Returns the exit code.
using Words = std::vector<std::string>;
using Command = int (*)(const Options &options, const Words &words, const Output &output);

}  // namespace kzv::runner
