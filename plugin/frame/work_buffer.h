// The memory that a function writes its output into before a host string is made of it.
#pragma once

#include <cstdlib>

#include "abi.h"
#include "base/bytes.h"

namespace kzv {

// Bytes that are not zero-filled; small buffers stand on the stack.
class WorkBuffer {
 public:
  WorkBuffer() = default;
  WorkBuffer(const WorkBuffer &) = delete;
  WorkBuffer &operator=(const WorkBuffer &) = delete;
  ~WorkBuffer() { std::free(heap_); }

  // Provides `byte_count` bytes, once; false when that is more than 2,147,483,647
  // or the memory is not to be had.
  [[nodiscard]] bool allocate(std::uint64_t byte_count) {
    if (byte_count > kMaxByteCount) return false;
    if (byte_count > sizeof small_) {
      heap_ = static_cast<std::uint8_t *>(std::malloc(static_cast<std::size_t>(byte_count)));
      if (heap_ == nullptr) return false;
    }
    size_ = static_cast<std::size_t>(byte_count);
    return true;
  }

  std::uint8_t *data() { return heap_ != nullptr ? heap_ : small_; }
  ByteBuffer bytes() { return {data(), size_}; }

 private:
  std::uint8_t *heap_ = nullptr;
  std::size_t size_ = 0;
  alignas(16) std::uint8_t small_[512];
};

}  // namespace kzv
