#include "compare/ordering.h"

#include <gtest/gtest.h>
#include <string>

#include "support/guarded.h"
#include "support/random.h"

namespace kzv::ordering {
using namespace std::string_literals;

static void expect_count(std::string_view text, std::string_view needle) {
  std::int32_t expected = 0;
  for (auto at = text.find(needle); at < text.size(); at = text.find(needle, at + needle.size())) ++expected;
  EXPECT_EQ(count(Guarded(text).bytes(), Guarded(needle).bytes()), expected) << needle << " in " << text;
}

TEST(Ordering, CompareGivesTheSignOfTheFirstDifference) {
  // Each text sorts behind the one before it; the zero byte counts, and so does the eighth bit.
  const std::string texts[] = {"", "A", "a", "a\0"s, "a\0b"s, "ab", "abc", "abd", "b", "\x7F", "\xFF"};
  for (const std::string &x : texts)
    for (const std::string &y : texts)
      EXPECT_EQ(compare(Guarded(x).bytes(), Guarded(y).bytes()), (&x > &y) - (&x < &y)) << x << " " << y;
}

TEST(Ordering, CountEqualsTheSearchOneByOne) {
  auto random = seeded_random();
  for (int round = 0; round < 10000; ++round) {
    const auto letters = 1 + random() % 3;
    const auto word = [&](std::size_t length) {
      std::string result;
      while (result.size() < length) result += static_cast<char>('a' + random() % letters);
      return result;
    };
    // Pieces repeated make the needle and the text periodic, which is where searches go wrong.
    const std::string piece = word(1 + random() % 6);
    std::string needle = word(1 + random() % 4);
    for (auto copies = random() % 4; copies > 0; --copies) needle += piece;
    std::string text = word(random() % 90);
    for (auto copies = random() % 40; copies > 0; --copies) text += random() % 4 == 0 ? needle : piece;
    expect_count(text, needle);
    if (round % 10 != 0) continue;
    // A start where every position looks good and fails late has the rest searched the other way.
    const std::string longer = std::string(20, 'a').append(needle).append("b").append(needle).append(20, 'a');
    expect_count(text.insert(0, 3000, 'a').append(longer).append(piece).append(longer) + longer, longer);
  }
  // Starting afresh at every position would mean 10^11 comparisons and more: half a minute or so.
  const std::string needle = std::string(1 << 19, 'a').append("b").append(1 << 19, 'a');
  EXPECT_EQ(count(Guarded(std::string(1 << 21, 'a') + needle).bytes(), Guarded(needle).bytes()), 1);
  EXPECT_EQ(count(Guarded(needle).bytes(), {}), 0);
}

}  // namespace kzv::ordering
