#include "compare/numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace kzv::numbers {
namespace {

constexpr int kMaxFractionDigits = 99;

// No double has more significant digits: all that come after these are zeros.
constexpr std::int32_t kSignificantDigits = 767;

std::size_t write_word(double value, std::span<char> output) {
  std::string_view word = std::isnan(value) ? "-nan" : "-inf";
  if (!std::signbit(value)) word.remove_prefix(1);
  std::ranges::copy(word, output.begin());
  return word.size();
}

}  // namespace

std::size_t fixed(double value, std::span<char, kFixedBound> output) {
  if (!std::isfinite(value)) return write_word(value, output);
  char *const begin = output.data();
  char *const limit = begin + output.size();
  // to_chars takes the closest of several shortest texts. From 2^53 on all are as long as the integer, so it
  // writes the integer's exact digits.
  char *end = std::to_chars(begin, limit, value, std::chars_format::fixed).ptr;
  const char *const point = std::find(begin, end, '.');
  if (point == end) {
    *end++ = '.';
    *end++ = '0';
  } else if (end - point - 1 > kMaxFractionDigits) {
    end = std::to_chars(begin, limit, value, std::chars_format::fixed, kMaxFractionDigits).ptr;
    while (end[-1] == '0' && end[-2] != '.') --end;
  }
  return static_cast<std::size_t>(end - begin);
}

std::size_t scientific(double value, std::int32_t digits, std::span<char, kScientificBound> output) {
  if (!std::isfinite(value)) return write_word(value, output);
  const std::int32_t precision = digits < 0 ? 6 : std::min(digits, kSignificantDigits);
  // Sign, digit, point, the digits after it and an exponent of up to five characters.
  std::array<char, 3 + kSignificantDigits + 5> text;
  const char *const end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific, precision)
          .ptr;
  const auto length = std::min(static_cast<std::size_t>(end - text.data()), output.size());
  std::copy_n(text.data(), length, output.data());
  return length;
}

}  // namespace kzv::numbers
