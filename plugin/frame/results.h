// Making what a function returns: host strings and memory blocks. Ownership passes to the caller.
#pragma once

#include "abi.h"
#include "base/bytes.h"

namespace kzv {

// Makes a host string of `length` bytes in `encoding`, which becomes ASCII or UTF-8 where BuildHostString
// says so. Null, the empty string, for a null pointer, for lengths outside 1 to 2,147,483,647 and when the
// host cannot make it. When the host throws std::bad_alloc, an "OutOfMemoryException" is raised and the
// result is null.
REALstringStruct *REALBuildUnicodeString(const void *bytes, std::int64_t length, REALencoding encoding);

// Makes a host string of bytes that are already what they are labelled: nothing is converted or labelled
// anew. Otherwise as REALBuildUnicodeString.
REALstringStruct *BuildStoredString(ByteView bytes, REALencoding encoding);

// Makes a memory block holding a copy of `bytes`. When the host cannot, or throws std::bad_alloc, an
// "OutOfMemoryException" that reports the size is raised and the result is null.
REALmemoryBlockStruct *BuildMemoryBlock(ByteView bytes);

}  // namespace kzv
