// URLs as the host calls them. A null string is the empty string.
#pragma once

#include "abi.h"

namespace kzv {

KZV_CALLED_BY_HOST REALstringStruct *EncodingToURL1(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *EncodingToURL2(REALstringStruct *s, std::int32_t options);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToURL1(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToURL2(REALstringStruct *s, std::int32_t options);

}  // namespace kzv
