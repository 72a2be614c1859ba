// What a function hands to the host: strings and memory blocks, which the caller then owns, and exceptions.
#pragma once

#include "abi.h"
#include "base/bytes.h"

namespace kzv {

// Makes a host string of `length` bytes in `encoding`. Bytes that are all below 0x80 and given as
// kEncodingMacRoman, kEncodingWindows1252 or kEncodingBytes are labelled ASCII. UTF-16 and UTF-32 become
// UTF-8; of each 32-bit unit the low 16 bits count, and an incomplete unit at the end is dropped. Null, the
// empty string, for a null pointer, for lengths outside 1 to 2,147,483,647 and when the host cannot make it.
// When the host throws std::bad_alloc, an "OutOfMemoryException" is raised and the result is null.
REALstringStruct *REALBuildUnicodeString(const void *bytes, std::int64_t length, REALencoding encoding);

// Makes a host string of bytes that are already what they are labelled: nothing is converted or labelled
// anew. Otherwise as REALBuildUnicodeString.
REALstringStruct *BuildStoredString(ByteView bytes, REALencoding encoding);

// Makes a memory block holding a copy of `bytes`. When the host cannot, or throws std::bad_alloc, an
// "OutOfMemoryException" that reports the size is raised and the result is null.
REALmemoryBlockStruct *BuildMemoryBlock(ByteView bytes);

inline constexpr char kOutOfMemory[] = "OutOfMemoryException";
inline constexpr char kNoMemoryForString[] = "Failed to allocate memory for a string.";

// Raises a host exception of class `class_name`, or a "RuntimeException" when the host has no such class,
// with `message` (ASCII; null for none) and error number 0. It returns: the caller releases what it holds and
// returns its empty result. A message that the host cannot build leaves the exception without one.
void RaiseException(const char *class_name, const char *message);

}  // namespace kzv
