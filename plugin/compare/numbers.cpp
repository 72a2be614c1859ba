#include "compare/numbers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <string_view>

#include "compare/decimal.h"

namespace kzv::numbers {
namespace {

constexpr int kMaxFractionDigits = 99;

// No double has more significant digits: all that come after these are zeros.
constexpr std::int32_t kSignificantDigits = 767;

char *write(std::string_view text, char *output) { return std::ranges::copy(text, output).out; }

// The sign, then a word or what `write_magnitude` makes of its magnitude.
template <typename WriteSize>
std::size_t write_number(double value, std::span<char> output, WriteSize write_magnitude) {
  char *const text = output.data() + (std::signbit(value) ? 1 : 0);
  output[0] = '-';
  const char *const end = std::isfinite(value) ? write_magnitude(std::abs(value), text)
                                               : write(std::isnan(value) ? "nan" : "inf", text);
  return static_cast<std::size_t>(end - output.data());
}

// The significand and exponent of a number that is not negative. Subnormal numbers have the exponent field 0
// in place of 1.
Binary binary_of(double magnitude) {
  const auto bits = std::bit_cast<std::uint64_t>(magnitude);
  const std::uint64_t exponent = std::max(bits >> 52, std::uint64_t{1});
  return {bits - ((exponent - 1) << 52), static_cast<int>(exponent) - 1075};
}

// The 17 digits of a decimal, the first apart.
struct Digits {
  char first;
  std::uint64_t upper, lower;

  explicit Digits(const Decimal &decimal) {
    const std::uint64_t one = decimal.digits / (kEightDigits * kEightDigits);
    const std::uint64_t nine = decimal.digits / kEightDigits;
    first = static_cast<char>('0' + one);
    upper = eight_digits(nine - one * kEightDigits);
    lower = eight_digits(decimal.digits - nine * kEightDigits);
  }

  // Without zeros at the end.
  int count() const {
    return lower != 0 ? 17 - std::countl_zero(lower) / 8 : 9 - std::countl_zero(upper) / 8;
  }
};

// Eight digits with a point after the first `place`, at most 7.
void write_with_point(std::uint64_t digits, int place, char *output) {
  write_digits(digits, output + 1);
  const std::uint64_t before = first_bytes(static_cast<std::size_t>(place));
  digits |= in_each_byte('0');
  digits = (digits & before) | (digits & ~before) << 8 | std::uint64_t{'.'} << 8 * place;
  std::memcpy(output, &digits, sizeof digits);
}

// Writes all 17 digits, then chooses the end. Below 2^53 the point is before the 17th at the latest.
char *write_fixed(const Digits &digits, int exponent, char *output) {
  if (exponent < 0) output = std::fill_n(write("0.", output), -exponent - 1, '0');
  *output = digits.first;
  write_digits(digits.upper, output + 1);
  write_digits(digits.lower, output + (exponent < 0 ? 9 : 10));
  if (exponent < 0) return output + digits.count();
  write_with_point(exponent < 8 ? digits.upper : digits.lower, exponent & 7, output + 1 + (exponent & 8));
  return output + std::max(digits.count(), exponent + 2) + 1;
}

char *write_exponent(int exponent, char *output) {
  const int magnitude = std::abs(exponent);
  output = write(exponent < 0 ? "e-" : "e+", output);
  if (magnitude >= 100) *output++ = static_cast<char>('0' + magnitude / 100);
  *output++ = static_cast<char>('0' + magnitude / 10 % 10);
  *output++ = static_cast<char>('0' + magnitude % 10);
  return output;
}

}  // namespace

std::size_t fixed(double value, std::span<char, kFixedBound> output) {
  return write_number(value, output, [](double magnitude, char *text) {
    if (magnitude < 5e-100) return write("0.0", text);
    const Binary number = binary_of(magnitude);
    if (magnitude >= 0x1p53) return write(".0", write_exact_digits(number, kFixedBound, text).end);
    Decimal decimal = shortest(number);
    if (Digits(decimal).count() - 1 - decimal.exponent > kMaxFractionDigits)
      decimal = rounded(number, decimal.exponent + 1 + kMaxFractionDigits);
    return write_fixed(Digits(decimal), decimal.exponent, text);
  });
}

std::size_t scientific(double value, std::int32_t digits, std::span<char, kScientificBound> output) {
  const int precision = digits < 0 ? 6 : std::min(digits, kSignificantDigits);
  return write_number(value, output, [=](double magnitude, char *text) {
    const Binary number = magnitude == 0 ? Binary{} : binary_of(magnitude);
    text[1] = '.';
    if (precision < 17) {
      const Decimal decimal = magnitude == 0 ? Decimal{} : rounded(number, precision + 1);
      const Digits written(decimal);
      text[0] = written.first;
      write_digits(written.upper, text + 2);
      write_digits(written.lower, text + 10);
      return write_exponent(decimal.exponent, text + (precision > 0 ? precision + 2 : 1));
    }
    std::array<char, kExactBound> all;
    all.fill('0');
    const ExactDigits exact = write_exact_digits(number, precision + 1, all.data());
    const char *const end = write_exponent(exact.exponent, all.data() + precision + 1);
    const std::ptrdiff_t left = output.data() + output.size() - (text + 2);
    text[0] = all[0];
    return std::copy_n(all.data() + 1, std::min(end - all.data() - 1, left), text + 2);
  });
}

}  // namespace kzv::numbers
