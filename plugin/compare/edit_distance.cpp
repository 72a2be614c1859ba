#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <limits>

#include "compare/common_prefix.h"
#include "compare/distance.h"
#include "compare/symbol_table.h"
#include "compare/tables.h"
#include "scan/masks.h"

namespace kzv::distance {
namespace {

// After Hyyro, A bit-vector algorithm for computing Levenshtein and Damerau edit distances, Nordic Journal of
// Computing 10 (2003), section 4; variables have the paper's letters. The matrix D has a row for each unit of
// the shorter text and a column for each unit of the longer one. Neighbouring cells differ by 1 at most, so
// that 64 rows of a column are kept as words with one bit for each row:
//
//      D      b  a      the last column, cell by cell                            row a   row b
//          0  1  2      PM      the units are equal                               1       0
//       a  1  1  1      TR      a transposition ends                              0       1
//       b  2  1  1      D0      the cell equals its upper left neighbour          1       1
//                       VP, VN  it is one more, one less than the one above       0, 1    0, 0
//                       HP, HN  it is one more, one less than the one to its left 0, 0    0, 0
//
// A transposition costs 1. Between two equal units it need not be free: then both pairs match on the
// diagonal, at no cost. A cell is never less than its upper left neighbour: the cells above and to the left
// are at most 1 less than that one, and a transposition costs 1 more than the cell two further up the
// diagonal, which that one exceeds by 1 at most.
//
// The rows are done in strips of 128, two words, from left to right. In each column a strip leaves the next
// one the bits of its last row. Of a strip, here of two rows, only a window of columns is done (#), the one
// that can matter if the edits are within a limit:
//
//         1 . . . . . . . n      Edits are a path from the upper left to the lower right corner, on which
//      1  # # # # - - - - -      a transposition goes two cells down the diagonal. Only insertions and
//      .  # # # # - - - - -      deletions leave the diagonal: where c columns and r rows are to go, at
//      .  | # # # # # - - -      least |c - r| edits are. A path within the limit has no cell whose edits
//      .  | # # # # # - - -      and these together exceed it; the cell that a transposition skips has no
//      .  | | | | # # # # #      more edits than the one where it ends. A window begins and ends with what
//      m  | | | | # # # # #      such paths can reach from the row above it.
//
// To the left of a window each cell counts as one more than the one above it (|), in the row above a strip
// beyond the last window as one more than the one to its left (-). There are edits for that, so what is
// computed is never too little. On paths within the limit it is exact, for they stay in the windows. Hence a
// result within the limit is the number of edits; otherwise a greater limit is tried (Ukkonen, Algorithms for
// approximate string matching, Information and Control 64, 1985).
constexpr std::size_t kWordRows = 64;
constexpr std::size_t kStripRows = 2 * kWordRows;
constexpr std::int64_t kLeastLimit = 64;

// The PM of a symbol in a strip.
using StripMasks = std::array<std::uint64_t, 2>;

// What the last row of a word leaves in a column: whether the bits of HP and HN are set, and whether its unit
// may begin a transposition. Each is 0 or 1.
struct Border {
  std::uint64_t HP;
  std::uint64_t HN;
  std::uint64_t TR;
};

// The same for a strip, as bits of one byte.
constexpr std::uint8_t kHP = 1;
constexpr std::uint8_t kHN = 2;
constexpr std::uint8_t kTR = 4;

// How much more a cell of a border is than the one to its left.
std::int64_t horizontal(std::uint8_t border) { return (border & kHP) / kHP - (border & kHN) / kHN; }

// 64 rows of one column, each one more than the one above until a column is advanced to.
class Word {
 public:
  explicit Word(std::uint64_t PM) : PM_before_(PM) {}

  // Goes on by a column.
  Border advance(std::uint64_t PM, Border above) {
    const std::uint64_t may_begin_TR = ~D0_ & PM;
    const std::uint64_t TR = (may_begin_TR << 1 | above.TR) & PM_before_;
    // A cell above the word that is one less acts like a match in the first row.
    const std::uint64_t start = PM | above.HN;
    D0_ = (((start & VP_) + VP_) ^ VP_) | start | VN_ | TR;
    const std::uint64_t HP = VN_ | ~(D0_ | VP_);
    const std::uint64_t HN = D0_ & VP_;

    const std::uint64_t HP_of_row_above = HP << 1 | above.HP;
    const std::uint64_t HN_of_row_above = HN << 1 | above.HN;
    VP_ = HN_of_row_above | ~(D0_ | HP_of_row_above);
    VN_ = HP_of_row_above & D0_;
    PM_before_ = PM;
    return {HP >> 63, HN >> 63, may_begin_TR >> 63};
  }

