// Memory whose size is known only during a call: in the object itself while it is small, else on the heap.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/bytes.h"

namespace kzv {

// Holds up to `kInline` bytes without a call of the allocator. Sizes have 64 bits, so that callers can
// compute them without overflow. What cannot be provided is reported by false and leaves the buffer as it
// was.
template <std::size_t kInline>
class Buffer {
 public:
  Buffer() = default;
  Buffer(const Buffer &) = delete;
  Buffer &operator=(const Buffer &) = delete;
  ~Buffer() {
    if (heap_ != nullptr) std::free(heap_);  // the call alone would cost short texts more than the check
  }

  // Makes an empty buffer `byte_count` bytes large. Their values are undefined.
  [[nodiscard]] bool allocate(std::uint64_t byte_count) {
    return provide(byte_count, [](std::size_t size) { return std::malloc(size); });
  }

  [[nodiscard]] bool allocate_zeroed(std::uint64_t byte_count) {
    if (byte_count <= kInline) std::fill_n(inline_.begin(), byte_count, std::uint8_t{0});
    return provide(byte_count, [](std::size_t size) { return std::calloc(size, 1); });
  }

  // Makes the buffer larger and keeps its content, which may move. The values of the new bytes are undefined.
  // The memory doubles if it can: growing in many small steps copies each byte only a few times.
  [[nodiscard]] bool grow(std::uint64_t byte_count) requires(kInline > 0) {
    const auto reallocate = [this](std::size_t size) {
      void *const heap = std::realloc(heap_, size);
      if (heap != nullptr && heap_ == nullptr) std::memcpy(heap, inline_.data(), size_);
      return heap;
    };
    const bool large_enough = byte_count <= capacity_ ||
                              provide(std::max(byte_count, 2 * std::uint64_t{capacity_}), reallocate) ||
                              provide(byte_count, reallocate);
    if (large_enough) size_ = static_cast<std::size_t>(byte_count);
    return large_enough;
  }

  // Frees the memory; the buffer is empty then.
  void clear() {
    std::free(std::exchange(heap_, nullptr));
    size_ = 0;
    capacity_ = kInline;
  }

  // Without inline bytes, null while the buffer is empty.
  [[nodiscard]] std::uint8_t *data() { return heap_ != nullptr ? heap_ : inline_.data(); }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] ByteBuffer bytes() { return {data(), size_}; }

 private:
  static constexpr std::size_t kAlignment = kInline > 0 ? 16 : 1;

  // Calls `from_heap(size)` for memory that does not fit into the object.
  template <typename Allocate>
  bool provide(std::uint64_t byte_count, Allocate from_heap) {
    if (byte_count > kInline) {
      if (!std::in_range<std::size_t>(byte_count)) return false;
      void *const heap = from_heap(static_cast<std::size_t>(byte_count));
      if (heap == nullptr) return false;
      heap_ = static_cast<std::uint8_t *>(heap);
      capacity_ = static_cast<std::size_t>(byte_count);
    }
    size_ = static_cast<std::size_t>(byte_count);
    return true;
  }

  std::uint8_t *heap_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = kInline;
  [[no_unique_address]] alignas(kAlignment) std::array<std::uint8_t, kInline> inline_;
};

// Owns no inline bytes: for copies that are rarely made.
using HeapBuffer = Buffer<0>;

}  // namespace kzv
