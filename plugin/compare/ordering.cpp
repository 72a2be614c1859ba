#include "compare/ordering.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "scan/marks.h"

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

// Marks the positions from `at` on where the needle's first and last byte stand at their places, for at most
// all the masks; returns the number of positions that were looked at.
std::size_t find_candidates(ByteView text, ByteView needle, std::size_t at, scan::Masks &masks) {
  const std::size_t distance = needle.size() - 1;
  const std::size_t left = text.size() - distance - at;
  const std::uint8_t *const from = text.data() + at;
  const std::size_t blocks = std::min(left / cpu::kBlock, masks.size());
  if (blocks > 0) {
    cpu::level().find_pair(from, blocks, needle.front(), needle.back(), distance, masks.data());
    return blocks * cpu::kBlock;
  }
  std::array<std::uint8_t, 2 * cpu::kBlock> last;  // the bytes at both ends
  cpu::level().load_partial(from, left, last.data());
  cpu::level().load_partial(from + distance, left, last.data() + cpu::kBlock);
  cpu::level().find_pair(last.data(), 1, needle.front(), needle.back(), cpu::kBlock, masks.data());
  masks[0] &= scan::bits_below(left);
  return left;
}

// The needle's first bytes as a number, so that a look at them costs no call.
class Head {
 public:
  explicit Head(ByteView needle)
      : size_(std::min(needle.size(), sizeof bytes_)), mask_(scan::bits_below(size_ * 8)) {
    std::memcpy(&bytes_, needle.data(), size_);
  }
  [[nodiscard]] std::size_t size() const { return size_; }
  // Whether the text at `found`, of which at least the needle's size is left, begins alike.
  [[nodiscard]] bool begins(const std::uint8_t *found, std::size_t left) const {
    if (left < sizeof bytes_) return std::memcmp(found, &bytes_, size_) == 0;
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, found, sizeof bytes);
    return ((bytes ^ bytes_) & mask_) == 0;
  }

 private:
  std::uint64_t bytes_ = 0;
  std::size_t size_;
  std::uint64_t mask_;
};

// The needle's two end bytes rule out most positions, many at a time. Where they do not, and the comparisons
// that follow keep failing, the rest of the text goes to the search that cannot be slowed down.
std::size_t count_filtered(ByteView text, ByteView needle) {
  constexpr std::size_t kWastePerByte = 8;
  constexpr std::size_t kWasteAtStart = 4096;
  const std::size_t positions = text.size() - needle.size() + 1;
  const Head head(needle);

  scan::Masks masks;
  std::size_t total = 0;
  std::uint64_t wasted = 0;  // in 64 bits: a long needle can waste more than memory has bytes
  std::size_t next = 0;      // the first position that no match covers
  for (std::size_t group = 0, size = 0; group < positions; group = std::max(group + size, next)) {
    size = find_candidates(text, needle, group, masks);
    for (std::size_t block = group; block < group + size; block += cpu::kBlock) {
      for (std::uint64_t left = masks[(block - group) / cpu::kBlock]; left != 0; left &= left - 1) {
        const std::size_t at = block + static_cast<std::size_t>(std::countr_zero(left));
        if (at < next) continue;
        const std::uint8_t *const found = text.data() + at;
        if (!head.begins(found, text.size() - at)) {
          wasted += head.size();
        } else if (!same_bytes(found + head.size(), needle.data() + head.size(),
                               needle.size() - head.size())) {
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
  const std::size_t total =
      needle.size() == 1 ? count_byte(text, needle.front()) : count_filtered(text, needle);
  return static_cast<std::int32_t>(total);
}

}  // namespace kzv::ordering
