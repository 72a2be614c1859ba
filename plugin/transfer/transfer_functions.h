// Mail and transfer encodings as the host calls them. A null string is the empty string.
#pragma once

#include "abi.h"

namespace kzv {

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

}  // namespace kzv
