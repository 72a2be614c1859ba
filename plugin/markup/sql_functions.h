// SQL text as the host calls it. A null string is the empty string.
#pragma once

#include "abi.h"

namespace kzv {

KZV_CALLED_BY_HOST REALstringStruct *DecodingFromMySQL(REALstringStruct *s);
KZV_CALLED_BY_HOST REALstringStruct *SQLReplaceBoolean(REALstringStruct *sql);

}  // namespace kzv
