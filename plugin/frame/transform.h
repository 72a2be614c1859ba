// The road that most functions take: an argument through a kernel into a new string.
#pragma once

#include <functional>

#include "frame/byte_view.h"
#include "frame/results.h"
#include "frame/text_view.h"
#include "frame/work_buffer.h"

namespace kzv {

// Reads `s` by a view of an Argument (rbData or rbText), has `kernel(input, output) -> bytes written` fill a
// buffer of `room(input size)` bytes and makes a string of them in `encoding`. Null for an empty argument and
// when the buffer is not to be had. The argument is given back before the result is made: should the host
// throw then, there is no result yet to be lost.
template <typename Argument, typename View, typename Room, typename Kernel>
REALstringStruct *Transform(REALstringStruct *s, View view, REALencoding encoding, Room room, Kernel kernel) {
  WorkBuffer output;
  std::size_t written = 0;
  {
    Argument argument(s);
    const auto input = std::invoke(view, argument);
    if (input.empty() || !output.allocate(room(input.size()))) return nullptr;
    written = kernel(input, output.bytes());
  }
  return REALBuildUnicodeString(output.data(), static_cast<std::int64_t>(written), encoding);
}

// The same for an argument's bytes as stored.
template <typename Room, typename Kernel>
REALstringStruct *TransformBytes(REALstringStruct *s, REALencoding encoding, Room room, Kernel kernel) {
  return Transform<rbData>(s, &rbData::bytes, encoding, room, kernel);
}

// The room of a kernel that writes at most one byte for each element that it reads.
inline constexpr auto kOneByteEach = [](std::size_t count) { return std::uint64_t{count}; };

}  // namespace kzv
