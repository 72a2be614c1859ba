// A plugin with a host of its own, called by declaration.
#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "encodings.h"
#include "host.h"
#include "plugin_file.h"

namespace kzv::host {

// Bytes and label of a string; what a test compares results with.
struct Text {
  std::string bytes;
  REALencoding encoding = 0;
  bool nil = false;

  bool operator==(const Text &) const = default;
};
inline const Text kNil{"", 0, true};

inline Text text_of(const String &s) { return s ? Text{std::string(s->bytes()), s->encoding} : kNil; }

inline std::ostream &operator<<(std::ostream &out, const Text &text) {
  if (text.nil) return out << "nil";
  return out << testing::PrintToString(text.bytes) << " in encoding 0x" << std::hex << text.encoding
             << std::dec;
}

// The service slots of a loaded plugin are never emptied, so each test that cares for them takes an instance.
class Plugin {
 public:
  explicit Plugin(const char *file, Settings settings = {}, REALresolver resolver = Services::resolve)
      : host(std::move(settings)), file_(file, PluginFile::Instance::kOwn) {
    host.start(file_.main(), resolver);
  }

  // The function under a declaration, as a pointer of its true type.
  template <typename Function>
  Function *function(std::string_view declaration) const {
    for (const Method &method : host.methods()) {
      if (method.declaration == declaration) return reinterpret_cast<Function *>(method.function);
    }
    throw std::runtime_error("not registered: " + std::string(declaration));
  }

  // Calls a function that takes one string and integers, and gives a string.
  template <typename... Integers>
  Text call(std::string_view declaration, const String &s, Integers... integers) {
    return text_of(host.call(function<REALstringStruct *(REALstringStruct *, Integers...)>(declaration),
                             s.get(), integers...));
  }

  Host host;

 private:
  PluginFile file_;
};

// Settings in one expression.
inline Settings version(std::optional<double> version, std::set<std::string, std::less<>> withheld = {}) {
  Settings settings;
  settings.version = version;
  settings.withheld = std::move(withheld);
  return settings;
}

}  // namespace kzv::host
