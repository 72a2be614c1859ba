// Text for floating-point numbers, with a point whatever the locale. Infinities and NaN are inf, -inf, nan
// and -nan. Both functions return the number of characters written; there is no terminator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kzv::numbers {

// A sign, the 309 digits of the greatest number and ".0".
inline constexpr std::size_t kFixedBound = 1 + 309 + 2;

// The shortest text without an exponent that reads back as `value`, with at least one digit after the point:
// 5.0, 0.1, -0.0. From 2^53 on the integer's exact digits. A value that needs more than 99 digits after the
// point is rounded to 99, then trailing zeros go, down to one digit.
std::size_t fixed(double value, std::span<char, kFixedBound> output);

// Characters of a scientific text that are kept.
inline constexpr std::size_t kScientificBound = 498;

// One digit, a point and `digits` rounded digits (without digits, no point either), then "e", a sign and at
// least two digits: 1.23e+03. Negative `digits` mean 6. Longer text is cut, not rounded, after 498
// characters.
std::size_t scientific(double value, std::int32_t digits, std::span<char, kScientificBound> output);

}  // namespace kzv::numbers
