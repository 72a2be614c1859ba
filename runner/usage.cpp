#include "usage.h"

#include <algorithm>
#include <array>

#include "encodings.h"

namespace kzv::runner {
namespace {

constexpr std::size_t kWidth = 110;

// Wraps the text at the help's width and indents all lines but the first.
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

std::string Row::with_value() const {
  return std::string(name) + (value.empty() ? "" : " ") + std::string(value);
}

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

std::string help_text(const Usage &usage) {
  std::string text = "kzv: " + std::string(kSubject) + ".\n\nUsage:\n";
  for (const Row &row : usage.commands)
    text += table_line((row.takes == Takes::kArguments ? "kzv [OPTIONS] " : "kzv ") + row.with_value(),
                       row.sentence);
  text += "\nOptions:\n";
  for (const Row &row : usage.options) text += table_line(row.with_value(), row.sentence);
  for (const Paragraph &each : paragraphs())
    text += '\n' + wrapped(std::string(each.title) + ": " + each.text, 0);
  return text;
}

}  // namespace kzv::runner
