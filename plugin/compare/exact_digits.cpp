#include <algorithm>
#include <array>

#include "compare/decimal.h"
#include "compare/powers_of_ten.h"

namespace kzv::numbers {
namespace {

constexpr std::uint64_t kLimb = kEightDigits * kEightDigits;

void write_limb(std::uint64_t limb, char *output) {
  write_digits(eight_digits(limb / kEightDigits), output);
  write_digits(eight_digits(limb % kEightDigits), output + 8);
}

bool is_not_zero(char digit) { return digit != '0'; }

// A large integer in limbs of 16 digits, the lowest first. A significand and every factor are at most 2^53.
struct Limbs {
  std::array<std::uint64_t, 48> limbs;
  std::size_t size = 1;

  // Each limb becomes limb * factor modulo 10^16, and the quotient is carried to the next. A multiplication
  // by factor / 10^16, rounded down, gives that quotient or one less. The carry is added last, so that
  // products do not wait for the limb before; the sum is below 2 * 10^16, and `more` corrects the quotient.
  void multiply_by(std::uint64_t factor) {
    const Wide scaled = multiply(factor, 0xE69594BEC44DE15B);  // 2^117 / 10^16
    const std::uint64_t reciprocal = scaled.high << 11 | scaled.low >> 53;
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const std::uint64_t quotient = multiply(limbs[i], reciprocal).high;
      const std::uint64_t sum = limbs[i] * factor - quotient * kLimb + carry;
      const std::uint64_t more = sum >= kLimb ? 1 : 0;
      limbs[i] = sum - more * kLimb;
      carry = quotient + more;
    }
    if (carry != 0) limbs[size++] = carry;
  }
};

}  // namespace

// A number with a negative exponent is significand * 5^-exponent * 10^exponent.
ExactDigits write_exact_digits(Binary number, int most, char *const output) {
  Limbs integer;
  integer.limbs[0] = number.significand;
  for (int left = number.exponent; left > 0; left -= 53)
    integer.multiply_by(std::uint64_t{1} << std::min(left, 53));
  for (int left = -number.exponent; left > 0; left -= 22)
    integer.multiply_by(power_of_five(std::min(left, 22)));

  write_limb(integer.limbs[integer.size - 1], output);
  const auto skipped = std::find_if(output, output + 15, is_not_zero) - output;
  std::memmove(output, output + skipped, 16);
  char *end = output + 16 - skipped;
  for (std::size_t i = integer.size - 1; i-- > 0; end += 16) write_limb(integer.limbs[i], end);
  int exponent = static_cast<int>(end - output) - 1 + std::min(number.exponent, 0);

  char *digit = output + most;
  if (digit < end &&
      (*digit > '5' || (*digit == '5' && (digit[-1] % 2 != 0 || std::any_of(digit + 1, end, is_not_zero))))) {
    while (*--digit == '9' && digit > output) *digit = '0';
    if (*digit == '9') ++exponent;  // nines alone
    *digit = *digit == '9' ? '1' : static_cast<char>(*digit + 1);
  }
  return {end, exponent};
}

}  // namespace kzv::numbers
