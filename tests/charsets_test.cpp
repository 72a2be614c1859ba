#include "markup/charsets.h"

#include <gtest/gtest.h>

#include "support/kernels.h"

namespace kzv::charsets {
namespace {

std::string encoded(std::u16string_view text, const Charset &charset) {
  return run_kernel(
      {reinterpret_cast<const char *>(text.data()), text.size() * 2}, text.size(),
      [&](ByteView in, ByteBuffer out) {
        return encode({reinterpret_cast<const CodeUnit *>(in.data()), in.size() / 2}, charset, out);
      });
}

std::u16string decoded(std::string_view bytes, const Charset &charset) {
  Guarded in(bytes);
  Guarded out(bytes.size() * 2);
  const auto units = std::span(reinterpret_cast<std::uint16_t *>(out.data()), bytes.size());
  EXPECT_EQ(decode(in.bytes(), charset, units), bytes.size());
  return {units.begin(), units.end()};
}

// The characters of Windows-1252 from byte 80 to 9F; an undefined byte is U+0000.
constexpr std::u16string_view kFrom80(
    u"\u20AC\0\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\0\u017D\0"
    u"\0\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\0\u017E\u0178",
    32);

TEST(Charsets, EveryUnitAndEveryByte) {
  std::u16string units;
  for (unsigned i = 0; i < 0x10000; ++i) units += static_cast<char16_t>(i);
  const std::u16string iso = units.substr(0, 256);
  const std::string bytes(iso.begin(), iso.end());
  const std::u16string cp1252 = iso.substr(0, 0x80) + std::u16string(kFrom80) + iso.substr(0xA0);

  for (const auto &[charset, table] : {std::pair(kIso8859, iso), std::pair(kCp1252, cp1252)}) {
    EXPECT_EQ(decoded(bytes, charset), table);
    std::string expected;
    for (const char16_t unit : units) {
      if (const auto at = table.find(unit); at != std::u16string::npos) expected += static_cast<char>(at);
    }
    EXPECT_EQ(encoded(units, charset), expected);
  }
}

}  // namespace
}  // namespace kzv::charsets
