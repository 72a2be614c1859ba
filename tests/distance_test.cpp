#include "compare/distance.h"

#include <gtest/gtest.h>

#include "support/twins.h"

namespace kzv::distance {

TEST(Distance, KnownPairs) {
  const auto expect = [](std::string_view x, std::string_view y, double jaro_winkler_expected, double edit) {
    const Text a(x.begin(), x.end());
    const Text b(y.begin(), y.end());
    EXPECT_NEAR(jaro_winkler(a, b).value(), jaro_winkler_expected, 1e-15) << x << " " << y;
    EXPECT_EQ(edit_distance(a, b), edit) << x << " " << y;
  };
  expect("", "", 0.0, 1.0);
  expect("abc", "", 1.0, 1.0);
  expect("a", "abcd", 0.25 * 0.9, 3.0);                 // (1 + 1/4 + 1) / 3, prefix 1
  expect("abcdefgh", "abcdefxx", 1.0 / 6 * 0.6, 0.25);  // (6/8 + 6/8 + 1) / 3, prefix 4 of 6
  expect("ca", "abc", 1.0, 1.5);                        // window 0; no edit between swapped units
  EXPECT_EQ(matrix_byte_count(0x7FFFFFFF, 0x7FFFFFFE), 0xFFFFFFFE00000000U);  // 2^31 (2^31-1) 4
  EXPECT_EQ(matrix_byte_count(0x7FFFFFFF, 0x7FFFFFFF), 0xFFFFFFFFFFFFFFFFU);
}

}  // namespace kzv::distance
