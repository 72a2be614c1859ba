// A function's output, from a kernel to a host string.
#pragma once

#include "base/buffer.h"
#include "frame/results.h"

namespace kzv {

// Empty until it is filled.
class Output {
 public:
  // Has `kernel(output) -> bytes written` write into a buffer of `bound` bytes. False, and nothing happens,
  // without memory for it or when no string can be that long.
  template <typename Kernel>
  bool Fill(std::uint64_t bound, Kernel kernel) {
    if (bound > kMaxByteCount || !memory_.allocate(bound)) return false;
    length_ = kernel(memory_.bytes());
    return true;
  }

  ByteView bytes() { return memory_.bytes().first(length_); }

  // The output as a string; null when it is empty.
  REALstringStruct *Finish(REALencoding encoding) {
    return REALBuildUnicodeString(memory_.data(), static_cast<std::int64_t>(length_), encoding);
  }

 private:
  Buffer<512> memory_;
  std::size_t length_ = 0;
};

}  // namespace kzv
