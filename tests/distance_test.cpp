#include "compare/distance.h"

#include <algorithm>
#include <bit>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "support/random.h"
#include "support/twins.h"

namespace kzv::distance {
namespace {

TEST(Distance, KnownPairs) {
  const auto expect = [](std::string_view x, std::string_view y, double jaro_winkler_expected, double edit) {
    const Text a(x.begin(), x.end());
    const Text b(y.begin(), y.end());
    EXPECT_NEAR(jaro_winkler(a, b).value(), jaro_winkler_expected, 1e-15) << x << " " << y;
    EXPECT_EQ(edit_distance(a, b), edit) << x << " " << y;
  };
  expect("", "", 0.0, 1.0);
  expect("abc", "", 1.0, 1.0);
  expect("MARTHA", "MARHTA", 1.0 / 18 * 0.7, 1.0 / 6);  // 6 matches, 2 differ; prefix 3
  expect("flaw", "lawn", 1.0 / 6, 0.5);                 // (3/4 + 3/4 + 1) / 3, no prefix
  expect("a", "abcd", 0.25 * 0.9, 3.0);                 // (1 + 1/4 + 1) / 3, prefix 1
  expect("abcdefgh", "abcdefxx", 1.0 / 6 * 0.6, 0.25);  // (6/8 + 6/8 + 1) / 3, prefix 4 of 6
  expect("ca", "abc", 1.0, 1.5);                        // window 0; no edit between swapped units
  EXPECT_EQ(matrix_byte_count(0x7FFFFFFF, 0x7FFFFFFE), 0xFFFFFFFE00000000U);  // 2^31 (2^31-1) 4
  EXPECT_EQ(matrix_byte_count(0x7FFFFFFF, 0x7FFFFFFF), 0xFFFFFFFFFFFFFFFFU);
}

TEST(Distance, RandomTextsAsTheDefinitionsGiveThem) {
  auto random = seeded_random();
  const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
  for (int round = 0; round < 12000; ++round) {
    const std::size_t longest = round % 200 < 2 ? 700 : round % 20 < 2 ? 200 : 20;
    const auto alphabet = round % 3 == 0 ? 0xFFFFFFFF : 1 + random() % 8;
    Text a(random() % longest);
    for (std::uint32_t &unit : a) unit = static_cast<std::uint32_t>(random() % alphabet);
    Text b = a;
    if (round % 2 == 0) std::ranges::shuffle(b, random);
    for (auto k = random() % 9; k + 1 < b.size(); k += 1 + random() % 60) std::swap(b[k], b[k + 1]);
    for (auto k = random() % 9; k < b.size(); k += random() % 60) b.erase(b.begin() + static_cast<int>(k));
    if (round % 7 == 0) b.resize(random() % longest);
    ASSERT_EQ(bits(jaro_winkler(a, b).value()), bits(slow_jaro_winkler(a, b))) << round;
    ASSERT_EQ(bits(edit_distance(a, b).value()), bits(slow_edit_distance(a, b))) << round;
  }
}

}  // namespace
}  // namespace kzv::distance
