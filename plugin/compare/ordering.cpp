#include "ordering.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace kzv::ordering {
namespace {

bool same_bytes(const std::uint8_t *a, const std::uint8_t *b, std::size_t byte_count) {
  return byte_count == 0 || std::memcmp(a, b, byte_count) == 0;
}

std::size_t count_byte(ByteView text, std::uint8_t byte) {
  // A sum of at most 255 ones fits a byte, so that the compiler adds up as many lanes as a register has
  // bytes.
  constexpr std::size_t kRun = 240;
  std::size_t total = 0;
  while (!text.empty()) {
    const ByteView run = text.first(std::min(text.size(), kRun));
    std::uint8_t sum = 0;
    for (const std::uint8_t each : run) sum = static_cast<std::uint8_t>(sum + (each == byte ? 1 : 0));
    total += sum;
    text = text.subspan(run.size());
  }
  return total;
}

struct Suffix {
  std::size_t start;
  std::size_t period;
};

// The greatest suffix of `needle` when bytes are ordered as `before` says, and that suffix's period.
template <typename Before>
Suffix maximal_suffix(ByteView needle, Before before) {
  Suffix best{0, 1};
  std::size_t candidate = 1;
  std::size_t matched = 0;
  while (candidate + matched < needle.size()) {
    const std::uint8_t theirs = needle[candidate + matched];
    const std::uint8_t ours = needle[best.start + matched];
    if (theirs == ours) {
      if (++matched == best.period) {
        candidate += best.period;
        matched = 0;
      }
    } else if (before(theirs, ours)) {
      candidate += matched + 1;
      matched = 0;
      best.period = candidate - best.start;
    } else {
      best = {candidate, 1};
      candidate += 1;
      matched = 0;
    }
  }
  return best;
}

// Crochemore and Perrin, Two-way string-matching, Journal of the ACM 38 (1991): compares from a critical
// split of the needle to the right, then what is left of it; never more than two looks at a byte of the text.
std::size_t count_two_way(ByteView text, ByteView needle) {
  const Suffix rising = maximal_suffix(needle, [](std::uint8_t a, std::uint8_t b) { return a < b; });
  const Suffix falling = maximal_suffix(needle, [](std::uint8_t a, std::uint8_t b) { return a > b; });
  const Suffix suffix = rising.start > falling.start ? rising : falling;
  const std::size_t split = suffix.start;
  // What comes before the split repeats, or does not: only then may a shift be as long as the longer side.
  const bool periodic = same_bytes(needle.data(), needle.data() + suffix.period, split);
  const std::size_t shift = periodic ? suffix.period : std::max(split, needle.size() - split) + 1;

  std::size_t total = 0;
  std::size_t known = 0;  // bytes at the needle's start that the comparison before has already matched
  for (std::size_t at = 0; at + needle.size() <= text.size();) {
    std::size_t right = std::max(split, known);
    while (right < needle.size() && needle[right] == text[at + right]) ++right;
    if (right < needle.size()) {
      at += right - split + 1;
      known = 0;
      continue;
    }
    std::size_t left = split;
    while (left > known && needle[left - 1] == text[at + left - 1]) --left;
    const bool found = left <= known;
    total += found ? 1 : 0;
    at += found ? needle.size() : shift;
    known = !found && periodic ? needle.size() - shift : 0;
  }
  return total;
}

constexpr std::size_t kBlock = 64;

// The positions, `count` of them and at most 64, where the needle's first and last byte stand at their
// places: bit k for position k.
inline std::uint64_t candidates(const std::uint8_t *data, ByteView needle, std::size_t count) {
  const std::uint8_t first = needle.front();
  const std::uint8_t last = needle.back();
  const std::uint8_t *const ends = data + needle.size() - 1;
  std::array<std::uint8_t, kBlock> marks;
  std::uint8_t any = 0;
  for (std::size_t k = 0; k < count; ++k) {
    marks[k] = static_cast<std::uint8_t>((data[k] == first ? 1 : 0) & (ends[k] == last ? 1 : 0));
    any |= marks[k];
  }
  if (any == 0) return 0;
  std::uint64_t result = 0;
  for (std::size_t k = 0; k < count; ++k) result |= std::uint64_t{marks[k]} << k;
  return result;
}

// The needle's two end bytes rule out most positions, many at a time. Where they do not, and the comparisons
// that follow keep failing, the rest of the text goes to the search that cannot be slowed down.
std::size_t count_filtered(ByteView text, ByteView needle) {
  constexpr std::size_t kWastePerByte = 8;
  constexpr std::size_t kWasteAtStart = 4096;
  const std::size_t positions = text.size() - needle.size() + 1;
  const std::size_t glance = std::min(needle.size(), std::size_t{16});

  std::size_t total = 0;
  std::uint64_t wasted = 0;  // in 64 bits: a long needle can waste more than memory has bytes
  std::size_t next = 0;      // the first position that no match covers
  for (std::size_t block = 0; block < positions;) {
    const std::uint8_t *const data = text.data() + block;
    const std::size_t size = std::min(kBlock, positions - block);
    // The same call twice: the compiler unrolls the one whose count it knows.
    std::uint64_t left = size == kBlock ? candidates(data, needle, kBlock) : candidates(data, needle, size);
    for (; left != 0; left &= left - 1) {
      const auto k = static_cast<std::size_t>(std::countr_zero(left));
      if (block + k < next) continue;
      if (!same_bytes(data + k, needle.data(), glance)) {
        wasted += glance;
      } else if (!same_bytes(data + k + glance, needle.data() + glance, needle.size() - glance)) {
        wasted += needle.size();
      } else {
        ++total;
        next = block + k + needle.size();
      }
    }
    block = std::max(block + size, next);
    if (wasted / kWastePerByte > std::uint64_t{block} + kWasteAtStart && block < positions) {
      return total + count_two_way(text.subspan(block), needle);
    }
  }
  return total;
}

}  // namespace

int compare(ByteView a, ByteView b) {
  const std::size_t common = std::min(a.size(), b.size());
  const int order = common == 0 ? 0 : std::memcmp(a.data(), b.data(), common);
  if (order != 0) return order < 0 ? -1 : 1;
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

std::int32_t count(ByteView text, ByteView needle) {
  if (needle.empty() || needle.size() > text.size()) return 0;
  const std::size_t total =
      needle.size() == 1 ? count_byte(text, needle.front()) : count_filtered(text, needle);
  return static_cast<std::int32_t>(total);
}

}  // namespace kzv::ordering
