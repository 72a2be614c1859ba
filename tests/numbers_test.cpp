#include "compare/numbers.h"

#include <array>
#include <bit>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

namespace kzv::numbers {
namespace {

constexpr double kGreatest = std::numeric_limits<double>::max();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();

std::string fixed_text(double value) {
  std::array<char, kFixedRoom> text;
  return {text.data(), fixed(value, text)};
}

// The text must equal what is kept of the formatted print.
void expect_scientific(double value, int digits, int digits_printed) {
  std::array<char, kScientificRoom + 1> expected;
  snprintf(expected.data(), expected.size(), "%.*e", digits_printed, value);
  std::array<char, kScientificRoom> text;
  EXPECT_EQ(std::string(text.data(), scientific(value, digits, text)), expected.data()) << digits;
}

TEST(Numbers, FixedNotation) {
  for (const char *const text :
       {"5.0", "0.0", "-0.0", "0.3", "-123.456", "0.3333333333333333", "4503599627370495.5",
        "10000000000000000000000.0", "99999999999999991611392.0", "9007199254740991.0", "-9007199254740994.0",
        "inf", "-inf", "nan", "-nan"}) {
    EXPECT_EQ(fixed_text(strtod(text, nullptr)), text);
  }
  // 99 digits, and what is rounded to them.
  EXPECT_EQ(fixed_text(1e-99), "0." + std::string(98, '0') + "1");
  EXPECT_EQ(fixed_text(1.23e-98), "0." + std::string(97, '0') + "12");
  EXPECT_EQ(fixed_text(-9.96e-98), "-0." + std::string(96, '0') + "1");
  EXPECT_EQ(fixed_text(-kSmallest), "-0.0");
  EXPECT_EQ(fixed_text(-kGreatest).size(), 1 + 309 + 2U);
}

TEST(Numbers, RandomNumbers) {
  std::mt19937_64 random(1);
  for (int round = 0; round < 1000000; ++round) {
    // Exponents from 2^-270, where 17 digits still end before the 99th, to 2^200.
    const std::uint64_t exponent = 1023 - 270 + random() % 470;
    const auto value = std::bit_cast<double>((random() & ~(0x7FFULL << 52)) | exponent << 52);
    ASSERT_EQ(strtod(fixed_text(value).c_str(), nullptr), value);
    if (round < 20000) expect_scientific(std::bit_cast<double>(random()), round % 401, round % 401);
  }
}

TEST(Numbers, ScientificNotationIsThatOfTheFormattedPrint) {
  for (const double value : {0.0, -0.0, 2.5, 9.5, 1234.5, kGreatest, -kSmallest}) {
    for (const int digits : {0, 6, 490, 497, 498, 766, 1000}) expect_scientific(value, digits, digits);
    expect_scientific(value, -1, 6);
    expect_scientific(value, std::numeric_limits<int>::min(), 6);
    expect_scientific(value, std::numeric_limits<int>::max(), 1200);
  }
}

}  // namespace
}  // namespace kzv::numbers
