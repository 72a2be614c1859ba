// Calls with known results: data for every test that goes through all functions.
#pragma once

#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "support/plugin.h"

namespace kzv::host {

// A memory block, as an argument or a result.
struct Block {
  std::string bytes;
};

// How a text becomes an argument, if not as a new string; with its number among the arguments.
using Place = std::function<String(const Text &, std::size_t)>;

// What a test does to the arguments of a call before it makes it.
struct Change {
  enum class Kind : std::uint8_t { kMissing, kEmpty, kLabelled };

  std::size_t times = 1;  // every text and block that often
  // The texts and blocks among the arguments from `first` to before `last` also become something else.
  std::size_t first = 0;
  std::size_t last = 0;
  Kind kind = Kind::kMissing;
  REALencoding label = 0;
  // So many bytes out of each text, from as many on, as if it began again at its end.
  std::optional<std::size_t> window = std::nullopt;
  Place place = nullptr;
};

// What a call gave: as words that name type, label and bytes and, if it is a text, as such.
struct Answer {
  std::string words;
  std::optional<Text> text;

  bool operator==(const Answer &) const = default;
};
inline std::ostream &operator<<(std::ostream &out, const Answer &answer) { return out << answer.words; }

// One call, ready to be made on any plugin.
struct Sample {
  std::string declaration;
  std::size_t argument_count;
  std::optional<Text> first_text;  // the first argument, if it is a text
  std::function<Answer(Plugin &, const Change &)> make;
  Answer expected;

  Answer call(Plugin &plugin, const Change &change = {}) const { return make(plugin, change); }
};

inline std::string shown(const Text &text) { return (std::ostringstream() << text).str(); }
inline std::string shown(const Block &block) { return "block " + testing::PrintToString(block.bytes); }
inline std::string shown(std::int32_t integer) { return std::to_string(integer); }
inline std::string shown(bool boolean) { return boolean ? "true" : "false"; }
inline std::string shown(double number) { return (std::ostringstream() << std::hexfloat << number).str(); }

// How a value of the test becomes an argument: what owns it, and what crosses the boundary.
inline String owned(const Text &text) { return text.nil ? nullptr : new_string(text.bytes, text.encoding); }
inline MemoryBlock owned(const Block &block) { return new_memory_block(block.bytes); }
inline std::int32_t owned(std::int32_t integer) { return integer; }
inline double owned(double number) { return number; }
inline REALboolean owned(bool boolean) { return ToREALboolean(boolean); }

inline REALstringStruct *passed(const String &s) { return s.get(); }
inline REALmemoryBlockStruct *passed(const MemoryBlock &block) { return block.get(); }
template <typename Plain>
Plain passed(Plain value) {
  return value;
}

inline Text returned(const String &s) { return text_of(s); }
inline Block returned(const MemoryBlock &block) { return {block ? block->bytes : "nil"}; }
inline bool returned(REALboolean boolean) { return IsTrue(boolean); }
template <typename Plain>
Plain returned(Plain value) {
  return value;
}

inline std::string repeated(std::string_view bytes, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) all += bytes;
  return all;
}

inline std::string windowed(const Text &text, std::size_t window) {
  const std::size_t size = text.bytes.empty() ? 0 : window;
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = text.bytes[(size + i) % text.bytes.size()];
  return bytes;
}

inline Text changed(const Text &text, const Change &change, std::size_t index) {
  if (change.window && !text.nil) return {windowed(text, *change.window), text.encoding};
  const bool also = index >= change.first && index < change.last;
  if (also && change.kind == Change::Kind::kMissing) return kNil;
  if (also && change.kind == Change::Kind::kEmpty) return text.nil ? text : Text{"", text.encoding};
  const REALencoding label = also && !text.nil ? change.label : text.encoding;
  return {repeated(text.bytes, change.times), label, text.nil};
}
inline Block changed(const Block &block, const Change &change, std::size_t index) {
  const bool emptied = index >= change.first && index < change.last && change.kind != Change::Kind::kLabelled;
  return {emptied ? "" : repeated(block.bytes, change.times)};
}
template <typename Plain>
Plain changed(Plain value, const Change &, std::size_t) {
  return value;
}

inline String placed(const Text &text, const Change &change, std::size_t index) {
  return change.place && !text.nil ? change.place(text, index) : owned(text);
}
template <typename Other>
auto placed(const Other &value, const Change &, std::size_t) {
  return owned(value);
}

template <typename Value>
using Crossing = decltype(passed(owned(std::declval<Value>())));

template <typename Result>
Answer answer(const Result &result) {
  if constexpr (std::is_same_v<Result, Text>) return {shown(result), result};
  return {shown(result), std::nullopt};
}

template <typename Result, typename... Values>
Sample sample(const char *declaration, const Result &expected, const Values &...values) {
  const auto make = [declaration, values = std::tuple(values...)](Plugin &plugin, const Change &change) {
    auto *const function = plugin.function<Crossing<Result>(Crossing<Values>...)>(declaration);
    const auto call = [&]<std::size_t... index>(std::index_sequence<index...>) {
      const std::tuple arguments(placed(changed(std::get<index>(values), change, index), change, index)...);
      return plugin.host.call(function, passed(std::get<index>(arguments))...);
    };
    return answer(Result(returned(call(std::index_sequence_for<Values...>()))));
  };
  return {declaration, sizeof...(Values), answer(std::get<0>(std::tuple(values...))).text, make,
          answer(expected)};
}

inline Text utf8(std::string bytes) { return {std::move(bytes), kEncodingUTF8}; }
inline Text utf16(std::string_view text) {
  return {*convert(text, kEncodingUTF8, kEncodingUTF16), kEncodingUTF16};
}
inline Text ascii(std::string bytes) { return {std::move(bytes), kEncodingASCII}; }
inline Text raw(std::string bytes) { return {std::move(bytes), kEncodingBytes}; }

// At least one call of each registered function, in the order of registration. Results are the same on every
// host.
const std::vector<Sample> &samples();

}  // namespace kzv::host
