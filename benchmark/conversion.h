// A faster host: one that converts UTF-16 to UTF-8, which functions have it do with their results, by a
// library that was made to be fast. The in-process host's own conversion would otherwise be most of what is
// measured.
#pragma once

#include "abi.h"

namespace kzv::bench {

// The services, with that conversion in place of the host's.
void *resolve(const char *name);

}  // namespace kzv::bench
