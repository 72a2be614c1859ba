// Bytes on the heap, owned; for memory whose size is not known before the call.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace kzv {

struct FreeHeapBytes {
  void operator()(std::uint8_t *bytes) const { std::free(bytes); }
};
using HeapBytes = std::unique_ptr<std::uint8_t[], FreeHeapBytes>;

// Not zero-filled; null when the memory is not to be had.
inline HeapBytes allocate_bytes(std::size_t byte_count) {
  return HeapBytes(static_cast<std::uint8_t *>(std::malloc(byte_count)));
}

}  // namespace kzv
