#include "frame/handles.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace kzv {
namespace {

// The address comes first: a handle points at it. Until the block grows its bytes stand right behind, for
// most never do, and one allocation is all they take.
struct Block {
  char *address;
  std::int32_t size;
  bool allocated;

  char *first_bytes() { return reinterpret_cast<char *>(this + 1); }
  [[nodiscard]] bool has_grown() { return address != first_bytes(); }
};

Block *BlockOf(Handle handle) { return reinterpret_cast<Block *>(handle); }

// A block of no bytes has an address, too.
std::size_t RoomFor(std::int32_t byte_count) {
  return byte_count > 0 ? static_cast<std::size_t>(byte_count) : 1;
}

}  // namespace

Handle NewHandle(std::int32_t byte_count) {
  auto *const block = static_cast<Block *>(std::malloc(sizeof(Block) + RoomFor(byte_count)));
  if (block == nullptr) return nullptr;
  *block = {block->first_bytes(), byte_count, true};
  return &block->address;
}

Handle NewHandle(SmallBlock &place, std::int32_t byte_count) {
  if (sizeof(Block) + RoomFor(byte_count) > SmallBlock::kRoom) return NewHandle(byte_count);
  auto *const block = new (place.room) Block;
  *block = {block->first_bytes(), byte_count, false};
  return &block->address;
}

void SetHandleSize(Handle handle, std::int32_t byte_count) {
  Block *const block = BlockOf(handle);
  const bool has_grown = block->has_grown();
  void *const moved = std::realloc(has_grown ? block->address : nullptr, RoomFor(byte_count));
  if (moved == nullptr) return;
  if (!has_grown) std::memcpy(moved, block->address, RoomFor(std::min(block->size, byte_count)));
  block->address = static_cast<char *>(moved);
  block->size = byte_count;
}

std::int32_t GetHandleSize(Handle handle) { return BlockOf(handle)->size; }

// Blocks move in SetHandleSize alone, so there is nothing to pin.
void HLock(Handle) {}
void HUnlock(Handle) {}

void DisposeHandle(Handle handle) {
  Block *const block = BlockOf(handle);
  if (block->has_grown()) std::free(block->address);
  if (block->allocated) std::free(block);
}

}  // namespace kzv