  // How much more the last of the first `row_count` rows is than the row above the word.
  [[nodiscard]] std::int64_t vertical(std::size_t row_count) const {
    const std::uint64_t rows = scan::bits_below(row_count);
    return std::popcount(VP_ & rows) - std::popcount(VN_ & rows);
  }

 private:
  std::uint64_t VP_ = scan::kAllBits;
  std::uint64_t VN_ = 0;
  std::uint64_t D0_ = scan::kAllBits;  // nothing that came before may begin a transposition
  std::uint64_t PM_before_;
};

class Matrix {
 public:
  // The units are symbol numbers. There is a column 0, to the left of all, whose number no row has; `masks`
  // is zero-filled.
  Matrix(std::span<const std::uint32_t> rows, std::span<const std::uint32_t> columns,
         std::span<StripMasks> masks, std::span<std::uint8_t> border)
      : rows_(rows), columns_(columns), masks_(masks), border_(border) {}

  // The number of edits if it is at most `limit`, otherwise a greater limit to try next. The limit is at
  // least the difference of the lengths.
  std::int64_t edits_within(std::int64_t limit) {
    begin_ = end_ = 0;
    at_begin_ = at_end_ = 0;
    for (std::size_t top = 0; top < rows_.size(); top += kStripRows) {
      const auto strip = rows_.subspan(top, std::min(kStripRows, rows_.size() - top));
      rows_to_go_ = std::ssize(rows_) - static_cast<std::int64_t>(top);
      const std::size_t known = end_;
      if (!narrow_window(limit)) return next_limit(limit, top);
      extend_window(strip.size(), known, limit);

      for (std::size_t i = 0; i < strip.size(); ++i)
        masks_[strip[i]][i / kWordRows] |= std::uint64_t{1} << i % kWordRows;
      at_begin_ += std::ssize(strip);
      at_end_ += strip.size() > kWordRows ? run_strip<2>(strip.size()) : run_strip<1>(strip.size());
      for (const std::uint32_t number : strip) masks_[number] = {};
    }
    return at_end_;
  }

 private:
  // How many more columns than rows are to go from column j in the row above the strip.
  [[nodiscard]] std::int64_t surplus(std::size_t j) const {
    return std::ssize(columns_) - 1 - static_cast<std::int64_t>(j) - rows_to_go_;
  }

  // Whether a path within the limit can pass the cell of column j, the number of whose edits is known.
  [[nodiscard]] bool within(std::int64_t limit, std::size_t j, std::int64_t edits) const {
    return edits + std::abs(surplus(j)) <= limit;
  }

  // Leaves out the columns at either end that no path within the limit passes in the row above the strip;
  // false if it passes none.
  bool narrow_window(std::int64_t limit) {
    while (begin_ < end_ && !within(limit, begin_, at_begin_)) at_begin_ += horizontal(border_[++begin_]);
    while (begin_ < end_ && !within(limit, end_, at_end_)) at_end_ -= horizontal(border_[end_--]);
    return within(limit, end_, at_end_);
  }

  // Moves the end to the last column that a path within the limit can reach in the strip. Of the columns that
  // are added, the border knows those up to `known`. From the end down the diagonal and k columns further
  // right, k edits more are made and |surplus - k| are to come: within the limit while 2 k <= limit - edits +
  // surplus. Paths from cells to the left of the end reach no further. One column more: a transposition that
  // ends there begins in the strip and skips the last cell of the path.
  void extend_window(std::size_t row_count, std::size_t known, std::int64_t limit) {
    const auto off_diagonal = static_cast<std::size_t>(limit - at_end_ + surplus(end_)) / 2;
    const std::size_t reach = std::min(columns_.size() - 1, end_ + row_count + off_diagonal + 1);
    while (end_ < std::min(reach, known)) at_end_ += horizontal(border_[++end_]);
    std::ranges::fill(border_.subspan(end_ + 1, reach - end_), kHP);
    at_end_ += static_cast<std::int64_t>(reach - end_);
    end_ = reach;
  }

