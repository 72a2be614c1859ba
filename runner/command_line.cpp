#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>

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

// `values` has one for each time that the option is given, empty where there is none.
const std::string &only_value(const OptionRow &option, const std::vector<std::string> &values) {
  const std::string name(option.name);
  if (option.takes == Takes::kNothing) {
    for (const std::string &value : values)
      if (!value.empty()) throw UsageError(name + " takes no value");
  } else if (values.front().empty()) {
    throw UsageError(name + " needs a value: " + with_value(option) + ", or " + name +
                     "=... for one that begins with \"-\"");
  } else if (values.size() > 1) {
    throw UsageError(name + " is given twice");
  }
  return values.front();
}

}  // namespace

CommandLine read_command_line(std::vector<std::string> words) {
  CommandLine line;
  CLI::App app;
  app.allow_extras()->set_help_flag();
  for (const OptionRow &row : option_rows()) {
    const auto take = [&](const CLI::results_t &values) {
      line.options[row.name] = only_value(row, values);
      return true;
    };
    // CLI11 gives the next option to one that must have a value; to one that may have, it does not.
    app.add_option((row.name == "--help" ? "-h," : "") + std::string(row.name), take)
        ->expected(0, row.takes == Takes::kNothing ? 0 : 1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  std::ranges::reverse(words);  // as CLI11 takes them
  app.parse(std::move(words));

  line.words = app.remaining();
  const auto dashes = std::ranges::find(line.words, "--");
  const auto unknown = std::find_if(line.words.begin(), dashes, looks_like_option);
  if (unknown != dashes) {
    throw UsageError("unknown option " + host::shown(*unknown) +
                     "; kzv --help shows the options, and -- goes before arguments that begin with \"-\"");
  }
  if (dashes != line.words.end()) line.words.erase(dashes);
  if (line.has("--hex") && line.has("--json")) throw UsageError("--hex excludes --json");
  return line;
}

}  // namespace kzv::runner
