// The relations between kernels: on random texts, every byte and code unit, every short sequence of pieces.
#include "support/relations.h"

#include <gtest/gtest.h>

#include "support/random.h"

namespace kzv {
namespace {

using std::string_literals::operator""s;
using std::string_view_literals::operator""sv;

class RandomSource : public Source {
 public:
  using Source::text;

  std::int64_t number(std::int64_t least, std::int64_t greatest) override {
    return std::uniform_int_distribution(least, greatest)(random_);
  }

  // Of a few pieces, dense or sparse, or of plain letters with pieces at the seams: where a block of 64 bytes
  // or a chunk ends. With lengths around those of what is read at once.
  std::string text(std::size_t longest) override {
    static constexpr std::pair<std::size_t, std::size_t> kLengths[] = {{0, 200}, {1001, 1030}, {2040, 5000}};
    static constexpr std::string_view kPieces[] = {
        "\0"sv,  " ", "'", "\"",   "\\",    "(",         "true", "FALSE", "n",    "<",   ">",
        "=",     "%", "+", "_",    "\t",    "\r",        "\n",   "=\n",   "\r\n", "=4A", "%4",
        "=\r\n", "&", ";", "&lt;", "&#65;", "&thetasym", "\x80", "\xE9",  "B",    "z",   "\x1F"};
    const auto [least, most] =
        longest < 1001 ? std::pair(std::size_t{0}, longest) : kLengths[number(0, 3) % 3];
    const std::size_t length = size(least, std::min(most, longest));
    const std::int64_t spread = std::array{0, 1, 2, 16, 300}[size(0, 4)];
    std::array<std::string_view, 3> pieces;
    for (std::string_view &piece : pieces) piece = kPieces[size(0, std::size(kPieces) - 1)];
    std::string text(spread == 0 ? length + 2 : 0, 'a');
    const std::size_t seam = flag() ? 64 : 1024;
    for (auto left = spread == 0 ? size(1, 6) : 0; left > 0; --left) {
      const std::size_t at = std::max(seam * size(0, length / seam), std::size_t{2}) + size(0, 4) - 2;
      if (at <= length) text.replace(at, pieces[left % 3].size(), pieces[left % 3]);
    }
    while (text.size() < length) {
      const std::size_t k = number(1, spread) == 1 ? size(0, 3) : 4;
      if (k < 3) text += pieces[k];
      if (k >= 3) text += k == 3 ? static_cast<char>(byte()) : 'a';
    }
    return text.substr(0, length);
  }

