#include "frame/results.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "frame/exceptions.h"
#include "frame/host_reference.h"
#include "frame/host_strings.h"

namespace kzv {
namespace {

using Build = REALstringStruct *(ByteView bytes, REALencoding encoding);

REALstringStruct *BuildOrRaise(Build *build, ByteView bytes, REALencoding encoding) {
  try {
    return build(bytes, encoding);
  } catch (const std::bad_alloc &) {
    // Reported once it is no longer handled: raising calls the host, which may throw again.
  }
  RaiseException(kOutOfMemory, kNoMemoryForString);
  return nullptr;
}

REALmemoryBlockStruct *CopyToBlock(ByteView bytes) {
  HostObject block(reinterpret_cast<REALobjectStruct *>(
      REALNewMemoryBlockOriginal(static_cast<std::int32_t>(bytes.size()))));
  if (!block) return nullptr;
  void *const data = REALMemoryBlockGetPtr(reinterpret_cast<REALmemoryBlockStruct *>(block.get()));
  if (data == nullptr) {
    block.release();
    return nullptr;
  }
  if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
  return reinterpret_cast<REALmemoryBlockStruct *>(block.hand_over());
}

}  // namespace

REALstringStruct *REALBuildUnicodeString(const void *bytes, std::int64_t length, REALencoding encoding) {
  if (bytes == nullptr || length <= 0 || length > static_cast<std::int64_t>(kMaxByteCount)) return nullptr;
  return BuildOrRaise(BuildHostString,
                      {static_cast<const std::uint8_t *>(bytes), static_cast<std::size_t>(length)}, encoding);
}

REALstringStruct *BuildStoredString(ByteView bytes, REALencoding encoding) {
  return bytes.empty() ? nullptr : BuildOrRaise(BuildLabelledString, bytes, encoding);
}

REALmemoryBlockStruct *BuildMemoryBlock(ByteView bytes) {
  try {
    if (REALmemoryBlockStruct *const block = CopyToBlock(bytes)) return block;
  } catch (const std::bad_alloc &) {
    // Reported below, like a block that could not be made.
  }
  char message[200];
  std::snprintf(message, sizeof message, "Failed to allocate a memoryblock with %lld bytes in size.",
                static_cast<long long>(bytes.size()));
  RaiseException(kOutOfMemory, message);
  return nullptr;
}

}  // namespace kzv
