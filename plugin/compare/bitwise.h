// Bytes combined with a mask that repeats. Every function writes as many bytes as `data` has and returns that
// number; the output must not overlap the inputs. An empty mask is one zero byte.
#pragma once

#include "base/bytes.h"

namespace kzv::bitwise {

// data[k] AND mask[k mod mask length].
std::size_t and_bytes(ByteView data, ByteView mask, ByteBuffer output);

// data[k] OR mask[k mod mask length].
std::size_t or_bytes(ByteView data, ByteView mask, ByteBuffer output);

// data[k] XOR mask[(offset + k) mod mask length]; a negative offset counts back from the end of the mask.
std::size_t xor_bytes(ByteView data, ByteView mask, std::int32_t offset, ByteBuffer output);

// The same, XOR (k mod 256).
std::size_t xor_bytes_and_positions(ByteView data, ByteView mask, std::int32_t offset, ByteBuffer output);

}  // namespace kzv::bitwise
