// The functions that the library registers, as the host calls them. A null string is the empty string.
#pragma once

#include "abi.h"

namespace kzv {

// compare/bytes_functions.cpp: bit operations, concatenation, random bytes.
KZV_CALLED_BY_HOST REALstringStruct *StringAND(REALstringStruct *a, REALstringStruct *b);
KZV_CALLED_BY_HOST REALstringStruct *StringOR(REALstringStruct *a, REALstringStruct *b);
KZV_CALLED_BY_HOST REALstringStruct *StringXOR(REALstringStruct *data, REALstringStruct *mask,
                                               std::int32_t offset);
KZV_CALLED_BY_HOST REALstringStruct *StringXOR2(REALstringStruct *data, REALstringStruct *mask,
                                                std::int32_t offset);
KZV_CALLED_BY_HOST REALstringStruct *ConcatBinaryStrings2(REALstringStruct *a, REALstringStruct *b);
KZV_CALLED_BY_HOST REALstringStruct *ConcatBinaryStrings3(REALstringStruct *a, REALstringStruct *b,
                                                          REALstringStruct *c);
KZV_CALLED_BY_HOST REALstringStruct *ConcatBinaryStrings4(REALstringStruct *a, REALstringStruct *b,
                                                          REALstringStruct *c, REALstringStruct *d);
KZV_CALLED_BY_HOST REALstringStruct *ConcatBinaryStrings5(REALstringStruct *a, REALstringStruct *b,
                                                          REALstringStruct *c, REALstringStruct *d,
                                                          REALstringStruct *e);
KZV_CALLED_BY_HOST REALstringStruct *ConcatBinaryStrings6(REALstringStruct *a, REALstringStruct *b,
                                                          REALstringStruct *c, REALstringStruct *d,
                                                          REALstringStruct *e, REALstringStruct *f);
KZV_CALLED_BY_HOST REALstringStruct *RandomBytesString(std::int32_t length, REALboolean ascii);

// compare/comparison_functions.cpp: comparison, counting, distances.
KZV_CALLED_BY_HOST std::int32_t StrCompBytes(REALstringStruct *a, REALstringStruct *b);
KZV_CALLED_BY_HOST std::int32_t StrCompCharacters(REALstringStruct *a, REALstringStruct *b);
KZV_CALLED_BY_HOST std::int32_t CountOccurances(REALstringStruct *s, REALstringStruct *find);
KZV_CALLED_BY_HOST double JaroWinklerDistance(REALstringStruct *a, REALstringStruct *b);
KZV_CALLED_BY_HOST double LevenshteinDistance(REALstringStruct *a, REALstringStruct *b);

// compare/number_functions.cpp: text for numbers.
KZV_CALLED_BY_HOST REALstringStruct *Str(double d);
KZV_CALLED_BY_HOST REALstringStruct *ScientificStr(double d, std::int32_t digits);

// markup/charset_functions.cpp: character sets and Unicode.
KZV_CALLED_BY_HOST REALstringStruct *EncodingToISO8859(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToISO8859(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *EncodingToCP1252(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToCP1252(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *UnicodeString(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *NativeString(REALstringStruct *s);
KZV_CALLED_BY_HOST std::int32_t DetectUnicodeMarkers(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *GetUnicodeMarkers(std::int32_t kind);
KZV_CALLED_BY_HOST REALboolean IsASCIIString1(REALstringStruct *s);
KZV_CALLED_BY_HOST REALboolean IsASCIIString2(REALstringStruct *s, std::int32_t mode);
KZV_CALLED_BY_HOST REALstringStruct *ReplaceNonPrintableCharacters(REALstringStruct *s,
                                                                   std::int32_t replacement);

// markup/html_functions.cpp: character references and tags.
KZV_CALLED_BY_HOST REALstringStruct *EncodingToHTML(REALstringStruct *s, std::int32_t options);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToHTML(REALstringStruct *s);
KZV_CALLED_BY_HOST REALboolean StringIsHTMLready(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *RemoveHTMLTags(REALstringStruct *text);
KZV_CALLED_BY_HOST REALstringStruct *RemoveHTMLTagsWith(REALstringStruct *text,
                                                        REALstringStruct *replacement);

// markup/sql_functions.cpp: SQL text.
KZV_CALLED_BY_HOST REALstringStruct *DecodingFromMySQL(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *SQLReplaceBoolean(REALstringStruct *sql);

// transfer/transfer_functions.cpp: mail and transfer encodings.
KZV_CALLED_BY_HOST REALstringStruct *EncodingToQuotedPrintable(REALstringStruct *s, std::int32_t line_length);
KZV_CALLED_BY_HOST REALstringStruct *DecodingFromQuotedPrintable(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *EncodeEmailSubject(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *EncodingToHex(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *DecodingFromHex(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *Hexstring(REALstringStruct *input, std::int32_t hexlen,
                                               std::int32_t linelen, REALstringStruct *linestart,
                                               REALstringStruct *lineend, REALstringStruct *spacer,
                                               REALstringStruct *filler);
KZV_CALLED_BY_HOST REALmemoryBlockStruct *yDecodeMemory(REALmemoryBlockStruct *data);
KZV_CALLED_BY_HOST REALstringStruct *yDecodeString(REALstringStruct *data);

// transfer/url_functions.cpp: URLs.
KZV_CALLED_BY_HOST REALstringStruct *EncodingToURL1(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *EncodingToURL2(REALstringStruct *s, std::int32_t options);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToURL1(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToURL2(REALstringStruct *s, std::int32_t options);

}  // namespace kzv
