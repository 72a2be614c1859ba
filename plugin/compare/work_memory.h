// Zero-filled memory for the tables of one call: on the stack when it is little, from the heap otherwise.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>

namespace kzv::distance {

class WorkMemory {
 public:
  WorkMemory() = default;
  WorkMemory(const WorkMemory &) = delete;
  WorkMemory &operator=(const WorkMemory &) = delete;
  ~WorkMemory() { std::free(heap_); }

  // Bytes that `take` uses up for `count` elements, so that whatever is taken next is aligned.
  template <typename T>
  static constexpr std::uint64_t room(std::uint64_t count) {
    return (count * sizeof(T) + kAlignment - 1) / kAlignment * kAlignment;
  }

  // Provides the sum of all rooms, once; false when the memory is not to be had.
  [[nodiscard]] bool reserve(std::uint64_t byte_count) {
    if (!std::in_range<std::size_t>(byte_count)) return false;
    const auto size = static_cast<std::size_t>(byte_count);
    if (size <= small_.size()) {
      std::memset(small_.data(), 0, size);
      next_ = small_.data();
    } else {
      heap_ = static_cast<std::byte *>(std::calloc(size, 1));
      next_ = heap_;
    }
    return next_ != nullptr;
  }

  template <typename T>
  std::span<T> take(std::size_t count) {
    T *const start = reinterpret_cast<T *>(next_);
    next_ += room<T>(count);
    return {start, count};
  }

 private:
  static constexpr std::size_t kAlignment = 8;

  std::byte *heap_ = nullptr;
  std::byte *next_ = nullptr;
  alignas(kAlignment) std::array<std::byte, 4096> small_;  // two texts of 64 units need about half of it
};

}  // namespace kzv::distance
