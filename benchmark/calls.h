// A plugin with a host of its own, and its functions ready to be called again and again as a host calls them.
#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "conversion.h"
#include "host.h"
#include "plugin_file.h"

namespace kzv::bench {

struct Text {
  std::string bytes;
  REALencoding encoding = kEncodingUTF8;
};
using Value = std::variant<Text, std::int32_t, double>;
using Arguments = std::vector<Value>;

// What a function gave: a string's bytes and label, or a number as text.
struct Outcome {
  std::string text;
  REALencoding encoding = 0;
};

struct Call {
  std::function<void(std::size_t times)> repeat;
  std::function<Outcome()> outcome;
  // Another function of the same type on the same arguments: where these are in memory changes times by 4 %.
  std::function<Call(host::Host &host, void *function)> of_same_arguments;
};

inline double seconds_for(const Call &call, std::size_t times) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  call.repeat(times);
  return std::chrono::duration<double>(Clock::now() - start).count();
}

using Prepare = Call (*)(host::Host &host, void *function, const Arguments &arguments);

inline host::String owned(const Value &value, REALstringStruct *) {
  const auto &text = std::get<Text>(value);
  return host::new_string(text.bytes, text.encoding);
}
template <typename Number>
Number owned(const Value &value, Number) {
  return std::get<Number>(value);
}

inline REALstringStruct *passed(const host::String &s) { return s.get(); }
template <typename Number>
Number passed(Number number) {
  return number;
}

inline Outcome shown(const host::String &s) {
  if (!s) return {"nil"};
  return {std::string(s->bytes()), s->encoding};
}
inline Outcome shown(std::int32_t number) { return {std::to_string(number)}; }
inline Outcome shown(REALboolean truth) { return {IsTrue(truth) ? "true" : "false"}; }
inline Outcome shown(double number) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%.17g", number);
  return {text.data()};
}

template <typename Result, typename... Parameters, typename Values>
Call call_with(host::Host &host, void *address, const std::shared_ptr<Values> &values) {
  auto *const function = reinterpret_cast<Result (*)(Parameters...)>(address);
  const auto call = [&host, function, values] {
    return std::apply([&](const auto &...value) { return host.call(function, passed(value)...); }, *values);
  };
  return {[call](std::size_t times) {
            for (std::size_t i = 0; i < times; ++i) call();
          },
          [call] { return shown(call()); },
          [values](host::Host &other_host, void *other_address) {
            return call_with<Result, Parameters...>(other_host, other_address, values);
          }};
}

// For a function of this type. Arguments are made once; results are released at each call, as programs do.
template <typename Result, typename... Parameters>
Call prepare(host::Host &host, void *address, const Arguments &arguments) {
  const auto values = [&]<std::size_t... I>(std::index_sequence<I...>) {
    return std::make_shared<std::tuple<decltype(owned(arguments[I], Parameters()))...>>(
        owned(arguments.at(I), Parameters())...);
  }
  (std::index_sequence_for<Parameters...>());
  return call_with<Result, Parameters...>(host, address, values);
}

struct Plugin {
  using Instance = host::PluginFile::Instance;
  explicit Plugin(const std::filesystem::path &path, Instance instance = Instance::kShared)
      : file(path, instance) {
    host.start(file.main(), resolve);
  }

  host::PluginFile file;
  host::Host host;
};

}  // namespace kzv::bench
