#include "markup/html.h"

#include <gtest/gtest.h>

#include "markup/entities.h"
#include "support/kernels.h"
#include "support/twins.h"

namespace kzv::html {
namespace {

std::string_view bytes_of(std::u16string_view text) {
  return {reinterpret_cast<const char *>(text.data()), text.size() * 2};
}
CodeUnitView units_of(ByteView bytes) {
  return {reinterpret_cast<const CodeUnit *>(bytes.data()), bytes.size() / 2};
}

// Encodes into pieces of `room` bytes.
std::string encoded(std::u16string_view text, bool keep_ascii, std::uint64_t room = encode_bound(0x10000)) {
  std::string result;
  while (!text.empty()) {
    Progress progress{};
    result += run_kernel(bytes_of(text), room, [&](ByteView in, ByteBuffer out) {
      progress = encode(units_of(in), keep_ascii, out);
      return progress.written;
    });
    if (progress.consumed == 0) return result + "[stuck]";
    text.remove_prefix(progress.consumed);
  }
  return result;
}

std::u16string decoded(std::u16string_view text) {
  const std::string bytes =
      run_kernel(bytes_of(text), text.size() * sizeof(CodeUnit), [](ByteView in, ByteBuffer out) {
        return sizeof(CodeUnit) * decode(units_of(in), {reinterpret_cast<CodeUnit *>(out.data()),
                                                        out.size() / sizeof(CodeUnit)});
      });
  std::u16string result(bytes.size() / sizeof(CodeUnit), u'\0');
  std::memcpy(result.data(), bytes.data(), bytes.size());
  return result;
}
std::u16string widened(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

TEST(Html, EveryUnitEncodesAndDecodes) {
  std::u16string all;
  for (unsigned unit = 0; unit < 0x10000; ++unit) all += static_cast<char16_t>(unit);
  EXPECT_EQ(encoded(all, false), slowly_encoded(all, false));
  EXPECT_EQ(encoded(all, true), slowly_encoded(all, true));
  EXPECT_EQ(decoded(widened(encoded(all, false))), all);

  const std::u16string_view text = u"Tom & Jerry's <b>\"\r\n\u00E9\u0152\u2666\u0080\u0101\U0001F600";
  const std::string above = "&eacute;&OElig;&diams;&#128;&#257;&#55357;&#56832;";
  EXPECT_EQ(encoded(text, false), "Tom &amp; Jerry&#39;s &lt;b&gt;&quot;\r\n" + above);
  EXPECT_EQ(encoded(text, true), "Tom & Jerry's <b>\"\r\n" + above);
  for (const bool keep_ascii : {false, true}) EXPECT_EQ(encoded(u"a", keep_ascii, 9), "[stuck]");
}

TEST(Html, OneMarkIsDropped) {
  Guarded in(bytes_of(u"\uFEFF\uFFFEa\uFEFF"));
  CodeUnitView text = units_of(in.bytes());
  for (const unsigned left : {3U, 2U, 2U}) EXPECT_EQ((text = without_mark(text)).size(), left);
  EXPECT_EQ(without_mark(text.last(0)).size(), 0U);
}

TEST(Html, ReadyTextHasNoSpecialByteAnywhere) {
  for (std::size_t i = 0; i < 35 * std::size_t{256}; ++i) {
    std::string text(35, 'a');
    const char byte = text[i / 256] = static_cast<char>(i % 256);
    Guarded in(text);
    const bool ready = i % 256 > 0 && i % 256 < 128 && std::string("\"&'<>").find(byte) == std::string::npos;
    EXPECT_EQ(is_html_ready(in.bytes()), ready) << i;
  }
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
    for (int flips = 0; flips < 1 << entity.name().size(); ++flips) {
      std::string other(entity.name());
      for (std::size_t i = 0; i < other.size(); ++i) other[i] = char(other[i] ^ (flips >> i & 1) << 5);
      const auto *known = std::ranges::find(escapecodes, other, &Entity::name);
      const std::u16string text = widened("&" + other + ";");
      EXPECT_EQ(decoded(text), known == escapecodes.end() ? text : std::u16string(1, known->code_point));
    }
  }
}

TEST(Html, DecodedText) {
  const std::initializer_list<std::pair<std::u16string_view, std::u16string_view>> rows = {
      {u"&lt;b&gt;&amp;amp;\U0001F600&amp", u"<b>&amp;\U0001F600&"},  // one level
      {u"&sup;&sup2;&sigma;&sigmaf;&or;&ordf;&not;", u"\u2283\u00B2\u03C3\u03C2\u2228\u00AA\u00AC"},
      {u"&#65;&#x41;&#x0041;&#39;&apos;", u"AAA''"},
      {u"&#65abc;&#x41zz;&#65a-;&#x4g;&#6", u"AAA\x04\x06"},  // the digits end, the rest is ignored
      {u"&&amp;&#65&lt;&thetasym", u"&&A\u03D1"},  // the ";" or the end closes whatever "&" reaches it
      {u"&#55357;&#56832;&#65535;&#65536;&#99999;&#xffFF;", u"\U0001F600\uFFFF\U00010000\U0001869F\uFFFF"},
  };
  for (const auto &[text, expected] : rows) EXPECT_EQ(decoded(text), expected);

  const std::initializer_list<std::u16string_view> unchanged = {
      u"&thetasyma;&foo;&#X41;&AMP;&;&#;&&;&a;&am;& amp;&#x;&#xg;",
      u"&#x00041;&#000065;&#x12345;&#0;&#x0;&#-65;&#6-5;&#65-;&#x-41;&#x4-;",
      {u"&lt\0;&\0lt;&\u0161mp;&am\u0170;&#\u0136;&amp\u013B;", 30},  // right in the low byte only
  };
  for (const auto &text : unchanged) EXPECT_EQ(decoded(text), text);
  for (const auto *text : {u"a&", u"a&#", u"a&#x", u"a&amp ", u"a&thetasymx"}) EXPECT_EQ(decoded(text), text);
}

}  // namespace
}  // namespace kzv::html
