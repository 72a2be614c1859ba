// Character sets and Unicode as the host calls them. A null string is the empty string.
#pragma once

#include "abi.h"

namespace kzv {

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

}  // namespace kzv
