// The memory that builders grow in, as a relocatable buffer with six operations.
#pragma once

#include "base/buffer.h"

namespace kzv {

using HandleMemory = Buffer<512>;
using Handle = HandleMemory *;

// A buffer in `memory`, which outlives it; null without memory. Its bytes are not zero-filled.
inline Handle NewHandle(HandleMemory &memory, std::int32_t byte_count) {
  return memory.allocate(static_cast<std::uint64_t>(byte_count)) ? &memory : nullptr;
}

// Makes the buffer larger and keeps its content; without memory it stays as it is.
inline void SetHandleSize(Handle handle, std::int32_t byte_count) {
  static_cast<void>(handle->grow(static_cast<std::uint64_t>(byte_count)));
}
inline std::int32_t GetHandleSize(Handle handle) { return static_cast<std::int32_t>(handle->size()); }

// The buffer's address until HUnlock. It moves in SetHandleSize alone, so there is nothing to pin.
inline std::uint8_t *HLock(Handle handle) { return handle->data(); }
inline void HUnlock(Handle) {}

inline void DisposeHandle(Handle handle) { handle->clear(); }

}  // namespace kzv
