// How far two texts are equal from their start.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace kzv::distance {

inline std::size_t common_prefix(std::span<const std::uint32_t> a, std::span<const std::uint32_t> b) {
  constexpr std::size_t kRun = 16;  // units at once: a unit at a time is slower
  const std::size_t most = std::min(a.size(), b.size());
  std::size_t count = 0;
  while (most - count >= kRun && std::memcmp(&a[count], &b[count], kRun * sizeof a[0]) == 0) count += kRun;
  while (count < most && a[count] == b[count]) ++count;
  return count;
}

}  // namespace kzv::distance
