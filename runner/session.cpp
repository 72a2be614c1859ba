#include "session.h"

#include <algorithm>
#include <cctype>
#include <numeric>

#include "shown.h"

namespace kzv::runner {
namespace {

host::Settings settings_of(const Options &options) {
  host::Settings settings;
  settings.version = options.host_version;
  settings.in_runtime = true;  // a program that is being run, not developed
  return settings;
}

std::string lower(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return result;
}

std::size_t edit_distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t substituted = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({diagonal + 1, row[j] + 1, substituted});
    }
  }
  return row.back();
}

// The edit distance of a typed word from a name; 0 for a part of the name, such as one without its suffix. A
// word that is much longer is not measured.
std::size_t distance_to_name(const std::string &word, const std::string &name) {
  if (word.size() > 2 * name.size()) return word.size();
  return name.find(word) != std::string_view::npos ? 0 : edit_distance(word, name);
}

// Up to three of `names` that a user who typed `word` may have meant, the likeliest first.
std::vector<std::string> nearest_names(std::string_view word, std::vector<std::string> names) {
  constexpr std::size_t kMost = 3;
  const std::string typed = lower(word);
  const auto distance = [&](const std::string &name) { return distance_to_name(typed, lower(name)); };
  std::ranges::sort(names);
  names.erase(std::unique(names.begin(), names.end()), names.end());
  const auto same = std::ranges::find(names, typed, lower);
  if (same != names.end()) return {*same};
  std::erase_if(names, [&](const std::string &name) { return distance(name) > name.size() / 2; });
  std::ranges::stable_sort(names, {}, distance);
  names.resize(std::min(names.size(), kMost));
  return names;
}

}  // namespace

UsageError no_such_function(const std::string &name, std::vector<std::string> known) {
  std::string message = "there is no function " + host::shown(name);
  for (const std::string &near : nearest_names(name, std::move(known)))
    message += "\n  did you mean " + near + "?";
  message += "\n  kzv list shows all functions";
  return UsageError{message};
}

Session::Session(const Options &options) : plugin_(options.plugin), host_(settings_of(options)) {
  host_.start(plugin_.main());
  for (const host::Method &method : host_.methods()) {
    functions_.push_back({parse_declaration(method.declaration), method.function});
  }
}

const Function &Session::find(const std::string &name, std::size_t argument_count) const {
  std::string declarations;
  const Function *with_defaults = nullptr;
  for (const Function &function : functions_) {
    if (function.declaration.name != name) continue;
    const std::size_t most = function.declaration.parameters.size();
    if (argument_count == most) return function;
    if (argument_count < most && argument_count >= function.declaration.required()) with_defaults = &function;
    declarations += "\n  " + function.declaration.text;
  }
  if (with_defaults != nullptr) return *with_defaults;
  if (!declarations.empty()) {
    throw UsageError(name + " does not take " + std::to_string(argument_count) +
                     (argument_count == 1 ? " argument" : " arguments") + "; it is declared:" + declarations);
  }
  std::vector<std::string> known;
  for (const Function &function : functions_) known.push_back(function.declaration.name);
  throw no_such_function(name, std::move(known));
}

}  // namespace kzv::runner
