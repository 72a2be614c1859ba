// The road that most functions take: an argument's bytes through a kernel into a new string.
#pragma once

#include "frame/byte_view.h"
#include "frame/results.h"
#include "frame/work_buffer.h"

namespace kzv {

// Has `kernel(input, output) -> bytes written` fill a buffer of `room(input size)` bytes and makes a string
// of them in `encoding`. Null for an empty argument and when the buffer is not to be had. The argument is
// given back before the result is made: should the host throw then, there is no result yet to be lost.
template <typename Room, typename Kernel>
REALstringStruct *TransformBytes(REALstringStruct *s, REALencoding encoding, Room room, Kernel kernel) {
  WorkBuffer output;
  std::size_t written = 0;
  {
    const rbData argument(s);
    const ByteView input = argument.bytes();
    if (input.empty() || !output.allocate(room(input.size()))) return nullptr;
    written = kernel(input, output.bytes());
  }
  return REALBuildUnicodeString(output.data(), static_cast<std::int64_t>(written), encoding);
}

}  // namespace kzv
