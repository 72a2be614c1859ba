// The levels themselves, whatever the processor has.
#pragma once

#include "level.h"

namespace kzv::cpu {

extern const Level kBaseline;  // SSE2, which every processor has that the library is built for
extern const Level kAvx2;
extern const Level kAvx512;

}  // namespace kzv::cpu
