#include "compare/ordering.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "support/guarded.h"

namespace kzv::ordering {
namespace {

using namespace std::string_literals;

std::int32_t counted(std::string_view text, std::string_view needle) {
  Guarded in(text);
  Guarded find(needle);
  return count(in.bytes(), find.bytes());
}

std::int32_t counted_one_by_one(std::string_view text, std::string_view needle) {
  std::int32_t total = 0;
  for (std::size_t i = 0; i + needle.size() <= text.size();) {
    const bool found = text.substr(i, needle.size()) == needle;
    total += found ? 1 : 0;
    i += found ? needle.size() : 1;
  }
  return total;
}

TEST(Ordering, CompareGivesTheSignOfTheFirstDifference) {
  // Each text sorts behind the one before it; the zero byte counts, and so does the eighth bit.
  const std::vector<std::string> texts = {"",    "A",   "a", "a\0"s, "a\0b"s, "ab",
                                          "abc", "abd", "b", "\x7F", "\xFF"};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    for (std::size_t j = 0; j < texts.size(); ++j) {
      Guarded a(texts[i]);
      Guarded b(texts[j]);
      EXPECT_EQ(compare(a.bytes(), b.bytes()), i == j ? 0 : i < j ? -1 : 1) << texts[i] << " " << texts[j];
    }
  }
}

TEST(Ordering, CountEqualsTheSearchOneByOne) {
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    const auto letters = 1 + random() % 3;
    const auto word = [&](std::size_t length) {
      std::string result(length, 'a');
      for (char &c : result) c = static_cast<char>('a' + random() % letters);
      return result;
    };
    // Pieces repeated make the needle and the text periodic, which is where searches go wrong.
    const std::string piece = word(1 + random() % 6);
    std::string needle = word(random() % 4);
    for (auto copies = random() % 4; copies > 0; --copies) needle += piece;
    needle += word(needle.empty() ? 1 : random() % 3);
    std::string text = word(random() % 90);
    for (auto copies = random() % 40; copies > 0; --copies) text += random() % 4 == 0 ? needle : piece;
    EXPECT_EQ(counted(text, needle), counted_one_by_one(text, needle)) << needle << " in " << text;
    if (round % 20 != 0) continue;
    // A start where every position looks good and fails late has the rest searched the other way.
    std::string longer(20, 'a');
    longer.append(needle).append("b").append(needle).append(20, 'a');
    text.insert(0, 3000, 'a').append(longer).append(piece).append(longer).append("b").append(longer);
    EXPECT_EQ(counted(text, longer), counted_one_by_one(text, longer)) << longer << " in " << text;
  }
}

TEST(Ordering, HopelessNeedlesTakeLinearTime) {
  // A search that starts afresh at every position would look at 10^11 bytes and more: half a minute or so.
  const std::string text(1 << 21, 'a');
  const std::string needle = std::string(1 << 19, 'a').append("b").append(1 << 19, 'a');
  EXPECT_EQ(counted(text, needle), 0);
  EXPECT_EQ(counted(text + "b" + text, needle), 1);
  EXPECT_EQ(counted(text, ""), 0);
}

}  // namespace
}  // namespace kzv::ordering
