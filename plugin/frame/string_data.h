// A string's bytes in a wanted encoding: asked of newer hosts, copied out of older ones.
#pragma once

#include <exception>

#include "base/bytes.h"
#include "frame/entry_points.h"

namespace kzv {

enum class StringDataOwner : std::uint8_t { kNobody, kHost, kLibrary };

// Fills `record` with the bytes of `s` in `encoding` (kEncodingBytes: as stored) and tells who must release
// them; kNobody when they are not to be had. A host without "PluginGetStringData" gets them copied, with four
// zero bytes behind the copy.
StringDataOwner REALGetStringData(REALstringStruct *s, REALencoding encoding, REALstringData &record);

// The bytes of a record. What the host fills in is not trusted: a null pointer or a length below 1 is no
// text.
ByteView BytesOf(const REALstringData &record);

// Owns a filled record.
class StringData {
 public:
  StringData() = default;
  StringData(const StringData &) = delete;
  StringData &operator=(const StringData &) = delete;
  ~StringData() noexcept(false);

  // Takes the bytes of `s`, once in the life of the object; false when they are not to be had.
  bool take(REALstringStruct *s, REALencoding encoding) {
    exceptions_before_ = std::uncaught_exceptions();
    owner_ = REALGetStringData(s, encoding, record_);
    const bool announced_without_bytes = record_.data == nullptr && record_.length > 0;
    return owner_ != StringDataOwner::kNobody && !announced_without_bytes;
  }
  ByteView bytes() const { return BytesOf(record_); }

 private:
  REALstringData record_{};
  StringDataOwner owner_ = StringDataOwner::kNobody;
  int exceptions_before_ = 0;
};

}  // namespace kzv
