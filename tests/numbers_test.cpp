#include "compare/numbers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <gtest/gtest.h>
#include <string>

#include "support/random.h"

namespace kzv::numbers {
static std::string fixed_text(double value) {
  std::array<char, kFixedBound> text;
  return {text.data(), fixed(value, text)};
}

// The text must equal what is kept of the formatted print; beyond 1200 digits that does not change.
static void expect_scientific(double value, int digits) {
  std::array<char, kScientificBound + 1> expected;
  snprintf(expected.data(), expected.size(), "%.*e", digits < 0 ? 6 : std::min(digits, 1200), value);
  std::array<char, kScientificBound> text;
  EXPECT_EQ(std::string(text.data(), scientific(value, digits, text)), expected.data()) << digits;
}

TEST(Numbers, FixedNotation) {
  for (const char *const text :
       {"5.0", "0.0", "-0.0", "0.3", "-123.456", "0.3333333333333333", "4503599627370495.5",
        "10000000000000000000000.0", "99999999999999991611392.0", "9007199254740991.0", "-9007199254740994.0",
        "inf", "-inf", "nan", "-nan"}) {
    EXPECT_EQ(fixed_text(strtod(text, nullptr)), text);
  }
  // 99 digits are enough, they are not, or they would all be zeros.
  EXPECT_EQ(fixed_text(1e-99), "0." + std::string(98, '0') + "1");
  EXPECT_EQ(fixed_text(-9.96e-98), "-0." + std::string(96, '0') + "1");
  EXPECT_EQ(fixed_text(-DBL_TRUE_MIN), "-0.0");
  EXPECT_EQ(fixed_text(-DBL_MAX).size(), 1 + 309 + 2U);
}

TEST(Numbers, ReadBackAndComparedWithTheFormattedPrint) {
  auto random = seeded_random<std::mt19937_64>();
  for (int i = 0; i < 1000000; ++i) {
    const auto value = std::bit_cast<double>(random());
    if (i < 20000) expect_scientific(value, i % 401);
    if (!std::isfinite(value)) continue;
    const std::string text = fixed_text(value);
    if (std::abs(value) >= 1e-81) {  // 17 digits end before the 99th behind the point
      ASSERT_EQ(strtod(text.c_str(), nullptr), value);
    } else if (text.size() == 1 + (value < 0 ? 1U : 0U) + 1 + 99) {  // cut at 99 digits, none of them dropped
      std::array<char, 200> expected;
      snprintf(expected.data(), expected.size(), "%.99f", value);
      ASSERT_EQ(text, expected.data());
    }
  }
  for (const double value : {0.0, -0.0, 2.5, 9.5, DBL_MAX, -DBL_TRUE_MIN})
    for (const int digits : {-1, 0, 490, 497, 498, 766, 2147483647}) expect_scientific(value, digits);
}

}  // namespace kzv::numbers
