// Calls with known results: data for every test that goes through all functions.
#pragma once

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "support/plugin.h"

namespace kzv::host {

// A memory block, as an argument or a result.
struct Block {
  std::string bytes;
};

// One call, ready to be made on any plugin; the result as text that names type, label and bytes.
struct Sample {
  std::string declaration;
  std::function<std::string(Plugin &)> call;
  std::string expected;
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

template <typename Value>
using Crossing = decltype(passed(owned(std::declval<Value>())));

template <typename Result, typename... Values>
Sample sample(const char *declaration, const Result &expected, const Values &...values) {
  const auto call = [declaration, values...](Plugin &plugin) {
    auto *const function = plugin.function<Crossing<Result>(Crossing<Values>...)>(declaration);
    return std::apply(
        [&](const auto &...arguments) {
          return shown(Result(returned(plugin.host.call(function, passed(arguments)...))));
        },
        std::make_tuple(owned(values)...));
  };
  return {declaration, call, shown(expected)};
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
