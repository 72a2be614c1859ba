#include "compare/ordering.h"

#include <gtest/gtest.h>
#include <string>

#include "cpu/level.h"
#include "support/guarded.h"

namespace kzv::ordering {

TEST(Ordering, CompareGivesTheSignOfTheFirstDifference) {
  // Each text sorts after the one before it; the zero byte counts, and so does the eighth bit.
  constexpr std::string_view kTexts[] = {"", "A", "a", {"a\0", 2}, {"a\0b", 3}, "ab", "b", "\x7F", "\xFF"};
  for (const auto &x : kTexts)
    for (const auto &y : kTexts)
      EXPECT_EQ(compare(Guarded(x).bytes(), Guarded(y).bytes()), (&x > &y) - (&x < &y)) << x << " " << y;
}

// Starting afresh at every position would mean 10^14 comparisons, which takes the better part of an hour.
TEST(Ordering, CountingTakesLinearTime) {
  const std::string needle = std::string(1 << 22, 'a').append("b").append(1 << 22, 'a');
  EXPECT_EQ(count(Guarded(std::string(1 << 24, 'a') + needle).bytes(), Guarded(needle).bytes()), 1);
}

}  // namespace kzv::ordering
