#include "markup/html.h"

#include <gtest/gtest.h>

#include "markup/entities.h"
#include "support/kernels.h"
#include "support/twins.h"

namespace kzv::html {
namespace {

using std::string_view_literals::operator""sv;

std::u16string decoded(std::u16string_view text) { return run_on_units(text, decode); }

TEST(Html, OneMarkIsDropped) {
  Guarded in(bytes_of(u"\uFEFF\uFFFEa\uFEFF"));
  CodeUnitView text = units_of(in.bytes());
  for (const unsigned left : {3U, 2U, 2U}) EXPECT_EQ((text = without_mark(text)).size(), left);
  EXPECT_EQ(without_mark(text.last(0)).size(), 0U);
}

TEST(Html, EntityTableIsThatOfHtml401) {
  // FNV-1a over "name=code;" in ascending order of the codes, computed from the three lists that HTML 4.01
  // publishes, and apos.
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const Entity &entity : escapecodes) {
    const std::string line = std::string(entity.name()) + "=" + std::to_string(entity.code_point) + ";";
    for (const char c : line) hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3;
  }
  EXPECT_EQ(hash, 0x3EC59ED5EDEC3023U);
}

TEST(Html, NamesDecodeInTheirOwnCaseOnly) {
  for (const Entity &entity : escapecodes) {
    const std::string_view name = entity.name();
    std::u16string text;
    for (int flips = 0; flips < 1 << name.size(); ++flips) {
      text += u'&';
      for (std::size_t i = 0; i < name.size(); ++i)
        text += static_cast<char16_t>(name[i] ^ (flips >> i & 1) << 5);
      text += u';';
    }
    EXPECT_EQ(decoded(text), slowly_decoded(text));
  }
}

TEST(Html, DecodedText) {
  const std::initializer_list<std::pair<std::u16string_view, std::u16string_view>> rows = {
      {u"&sup;&sup2;&sigma;&sigmaf;&or;&ordf;&not;", u"\u2283\u00B2\u03C3\u03C2\u2228\u00AA\u00AC"},
      {u"&#x0041;&#65abc;&#x41zz;&#65a-;&#x4g;&#6", u"AAAA\x04\x06"},  // the digits end, the rest is ignored
      {u"&&amp;&#65&lt;&thetasym", u"&&A\u03D1"},  // the ";" or the end closes whatever "&" reaches it
      {u"&#55357;&#56832;&#65535;&#65536;&#99999;&#xffFF;", u"\U0001F600\uFFFF\U00010000\U0001869F\uFFFF"},
  };
  for (const auto &[text, expected] : rows) EXPECT_EQ(decoded(text), expected);

  for (const auto text :
       {u"&thetasyma;&foo;&#X41;&AMP;&;&#;&&;&a;&am;& amp;&#x;&#xg;"sv,
        u"&#x00041;&#000065;&#x12345;&#0;&#x0;&#-65;&#6-5;&#65-;&#x-41;&#x4-;"sv,
        u"&lt\0;&\0lt;&\u0161mp;&am\u0170;&#\u0136;&amp\u013B;"sv,  // right in the low byte only
        u"a&"sv, u"a&#"sv, u"a&#x"sv, u"a&amp "sv, u"a&thetasymx"sv})
    EXPECT_EQ(decoded(text), text);
}

}  // namespace
}  // namespace kzv::html
