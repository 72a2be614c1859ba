// What the relations of kernels do not show: tables and limits.
#include "support/kernels.h"

#include <gtest/gtest.h>
#include <map>

#include "compare/distance.h"
#include "markup/classification.h"
#include "markup/entities.h"
#include "transfer/hex_dump.h"
#include "transfer/quoted_printable.h"

namespace kzv {
namespace {

using std::string_literals::operator""s;

TEST(Kernels, EntityTableIsThatOfHtml401) {
  // FNV-1a over "name=code;" in ascending order of the codes, computed from the three lists that HTML 4.01
  // publishes, and apos.
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const html::Entity &entity : html::escapecodes) {
    const std::string line = std::string(entity.name()) + "=" + std::to_string(entity.code_point) + ";";
    for (const char c : line) hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3;
  }
  EXPECT_EQ(hash, 0x3EC59ED5EDEC3023U);
}

TEST(Kernels, ByteOrderMarks) {
  const std::map<int, std::string> marks = {
      {1, "\xEF\xBB\xBF"},  {2, "\xFF\xFE"},      {3, "\xFE\xFF"},      {4, "\xFF\xFE"}, {-1, ""}, {0, ""},
      {5, "\xFF\xFE\0\0"s}, {6, "\0\0\xFE\xFF"s}, {7, "\xFF\xFE\0\0"s}, {8, ""}};
  for (const auto &[kind, mark] : marks) {
    EXPECT_EQ(text_of(classification::marker_bytes(kind)), mark) << kind;
    for (std::size_t length = 0; length <= mark.size() + 1; ++length) {
      const std::string text = (mark + "A").substr(0, length);
      int longest = 0;
      for (const int other : {3, 4, 1, 6, 7}) longest = text.starts_with(marks.at(other)) ? other : longest;
      EXPECT_EQ(classification::detect_marker(Guarded(text).bytes()), longest) << kind << ' ' << length;
    }
  }
}

TEST(Kernels, SizesStopAtTheLimit) {
  constexpr int kLimit = 2'147'483'647;
  const auto dump = [byte = std::uint8_t{}](std::size_t bytes, int hexlen, int linelen, std::size_t start,
                                            std::size_t spacer, std::size_t filler) {
    return hex_dump::dump_bound(bytes,
                                {hexlen, linelen, {&byte, start}, {}, {&byte, spacer}, {&byte, filler}});
  };
  EXPECT_EQ(dump(1, kLimit - 2, 1, 1, 0, 0), kLimit - 1);
  EXPECT_EQ(dump(1, 1, 2, 0, kLimit - 3, 0), kLimit - 1);
  EXPECT_EQ(dump(2, 1, 4, 0, 0, (kLimit - 4) / 4), 4);
  EXPECT_EQ(dump(0, kLimit, kLimit, SIZE_MAX, SIZE_MAX, SIZE_MAX), 0);
  EXPECT_FALSE(dump(1, kLimit - 2, 1, 2, 0, 0) || dump(1, 1, 2, 0, kLimit - 2, 0) ||
               dump(2, 1, 4, 0, 0, kLimit / 4) || dump(SIZE_MAX / 2 + 1, 2, 1, 0, 0, 0) ||
               dump(1 << 30, 1, 1, 0, 0, 0) || dump(1000, 1, 1, kLimit / 2000, 0, 0) ||
               dump(1, 1, kLimit / 2, 0, SIZE_MAX, 0) || dump(1, kLimit, kLimit, 0, 0, SIZE_MAX));
  EXPECT_EQ(distance::matrix_byte_count(kLimit, kLimit - 1), 0xFFFFFFFE00000000U);  // 2^31 (2^31-1) 4
  EXPECT_EQ(distance::matrix_byte_count(kLimit, kLimit), 0xFFFFFFFFFFFFFFFFU);
  EXPECT_EQ(quoted_printable::encode_bound(kLimit, 2), 12'884'901'885U);
}

}  // namespace
}  // namespace kzv
