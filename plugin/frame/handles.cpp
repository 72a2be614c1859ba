#include "frame/handles.h"

#include <cstdlib>

namespace kzv {
namespace {

// The address comes first: a handle points at it.
struct Block {
  char *address;
  std::int32_t size;
};

Block *BlockOf(Handle handle) { return reinterpret_cast<Block *>(handle); }

// A block of no bytes has an address, too.
std::size_t RoomFor(std::int32_t byte_count) {
  return byte_count > 0 ? static_cast<std::size_t>(byte_count) : 1;
}

}  // namespace

Handle NewHandle(std::int32_t byte_count) {
  auto *const block = static_cast<Block *>(std::malloc(sizeof(Block)));
  if (block == nullptr) return nullptr;
  *block = {static_cast<char *>(std::malloc(RoomFor(byte_count))), byte_count};
  if (block->address == nullptr) {
    std::free(block);
    return nullptr;
  }
  return &block->address;
}

void SetHandleSize(Handle handle, std::int32_t byte_count) {
  Block *const block = BlockOf(handle);
  auto *const moved = static_cast<char *>(std::realloc(block->address, RoomFor(byte_count)));
  if (moved != nullptr) *block = {moved, byte_count};
}

std::int32_t GetHandleSize(Handle handle) { return BlockOf(handle)->size; }

// Blocks move in SetHandleSize alone, so there is nothing to pin.
void HLock(Handle) {}
void HUnlock(Handle) {}

void DisposeHandle(Handle handle) {
  std::free(BlockOf(handle)->address);
  std::free(BlockOf(handle));
}

}  // namespace kzv