  // Takes a strip through the window: reads from the border what the strip above left there and replaces it.
  // Returns how much more the last column's cell is than the one above the strip. Each word waits for its own
  // previous column only, so the processor is ahead with the upper word while it still computes the lower
  // one.
  template <int kWords>
  std::int64_t run_strip(std::size_t row_count) {
    Word upper(masks_[columns_[begin_]][0]);
    Word lower(masks_[columns_[begin_]][1]);
    for (std::size_t j = begin_ + 1; j <= end_; ++j) {
      const StripMasks &PM = masks_[columns_[j]];
      const std::uint64_t above = border_[j];
      Border below = upper.advance(PM[0], {above & kHP, (above & kHN) / kHN, above / kTR});
      if (kWords == 2) below = lower.advance(PM[1], below);
      border_[j] = static_cast<std::uint8_t>(below.HP * kHP + below.HN * kHN + below.TR * kTR);
    }
    const std::size_t upper_count = std::min(row_count, kWordRows);
    return upper.vertical(upper_count) + lower.vertical(row_count - upper_count);
  }

  // After more edits than `limit` in so many rows: as many for each row that is left, and a quarter more.
  // Within limits, because edits may lie close together.
  [[nodiscard]] std::int64_t next_limit(std::int64_t limit, std::size_t row_count) const {
    const std::int64_t guess = limit * std::ssize(rows_) / static_cast<std::int64_t>(row_count) * 5 / 4;
    return std::clamp(guess, limit * 2, limit * 8);
  }

  std::span<const std::uint32_t> rows_;
  std::span<const std::uint32_t> columns_;
  std::span<StripMasks> masks_;
  std::span<std::uint8_t> border_;

  // The window is the columns after `begin_`, up to `end_`; with the edits of both in the row above the
  // strip, and the rows below that.
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::int64_t at_begin_ = 0;
  std::int64_t at_end_ = 0;
  std::int64_t rows_to_go_ = 0;
};

// The number of edits between two texts, the first not longer than the second.
std::optional<std::int64_t> edit_count(WideView rows, WideView columns) {
  if (rows.empty()) return std::ssize(columns);
  Tables<SymbolTable::Slot, StripMasks, std::uint32_t, std::uint32_t, std::uint8_t> tables;
  // Masks for one symbol more, number 0: those that `rows` does not have.
  const auto spans =
      tables.allocate(SymbolTable::slot_count(rows.size()), SymbolTable::most_symbols(rows.size()) + 1,
                      rows.size(), columns.size() + 1, columns.size() + 1);
  if (!spans) return std::nullopt;
  const auto [slots, masks, row_numbers, column_numbers, border] = *spans;
  SymbolTable symbols(slots);
  std::ranges::transform(rows, row_numbers.begin(), [&](std::uint32_t unit) { return symbols.add(unit); });
  std::ranges::transform(columns, column_numbers.begin() + 1,
                         [&](std::uint32_t unit) { return symbols.find(unit); });

  // There are never more edits than columns. A limit of more than half as many would not save much.
  Matrix matrix(row_numbers, column_numbers, masks, border);
  std::int64_t limit = std::ssize(columns) - std::ssize(rows) + kLeastLimit;
  for (;;) {
    if (limit > std::ssize(columns) / 2) limit = std::ssize(columns);
    const std::int64_t edits = matrix.edits_within(limit);
    if (edits <= limit) return edits;
    limit = edits;
  }
}

}  // namespace

std::optional<double> edit_distance(WideView a, WideView b) {
  if (a.empty() || b.empty()) return 1.0;
  if (a.size() > b.size()) std::swap(a, b);
  const auto shorter = static_cast<double>(a.size());

  // A common end or beginning needs no edits: equal last units give a cell the value of its upper left
  // neighbour, than which it is never less, and reversing both texts does not change their distance.
  const std::size_t prefix = common_prefix(a, b);
  a = a.subspan(prefix);
  b = b.subspan(prefix);
  while (!a.empty() && a.back() == b.back()) {
    a = a.first(a.size() - 1);
    b = b.first(b.size() - 1);
  }
  const std::optional<std::int64_t> edits = edit_count(a, b);
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
