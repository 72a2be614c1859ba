// The body of yEnc-encoded data (yEnc draft 1.3): what is between the header and trailer lines, without its
// line breaks.
#pragma once

#include "base/bytes.h"

namespace kzv::yenc {

// Subtracts 42 from every byte, and 64 more from the byte after each "=", which is itself left out. Every
// other byte is data, line breaks included; the byte after "=" may be anything, another "=" too. An "=" at
// the very end decodes as if a zero byte followed. The output holds as many bytes as the input; returns the
// number written.
std::size_t decode(ByteView input, ByteBuffer output);

}  // namespace kzv::yenc
