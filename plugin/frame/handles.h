// Relocatable blocks of memory, in six operations: all that the builders know of the memory they grow in.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kzv {

// Points at the block's address, which can change whenever the block is resized.
using Handle = char **;

// A new block, or null. Its bytes are not zero-filled.
Handle NewHandle(std::int32_t byte_count);

// Room in which a small block can begin without an allocation; it must outlive the block.
struct SmallBlock {
  static constexpr std::size_t kRoom = 512;
  alignas(16) char room[kRoom];
};
Handle NewHandle(SmallBlock &place, std::int32_t byte_count);

// Resizes the block and keeps its content; without memory it stays as it is.
void SetHandleSize(Handle handle, std::int32_t byte_count);
std::int32_t GetHandleSize(Handle handle);

// Between the two the block's address stays valid.
void HLock(Handle handle);
void HUnlock(Handle handle);

void DisposeHandle(Handle handle);

}  // namespace kzv
