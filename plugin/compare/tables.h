// Zero-filled tables for one call, all in one buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <tuple>

#include "base/buffer.h"

namespace kzv::distance {

// One table for each Element type, in that order.
template <typename... Element>
class Tables {
 public:
  // Provides tables of so many elements each, once, for a structured binding; nothing without memory.
  template <typename... Count>
  [[nodiscard]] std::optional<std::tuple<std::span<Element>...>> allocate(Count... counts) {
    if (!memory_.allocate_zeroed((byte_count<Element>(counts) + ...))) return std::nullopt;
    std::uint8_t *next = memory_.data();
    return std::tuple{take<Element>(next, counts)...};
  }

 private:
  static constexpr std::size_t kAlignment = 8;

  // Rounded up, so that the next table is aligned, too.
  template <typename T>
  static constexpr std::uint64_t byte_count(std::uint64_t count) {
    return (count * sizeof(T) + kAlignment - 1) / kAlignment * kAlignment;
  }

  template <typename T>
  static std::span<T> take(std::uint8_t *&next, std::size_t count) {
    T *const start = reinterpret_cast<T *>(next);
    next += byte_count<T>(count);
    return {start, count};
  }

  Buffer<4096> memory_;  // two texts of 64 units need about two thirds of the inline bytes
};

}  // namespace kzv::distance
