#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>

#include "shown.h"

namespace kzv::runner {
namespace {

bool looks_like_option(std::string_view word) {
  const bool number =
      word.size() > 1 && (std::isdigit(static_cast<unsigned char>(word[1])) != 0 || word[1] == '.');
  return word.size() > 1 && word.front() == '-' && !number;
}

// `values` has one for each time that the option is given, an empty one if it was given without.
const std::string &only_value(const Row &option, const std::vector<std::string> &values) {
  const std::string name(option.name);
  if (option.takes == Takes::kNothing) {
    for (const std::string &value : values)
      if (!value.empty()) throw UsageError(name + " takes no value");
  } else if (values.front().empty()) {
    throw UsageError(name + " needs a value: " + option.with_value() + ", or " + name +
                     "=... for one that begins with \"-\"");
  } else if (values.size() > 1) {
    throw UsageError(name + " is given twice");
  }
  return values.front();
}

}  // namespace

CommandLine read_command_line(Words words, std::span<const Row> options) {
  CommandLine line;
  CLI::App app;
  app.allow_extras()->set_help_flag();
  for (const Row &row : options) {
    const auto take = [&](const CLI::results_t &values) {
      line.options.emplace_back(&row, only_value(row, values));
      return true;
    };
    // To CLI11 a required value may be the next option; an optional one may not.
    app.add_option((row.name == "--help" ? "-h," : "") + std::string(row.name), take)
        ->expected(0, row.takes == Takes::kNothing ? 0 : 1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  std::ranges::reverse(words);  // the order that CLI11 takes
  app.parse(std::move(words));

  line.words = app.remaining();
  const auto dashes = std::ranges::find(line.words, "--");
  const auto unknown = std::find_if(line.words.begin(), dashes, looks_like_option);
  if (unknown != dashes) {
    throw UsageError("unknown option " + host::shown(*unknown) +
                     "; kzv --help shows the options, and -- goes before arguments that begin with \"-\"");
  }
  if (dashes != line.words.end()) line.words.erase(dashes);
  const auto gives = [&](std::string_view name) {
    return std::ranges::any_of(line.options, [&](const auto &option) { return option.first->name == name; });
  };
  if (gives("--hex") && gives("--json")) throw UsageError("--hex excludes --json");
  return line;
}

}  // namespace kzv::runner
