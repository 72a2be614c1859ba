// The markup and character-set functions as the host calls them. A null string is the empty string, as
// argument and as result.
#pragma once

#include "abi.h"

namespace kzv {

KZV_CALLED_BY_HOST REALstringStruct *EncodingToHTML(REALstringStruct *s, std::int32_t options);
KZV_CALLED_BY_HOST REALboolean StringIsHTMLready(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToHTML(REALstringStruct *s);

KZV_CALLED_BY_HOST REALstringStruct *EncodingToISO8859(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToISO8859(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *EncodingToCP1252(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToCP1252(REALstringStruct *s);

KZV_CALLED_BY_HOST REALstringStruct *RemoveHTMLTags(REALstringStruct *text);
KZV_CALLED_BY_HOST REALstringStruct *RemoveHTMLTagsWith(REALstringStruct *text,
                                                        REALstringStruct *replacement);

KZV_CALLED_BY_HOST REALstringStruct *ReplaceNonPrintableCharacters(REALstringStruct *s,
                                                                   std::int32_t replacement);
KZV_CALLED_BY_HOST REALboolean IsASCIIString1(REALstringStruct *s);
KZV_CALLED_BY_HOST REALboolean IsASCIIString2(REALstringStruct *s, std::int32_t mode);
KZV_CALLED_BY_HOST std::int32_t DetectUnicodeMarkers(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *GetUnicodeMarkers(std::int32_t kind);
KZV_CALLED_BY_HOST REALstringStruct *UnicodeString(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *NativeString(REALstringStruct *s);

KZV_CALLED_BY_HOST REALstringStruct *DecodingFromMySQL(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *SQLReplaceBoolean(REALstringStruct *sql);

}  // namespace kzv
