// HTML as the host calls it: character references and tags. A null string is the empty string.
#pragma once

#include "abi.h"

namespace kzv {

KZV_CALLED_BY_HOST REALstringStruct *EncodingToHTML(REALstringStruct *s, std::int32_t options);
KZV_CALLED_BY_HOST REALstringStruct *DecodingToHTML(REALstringStruct *s);
KZV_CALLED_BY_HOST REALboolean StringIsHTMLready(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *RemoveHTMLTags(REALstringStruct *text);
KZV_CALLED_BY_HOST REALstringStruct *RemoveHTMLTagsWith(REALstringStruct *text,
                                                        REALstringStruct *replacement);

}  // namespace kzv
