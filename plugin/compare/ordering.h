// Byte order of two texts and the number of times that one occurs in the other.
#pragma once

#include "base/bytes.h"

namespace kzv::ordering {

// -1 if `a` sorts first, 1 if `b` does, 0 if they are equal. Bytes count as 0 to 255, and a text sorts behind
// every proper prefix of itself.
int compare(ByteView a, ByteView b);

// Number of places where `needle` stands in `text`, taken from the left so that no two share a byte. An empty
// needle occurs nowhere. The text holds at most 2^31-1 bytes. Time is linear in the text for every needle,
// and no memory is needed.
std::int32_t count(ByteView text, ByteView needle);

}  // namespace kzv::ordering
