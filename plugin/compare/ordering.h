// Byte order of two texts and the number of times that one occurs in the other.
#pragma once

#include "base/bytes.h"

namespace kzv::ordering {

// -1 if `a` sorts first, 1 if `b` does, 0 if they are equal. Bytes are unsigned, and a text sorts after every
// proper prefix of itself.
int compare(ByteView a, ByteView b);

// The number of times that `needle` occurs in `text`, counted from the left so that no two share a byte. An
// empty needle occurs nowhere. The text has at most 2^31-1 bytes. Linear in the text for every needle,
// without allocating.
std::int32_t count(ByteView text, ByteView needle);

}  // namespace kzv::ordering
