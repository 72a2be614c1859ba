// Floating-point numbers as decimal digits. Rounding takes the even digit where both are equally close.
#pragma once

#include "base/byte_words.h"

namespace kzv::numbers {

// significand * 2^exponent
struct Binary {
  std::uint64_t significand;
  int exponent;
};

// d.dddddddddddddddd * 10^exponent, of 17 digits, the first of them not zero.
struct Decimal {
  std::uint64_t digits;
  int exponent;
};

// The fewest digits that read back as `number`, and the closest to it of several such. For numbers below 2^53
// with a significand of 53 bits.
Decimal shortest(Binary number);

// `number`, not zero, rounded to `count` digits, at most 17. With a count of 0 the first digit must be 5 or
// more, and the result is 1 of the next power of ten.
Decimal rounded(Binary number, int count);

// Writes all digits, by arithmetic on large integers. If there are more than `most` (at least 1), the first
// `most` are rounded and the others are left as they were. Returns the end of all digits and the exponent of
// the first. An integer needs an output of 309 characters. Zero, given with exponent 0, has one digit.
inline constexpr std::size_t kExactBound = 784;
struct ExactDigits {
  char *end;
  int exponent;
};
ExactDigits write_exact_digits(Binary number, int most, char *output);

inline constexpr std::uint64_t kEightDigits = 100'000'000;

// The eight digits of a number below 10^8, the first one in the lowest byte. Each step takes the upper half
// of the digits of every group, by a division or a product in place of it, and puts the lower half above it:
// (group << s) - upper * ((10^n << s) - 1). With the lowest byte at the left:
//
//   number            12345678
//   fours             1234    .    .    .     5678    .    .    .
//   pairs               12    .   34    .       56    .   78    .
//   result               1    2    3    4        5    6    7    8
inline std::uint64_t eight_digits(std::uint64_t number) {
  const std::uint64_t ten_thousands = static_cast<std::uint32_t>(number) / 10000;
  const std::uint64_t fours = (number << 32) - ten_thousands * ((std::uint64_t{10000} << 32) - 1);
  const std::uint64_t hundreds = fours * 5243 >> 19 & 0x7F'0000'007F;
  const std::uint64_t pairs = (fours << 16) - hundreds * ((100 << 16) - 1);
  const std::uint64_t tens = pairs * 103 >> 10 & 0xF'000F'000F'000F;
  return (pairs << 8) - tens * ((10 << 8) - 1);
}

inline void write_digits(std::uint64_t digits, char *output) {
  digits |= in_each_byte('0');
  std::memcpy(output, &digits, sizeof digits);
}

}  // namespace kzv::numbers
