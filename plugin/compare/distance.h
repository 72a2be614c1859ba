// How far apart two texts are. Units are compared for equality only; each text holds at most 2^31-1 of them,
// and at most 65,536 different ones: they are UTF-16 units, widened.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace kzv::distance {

using WideView = std::span<const std::uint32_t>;

// Jaro-Winkler distance, 0.0 for equal texts to 1.0 for texts without a match; 1.0 between an empty text and
// one that is not, 0.0 between two empty ones. Threshold of the prefix boost 0.7, scale 0.1, at most 4 units
// of prefix. Nothing without memory for tables of 8 bytes a unit and up to 1.4 MB; texts of up to 64 units,
// and equal ones, need none. Time grows with the sum of the lengths.
std::optional<double> jaro_winkler(WideView a, WideView b);

// Optimal string alignment distance (insertions, deletions, substitutions, swaps of neighbours that are not
// edited again) divided by the length of the shorter text, so that it may exceed 1.0; 1.0 if a text is empty.
// Nothing without memory for tables of 9 bytes a unit and up to 2.1 MB; texts of up to 64 units, and equal
// ones, need none. Time grows with the length times the number of edits, divided by 64.
std::optional<double> edit_distance(WideView a, WideView b);

// Bytes of a matrix with one row and one column more than the texts have units, 4 bytes a cell. The one pair
// of lengths whose count is 2^64, both texts at their longest, gives 2^64-1.
std::uint64_t matrix_byte_count(std::size_t a_unit_count, std::size_t b_unit_count);

}  // namespace kzv::distance
