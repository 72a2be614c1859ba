// The host's conversions beside those of the C library.
#include "encodings.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iconv.h>

#include "support/random.h"

namespace kzv::host {
namespace {

struct Known {
  REALencoding number;
  const char *charset;
  std::size_t unit;
};
constexpr Known kKnown[] = {{kEncodingUTF8, "UTF-8", 1},           {kEncodingUTF16, "UTF-16LE", 2},
                            {kEncodingUTF32, "UTF-32LE", 4},       {kEncodingASCII, "US-ASCII", 1},
                            {kEncodingISO8859_1, "ISO-8859-1", 1}, {kEncodingWindows1252, "WINDOWS-1252", 1},
                            {kEncodingMacRoman, "MACINTOSH", 1}};

// Converts by iconv; each unit that it rejects becomes `substitute`.
std::string by_iconv(std::string text, const char *from, const char *to, std::size_t unit,
                     std::string_view substitute) {
  auto *const handle = iconv_open(to, from);
  std::string output(text.size() * 8 + 8, '\0');
  char *next = output.data();
  std::size_t space = output.size();
  char *input = text.data();
  for (std::size_t left = text.size(); left > 0;) {
    if (iconv(handle, &input, &left, &next, &space) != static_cast<std::size_t>(-1)) continue;
    next = std::ranges::copy(substitute, next).out;
    space -= substitute.size();
    const std::size_t skipped = std::min(unit, left);
    input += skipped;
    left -= skipped;
  }
  iconv_close(handle);
  return output.substr(0, static_cast<std::size_t>(next - output.data()));
}

// Characters on which the C library differs: it has an older Mac OS Roman and drops tag characters.
bool differs(char32_t character) {
  return character == 0x394 || character == 0x2206 || character == 0xE01E || character == 0xF8FF ||
         (character >= 0xE0000 && character <= 0xE007F);
}

std::string by_iconv(const std::string &text, const Known &from, const Known &to) {
  const std::string characters = by_iconv(text, from.charset, "UTF-32LE", from.unit, {"\xFD\xFF\0\0", 4});
  return by_iconv(characters, "UTF-32LE", to.charset, 4, "?");
}

TEST(Encodings, AreThoseOfTheCLibrary) {
  std::u32string all;
  for (char32_t value = 0; value < 0x110800; value += value < 0x3000 ? 1 : 37)
    if (!differs(value)) all += value;
  const std::string every(reinterpret_cast<const char *>(all.data()), all.size() * 4);
  auto random = seeded_random();
  for (const Known &to : kKnown) {
    if (to.unit < 4) {
      EXPECT_TRUE(*convert(every, kEncodingUTF32, to.number) == by_iconv(every, kKnown[2], to)) << to.charset;
    }
    for (const Known &from : kKnown) {
      if (from.number == to.number) continue;
      for (int round = 0; round < 150; ++round) {
        // Few different bytes, so that sequences are often almost whole.
        std::string text(static_cast<std::size_t>(random() % 24), '\0');
        for (char &c : text) c = "\xF0\x9F\x98\x80\xED\xA0\xD8\xDC\0aC\xE2\x82\xAC\xF4\x8F"[random() % 16];
        if (round % 3 == 0) {
          for (char &c : text) c = static_cast<char>(random());
        }
        std::u32string characters(text.size() + 1, U'\0');
        const std::string read = *convert(text, from.number, kEncodingUTF32);
        read.copy(reinterpret_cast<char *>(characters.data()), read.size());
        if (std::ranges::none_of(characters, differs)) {
          EXPECT_EQ(*convert(text, from.number, to.number), by_iconv(text, from, to));
        }
      }
    }
  }
}

}  // namespace
}  // namespace kzv::host
