// Host strings made of bytes, as far as the host's services go: what fails there is the caller's to report.
#pragma once

#include "abi.h"
#include "base/bytes.h"

namespace kzv {

// Makes a host string of bytes that are in `encoding`. Null when the host cannot make it.
REALstringStruct *BuildLabelledString(ByteView bytes, REALencoding encoding);

// The same in the encoding that results have: bytes that are all below 0x80 and given as kEncodingMacRoman,
// kEncodingWindows1252 or kEncodingBytes are labelled ASCII. UTF-16 and UTF-32 become UTF-8; of each 32-bit
// unit the low 16 bits count, and an incomplete unit at the end is dropped.
REALstringStruct *BuildHostString(ByteView bytes, REALencoding encoding);

}  // namespace kzv
