// Calls with known results: data for every test that goes through all functions.
#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "support/plugin.h"

namespace kzv::host {

using Value = std::variant<Text, Block, std::int32_t, double, bool>;

// How the texts among the arguments of a call become strings.
using Place = std::function<String(const Text &)>;

// One call, ready to be made on any plugin.
struct Sample {
  std::string name;
  std::ptrdiff_t parameters;
  // Makes it with every text and block repeated `times`, and the texts placed.
  std::function<Value(Plugin &, std::size_t times, const Place &)> make;
  Value expected;
  std::vector<Value> unreadable;  // results, besides nil, while arguments or their labels cannot be read
  bool repeats;                   // whether repeated arguments give the repeated result

  Sample when_unreadable(std::vector<Value> results) && {
    unreadable = std::move(results);
    return std::move(*this);
  }

  Value call(Plugin &plugin, std::size_t times = 1) const {
    return make(plugin, times, [](const Text &text) { return owned(text); });
  }
  Value call(Plugin &plugin, const Place &place) const { return make(plugin, 1, place); }
};

std::string repeated(std::string_view bytes, std::size_t times);
template <typename Plain>
requires(!std::is_convertible_v<Plain, std::string_view>) Plain repeated(Plain value, std::size_t times) {
  if constexpr (requires { value.bytes; }) value.bytes = repeated(value.bytes, times);
  return value;
}
inline Value repeated(const Value &value, std::size_t times) {
  return std::visit([=](const auto &known) -> Value { return repeated(known, times); }, value);
}

template <typename Result, typename... Values>
Sample sample(const char *name, const Result &expected, const Values &...values) {
  const auto make = [=](Plugin &plugin, std::size_t times, const Place &place) -> Value {
    const auto argument = [&]<typename Argument>(const Argument &value) {
      if constexpr (std::is_same_v<Argument, Text>) {
        return value.nil ? nullptr : place(repeated(value, times));
      } else {
        return repeated(value, times);
      }
    };
    return plugin.call<Result>(name, argument(values)...);
  };
  constexpr bool kHasTexts = ((std::is_same_v<Values, Text> || std::is_same_v<Values, Block>) || ...);
  return {name, sizeof...(Values), make, expected, {}, kHasTexts};
}
// One whose repeated arguments give something else.
template <typename... Parts>
Sample single(const Parts &...parts) {
  Sample made = sample(parts...);
  made.repeats = false;
  return made;
}

// Whether a function reads text, which the host converts, instead of bytes as stored.
bool reads_text(const Sample &sample);

// At least one call of each registered function, in the order of registration. Results are the same on every
// host, whichever way it delivers its strings.
const std::vector<Sample> &samples();

// Of the plugin "kzvprobe": what the frame makes of results that no function has.
const std::vector<Sample> &probe_samples();
inline double address_of(std::string_view bytes) {
  return static_cast<double>(reinterpret_cast<std::uintptr_t>(bytes.data()));
}

}  // namespace kzv::host
