// What most functions do: one argument through a kernel into a new string.
#pragma once

#include <functional>

#include "frame/arguments.h"
#include "frame/byte_view.h"
#include "frame/output.h"
#include "frame/text_view.h"

namespace kzv {

// For kernels whose output differs from the input, or that do not look whether it does.
inline constexpr auto kNeverUnchanged = [](auto) { return false; };

// Reads `s` by a View (rbData or rbText), of which `text` is the function that provides the input, has
// `kernel(input, output) -> bytes written` fill a buffer of `bound(input size)` bytes and makes a string of
// them in `encoding`. Null for an empty argument, when no string can be as long as the bound, and without
// memory for the buffer. An input that is `unchanged(input)` becomes the string itself, without a buffer.
template <typename View, typename Text, typename Bound, typename Kernel,
          typename Unchanged = decltype(kNeverUnchanged)>
REALstringStruct *Transform(REALstringStruct *s, Text text, REALencoding encoding, Bound bound, Kernel kernel,
                            Unchanged unchanged = kNeverUnchanged) {
  Output output;
  HostString same;  // made while the argument is held, so its own scope releases it if the host then throws
  Read<View>({s}, [&](View &argument) {
    const auto input = std::invoke(text, argument);
    if (input.empty()) return;
    if (unchanged(input)) {
      same.reset(REALBuildUnicodeString(input.data(), std::ssize(input), encoding));
    } else {
      output.Fill(bound(input.size()), [&](ByteBuffer written) { return kernel(input, written); });
    }
  });
  return same ? same.hand_over() : output.Finish(encoding);
}

// The same for an argument's bytes as stored.
template <typename Bound, typename Kernel, typename Unchanged = decltype(kNeverUnchanged)>
REALstringStruct *TransformBytes(REALstringStruct *s, REALencoding encoding, Bound bound, Kernel kernel,
                                 Unchanged unchanged = kNeverUnchanged) {
  return Transform<rbData>(s, &rbData::bytes, encoding, bound, kernel, unchanged);
}

// The bound of a kernel that writes at most one byte for each element that it reads.
inline constexpr auto kOneByteEach = [](std::size_t count) { return std::uint64_t{count}; };

}  // namespace kzv
