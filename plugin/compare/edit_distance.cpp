#include <algorithm>
#include <limits>

#include "compare/distance.h"
#include "compare/symbol_table.h"
#include "compare/tables.h"

namespace kzv::distance {
namespace {

// After Hyyro, A bit-vector algorithm for computing Levenshtein and Damerau edit distances, Nordic Journal of
// Computing 10 (2003), section 4; variables have the paper's letters. The matrix D has a row for each unit of
// one text and a column for each unit of the other. Neighbouring cells differ by 1 at most, so that a column
// of 64 rows is kept as words with one bit for each row:
//
//      D      b  a      the last column, cell by cell                            row a   row b
//          0  1  2      PM      the units are equal                               1       0
//       a  1  1  1      TR      a transposition ends                              0       1
//       b  2  1  1      D0      the cell equals its upper left neighbour          1       1
//                       VP, VN  it is one more, one less than the one above       0, 1    0, 0
//                       HP, HN  it is one more, one less than the one to its left 0, 0    0, 0
//
// The rows are done in strips of 64, each through all columns. In each column a strip leaves the next one
// what its last row has: the bits of HP and HN, and whether its unit may begin a transposition.
constexpr std::size_t kStripRows = 64;

// What a strip leaves in a column.
constexpr std::uint8_t kHP = 1;
constexpr std::uint8_t kHN = 2;
constexpr std::uint8_t kTR = 4;

// Differences between neighbouring rows of one column.
struct Vertical {
  std::uint64_t VP;
  std::uint64_t VN;
};

// Takes a strip through all columns, which are given as symbol numbers; `row_masks` has the PM of each. Reads
// from `border` what the strip above left there and replaces it. Returns the differences in the last column.
Vertical run_strip(std::span<const std::uint32_t> columns, const std::uint64_t *row_masks,
                   std::uint8_t *border) {
  std::uint64_t VP = ~std::uint64_t{0};
  std::uint64_t VN = 0;
  std::uint64_t D0 = 0;
  std::uint64_t PM_before = 0;
  for (std::size_t j = 0; j < columns.size(); ++j) {
    const std::uint8_t above = border[j];
    const std::uint64_t HP_above = above & kHP;
    const std::uint64_t HN_above = (above & kHN) / kHN;
    const std::uint64_t TR_above = above / kTR;

    const std::uint64_t PM = row_masks[columns[j]];
    const std::uint64_t may_begin_TR = ~D0 & PM;
    const std::uint64_t TR = (may_begin_TR << 1 | TR_above) & PM_before;
    // A cell above the strip that is one less acts like a match in the first row.
    const std::uint64_t start = PM | HN_above;
    D0 = (((start & VP) + VP) ^ VP) | start | VN | TR;
    const std::uint64_t HP = VN | ~(D0 | VP);
    const std::uint64_t HN = D0 & VP;
    border[j] = static_cast<std::uint8_t>((HP >> 63) * kHP | (HN >> 63) * kHN | (may_begin_TR >> 63) * kTR);

    const std::uint64_t HP_of_row_above = HP << 1 | HP_above;
    const std::uint64_t HN_of_row_above = HN << 1 | HN_above;
    VP = HN_of_row_above | ~(D0 | HP_of_row_above);
    VN = HP_of_row_above & D0;
    PM_before = PM;
  }
  return {VP, VN};
}

// The number of edits between two texts, the first not longer than the second. A transposition always
// costs 1. Between two equal units it need not be free: then both pairs match on the diagonal, at no cost.
std::optional<std::uint64_t> edit_count(WideView rows, WideView columns) {
  if (rows.empty()) return columns.size();
  const std::size_t symbol_count = SymbolTable::most_symbols(rows.size());
  Tables<SymbolTable::Slot, std::uint64_t, std::uint32_t, std::uint32_t, std::uint8_t> tables;
  // One mask more for number 0, the symbols that `rows` does not have.
  const auto spans = tables.allocate(SymbolTable::slot_count(rows.size()), symbol_count + 1, rows.size(),
                                     columns.size(), columns.size());
  if (!spans) return std::nullopt;
  const auto [slots, row_masks, row_numbers, column_numbers, border] = *spans;
  SymbolTable symbols(slots);
  std::ranges::transform(rows, row_numbers.begin(), [&](std::uint32_t unit) { return symbols.add(unit); });
  std::ranges::transform(columns, column_numbers.begin(),
                         [&](std::uint32_t unit) { return symbols.find(unit); });

  // The row above all strips counts 0, 1, 2, ... From its last cell the vertical differences of the last
  // column lead down to the number of edits.
  std::ranges::fill(border, kHP);
  std::uint64_t edits = columns.size();
  for (std::size_t top = 0; top < rows.size(); top += kStripRows) {
    const auto strip = row_numbers.subspan(top, std::min(kStripRows, rows.size() - top));
    for (std::size_t i = 0; i < strip.size(); ++i) row_masks[strip[i]] |= std::uint64_t{1} << i;
    const Vertical last = run_strip(column_numbers, row_masks.data(), border.data());
    for (const std::uint32_t number : strip) row_masks[number] = 0;

    const std::uint64_t used = ~std::uint64_t{0} >> (kStripRows - strip.size());
    edits += static_cast<std::uint64_t>(std::popcount(last.VP & used));
    edits -= static_cast<std::uint64_t>(std::popcount(last.VN & used));
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
