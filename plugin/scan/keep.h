// Output that is the input with bytes changed and bytes left out.
#pragma once

#include <cassert>

#include "scan/chunk.h"

namespace kzv::scan {

// Has `choose(chunk, kept)` say for each chunk which bytes to keep; it may change them first. Padding is
// never kept, whatever its bits. The output holds as many bytes as the input; returns the number written.
template <typename Choose>
std::size_t keep(ByteView input, Choose choose, ByteBuffer output) {
  assert(output.size() >= input.size());
  Masks kept;
  std::size_t written = 0;
  for (std::size_t at = 0; at < input.size();) {
    EditableChunk chunk(input, at, output.data() + written);
    choose(chunk, kept);
    written += chunk.write_kept(kept);
    at += chunk.size();
  }
  return written;
}

}  // namespace kzv::scan
