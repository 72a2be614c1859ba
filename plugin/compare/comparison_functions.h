// Comparison, counting and distances as the host calls them. A null string is the empty string.
#pragma once

#include "abi.h"

namespace kzv {

KZV_CALLED_BY_HOST std::int32_t StrCompBytes(REALstringStruct *a, REALstringStruct *b);
KZV_CALLED_BY_HOST std::int32_t StrCompCharacters(REALstringStruct *a, REALstringStruct *b);
KZV_CALLED_BY_HOST std::int32_t CountOccurances(REALstringStruct *s, REALstringStruct *find);
KZV_CALLED_BY_HOST double JaroWinklerDistance(REALstringStruct *a, REALstringStruct *b);
KZV_CALLED_BY_HOST double LevenshteinDistance(REALstringStruct *a, REALstringStruct *b);

}  // namespace kzv
