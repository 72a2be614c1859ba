#include "support/samples.h"

#include <algorithm>
#include <deque>
#include <limits>

namespace kzv::host {

std::string repeated(std::string_view bytes, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) all += bytes;
  return all;
}

bool reads_text(const Sample &sample) {
  constexpr std::string_view kParts[] = {"Subject",   "Distance", "StrCompChar", "UnicodeStr",
                                         "NativeStr", "ToHTML",   "FromHTML",    "RemoveHTML",
                                         "ToISO",     "ToCP1252", "FromHex",     "SQLReplace"};
  return std::ranges::any_of(
      kParts, [&](std::string_view part) { return sample.name.find(part) != std::string::npos; });
}

// What joining some of the bytes, in their order, can give.
std::vector<Value> some_of(std::string_view bytes) {
  std::vector<Value> all;
  for (unsigned chosen = 0; chosen < 1U << bytes.size(); ++chosen) {
    std::string some;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      if ((chosen >> i & 1) != 0) some += bytes[i];
    }
    const bool is_ascii =
        std::ranges::all_of(some, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
    all.emplace_back(is_ascii ? ascii(some) : raw(some));
  }
  return all;
}

const std::vector<Sample> &samples() {
  static const double kMarthaMarhta = 1.0 - (17.0 / 18.0 + (1.0 - 17.0 / 18.0) * (3 * 0.1));
  // Parts that are missing from the end; a missing filler is zeros.
  static const std::vector<Value> kDumps = {
      ascii("41 42|43 ..|"), ascii("<41 42<43 .."), ascii("<4142|<43..|"), ascii("<41 42|<43 00|"),
      ascii("<4142|<4300|"), ascii("<4142<4300"),   ascii("41424300")};
  static const std::vector<Sample> all = {
      // A subject that reads as empty is the result itself.
      single("EncodeEmailSubjectKZV", ascii("=?utf-8?Q?caf=C3=A9?="), utf16("café"))
          .when_unreadable({utf16("café")}),
      sample("EncodeEmailSubjectKZV", raw("plain"), raw("plain")),
      single("EncodeEmailSubjectKZV", ascii("=?utf-8?Q?=C3=A9?="), raw("\x8E"))
          .when_unreadable({raw("\x8E"), ascii("=?utf-8?Q?=8E?=")}),
      single("EncodeEmailSubjectKZV", ascii("=?utf-8?Q?" + repeated("=C3=A9", 200) + "?="),
             utf8(repeated("é", 200)))
          .when_unreadable({utf8(repeated("é", 200))}),
      sample("_yDecodeMemoryKZV", Block{"Hello"}, Block{"\x72\x8F\x96\x96\x99"}),
      sample("_yDecodeMemoryKZV", kNoBlock, kNoBlock),
      sample("_yDecodeStringKZV", ascii("Hello"), raw("\x72\x8F\x96\x96\x99")),
      single("JaroWinklerDistanceKZV", kMarthaMarhta, utf8("MARTHA"), utf16("MARHTA"))
          .when_unreadable({0.0, 1.0}),
      sample("JaroWinklerDistanceKZV", 1.0, utf8("ab"), utf8("cde")).when_unreadable({0.0}),
      single("LevenshteinDistanceKZV", 0.5, utf8("flaw"), ascii("lawn")).when_unreadable({1.0}),
      // Without its label, each text is two units of UTF-16.
      single("LevenshteinDistanceKZV", 0.5, raw("flaw"), raw("lawn")).when_unreadable({1.0, 2.0}),
      single("LevenshteinDistanceKZV", 0.5, utf8(repeated("a", 800)), utf16(repeated("ab", 400)))
          .when_unreadable({1.0}),
      sample("ScientificStrKZV", ascii("1.23e+03"), 1234.5, 2),
      sample("StrKZV", ascii("-nan"), -std::numeric_limits<double>::quiet_NaN()),
      sample("RandomBytesStringKZV", kNil, -5, true),
      sample("StrCompBytesKZV", -1, kNil, kNil),
      sample("StrCompBytesKZV", 1, utf8(""), kNil).when_unreadable({-1}),
      sample("StrCompBytesKZV", 0, utf8("é"), raw("é")).when_unreadable({-1, 1}),
      sample("StrCompCharactersKZV", 0, utf8("café"), utf16("café")).when_unreadable({-1, 1}),
      sample("StrCompCharactersKZV", -1, Text{"x", kEncodingMacRoman}, kNil),
      sample("StrCompCharactersKZV", -1, kNil, Text{"", kEncodingMacRoman}),
      sample("CountOccurancesKZV", 2, utf8("aaaa"), utf8("aa")).when_unreadable({0}),
      sample("DetectUnicodeMarkersKZV", 7, raw("\xFF\xFE\0\0"s)).when_unreadable({0}),
      sample("GetUnicodeMarkersKZV", utf8("\xEF\xBB\xBF"), 1),
      sample("GetUnicodeMarkersKZV", Text{"\xFE\xFF", kEncodingUTF16}, 3),
      sample("GetUnicodeMarkersKZV", Text{"\xFF\xFE", kEncodingUTF16}, 4),
      sample("GetUnicodeMarkersKZV", Text{"\xFF\xFE\0\0"s, kEncodingUTF32}, 5),
      sample("GetUnicodeMarkersKZV", kNil, 8),
      sample("StringIsHTMLreadyKZV", true, Text{"Hello", kEncodingMacRoman}),
      sample("StringIsHTMLreadyKZV", true, Text{"Hello", kEncodingWindows1252}),
      sample("StringIsHTMLreadyKZV", true, ascii("Hello")),
      sample("StringIsHTMLreadyKZV", false, raw("Hello")).when_unreadable({true}),
      sample("StringIsHTMLreadyKZV", true, kNil),
      sample("StringIsHTMLreadyKZV", false, Text{"Hello", kEncodingISO8859_1}).when_unreadable({true}),
      sample("StringANDKZV", raw("\xC0\xA0"), raw("\xC3\xA9"), raw("\xF0")).when_unreadable({ascii("\0\0"s)}),
      sample("StringORKZV", ascii("abcd"), utf8("abcd"), utf8("")),
      sample("StringORKZV", kNil, utf8("abcd"), kNil),
      sample("StringXORKZV", ascii("\2\3\1"), raw("\0\0\0"s), raw("\1\2\3"), 1)
          .when_unreadable({ascii("\0\0\0"s)}),
      single("StringXOR2KZV", ascii("\0\1\2"s), raw("\0\0\0"s), raw("\0"s), -4),
      sample("UnicodeStringKZV", utf16("café"), utf8("café")),
      sample("NativeStringKZV", utf8("café"), utf16("café")),
      sample("DecodingFromMySQLKZV", raw("It's \xE9\n"), raw("It\\'s \xE9\\n")),
      sample("EncodingToHTMLKZV", ascii("&lt;"), utf8("<"), 2),
      sample("EncodingToHTMLKZV", ascii("&lt;caf&eacute;&gt; &#128;"), utf16("<café> \u0080"), 0),
      sample("EncodingToHTMLKZV", ascii("<caf&eacute;>"), utf8("<café>"), -1),
      single("EncodingToHTMLKZV", ascii("a&#65279;"), utf16("\uFEFFa\uFEFF"), 0),
      single("EncodingToHTMLKZV", ascii("a"), utf16("\uFFFE\uFFFEa"), 0),
      single("EncodingToHTMLKZV", ascii("a"), utf16("\uFFFE\uFEFFa"), 0),
      single("EncodingToHTMLKZV", kNil, utf16("\uFEFF"), 0),
      single("EncodingToHTMLKZV", ascii(repeated("&thetasym;&", 3000)), utf8(repeated("\u03D1&", 3000)), 1),
      single("EncodingToHTMLKZV", ascii(repeated("&#257;&#39;", 3000)), utf8(repeated("\u0101'", 3000)), 0),
      single("DecodingFromHTMLKZV", utf8("\uFEFFa"), utf16("\uFFFE\uFEFFa")),
      single("DecodingFromHTMLKZV", utf8("a"), utf16("\uFEFF\uFFFEa")),
      // Without its label, the text is two units of UTF-16.
      sample("DecodingFromHTMLKZV", utf8("<"), raw("&lt;")).when_unreadable({utf8("\u6C26\u3B74")}),
      sample("DecodingFromHTMLKZV", utf8("<\u03D1\U00010000&amp"), ascii("&lt;&thetasym;&#65536;&amp;amp")),
      sample("EncodingToURLKZV", ascii("a%20b+"), utf8("a b+")),
      sample("EncodingToURLKZV", ascii("a+b%2B"), utf8("a b+"), 1),
      sample("DecodingFromURLKZV", raw("\xC3\xA9+"), utf8("%C3%A9+")),
      sample("DecodingFromURLKZV", ascii("a b"), utf8("a+b"), 3),
      sample("DecodingFromURLKZV", ascii("a+b"), utf8("a+b"), 2),
      single("EncodingToQuotedPrintableKZV", ascii("a=20\r\nb=\r\n"), utf8("a \nb"), 72),
      sample("EncodingToQuotedPrintableKZV", ascii("=3D"), utf8("="), 2000),
      sample("DecodingFromQuotedPrintableKZV", ascii("A\xC3\n"), utf8("=41=C3=\r\n\r\n")),
      sample("HexstringKZV", ascii("4142"), utf8("AB"), 2, 2, kNil, kNil, kNil, kNil),
      single("HexstringKZV", ascii("<41 42|<43 ..|"), utf8("ABC"), 2, 2, utf8("<"), utf8("|"), utf8(" "),
             utf8("."))
          .when_unreadable(kDumps),
      sample("EncodingToISO8859KZV", ascii("plain"), raw("plain")),
      sample("EncodingToISO8859KZV", raw("Gr\xFC\xDF"), utf16("Grüß€")),
      single("EncodingToISO8859KZV", ascii("a"), Text{"\xFF\xFE\xFE\xFF\x61\0b"s, kEncodingUTF16}),
      sample("DecodingFromISO8859KZV", utf8("Ã©"), utf8("é")),
      sample("EncodingToCP1252KZV", raw("\x80"), utf8("€\u0081")),
      sample("DecodingFromCP1252KZV", utf8("€\0\u0178"s), raw("\x80\x81\x9F")),
      sample("EncodingToHexKZV", ascii("007F80FF"), raw("\0\x7F\x80\xFF"s)),
      sample("DecodingFromHexKZV", ascii("AB"), raw("4142")),
      sample("DecodingFromHexKZV", raw("\xC3\xA9"), utf16("C3a9")),
      single("DecodingFromHexKZV", ascii("A\1B"), utf8("41é142")),
      sample("ReplaceNonPrintableCharactersKZV", ascii("A\xFF"), raw("A\n"), -1),
      sample("ReplaceNonPrintableCharactersKZV", ascii("A.\x7F.."), utf8("A\t\x7Fé"), 46),
      sample("IsASCIIStringKZV", true, utf8("\t")).when_unreadable({false}),
      sample("IsASCIIStringKZV", true, utf8("é"), 2).when_unreadable({false}),
      sample("IsASCIIStringKZV", false, utf8("a"), 4),
      sample("RemoveHTMLTagsKZV", utf8("Hé"), utf16("<p>H<b>é</b></p>")),
      single("RemoveHTMLTagsKZV", utf8("a"), utf8("a>b")),
      sample("RemoveHTMLTagsKZV", utf8("é"), utf16("é")),
      single("RemoveHTMLTagsWithKZV", utf8("a--c"), utf8("a<é>c"), utf8("-\0x"s))
          .when_unreadable({utf8("ac")}),
      single("RemoveHTMLTagsWithKZV", utf8(repeated("[][][]b", 9000)), utf8(repeated("<aaa>b", 9000)),
             utf8("[]"))
          .when_unreadable({utf8(repeated("b", 9000))}),
      single("ConcatBinaryStringsKZV", raw("abcd\xE9"), utf8("a"), utf8("b"), utf8("c"), kNil, utf8("d"),
             raw("\xE9"))
          .when_unreadable(some_of("abcd\xE9")),
      single("ConcatBinaryStringsKZV", ascii("abcde"), utf8("a"), utf8("b"), utf8("c"), utf8("d"), utf8("e"))
          .when_unreadable(some_of("abcde")),
      single("ConcatBinaryStringsKZV", ascii("abcd"), utf8("a"), utf8("b"), utf8("c"), utf8("d"))
          .when_unreadable(some_of("abcd")),
      single("ConcatBinaryStringsKZV", ascii("abc"), utf8("a"), utf8("b"), utf8("c"))
          .when_unreadable(some_of("abc")),
      single("ConcatBinaryStringsKZV", ascii("a\0b\0"s), utf16("a"), utf16("b"))
          .when_unreadable({ascii("a\0"s), ascii("b\0"s)}),
      sample("SQLReplaceBooleanKZV", utf8("(1,'?',0)"), utf8("(TRUE,'é',false)")),
  };
  return all;
}

