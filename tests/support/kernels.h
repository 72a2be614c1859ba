// Calls a kernel on memory of exactly the size that it is given: input and output end where their area does.
#pragma once

#include <stdexcept>
#include <string>

#include "base/bytes.h"
#include "support/guarded.h"

namespace kzv {

inline void expect(bool holds, const char *relation) {
  if (!holds) throw std::logic_error(std::string("does not hold: ") + relation);
}

inline std::string_view text_of(ByteView bytes) {
  return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

// Runs `kernel(input, output) -> bytes written` with an output of exactly `bound` bytes.
template <typename Kernel>
std::string run_kernel(std::string_view input, std::uint64_t bound, Kernel kernel) {
  Guarded in(input);
  Guarded out(static_cast<std::size_t>(bound));
  const std::size_t written = kernel(ByteView(in.bytes()), ByteBuffer(out.bytes()));
  expect(written <= bound, "a kernel writes no more than its bound");
  expect(text_of(in.bytes()) == input, "a kernel leaves its input as it was");
  return std::string(text_of(out.bytes().first(written)));
}

}  // namespace kzv