 private:
  std::mt19937_64 random_ = seeded_random();
};

TEST(Relations, HoldForRandomTexts) {
  RandomSource source;
  for (int round = 0; round < 3000; ++round)
    for (const auto draw : relations::kAll) draw(source);
}

TEST(Relations, HoldForEveryByteAndCodeUnit) {
  std::u16string units;
  for (unsigned unit = 0; unit < 0x10000; ++unit) units += static_cast<char16_t>(unit);
  const std::u16string first = units.substr(0, 256);
  const std::string bytes(first.begin(), first.end());
  for (const bool flag : {false, true}) {
    relations::charset(bytes, units, flag);
    relations::html(units, flag, html::kLongestReference * units.size());
  }
  for (const char byte : bytes)
    for (const std::int32_t mode : {-1, 0, 1, 2, 3}) relations::classification({byte}, mode, '.');
}

// Where a kernel once did or might go wrong, and random texts seldom come.
TEST(Relations, HoldForChosenTexts) {
  for (std::size_t size = 1; size < 16; ++size) {
    std::string text(size, 'a');
    for (char &wrong : text) {
      wrong = '\x80';
      relations::classification(text, 0, '.');
      wrong = 'a';
    }
  }
  relations::order(std::string(9000, 'a'), "a");
  relations::order("a\0"s, "\0\0"s);  // the zeros that fill a block are not part of the text
  const std::string sorted[] = {"", "A", "a", "a\0"s, "a\0b"s, "ab", "abc", "abd", "b", "\x7F", "\xFF"};
  for (const std::string &x : sorted)
    for (const std::string &y : sorted) relations::order(x, y);
  // Needles whose start almost repeats, and does, in the part of a text that is searched in two ways.
  const std::string plain(6000, 'a');
  const std::string tail = "b" + std::string(11, 'a');
  relations::order(plain + tail + tail, std::string(10, 'a') + "A" + tail);
  relations::order(plain + "A" + tail + tail + tail + tail, std::string(11, 'a') + tail + tail);
  std::u16string many;  // more symbols than a byte has values
  for (char16_t unit = 0x100; unit < 0x300; ++unit) many += unit;
  relations::distances(many, many.substr(300) + many.substr(0, 300));
  relations::charset(std::string(16, '\x80'), u"", true);
  relations::sql("(true,false);tRuE\xC3True\0fALSE"s);
  relations::bitwise(std::string(33'000, 't'), plain.substr(0, 40) + "b", 1);  // copies that are not doubled
  const std::string kilo(1023, 'a');
  relations::printable(kilo + " \x8D" + std::string(100, 'b'), 2'000'000);
  for (const std::string ends : {"\n\r", "\r\n\r", "=4z"})
    relations::printable(kilo + ends + std::string(70, 'y'), 72);
  relations::sql(kilo + "\\n" + std::string(70, 'y'));
  std::u16string references;
  for (int i = 0; i < 10; ++i) references += std::u16string(63, u'\u03D1') + u'\u00C1';
  for (std::size_t bound = 600; bound < 740; ++bound) relations::html(references, false, bound);
  std::string tags;
  for (int i = 0; i < 3000; ++i) tags += "<a>b";
  relations::tags(tags, "[]", '*');
}

// Powers of two and ten, halves, what may be halfway between two decimals, and neighbours of all these.
TEST(Relations, HoldForNumbers) {
  std::vector<double> chosen = {0.0, -0.0, 5e-100, 0x1p53, INFINITY, NAN};
  for (int exponent = -1074; exponent < 1024; ++exponent) chosen.push_back(std::ldexp(1, exponent));
  for (const std::string digits : {"1e", "2.5e", "5e", "9.5e", "99999999999999995e"})
    for (int exponent = -324; exponent < 309; ++exponent)
      chosen.push_back(strtod((digits + std::to_string(exponent)).c_str(), nullptr));
  for (const double value : chosen)
    for (std::uint64_t bits = std::bit_cast<std::uint64_t>(value), i = 0; i < 5; ++i)
      for (const int digits : {-1, 0, 1, 2, 7, 14, 15, 16, 17, 18, 40, 490, 497, 498, 766, 2147483647})
        relations::numbers(std::bit_cast<double>(bits + i - 2), digits);
  std::mt19937_64 random = seeded_random();
  for (int i = 0; i < 1'000'000; ++i) {
    relations::numbers(std::bit_cast<double>(random()), i % 20);
    const auto few = static_cast<double>(random() >> (11 + random() % 53));
    relations::numbers(std::ldexp(few, static_cast<int>(random() % 160) - 100), i % 18);
  }
}

// Two letters in every order, and edits along the edge of a window of the matrix: units move from one end to
// the other and neighbours swap where strips meet, so many that the first limit just suffices, or just not.
TEST(Relations, HoldForDistancesOfSimilarTexts) {
  std::vector<std::u16string> texts = {u""};
  for (std::size_t i = 0; i < 63; ++i)
    for (const char16_t letter : {u'a', u'b'}) texts.push_back(texts[i] + letter);
  for (const std::u16string &x : texts)
    for (const std::u16string &y : texts) relations::distances(x, y);
  RandomSource source;
  const auto at = [&](const std::u16string &text) { return source.size(0, text.size() - 1); };
  for (std::size_t moved = 29; moved < 35; ++moved) {
    for (std::size_t seam = 125; seam < 129; ++seam) {
      std::u16string text(600, u'\0');
      for (char16_t &unit : text) unit = static_cast<char16_t>(source.size(0, seam % 2 * 65532 + 3));
      std::u16string edited = text;
      for (std::size_t k = seam; k < 599; k += 128) std::swap(edited[k], edited[k + 1]);
      relations::distances(text, edited.substr(moved) + text.substr(0, moved));
      relations::distances(text, text.substr(600 - moved) + edited.substr(0, 600 - moved));
      for (auto left = source.size(0, 70); left > 0; --left) {
        edited.erase(at(edited), source.size(0, 1));
        edited.insert(at(edited), source.size(0, 1), u'*');
      }
      relations::distances(text, edited);
    }
  }
}

// A search that starts afresh at every position would take the better part of an hour.
TEST(Relations, CountingTakesLinearTime) {
  const std::string needles[] = {std::string(1 << 22, 'a').append("b").append(1 << 22, 'a'),
                                 std::string(20, 'a').append(1 << 20, 'b').append("a")};
  for (const std::string &needle : needles) {
    Guarded text(std::string(1 << 24, 'a').append(1 << 24, 'b') + needle);
    EXPECT_EQ(ordering::count(text.bytes(), Guarded(needle).bytes()), 1);
  }
}

// The whole matrix would take a quarter of an hour.
TEST(Relations, DistanceOfSimilarTextsTakesTimeForTheEdits) {
  std::vector<std::uint32_t> text(1 << 22);
  for (std::uint32_t state = 1; std::uint32_t & unit : text)
    unit = (state = state * 1664525 + 1013904223) >> 28;
  std::vector<std::uint32_t> edited = text;
  edited.front() = edited.back() = 16;
  EXPECT_EQ(distance::edit_distance(text, edited), 1.0 / ((1 << 22) / 2.0));
}

// Wrong numbers and names, and each name with letters in the other case.
TEST(Relations, HoldForReferences) {
  std::u16string text =
      u"&#6:;\u2600amp;&sup;&sup2;&sigma;&sigmaf;&or;&ordf;&not;&#x0041;&#65abc;&#x41zz;&#65a-;&#x4g;&#6&&"
      u"amp;&#65&lt;&lt:&"
      u"thetasym;"
      u"&#55357;&#56832;&#65535;&#65536;&#99999;&#xffFF;&thetasyma;&foo;&#X41;&AMP;&;&#;&&;&a;&am;& amp;&#x;"
      u"&#xg;&#x00041;&#000065;&#x12345;&#0;&#x0;&#-65;&#6-5;&#65-;&#x-41;&#x4-;"
      u"&lt\0;&\0lt;&\u0161mp;&am\u0170;&#\u0136;&amp\u013B;"s;  // right in the low byte only
  for (const html::Entity &entity : html::escapecodes) {
    for (int flips = 0; flips < 1 << entity.name().size(); ++flips) {
      text += u'&';
      for (int i = 0; const char c : entity.name())
        text += static_cast<char16_t>(c ^ (flips >> i++ & 1) << 5);
      text += u';';
    }
  }
  relations::html(text, false, html::kLongestReference * text.size());
  for (const char16_t *const last :
       {u"a&", u"a&#", u"a&#x", u"a&#6", u"a&amp ", u"a&thetasym", u"a&thetasymx"})
    relations::html(last, true, html::kLongestReference);
}

// 16 pieces of two kinds or 8 of four end a block, lie across its end or begin the next one, after any carry.
TEST(Relations, HoldForEverySequenceOfPieces) {
  using Texts = std::vector<std::string_view>;
  using Text = const std::string &;
  const std::tuple<void (*)(Text), Texts, Texts> rows[] = {
      {relations::yenc, {"=", "a"}, {"", "=", "=="}},
      {[](Text text) { relations::url(text, 1); }, {"%", "4"}, {"", "%", "%4"}},
      {[](Text text) { relations::tags(text, "[]", '*'); }, {"<", "a", ">", "bc"}, {"", "<", "<<", ">"}},
      {relations::sql, {"'", " true ", "\"", "a"}, {"", "'", "\"", " "}},
      {[](Text text) { relations::printable(text, 72); }, {"=", "\r", "\n", "4"}, {"", "=", "=4", "\r"}},
  };
  for (const auto &[relation, kinds, carries] : rows) {
    for (std::size_t sequence = 0x10000; sequence < 0x20000; ++sequence) {
      std::string pieces;
      for (std::size_t rest = sequence; rest > 1; rest /= kinds.size()) pieces += kinds[rest % kinds.size()];
      const std::string after = pieces + "a true " + std::string(60, 'a');
      for (const std::size_t at : {64 - pieces.size(), 64 - pieces.size() / 2})
        relation(std::string(at, 'a') + after);
      for (const std::string_view carry : carries)
        relation(std::string(64 - carry.size(), 'a').append(carry) + after);
    }
  }
}

}  // namespace
}  // namespace kzv
