// Numbers for the units that a text is made of, so that tables grow with its alphabet, not with 2^32.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace kzv::distance {

// A hash table with open addressing, in slots that the caller provides; at most half of them are ever used.
class SymbolTable {
 public:
  struct Slot {
    std::uint32_t unit;
    std::uint32_t number;  // 0 in a free slot
  };

  // Most symbols that a text of `unit_count` UTF-16 units can have.
  static constexpr std::size_t most_symbols(std::size_t unit_count) {
    return std::min(unit_count, std::size_t{0x10000});
  }

  // Slots for such a text of at least one unit: a power of two.
  static constexpr std::size_t slot_count(std::size_t unit_count) {
    return std::bit_ceil(most_symbols(unit_count) * 2);
  }

  explicit SymbolTable(std::span<Slot> zero_filled)
      : slots_(zero_filled), shift_(32 - std::countr_zero(zero_filled.size())) {}

  // The number of `unit`; new units get the next one of 1, 2, 3, ...
  std::uint32_t add(std::uint32_t unit) {
    Slot &slot = slots_[slot_of(unit)];
    if (slot.number == 0) slot = {unit, ++last_number_};
    return slot.number;
  }

  // The number of `unit`, or 0 if it was never added.
  [[nodiscard]] std::uint32_t find(std::uint32_t unit) const { return slots_[slot_of(unit)].number; }

 private:
  // The slot of `unit`, or the free one where it would be added. The multiplier is 2^32 divided by the golden
  // ratio, which spreads neighbouring units over the upper bits (Knuth, The Art of Computer Programming 3,
  // section 6.4).
  [[nodiscard]] std::size_t slot_of(std::uint32_t unit) const {
    std::size_t at = (unit * 0x9E3779B1U) >> shift_;
    while (slots_[at].number != 0 && slots_[at].unit != unit) at = (at + 1) & (slots_.size() - 1);
    return at;
  }

  std::span<Slot> slots_;
  int shift_;
  std::uint32_t last_number_ = 0;
};

}  // namespace kzv::distance
