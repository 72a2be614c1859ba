#include "compare/numbers.h"

#include <array>
#include <cfloat>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace kzv::numbers {

static std::string fixed_text(double value) {
  std::array<char, kFixedBound> text;
  return {text.data(), fixed(value, text)};
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

}  // namespace kzv::numbers
