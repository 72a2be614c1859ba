#include "support/samples.h"

namespace kzv::host {

using std::string_literals::operator""s;

const std::vector<Sample> &samples() {
  static const std::vector<Sample> all = {
      sample("EncodeEmailSubjectKZV(s as string) as string", ascii("=?utf-8?Q?caf=C3=A9?="), utf16("café")),
      sample("EncodeEmailSubjectKZV(s as string) as string", raw("plain"), raw("plain")),
      sample("EncodeEmailSubjectKZV(s as string) as string", ascii("=?utf-8?Q?=C3=A9?="), raw("\x8E")),
      sample("_yDecodeMemoryKZV(data as memoryblock) as memoryblock", Block{"Hello"},
             Block{"\x72\x8F\x96\x96\x99"}),
      sample("_yDecodeStringKZV(data as string) as string", ascii("Hello"), raw("\x72\x8F\x96\x96\x99")),
      sample("_yDecodeStringKZV(data as string) as string", raw("\xD6\x96"), raw("=@=")),
      sample("JaroWinklerDistanceKZV(a as string, b as string) as double",
             1.0 - (17.0 / 18.0 + (1.0 - 17.0 / 18.0) * (3 * 0.1)), utf8("MARTHA"), utf16("MARHTA")),
      sample("LevenshteinDistanceKZV(a as string, b as string) as double", 0.5, utf8("flaw"), ascii("lawn")),
      sample("LevenshteinDistanceKZV(a as string, b as string) as double", 1.0, kNil, utf8("lawn")),
      sample("ScientificStrKZV(d as double, digits as integer) as string", ascii("1.23e+03"), 1234.5, 2),
      sample("StrKZV(d as double) as string", ascii("99999999999999991611392.0"), 1e23),
      sample("RandomBytesStringKZV(Length as integer, ASCII as boolean=false) as string", kNil, -5, true),
      sample("StrCompBytesKZV(a as string, b as string) as integer", -1, kNil, kNil),
      sample("StrCompBytesKZV(a as string, b as string) as integer", 1, utf8(""), kNil),
      sample("StrCompCharactersKZV(a as string, b as string) as integer", 0, utf8("café"), utf16("café")),
      sample("StrCompCharactersKZV(a as string, b as string) as integer", -1, Text{"x", kEncodingMacRoman},
             kNil),
      sample("CountOccurancesKZV(s as string, find as string) as integer", 2, utf8("aaaa"), utf8("aa")),
      sample("DetectUnicodeMarkersKZV(s as string) as integer", 7, raw("\xFF\xFE\0\0"s)),
      sample("GetUnicodeMarkersKZV(kind as integer) as string", Text{"\xFE\xFF", kEncodingUTF16}, 3),
      sample("GetUnicodeMarkersKZV(kind as integer) as string", Text{"\xFF\xFE\0\0"s, kEncodingUTF32}, 5),
      sample("StringIsHTMLreadyKZV(s as string) as boolean", true, utf8("Hello")),
      sample("StringIsHTMLreadyKZV(s as string) as boolean", false, Text{"Hello", kEncodingISO8859_1}),
      sample("StringANDKZV(a as string,b as string) as string", raw("\xC0\xA0"), raw("\xC3\xA9"),
             raw("\xF0")),
      sample("StringORKZV(a as string,b as string) as string", ascii("abcd"), utf8("abcd"), utf8("")),
      sample("StringXORKZV(data as string, XorMask as string, MaskOffset as integer = 0) as string",
             ascii("\2\3\1\2\3"), raw("\0\0\0\0\0"s), raw("\1\2\3"), 1),
      sample("StringXOR2KZV(data as string, XorMask as string, MaskOffset as integer = 0) as string",
             ascii("\0\1\2"s), raw("\0\0\0"s), raw("\0"s), -4),
      sample("UnicodeStringKZV(s as string) as string", utf16("café"), utf8("café")),
      sample("NativeStringKZV(s as string) as string", utf8("café"), utf16("café")),
      sample("DecodingFromMySQLKZV(s as string) as string", raw("It's \xE9\n"), raw("It\\'s \xE9\\n")),
      sample("EncodingToHTMLKZV(s as string, options as integer = 0) as string",
             ascii("&lt;caf&eacute;&gt; &#128;"), utf16("<café> \u0080"), 0),
      sample("EncodingToHTMLKZV(s as string, options as integer = 0) as string", ascii("<caf&eacute;>"),
             utf8("<café>"), -1),
      sample("DecodingFromHTMLKZV(s as string) as string", utf8("<\u03D1\U00010000&amp"),
             ascii("&lt;&thetasym;&#65536;&amp;amp")),
      sample("EncodingToURLKZV(s as string) as string", ascii("a%20b+"), utf8("a b+")),
      sample("EncodingToURLKZV(s as string, options as integer) as string", ascii("a+b%2B"), utf8("a b+"), 1),
      sample("DecodingFromURLKZV(s as string) as string", raw("\xC3\xA9+"), utf8("%C3%A9+")),
      sample("DecodingFromURLKZV(s as string, options as integer) as string", ascii("a b"), utf8("a+b"), 3),
      sample("EncodingToQuotedPrintableKZV(s as string, LineLen as integer = 72) as string",
             ascii("a=20\r\nb=\r\n"), utf8("a \nb"), 72),
      sample("DecodingFromQuotedPrintableKZV(s as string) as string", ascii("A\xC3\n"),
             utf8("=41=C3=\r\n\r\n")),
      sample("HexstringKZV(input as string, hexlen as integer, linelen as integer, linestart as string, "
             "lineend as "
             "string, spacer as string,filler as string) as string",
             ascii("<41 42|<43 ..|"), utf8("ABC"), 2, 2, utf8("<"), utf8("|"), utf8(" "), utf8(".")),
      sample("EncodingToISO8859KZV(s as string) as string", raw("Gr\xFC\xDF"), utf16("Grüß€")),
      sample("DecodingFromISO8859KZV(s as string) as string", utf8("Ã©"), utf8("é")),
      sample("EncodingToCP1252KZV(s as string) as string", raw("\x80"), utf8("€\u0081")),
      sample("DecodingFromCP1252KZV(s as string) as string", utf8("€\0\u0178"s), raw("\x80\x81\x9F")),
      sample("EncodingToHexKZV(s as string) as string", ascii("007F80FF"), raw("\0\x7F\x80\xFF"s)),
      sample("DecodingFromHexKZV(s as string) as string", raw("\xC3\xA9"), utf16("C3a9")),
      sample("ReplaceNonPrintableCharactersKZV(s as string, replacevalue as integer=46) as string",
             ascii("A.\x7F.."), utf8("A\t\x7Fé"), 46),
      sample("IsASCIIStringKZV(s as string) as boolean", false, utf8("é")),
      sample("IsASCIIStringKZV(s as string, mode as integer) as boolean", true, utf8("é"), 2),
      sample("RemoveHTMLTagsKZV(AsciiTextWithTags as string) as string", utf8("Hé"),
             utf16("<p>H<b>é</b></p>")),
      sample("RemoveHTMLTagsWithKZV(AsciiTextWithTags as string, Replacement as string) as string",
             utf8("a--c"), utf8("a<é>c"), ascii("-\0x"s)),
      sample("ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string, e as string, f as "
             "string) as "
             "string",
             raw("abc\xE9"
                 "f"),
             utf8("a"), utf8("b"), utf8("c"), kNil, raw("\xE9"), utf8("f")),
      sample(
          "ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string, e as string) as string",
          ascii("abcde"), utf8("a"), utf8("b"), utf8("c"), utf8("d"), utf8("e")),
      sample("ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string) as string",
             ascii("abcd"), utf8("a"), utf8("b"), utf8("c"), utf8("d")),
      sample("ConcatBinaryStringsKZV(a as string, b as string, c as string) as string", ascii("abc"),
             utf8("a"), utf8("b"), utf8("c")),
      sample("ConcatBinaryStringsKZV(a as string, b as string) as string", ascii("a\0b\0"s), utf16("a"),
             utf16("b")),
      sample("SQLReplaceBooleanKZV(SQL as string) as string", utf8("a = 1 OR '?' = 0"),
             utf8("a = TRUE OR 'é' = false")),
  };
  return all;
}

}  // namespace kzv::host
