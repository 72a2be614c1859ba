// Text for floating-point numbers, with a point whatever the locale. Infinities and NaN are inf, -inf, nan
// and -nan. Both functions return the number of characters written; there is no terminator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kzv::numbers {

// A sign, "0." and the 324 digits down to the last of the smallest normal number's 17. The greatest number
// needs less: a sign, 309 digits and ".0".
inline constexpr std::size_t kFixedBound = 1 + 2 + 324;

// The shortest text without an exponent that reads back as `value`, with at least one digit behind the point:
// 5.0, 0.1, -0.0. From 2^53 on the integer's exact digits. What needs more than 99 digits behind the point is
// rounded to 99 and loses its trailing zeros, all but one.
std::size_t fixed(double value, std::span<char, kFixedBound> output);

// Characters of a scientific text that are kept.
inline constexpr std::size_t kScientificBound = 498;

// One digit, a point and `digits` rounded digits behind it (no point if there are none), then "e", a sign and
// at least two digits: 1.23e+03. Negative `digits` mean 6. Longer text ends after 498 characters, not rounded
// there.
std::size_t scientific(double value, std::int32_t digits, std::span<char, kScientificBound> output);

}  // namespace kzv::numbers
