// Growing output, for functions that do not know its size beforehand. A builder that cannot grow drops what
// it has and takes nothing more, so that the result is the empty string rather than part of a text.
#pragma once

#include <span>
#include <string_view>

#include "abi.h"
#include "base/bytes.h"
#include "frame/handles.h"

namespace kzv {

// What both builders share: a buffer and how much of it is filled.
class StringBuilder {
 public:
  // Provides the buffer, once. Without memory, or for over 2,147,483,647 bytes, the builder counts as
  // dropped.
  void Create(std::uint64_t byte_count);

  // Whether there was no memory for the buffer or for an append.
  [[nodiscard]] bool dropped() const { return handle == nullptr; }

  // Has `kernel(output) -> elements written` append in the capacity left; does nothing when dropped.
  template <typename Element = std::uint8_t, typename Kernel>
  void AddInPlace(Kernel kernel) {
    if (handle == nullptr) return;
    const std::span<Element> output{reinterpret_cast<Element *>(HLock(handle) + length),
                                    static_cast<std::size_t>(capacity - length) / sizeof(Element)};
    length += static_cast<std::int32_t>(kernel(output) * sizeof(Element));
    HUnlock(handle);
  }

  // The output as a string; null when it is empty or was dropped.
  REALstringStruct *Finish();

 protected:
  explicit StringBuilder(REALencoding result_encoding) : encoding(result_encoding) {}

  // Ensures that `more` bytes fit; growing for that adds `spare` bytes. False when the output was dropped.
  [[nodiscard]] bool Reserve(std::int64_t more, std::int64_t spare);

 private:
  void Drop();

  HandleMemory memory_;
  Handle handle = nullptr;
  std::int32_t length = 0;    // bytes written
  std::int32_t capacity = 0;  // bytes
  REALencoding encoding;
};

// 8-bit output.
class AsciiStringHandle : public StringBuilder {
 public:
  explicit AsciiStringHandle(REALencoding result_encoding) : StringBuilder(result_encoding) {}

  // Appends "&", the name and ";".
  friend void Add(AsciiStringHandle &builder, std::string_view name);
  friend void AddBinary(AsciiStringHandle &builder, const void *bytes, std::int32_t count);
};

class UnicodeStringHandle : public StringBuilder {
 public:
  UnicodeStringHandle() : StringBuilder(kEncodingUTF16) {}

  friend void Add(UnicodeStringHandle &builder, std::uint16_t unit);
};

}  // namespace kzv
