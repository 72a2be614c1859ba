// What the bytes of a string are: printable, ASCII, or the beginning of text in a Unicode encoding.
#pragma once

#include "base/bytes.h"

namespace kzv::classification {

// Copies the bytes 32 to 127 and writes `replacement` for every other byte. Writes as many bytes as it reads
// and returns their number.
std::size_t replace_non_printable(ByteView input, std::uint8_t replacement, ByteBuffer output);

// Whether every byte is in one of three ranges: mode 0 is 0 to 127, mode 1 is 32 to 127, mode 2 is 32 to 255.
// False for every other mode, and for no bytes at all. Stops soon after the first byte that is not.
bool is_ascii(ByteView bytes, std::int32_t mode);

// The kind of byte-order mark that the bytes begin with: 1 UTF-8, 3 and 4 UTF-16 big- and little-endian, 6
// and 7 UTF-32 big- and little-endian, 0 none. The longer mark wins: FF FE 00 00 is always kind 7, even
// for UTF-16 text that begins with U+0000.
std::int32_t detect_marker(ByteView bytes);

// The byte-order mark of a kind, as it is in a file. Kind 2 is another name for 4 and kind 5 for 7; every
// other number has no bytes. The bytes are static.
ByteView marker_bytes(std::int32_t kind);

}  // namespace kzv::classification
