// Calls a kernel the hard way: input and output both end at a guard page.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "support/guarded.h"

namespace kzv {

// Runs `kernel(input, output) -> bytes written` with an output of exactly `room` bytes.
template <typename Kernel>
std::string run_kernel(std::string_view input, std::uint64_t room, Kernel kernel) {
  Guarded in(input);
  Guarded out(static_cast<std::size_t>(room));
  const std::size_t written = kernel(ByteView(in.bytes()), ByteBuffer(out.bytes()));
  return {reinterpret_cast<const char *>(out.data()), written};
}

}  // namespace kzv
