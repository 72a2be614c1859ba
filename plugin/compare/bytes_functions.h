// Byte strings as the host calls them: bit operations, concatenation, random bytes. A null string is the
// empty string.
#pragma once

#include "abi.h"

namespace kzv {

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

}  // namespace kzv
