// What the runner understands: rows that its parser, help, manual page and shell completions are made from.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "options.h"

namespace kzv::runner {

inline constexpr std::string_view kVersion = KZV_VERSION;
inline constexpr std::string_view kReleased = KZV_RELEASED;
inline constexpr std::string_view kSubject =
    "calls the functions of the kzvstrings plugin from the command line, as a host would";

// What comes after an option or a command.
enum class Takes { kNothing, kArguments, kFunction, kFile, kEncoding, kHostVersion, kShell };

// An option or a command; NAME is any function's.
struct Row {
  std::string_view name;
  std::string_view value;  // the help's name for what comes after it
  Takes takes;
  std::string_view sentence;
  void (*set)(Options &options, const std::string &value);  // null if it does not change the options
  Command run;                                              // null if there is nothing to run

  // "--as ENCODING", "help NAME...".
  std::string with_value() const;
};

struct Usage {
  std::span<const Row> options;
  std::span<const Row> commands;  // NAME first
};

// The words to choose from: encodings and shells; empty for anything else.
std::string choices(Takes takes);

struct Paragraph {
  std::string_view title;
  std::string text;
};
std::span<const Paragraph> paragraphs();

std::string help_text(const Usage &usage);

}  // namespace kzv::runner
