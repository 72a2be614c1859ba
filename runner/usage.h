// What the runner takes: the tables that its parser, its help, its manual page and the shells' completions go
// by.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace kzv::runner {

inline constexpr std::string_view kVersion = KZV_VERSION;
inline constexpr std::string_view kReleased = KZV_RELEASED;
inline constexpr std::string_view kSubject =
    "calls the functions of the kzvstrings plugin from the command line, as a host would";

// What may stand in the place of a word.
enum class Takes { kNothing, kArguments, kFunction, kFile, kEncoding, kHostVersion, kShell };

struct OptionRow {
  std::string_view name;
  std::string_view value;  // what the help calls its value; empty for one without
  Takes takes;
  std::string_view sentence;
};
std::span<const OptionRow> option_rows();

struct CommandRow {
  std::string_view name;  // a function's own name has the row NAME
  std::string_view value;
  Takes takes;
  std::string_view sentence;
};
std::span<const CommandRow> command_rows();

// "--as ENCODING", "help NAME...".
template <typename Row>
std::string with_value(const Row &row) {
  return std::string(row.name) + (row.value.empty() ? "" : " ") + std::string(row.value);
}

// What a word that takes one of a few may be: encodings and shells.
std::string choices(Takes takes);

// What there is to know besides, a paragraph with its title each.
struct Paragraph {
  std::string_view title;
  std::string text;
};
std::span<const Paragraph> paragraphs();

std::string help_text();

}  // namespace kzv::runner
