// What the relations of kernels do not show: levels, sets of bytes, tables and limits.
#include "support/kernels.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>

#include "compare/distance.h"
#include "cpu/level.h"
#include "markup/classification.h"
#include "markup/entities.h"
#include "support/random.h"
#include "transfer/hex_dump.h"
#include "transfer/quoted_printable.h"

namespace kzv {
namespace {

using std::string_literals::operator""s;

// By what the operating system says of the processor.
TEST(Levels, AreThoseOfThisProcessorTheFastestLast) {
  std::ifstream file("/proc/cpuinfo");
  const std::string features(std::istreambuf_iterator<char>(file), {});
  const auto has = [&](const char *feature) { return features.find(feature) < features.size(); };
  const std::map<std::string, bool> available = {
      {"portable", true},
      {"avx2", has(" avx2 ") && has(" bmi2 ")},
      {"avx512", has(" avx512bw ") && has(" avx512vl ") && has(" avx512vbmi ") && has(" avx512_vbmi2 ")}};
  std::vector<const cpu::Level *> expected;
  for (const cpu::Level *const each : cpu::built_in_levels())
    if (available.at(each->name)) expected.push_back(each);
  EXPECT_TRUE(std::ranges::equal(cpu::levels(), expected));
}

// Sets of up to eight ranges anywhere, made as all sets are: by the compiler. Kernels use only a few.
struct Membership {
  std::size_t set;
  constexpr bool operator()(std::uint8_t byte) const {
    const std::size_t shifted = (byte + set) % 256;
    const auto random = static_cast<std::uint32_t>(set * 8 + shifted / 32) * 2654435761U;
    const std::size_t first = random >> 28;
    return (set % 32 == 0 || shifted / 32 != set % 8) && shifted % 32 >= first &&
           shifted % 32 <= first + (random >> 24 & 15);
  }
};
constexpr auto kSets = []<std::size_t... kSet>(std::index_sequence<kSet...>) {
  return std::array{cpu::ByteSet(Membership{kSet})...};
}
(std::make_index_sequence<64>());

TEST(Levels, FindTheBytesOfAnySet) {
  auto random = seeded_random();
  for (std::size_t round = 0; round < kSets.size() * 17; ++round) {
    const Membership belongs{round % kSets.size()};
    const cpu::ByteSet &set = kSets[belongs.set];
    std::string text((round % 17 + 1) * cpu::kBlock, '\0');
    for (char &byte : text) byte = static_cast<char>(random());
    std::array<std::uint64_t, 17> found{};
    cpu::level().find(Guarded(text).data(), text.size() / cpu::kBlock, set, found.data());
    for (std::size_t k = 0; k < text.size(); ++k) {
      const auto byte = static_cast<std::uint8_t>(text[k]);
      ASSERT_EQ((found[k / cpu::kBlock] >> k % cpu::kBlock & 1) != 0, belongs(byte)) << round << ' ' << k;
      ASSERT_EQ(set.contains(byte), belongs(byte)) << round << ' ' << k;
    }
  }
}

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
