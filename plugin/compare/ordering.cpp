#include "compare/ordering.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/byte_words.h"
#include "scan/masks.h"

namespace kzv::ordering {
namespace {

bool same_bytes(const std::uint8_t *a, const std::uint8_t *b, std::size_t byte_count) {
  return byte_count == 0 || std::memcmp(a, b, byte_count) == 0;
}

struct Suffix {
  std::size_t start;
  std::size_t period;
};

// The greatest suffix of `needle` with `before` as the order of bytes, and that suffix's period.
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
// split of the needle to its end, then from the split to its start; reads a byte of the text at most twice.
std::size_t count_two_way(ByteView text, ByteView needle) {
  const Suffix rising = maximal_suffix(needle, [](std::uint8_t a, std::uint8_t b) { return a < b; });
  const Suffix falling = maximal_suffix(needle, [](std::uint8_t a, std::uint8_t b) { return a > b; });
  const Suffix suffix = rising.start > falling.start ? rising : falling;
  const std::size_t split = suffix.start;
  // Unless the bytes before the split repeat with the period, a shift may be as long as the longer side.
  const bool periodic = same_bytes(needle.data(), needle.data() + suffix.period, split);
  const std::size_t shift = periodic ? suffix.period : std::max(split, needle.size() - split) + 1;

  std::size_t total = 0;
  std::size_t known = 0;  // bytes at the needle's start that are known to match
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

// Finds the positions, of at most a chunk from `at` on, at which both the needle's first and last byte match;
// returns the number of positions searched.
std::size_t find_candidates(ByteView text, ByteView needle, std::size_t at, scan::Masks &masks) {
  const std::size_t distance = needle.size() - 1;
  const std::size_t left = text.size() - distance - at;
  const std::uint8_t *const from = text.data() + at;
  const std::size_t blocks = std::min(left / cpu::kBlock, masks.size());
  if (blocks > 0) {
    cpu::level().find_pair(from, blocks, needle.front(), needle.back(), distance, masks.data());
    return blocks * cpu::kBlock;
  }
  std::array<std::uint8_t, 2 * cpu::kBlock> last;  // those for the first and those for the last byte
  cpu::level().load_partial(from, left, last.data());
  cpu::level().load_partial(from + distance, left, last.data() + cpu::kBlock);
  cpu::level().find_pair(last.data(), 1, needle.front(), needle.back(), cpu::kBlock, masks.data());
  masks[0] &= scan::bits_below(left);
  return left;
}

// The needle's first and last byte exclude most positions, a block at a time. Where too many comparisons
// fail, the two-way search, which is linear for every text, takes the rest.
std::size_t count_filtered(ByteView text, ByteView needle) {
  constexpr std::size_t kWastePerByte = 8;
  constexpr std::size_t kWasteAtStart = 4096;
  const std::size_t positions = text.size() - needle.size() + 1;
  // The needle's first bytes as a word, which is compared without a call.
  const std::uint64_t head = load_word(needle);
  const std::size_t head_size = std::min(needle.size(), kWordBytes);
  const ByteView rest = needle.subspan(head_size);

  scan::Masks masks;
  std::size_t total = 0;
  std::uint64_t wasted = 0;  // in 64 bits: a long needle can waste more than memory has bytes
  std::size_t next = 0;      // the first position that no match covers
  for (std::size_t chunk = 0, size = 0; chunk < positions; chunk = std::max(chunk + size, next)) {
    size = find_candidates(text, needle, chunk, masks);
    for (std::size_t block = chunk; block < chunk + size; block += cpu::kBlock) {
      for (std::uint64_t remaining = masks[(block - chunk) / cpu::kBlock]; remaining != 0;
           remaining = scan::without_lowest(remaining)) {
        const std::size_t at = block + scan::lowest_position(remaining);
        if (at < next) continue;
        if (((load_word(text.subspan(at)) ^ head) & first_bytes(head_size)) != 0) {
          wasted += head_size;
        } else if (!same_bytes(text.data() + at + head_size, rest.data(), rest.size())) {
          wasted += needle.size();
        } else {
          ++total;
          next = at + needle.size();
        }
      }
      const std::size_t done = std::max(block + cpu::kBlock, next);
      if (wasted / kWastePerByte > std::uint64_t{done} + kWasteAtStart && done < positions) {
        return total + count_two_way(text.subspan(done), needle);
      }
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
  const std::size_t total = needle.size() == 1 ? cpu::level().count(text.data(), text.size(), needle.front())
                                               : count_filtered(text, needle);
  return static_cast<std::int32_t>(total);
}

}  // namespace kzv::ordering
