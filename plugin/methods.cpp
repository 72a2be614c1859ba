#include "methods.h"

#include "compare/bytes_functions.h"
#include "compare/comparison_functions.h"
#include "compare/number_functions.h"
#include "declaration.h"
#include "markup/charset_functions.h"
#include "markup/html_functions.h"
#include "markup/sql_functions.h"
#include "transfer/transfer_functions.h"
#include "transfer/url_functions.h"

namespace kzv {
namespace {

// A function under its declaration, which is checked against the function's type.
#define METHOD(function, declaration)                                                                        \
  {                                                                                                          \
    reinterpret_cast<void *>(&(function)), nullptr, declares<decltype(function)>(declaration), kMethodFlags, \
    {}                                                                                                       \
  }

const REALmethodDefinition kMethods[] = {
    METHOD(EncodeEmailSubject, "EncodeEmailSubjectKZV(s as string) as string"),
    METHOD(yDecodeMemory, "_yDecodeMemoryKZV(data as memoryblock) as memoryblock"),
    METHOD(yDecodeString, "_yDecodeStringKZV(data as string) as string"),
    METHOD(JaroWinklerDistance, "JaroWinklerDistanceKZV(a as string, b as string) as double"),
    METHOD(LevenshteinDistance, "LevenshteinDistanceKZV(a as string, b as string) as double"),
    METHOD(ScientificStr, "ScientificStrKZV(d as double, digits as integer) as string"),
    METHOD(Str, "StrKZV(d as double) as string"),
    METHOD(RandomBytesString, "RandomBytesStringKZV(Length as integer, ASCII as boolean=false) as string"),
    METHOD(StrCompBytes, "StrCompBytesKZV(a as string, b as string) as integer"),
    METHOD(StrCompCharacters, "StrCompCharactersKZV(a as string, b as string) as integer"),
    METHOD(CountOccurances, "CountOccurancesKZV(s as string, find as string) as integer"),
    METHOD(DetectUnicodeMarkers, "DetectUnicodeMarkersKZV(s as string) as integer"),
    METHOD(GetUnicodeMarkers, "GetUnicodeMarkersKZV(kind as integer) as string"),
    METHOD(StringIsHTMLready, "StringIsHTMLreadyKZV(s as string) as boolean"),
    METHOD(StringAND, "StringANDKZV(a as string,b as string) as string"),
    METHOD(StringOR, "StringORKZV(a as string,b as string) as string"),
    METHOD(StringXOR, "StringXORKZV(data as string, XorMask as string, MaskOffset as integer = 0) as string"),
    METHOD(StringXOR2,
           "StringXOR2KZV(data as string, XorMask as string, MaskOffset as integer = 0) as string"),
    METHOD(UnicodeString, "UnicodeStringKZV(s as string) as string"),
    METHOD(NativeString, "NativeStringKZV(s as string) as string"),
    METHOD(DecodingFromMySQL, "DecodingFromMySQLKZV(s as string) as string"),
    METHOD(EncodingToHTML, "EncodingToHTMLKZV(s as string, options as integer = 0) as string"),
    METHOD(DecodingToHTML, "DecodingFromHTMLKZV(s as string) as string"),
    METHOD(EncodingToURL1, "EncodingToURLKZV(s as string) as string"),
    METHOD(EncodingToURL2, "EncodingToURLKZV(s as string, options as integer) as string"),
    METHOD(DecodingToURL1, "DecodingFromURLKZV(s as string) as string"),
    METHOD(DecodingToURL2, "DecodingFromURLKZV(s as string, options as integer) as string"),
    METHOD(EncodingToQuotedPrintable,
           "EncodingToQuotedPrintableKZV(s as string, LineLen as integer = 72) as string"),
    METHOD(DecodingFromQuotedPrintable, "DecodingFromQuotedPrintableKZV(s as string) as string"),
    METHOD(Hexstring,
           "HexstringKZV(input as string, hexlen as integer, linelen as integer, linestart as string, "
           "lineend as string, spacer as string,filler as string) as string"),
    METHOD(EncodingToISO8859, "EncodingToISO8859KZV(s as string) as string"),
    METHOD(DecodingToISO8859, "DecodingFromISO8859KZV(s as string) as string"),
    METHOD(EncodingToCP1252, "EncodingToCP1252KZV(s as string) as string"),
    METHOD(DecodingToCP1252, "DecodingFromCP1252KZV(s as string) as string"),
    METHOD(EncodingToHex, "EncodingToHexKZV(s as string) as string"),
    METHOD(DecodingFromHex, "DecodingFromHexKZV(s as string) as string"),
    METHOD(ReplaceNonPrintableCharacters,
           "ReplaceNonPrintableCharactersKZV(s as string, replacevalue as integer=46) as string"),
    METHOD(IsASCIIString1, "IsASCIIStringKZV(s as string) as boolean"),
    METHOD(IsASCIIString2, "IsASCIIStringKZV(s as string, mode as integer) as boolean"),
    METHOD(RemoveHTMLTags, "RemoveHTMLTagsKZV(AsciiTextWithTags as string) as string"),
    METHOD(RemoveHTMLTagsWith,
           "RemoveHTMLTagsWithKZV(AsciiTextWithTags as string, Replacement as string) as string"),
    METHOD(ConcatBinaryStrings6,
           "ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string, e as string, f as "
           "string) as string"),
    METHOD(
        ConcatBinaryStrings5,
        "ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string, e as string) as string"),
    METHOD(ConcatBinaryStrings4,
           "ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string) as string"),
    METHOD(ConcatBinaryStrings3, "ConcatBinaryStringsKZV(a as string, b as string, c as string) as string"),
    METHOD(ConcatBinaryStrings2, "ConcatBinaryStringsKZV(a as string, b as string) as string"),
    METHOD(SQLReplaceBoolean, "SQLReplaceBooleanKZV(SQL as string) as string"),
};

#undef METHOD

}  // namespace

const std::span<const REALmethodDefinition> globalMethods{kMethods};

}  // namespace kzv
