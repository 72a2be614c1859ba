// Growing output, for functions that do not know its size beforehand. A builder that cannot grow drops what
// it has and takes nothing more, so that the result is the empty string rather than part of a text.
#pragma once

#include <string_view>

#include "abi.h"
#include "base/bytes.h"
#include "frame/handles.h"

namespace kzv {

// What both builders share: a block and how much of it is filled.
class StringBuilder {
 public:
  StringBuilder(const StringBuilder &) = delete;
  StringBuilder &operator=(const StringBuilder &) = delete;

 protected:
  StringBuilder() = default;
  ~StringBuilder() { Drop(); }

  [[nodiscard]] bool Create(std::uint64_t byte_count);
  // Makes sure of `need` bytes in all, by growing to `new_size` if there are fewer; false when dropped.
  [[nodiscard]] bool Reserve(std::int64_t need, std::int64_t new_size);
  template <typename Element, typename Kernel>
  void AddInPlace(Kernel kernel) {
    if (handle == nullptr) return;
    HLock(handle);
    const std::span<Element> room{reinterpret_cast<Element *>(*handle),
                                  static_cast<std::size_t>(capacity) / sizeof(Element)};
    length += static_cast<std::int32_t>(kernel(room.subspan(static_cast<std::size_t>(length))));
    HUnlock(handle);
  }
  REALstringStruct *Finish(std::int64_t byte_count, REALencoding encoding);
  void Drop();

  SmallBlock small;
  Handle handle = nullptr;
  std::int32_t length = 0;    // units written
  std::int32_t capacity = 0;  // bytes
};

// 8-bit output, which becomes a string in `encoding`.
class AsciiStringHandle : StringBuilder {
 public:
  explicit AsciiStringHandle(REALencoding result_encoding) : encoding(result_encoding) {}

  // Provides the first block; false when `byte_count` exceeds 2,147,483,647 or the memory is not to be had.
  using StringBuilder::Create;

  // Appends "&", the name and ";".
  friend void Add(AsciiStringHandle &builder, std::string_view name);
  friend void AddBinary(AsciiStringHandle &builder, const void *bytes, std::int32_t count);

  // Has `kernel(room) -> bytes written` append in the room that there is; nothing happens without a block.
  template <typename Kernel>
  void AddInPlace(Kernel kernel) {
    StringBuilder::AddInPlace<std::uint8_t>(kernel);
  }

  // Whether an append has failed for want of memory.
  [[nodiscard]] bool dropped() const { return handle == nullptr; }

  // The output as a string; null when it is empty or was dropped.
  REALstringStruct *Finish() { return StringBuilder::Finish(length, encoding); }

 private:
  REALencoding encoding;
};

// UTF-16 output.
class UnicodeStringHandle : StringBuilder {
 public:
  using StringBuilder::Create;

  friend void Add(UnicodeStringHandle &builder, std::uint16_t unit);

  // The same, of units.
  template <typename Kernel>
  void AddInPlace(Kernel kernel) {
    StringBuilder::AddInPlace<CodeUnit>(kernel);
  }

  REALstringStruct *Finish() { return StringBuilder::Finish(std::int64_t{length} * 2, kEncodingUTF16); }
};

}  // namespace kzv
