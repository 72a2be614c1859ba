#include <algorithm>
#include <limits>

#include "compare/distance.h"
#include "compare/symbol_table.h"
#include "compare/work_memory.h"

namespace kzv::distance {
namespace {

constexpr std::size_t kRows = 64;

// What a strip of rows hands down to the next one in a column, one bit each.
constexpr std::uint8_t kGrows = 1;      // its last row is one more than in the column before
constexpr std::uint8_t kShrinks = 2;    // one less
constexpr std::uint8_t kMayBeSwap = 4;  // its last unit may be the first of two that changed places

// The differences between each row and the one above, as two sets: one more, one less.
struct Vertical {
  std::uint64_t grows;
  std::uint64_t shrinks;
};

// Computes 64 rows of the matrix, one column a step, after Hyyro, A bit-vector algorithm for computing
// Levenshtein and Damerau edit distances, Nordic Journal of Computing 10 (2003), section 4. `rows_with` says
// for a symbol's number in which rows it stands. Reads from `border` what the strip above handed down and
// leaves there what this one does; returns the differences in the last column.
Vertical run_strip(std::span<const std::uint32_t> columns, const std::uint64_t *rows_with,
                   std::uint8_t *border) {
  Vertical vertical{~std::uint64_t{0}, 0};
  std::uint64_t diagonal_stays = 0;
  std::uint64_t matches_before = 0;
  for (std::size_t j = 0; j < columns.size(); ++j) {
    const std::uint8_t above = border[j];
    const std::uint64_t grows_above = above & kGrows;
    const std::uint64_t shrinks_above = (above & kShrinks) / kShrinks;
    const std::uint64_t swap_above = above / kMayBeSwap;

    const std::uint64_t matches = rows_with[columns[j]];
    const std::uint64_t may_be_swap = ~diagonal_stays & matches;
    const std::uint64_t swapped = ((may_be_swap << 1) | swap_above) & matches_before;
    const std::uint64_t start = matches | shrinks_above;
    diagonal_stays =
        (((start & vertical.grows) + vertical.grows) ^ vertical.grows) | start | vertical.shrinks | swapped;
    const std::uint64_t grows = vertical.shrinks | ~(diagonal_stays | vertical.grows);
    const std::uint64_t shrinks = diagonal_stays & vertical.grows;
    border[j] = static_cast<std::uint8_t>((grows >> 63) * kGrows | (shrinks >> 63) * kShrinks |
                                          (may_be_swap >> 63) * kMayBeSwap);

    const std::uint64_t grows_above_row = grows << 1 | grows_above;
    const std::uint64_t shrinks_above_row = shrinks << 1 | shrinks_above;
    vertical.grows = shrinks_above_row | ~(diagonal_stays | grows_above_row);
    vertical.shrinks = grows_above_row & diagonal_stays;
    matches_before = matches;
  }
  return vertical;
}

// The number of edits between two texts, the first not longer than the second. A swap costs 1 here. If it
// cost 0 where the unit compared is equal in both texts, nothing would change: both units swapped are then
// the same one, and the two equal pairs on the diagonal cost 0 already.
std::optional<std::uint64_t> edit_count(WideView rows, WideView columns) {
  if (rows.empty()) return columns.size();
  const std::size_t slot_count = SymbolTable::slot_count(rows.size());
  const std::size_t symbol_count = SymbolTable::most_symbols(rows.size());
  WorkMemory memory;
  if (!memory.reserve(
          WorkMemory::room<SymbolTable::Slot>(slot_count) +
          WorkMemory::room<std::uint64_t>(symbol_count + 1) + WorkMemory::room<std::uint32_t>(rows.size()) +
          WorkMemory::room<std::uint32_t>(columns.size()) + WorkMemory::room<std::uint8_t>(columns.size()))) {
    return std::nullopt;
  }
  SymbolTable symbols(memory.take<SymbolTable::Slot>(slot_count));
  // Number 0, the symbols that `rows` has not, stands in no row.
  const auto rows_with = memory.take<std::uint64_t>(symbol_count + 1);
  const auto row_numbers = memory.take<std::uint32_t>(rows.size());
  const auto column_numbers = memory.take<std::uint32_t>(columns.size());
  const auto border = memory.take<std::uint8_t>(columns.size());
  std::ranges::transform(rows, row_numbers.begin(), [&](std::uint32_t unit) { return symbols.add(unit); });
  std::ranges::transform(columns, column_numbers.begin(),
                         [&](std::uint32_t unit) { return symbols.find(unit); });

  // The top row counts 0, 1, 2, ...; from its end the differences lead down the last column.
  std::ranges::fill(border, kGrows);
  std::uint64_t edits = columns.size();
  for (std::size_t top = 0; top < rows.size(); top += kRows) {
    const auto strip = row_numbers.subspan(top, std::min(kRows, rows.size() - top));
    for (std::size_t i = 0; i < strip.size(); ++i) rows_with[strip[i]] |= std::uint64_t{1} << i;
    const Vertical last = run_strip(column_numbers, rows_with.data(), border.data());
    for (const std::uint32_t number : strip) rows_with[number] = 0;

    const std::uint64_t used = ~std::uint64_t{0} >> (kRows - strip.size());
    edits += static_cast<std::uint64_t>(std::popcount(last.grows & used));
    edits -= static_cast<std::uint64_t>(std::popcount(last.shrinks & used));
  }
  return edits;
}

}  // namespace

std::optional<double> edit_distance(WideView a, WideView b) {
  if (a.empty() || b.empty()) return 1.0;
  if (a.size() > b.size()) std::swap(a, b);
  const auto shorter = static_cast<double>(a.size());

  // Equal units at either end are never worth an edit.
  const auto prefix = static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
  a = a.subspan(prefix);
  b = b.subspan(prefix);
  while (!a.empty() && a.back() == b.back()) {
    a = a.first(a.size() - 1);
    b = b.first(b.size() - 1);
  }
  const std::optional<std::uint64_t> edits = edit_count(a, b);
  if (!edits) return std::nullopt;
  return 1.0 / (shorter / static_cast<double>(*edits));  // equal texts: 1 / infinity
}

std::uint64_t matrix_byte_count(std::size_t a_unit_count, std::size_t b_unit_count) {
  const std::uint64_t row = (std::uint64_t{a_unit_count} + 1) * 4;
  std::uint64_t total = 0;
  const bool too_large = __builtin_mul_overflow(row, std::uint64_t{b_unit_count} + 1, &total);
  return too_large ? std::numeric_limits<std::uint64_t>::max() : total;
}

}  // namespace kzv::distance
