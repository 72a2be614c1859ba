// A string's bytes in a wanted encoding: delivered by newer hosts, copied out of older ones.
#pragma once

#include "base/buffer.h"
#include "frame/host_reference.h"

namespace kzv {

void REALDisposeStringData(REALstringData *record);

class StringData {
 public:
  // Takes the bytes of `s` in `encoding` (kEncodingBytes: as stored), once in the life of the object; false
  // when the host does not provide them.
  [[nodiscard]] bool take(REALstringStruct *s, REALencoding encoding);

  // What was taken. The host's length is not trusted: one below 1 means an empty text.
  [[nodiscard]] ByteView bytes() const {
    if (record_.length <= 0) return {};
    return {record_.data, static_cast<std::size_t>(record_.length)};
  }

  void release() { ownsStringData.release(); }

 private:
  bool copy(REALstringStruct *s, REALencoding encoding);
  bool copy_stored(REALstringStruct *s);

  REALstringData record_{};
  HostReference<REALstringData, REALDisposeStringData> ownsStringData;  // the record, if the host filled it
  HeapBuffer copy_;                                                     // else its bytes are here
};

// Copies the bytes with four zero bytes after them, a terminator for code units of any width.
[[nodiscard]] bool CopyTerminated(ByteView bytes, HeapBuffer &copy);

}  // namespace kzv
