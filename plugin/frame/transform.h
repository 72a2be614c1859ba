// What most functions do: one argument through a kernel into a new string.
#pragma once

#include <functional>

#include "frame/arguments.h"
#include "frame/byte_view.h"
#include "frame/output.h"
#include "frame/text_view.h"

namespace kzv {

// Reads `s` by a View (rbData or rbText), of which `text` is the function that provides the input, has
// `kernel(input, output) -> bytes written` fill a buffer of `bound(input size)` bytes and makes a string of
// them in `encoding`. Null for an empty argument and without memory for the buffer.
template <typename View, typename Text, typename Bound, typename Kernel>
REALstringStruct *Transform(REALstringStruct *s, Text text, REALencoding encoding, Bound bound,
                            Kernel kernel) {
  Output output;
  Read<View>({s}, [&](View &argument) {
    const auto input = std::invoke(text, argument);
    if (input.empty()) return;
    output.Fill(bound(input.size()), [&](ByteBuffer written) { return kernel(input, written); });
  });
  return output.Finish(encoding);
}

// The same for an argument's bytes as stored.
template <typename Bound, typename Kernel>
REALstringStruct *TransformBytes(REALstringStruct *s, REALencoding encoding, Bound bound, Kernel kernel) {
  return Transform<rbData>(s, &rbData::bytes, encoding, bound, kernel);
}

// The bound of a kernel that writes at most one byte for each element that it reads.
inline constexpr auto kOneByteEach = [](std::size_t count) { return std::uint64_t{count}; };

}  // namespace kzv
