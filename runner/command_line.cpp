#include "command_line.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "shown.h"
#include "usage.h"
#include "values.h"

namespace kzv::runner {
namespace {

bool looks_like_option(std::string_view word) {
  const bool number =
      word.size() > 1 && (std::isdigit(static_cast<unsigned char>(word[1])) != 0 || word[1] == '.');
  return word.size() > 1 && word.front() == '-' && !number;
}

const OptionRow &find_option(std::string_view name) {
  const auto rows = option_rows();
  const auto found = std::ranges::find(rows, name == "-h" ? "--help" : name, &OptionRow::name);
  if (found == rows.end()) {
    throw UsageError("unknown option " + host::shown(name) +
                     "; kzv --help shows the options, and -- goes before arguments that begin with \"-\"");
  }
  return *found;
}

using Word = std::vector<std::string>::const_iterator;

// Reads the option that `word` begins with, and moves on to the last word that belongs to it.
void read_option(Word &word, Word end, CommandLine &line) {
  const std::size_t equals = word->find('=');
  const OptionRow &option = find_option(std::string_view(*word).substr(0, equals));
  const std::string name(option.name);
  const bool given_at_once = equals != std::string::npos;
  if (option.takes == Takes::kNothing) {
    if (given_at_once) throw UsageError(name + " takes no value");
    line.options[option.name];
    return;
  }
  if (line.has(option.name)) throw UsageError(name + " is given twice");
  if (given_at_once) {
    line.options[option.name] = word->substr(equals + 1);
    return;
  }
  if (std::next(word) == end || looks_like_option(*std::next(word))) {
    throw UsageError(name + " needs a value: " + with_value(option) + ", or " + name +
                     "=... for one that begins with \"-\"");
  }
  line.options[option.name] = *++word;
}

}  // namespace

CommandLine read_command_line(const std::vector<std::string> &words) {
  CommandLine line;
  const auto dashes = std::ranges::find(words, "--");
  for (auto word = words.begin(); word != dashes; ++word) {
    if (looks_like_option(*word)) {
      read_option(word, dashes, line);
    } else {
      line.words.push_back(*word);
    }
  }
  if (dashes != words.end()) line.words.insert(line.words.end(), std::next(dashes), words.end());
  if (line.has("--hex") && line.has("--json")) throw UsageError("--hex excludes --json");
  return line;
}

}  // namespace kzv::runner