const std::vector<Sample> &probe_samples() {
  const auto built = [](const Text &expected, const Text &from) {
    static std::deque<std::string> kept;
    const std::string &bytes = kept.emplace_back(from.bytes);
    return single("Build", expected, address_of(bytes), static_cast<double>(bytes.size()),
                  static_cast<std::int32_t>(from.encoding));
  };
  static const std::vector<Sample> all = {
      built(ascii("abc"), {"abc", kEncodingMacRoman}),
      built(ascii("abc"), {"abc", kEncodingWindows1252}),
      built({"\x8E", kEncodingMacRoman}, {"\x8E", kEncodingMacRoman}),
      built({"a\xE9", 0x1234}, {"a\xE9", 0x1234}),
      built(raw(repeated("a", 1000) + '\x80'), raw(repeated("a", 1000) + '\x80')),
      built(utf8("aéc"), utf16("aéc")),
      // Of a unit of UTF-32 the low 16 bits count; a part of one is dropped.
      built(utf8("a"), {"a\0\0\0b\0\0"s, kEncodingUTF32}),
      built(utf8("\uF600"), {"\0\xF6\x01\0"s, kEncodingUTF32}),
      built(utf8(repeated("z", 255)), {repeated("z\0\0\0"s, 255), kEncodingUTF32}),
      built(utf8(repeated("z", 5000)), {repeated("z\0\0\0"s, 5000), kEncodingUTF32}),
      single("AddName", ascii("&amp;"), 0, address_of("amp"), 3.0),
      sample("AddUnits", utf8(repeated("x", 3000)), 8, 3000),
  };
  return all;
}

}  // namespace kzv::host
