#include "declaration.h"
#include "functions.h"

namespace kzv {
namespace {

const REALmethodDefinition kMethods[] = {
    KZV_METHOD(EncodeEmailSubject, "EncodeEmailSubjectKZV(s as string) as string"),
    KZV_METHOD(yDecodeMemory, "_yDecodeMemoryKZV(data as memoryblock) as memoryblock"),
    KZV_METHOD(yDecodeString, "_yDecodeStringKZV(data as string) as string"),
    KZV_METHOD(JaroWinklerDistance, "JaroWinklerDistanceKZV(a as string, b as string) as double"),
    KZV_METHOD(LevenshteinDistance, "LevenshteinDistanceKZV(a as string, b as string) as double"),
    KZV_METHOD(ScientificStr, "ScientificStrKZV(d as double, digits as integer) as string"),
    KZV_METHOD(Str, "StrKZV(d as double) as string"),
    KZV_METHOD(RandomBytesString,
               "RandomBytesStringKZV(Length as integer, ASCII as boolean=false) as string"),
    KZV_METHOD(StrCompBytes, "StrCompBytesKZV(a as string, b as string) as integer"),
    KZV_METHOD(StrCompCharacters, "StrCompCharactersKZV(a as string, b as string) as integer"),
    KZV_METHOD(CountOccurances, "CountOccurancesKZV(s as string, find as string) as integer"),
    KZV_METHOD(DetectUnicodeMarkers, "DetectUnicodeMarkersKZV(s as string) as integer"),
    KZV_METHOD(GetUnicodeMarkers, "GetUnicodeMarkersKZV(kind as integer) as string"),
    KZV_METHOD(StringIsHTMLready, "StringIsHTMLreadyKZV(s as string) as boolean"),
    KZV_METHOD(StringAND, "StringANDKZV(a as string,b as string) as string"),
    KZV_METHOD(StringOR, "StringORKZV(a as string,b as string) as string"),
    KZV_METHOD(StringXOR,
               "StringXORKZV(data as string, XorMask as string, MaskOffset as integer = 0) as string"),
    KZV_METHOD(StringXOR2,
               "StringXOR2KZV(data as string, XorMask as string, MaskOffset as integer = 0) as string"),
    KZV_METHOD(UnicodeString, "UnicodeStringKZV(s as string) as string"),
    KZV_METHOD(NativeString, "NativeStringKZV(s as string) as string"),
    KZV_METHOD(DecodingFromMySQL, "DecodingFromMySQLKZV(s as string) as string"),
    KZV_METHOD(EncodingToHTML, "EncodingToHTMLKZV(s as string, options as integer = 0) as string"),
    KZV_METHOD(DecodingToHTML, "DecodingFromHTMLKZV(s as string) as string"),
    KZV_METHOD(EncodingToURL1, "EncodingToURLKZV(s as string) as string"),
    KZV_METHOD(EncodingToURL2, "EncodingToURLKZV(s as string, options as integer) as string"),
    KZV_METHOD(DecodingToURL1, "DecodingFromURLKZV(s as string) as string"),
    KZV_METHOD(DecodingToURL2, "DecodingFromURLKZV(s as string, options as integer) as string"),
    KZV_METHOD(EncodingToQuotedPrintable,
               "EncodingToQuotedPrintableKZV(s as string, LineLen as integer = 72) as string"),
    KZV_METHOD(DecodingFromQuotedPrintable, "DecodingFromQuotedPrintableKZV(s as string) as string"),
    KZV_METHOD(Hexstring,
               "HexstringKZV(input as string, hexlen as integer, linelen as integer, linestart as string, "
               "lineend as string, spacer as string,filler as string) as string"),
    KZV_METHOD(EncodingToISO8859, "EncodingToISO8859KZV(s as string) as string"),
    KZV_METHOD(DecodingToISO8859, "DecodingFromISO8859KZV(s as string) as string"),
    KZV_METHOD(EncodingToCP1252, "EncodingToCP1252KZV(s as string) as string"),
    KZV_METHOD(DecodingToCP1252, "DecodingFromCP1252KZV(s as string) as string"),
    KZV_METHOD(EncodingToHex, "EncodingToHexKZV(s as string) as string"),
    KZV_METHOD(DecodingFromHex, "DecodingFromHexKZV(s as string) as string"),
    KZV_METHOD(ReplaceNonPrintableCharacters,
               "ReplaceNonPrintableCharactersKZV(s as string, replacevalue as integer=46) as string"),
    KZV_METHOD(IsASCIIString1, "IsASCIIStringKZV(s as string) as boolean"),
    KZV_METHOD(IsASCIIString2, "IsASCIIStringKZV(s as string, mode as integer) as boolean"),
    KZV_METHOD(RemoveHTMLTags, "RemoveHTMLTagsKZV(AsciiTextWithTags as string) as string"),
    KZV_METHOD(RemoveHTMLTagsWith,
               "RemoveHTMLTagsWithKZV(AsciiTextWithTags as string, Replacement as string) as string"),
    KZV_METHOD(ConcatBinaryStrings6,
               "ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string, e as string, f as "
               "string) as string"),
    KZV_METHOD(
        ConcatBinaryStrings5,
        "ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string, e as string) as string"),
    KZV_METHOD(ConcatBinaryStrings4,
               "ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string) as string"),
    KZV_METHOD(ConcatBinaryStrings3,
               "ConcatBinaryStringsKZV(a as string, b as string, c as string) as string"),
    KZV_METHOD(ConcatBinaryStrings2, "ConcatBinaryStringsKZV(a as string, b as string) as string"),
    KZV_METHOD(SQLReplaceBoolean, "SQLReplaceBooleanKZV(SQL as string) as string"),
};

}  // namespace

const std::span<const REALmethodDefinition> globalMethods{kMethods};

}  // namespace kzv
