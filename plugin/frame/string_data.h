// A string's bytes in a wanted encoding: delivered by newer hosts, copied out of older ones.
#pragma once

#include "base/buffer.h"
#include "frame/entry_points.h"

namespace kzv {

// Owns such bytes. As for HostReference, what the host throws at a release reaches it, and the destructor
// drops it.
class StringData {
 public:
  StringData() = default;
  StringData(const StringData &) = delete;
  StringData &operator=(const StringData &) = delete;
  ~StringData() {
    try {
      release();
    } catch (...) {
      // The exception on its way is the one that the host is to see.
    }
  }

  // Takes the bytes of `s` in `encoding` (kEncodingBytes: as stored), once in the life of the object; false
  // when the host does not provide them.
  [[nodiscard]] bool take(REALstringStruct *s, REALencoding encoding);

  // What the host fills in is not trusted: a null pointer or a length below 1 is no text.
  [[nodiscard]] ByteView bytes() const {
    if (record_.data == nullptr || record_.length <= 0) return {};
    return {record_.data, static_cast<std::size_t>(record_.length)};
  }

  void release();

 private:
  bool copy(REALstringStruct *s, REALencoding encoding);
  bool copy_stored(REALstringStruct *s);

  REALstringData record_{};
  bool ownsStringData = false;  // the record is the host's to dispose
  HeapBuffer copy_;             // else its bytes are here
};

// Copies the bytes with four zero bytes after them, a terminator for code units of any width.
[[nodiscard]] bool CopyTerminated(ByteView bytes, HeapBuffer &copy);

}  // namespace kzv
