#include "compare/decimal.h"

#include <array>
#include <bit>

#include "compare/powers_of_ten.h"

namespace kzv::numbers {
namespace {

// The upper 128 bits of the product, which has 192.
Wide scale(std::uint64_t a, const Wide &power) {
  const std::uint64_t low = multiply(a, power.low).high;
  Wide product = multiply(a, power.high);
  product.low += low;
  if (product.low < low) ++product.high;
  return product;
}

// The integer part, made odd by a fraction: since powers are rounded up, an exact product may seem to have a
// tiny one.
std::uint64_t scale_to_odd(std::uint64_t a, const Wide &power) {
  const Wide product = scale(a, power);
  return product.high | (product.low > 1 ? 1U : 0U);
}

}  // namespace

// R. Giulietti, "The Schubfach way to render doubles", 2020. Every number between the points halfway to both
// neighbours reads back as this one; below 2^53 the points have more digits than a number needs. 10^k is the
// greatest power of ten that is not greater than their distance: one or more of its multiples are between
// them, and of those of 10^(k+1) one at most. All is computed in quarters of 10^k.
Decimal shortest(Binary number) {
  const bool at_power_of_two = number.significand == std::uint64_t{1} << 52;  // the neighbour below is closer
  // floor(log10(2^exponent)), or of 3/4 of that
  const int k = (number.exponent * 315653 - (at_power_of_two ? 131237 : 0)) >> 20;
  const Wide &power = power_of_ten(-k);
  const int shift = number.exponent + log2_of_power_of_ten(-k) + 1;
  const std::uint64_t quarters = number.significand * 4;
  const std::uint64_t lower = scale_to_odd((quarters - (at_power_of_two ? 1 : 2)) << shift, power);
  const std::uint64_t value = scale_to_odd(quarters << shift, power);
  const std::uint64_t upper = scale_to_odd((quarters + 2) << shift, power);

  std::uint64_t digits = value / 40 * 10;
  const bool ten_below = lower <= digits * 4;
  if (ten_below || digits * 4 + 40 <= upper) {
    digits += ten_below ? 0U : 10U;
  } else {
    digits = value / 4;
    const std::uint64_t middle = digits * 4 + 2;
    const bool nearer_above = value > middle || (value == middle && digits % 2 != 0);
    digits += digits * 4 + 4 <= upper && (nearer_above || lower > digits * 4) ? 1U : 0U;
  }
  if (digits < 10'000'000'000'000'000) return {digits * 10, k + 15};
  return {digits, k + 16};
}

// One product with a power of ten has all digits before the point, as in U. Adams, "Ryu revisited: printf
// floating point conversion", 2019. It is wrong by less than one of its last bits, which matters only where
// the number seems to be halfway: then all its digits are computed.
Decimal rounded(Binary number, int count) {
  const int zeros = std::countl_zero(number.significand);
  const std::uint64_t significand = number.significand << zeros;
  const int top = number.exponent - zeros + 63;  // number >= 2^top
  int exponent = log10_of_power_of_two(top);
  if (log2_of_power_of_ten(exponent + 1) == top && significand >= power_of_ten(exponent + 1).high) ++exponent;

  const int k = count - 1 - exponent;
  const Wide product = scale(significand, power_of_ten(k));
  const int shift = 61 - top - log2_of_power_of_ten(k);
  const std::uint64_t halves = product.high >> shift;
  bool up = halves % 2 != 0;
  if (up && halves << shift == product.high && product.low == 0) {
    std::array<char, kExactBound> all;
    write_exact_digits(number, count, all.data());
    up = *(all.data() + count - 1) != static_cast<char>('0' + halves / 2 % 10);
  }
  const std::uint64_t digits = (halves / 2 + (up ? 1U : 0U)) * power_of_five(17 - count) << (17 - count);
  if (digits < 100'000'000'000'000'000) return {digits, exponent};
  return {digits / 10, exponent + 1};
}

}  // namespace kzv::numbers
