// A plugin with a host of its own, called by name.
#pragma once

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "encodings.h"
#include "host.h"
#include "support/loaded.h"

namespace kzv::host {

using std::string_literals::operator""s;

// A string or memory block as tests write and compare it.
struct Text {
  std::string bytes;
  REALencoding encoding = 0;
  bool nil = false;

  bool operator==(const Text &) const = default;
};
struct Block : Text {};
inline const Text kNil{"", 0, true};
inline const Block kNoBlock{kNil};

inline std::ostream &operator<<(std::ostream &out, const Text &text) {
  if (text.nil) return out << "nil";
  return out << testing::PrintToString(text.bytes) << " in encoding 0x" << std::hex << text.encoding
             << std::dec;
}

inline Text utf8(std::string bytes) { return {std::move(bytes), kEncodingUTF8}; }
inline Text utf16(std::string_view text) {
  return {*convert(text, kEncodingUTF8, kEncodingUTF16), kEncodingUTF16};
}
inline Text ascii(std::string bytes) { return {std::move(bytes), kEncodingASCII}; }
inline Text raw(std::string bytes) { return {std::move(bytes), kEncodingBytes}; }

// How a value crosses the boundary: what owns it, and what is passed; and how a result comes back.
inline String owned(const Text &text) { return text.nil ? nullptr : new_string(text.bytes, text.encoding); }
inline MemoryBlock owned(const Block &block) { return block.nil ? nullptr : new_memory_block(block.bytes); }
inline REALboolean owned(bool boolean) { return ToREALboolean(boolean); }
inline const auto &owned(const auto &value) { return value; }

inline REALstringStruct *passed(const String &s) { return s.get(); }
inline REALmemoryBlockStruct *passed(const MemoryBlock &block) { return block.get(); }
inline auto passed(const auto &value) { return value; }
template <typename Value>
using Crossing = decltype(passed(owned(std::declval<const Value &>())));

inline Text returned(const String &s) { return s ? Text{std::string(s->bytes()), s->encoding} : kNil; }
inline Block returned(const MemoryBlock &block) { return block ? Block{block->bytes} : kNoBlock; }
inline bool returned(REALboolean boolean) { return IsTrue(boolean); }
inline auto returned(auto number) { return number; }

using Names = std::set<std::string, std::less<>>;

inline Settings version(std::optional<double> version, Names withheld = {}) {
  return {.version = version, .withheld = std::move(withheld)};
}

class Plugin {
 public:
  explicit Plugin(const char *file, Settings settings = {})
      : Plugin(std::make_shared<Loaded>(file), std::move(settings)) {}
  explicit Plugin(std::shared_ptr<Loaded> library, Settings settings = {})
      : host(std::move(settings)), library_(std::move(library)) {
    host.start(library_->as_new());
  }
  Plugin(const Plugin &) = delete;
  Plugin &operator=(const Plugin &) = delete;
  // Whatever a test does, everything that was taken is released in the end, and it expects every exception.
  ~Plugin() {
    EXPECT_EQ(host.ledger.report(), "");
    EXPECT_TRUE(host.take_raised().empty()) << "exceptions that the test has not taken";
  }

  // Calls a function with values of any kind, or strings that are the caller's own. A result that is a String
  // is the very object that the host got.
  template <typename Result = Text, typename... Values>
  Result call(std::string_view name, const Values &...values) {
    auto *const function = address<Crossing<Result>(Crossing<Values>...)>(name, sizeof...(Values));
    if constexpr (std::is_same_v<Result, String>) {
      return host.call(function, passed(owned(values))...);
    } else {
      return returned(host.call(function, passed(owned(values))...));
    }
  }

  Host host;

 private:
  template <typename Function>
  Function *address(std::string_view name, std::size_t parameters) const {
    for (const Method &method : host.methods()) {
      const std::string &declaration = method.declaration;
      const auto commas = static_cast<std::size_t>(std::ranges::count(declaration, ','));
      if (declaration.starts_with(std::string(name) + "(") && commas + 1 == parameters)
        return reinterpret_cast<Function *>(method.function);
    }
    throw std::runtime_error("not registered: " + std::string(name));
  }

  std::shared_ptr<Loaded> library_;
};

}  // namespace kzv::host
