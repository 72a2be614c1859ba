// Number formatting as the host calls it.
#pragma once

#include "abi.h"

namespace kzv {

KZV_CALLED_BY_HOST REALstringStruct *Str(double d);
KZV_CALLED_BY_HOST REALstringStruct *ScientificStr(double d, std::int32_t digits);

}  // namespace kzv
