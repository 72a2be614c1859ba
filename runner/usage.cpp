#include "usage.h"

#include <algorithm>
#include <array>

#include "encodings.h"

namespace kzv::runner {
namespace {

constexpr OptionRow kOptions[] = {
    {"--plugin", "FILE", Takes::kFile,
     "the plugin file (default: kzvstrings.so beside kzv, or where it was installed with kzv)"},
    {"--as", "ENCODING", Takes::kEncoding,
     "encoding that text arguments get (default UTF-8): typed text is converted to it, bytes from file:, - "
     "and "
     "hex: get its label; \"bytes\" for none"},
    {"--hex", "", Takes::kNothing, "show the result's bytes as hex digits"},
    {"--json", "", Takes::kNothing,
     "show type, encoding, length, text, hex and exception as JSON; list and info show theirs"},
    {"--host-version", "VERSION", Takes::kHostVersion,
     "version that the host tells, or none (default 2013.03)"},
    {"--version", "", Takes::kNothing, "show the version of kzv"},
    {"--help", "", Takes::kNothing, "show this help"},
};

constexpr CommandRow kCommands[] = {
    {"NAME", "[ARG...]", Takes::kArguments, "call a function; missing arguments take their defaults"},
    {"list", "", Takes::kNothing, "all functions, with a sentence on each"},
    {"help", "NAME...", Takes::kFunction, "all about functions, with examples"},
    {"tour", "", Takes::kNothing, "what the plugin registers, with an example of each function"},
    {"info", "FILE", Takes::kFile,
     "all about a plugin file; one for this processor and width is loaded, which runs its code"},
    {"completion", "SHELL", Takes::kShell, "a script that completes kzv's words in bash or zsh"},
    {"manual", "", Takes::kNothing, "the manual page, as man reads it"},
};

constexpr std::size_t kWidth = 110;

// `text` in lines of the help's width, all but the first indented.
std::string wrapped(std::string_view text, std::size_t indent) {
  std::string lines;
  const std::size_t width = kWidth - indent;
  while (text.size() > width) {
    const std::size_t space = text.rfind(' ', width);
    lines += std::string(text.substr(0, space)) + '\n' + std::string(indent, ' ');
    text.remove_prefix(space + 1);
  }
  return lines + std::string(text) + '\n';
}

// One line of a table: the entry in its column, then the sentence.
std::string table_line(const std::string &entry, std::string_view sentence) {
  constexpr std::size_t kColumn = 30;
  std::string line = "  " + entry;
  line.resize(std::max(line.size(), kColumn), ' ');
  return line + "  " + wrapped(sentence, kColumn + 2);
}

std::string encoding_names() {
  std::string names;
  for (const host::Encoding &encoding : host::encodings())
    names += (names.empty() ? "" : " ") + std::string(encoding.name);
  return names;
}

}  // namespace

std::span<const OptionRow> option_rows() { return kOptions; }
std::span<const CommandRow> command_rows() { return kCommands; }

std::string choices(Takes takes) {
  if (takes == Takes::kEncoding) return encoding_names();
  if (takes == Takes::kShell) return "bash zsh";
  return "";
}

std::span<const Paragraph> paragraphs() {
  static const std::array<Paragraph, 4> all = {{
      {"Arguments",
       "An ARG for a string or a memory block is text as typed, file:PATH, - for standard input, hex:4142, "
       "nil "
       "for none, or text:... for text that looks like one of these. Integers are decimal or 0x2A, doubles "
       "as "
       "usual, booleans true or false. \"--\" ends the options: put it before an argument that begins with "
       "\"-\"."},
      {"Output", "Standard output receives the bytes of the result and nothing else; a nil result has none."},
      {"Exit status",
       "0 when all went well, 1 when the function raised an exception or the plugin cannot be loaded, 2 for "
       "wrong use."},
      {"Encodings", encoding_names() + ". Only letters and digits count, in either case."},
  }};
  return all;
}

std::string help_text() {
  std::string text = "kzv: " + std::string(kSubject) + ".\n\nUsage:\n";
  for (const CommandRow &row : command_rows())
    text += table_line((row.name == "NAME" ? "kzv [OPTIONS] " : "kzv ") + with_value(row), row.sentence);
  text += "\nOptions:\n";
  for (const OptionRow &row : option_rows()) text += table_line(with_value(row), row.sentence);
  for (const Paragraph &each : paragraphs())
    text += '\n' + wrapped(std::string(each.title) + ": " + each.text, 0);
  return text;
}

}  // namespace kzv::runner
