// The builders' memory, which can be told to refuse.
#include "frame/handles.h"

#include <cstdlib>

#include "handles_control.h"

namespace kzv {
namespace {

std::int32_t grants_left = -1;  // negative: without end
std::int32_t last_size = 0;

bool refused() { return grants_left >= 0 && grants_left-- == 0; }

struct Block {
  char *address;
  std::int32_t size;
};

}  // namespace

void RefuseHandlesAfter(std::int32_t grants) { grants_left = grants; }
std::int32_t LastHandleSize() { return last_size; }

Handle NewHandle(std::int32_t byte_count) {
  if (refused()) {
    grants_left = 0;
    return nullptr;
  }
  auto *const block =
      new Block{static_cast<char *>(std::malloc(static_cast<std::size_t>(byte_count))), byte_count};
  return &block->address;
}

void SetHandleSize(Handle handle, std::int32_t byte_count) {
  auto *const block = reinterpret_cast<Block *>(handle);
  last_size = byte_count;
  if (refused()) {
    grants_left = 0;
    return;
  }
  // Always moved, so that whoever keeps an old address is found out.
  auto *const moved = static_cast<char *>(std::malloc(static_cast<std::size_t>(byte_count)));
  for (std::int32_t i = 0; i < block->size; ++i) moved[i] = block->address[i];
  std::free(block->address);
  *block = {moved, byte_count};
}

std::int32_t GetHandleSize(Handle handle) { return reinterpret_cast<Block *>(handle)->size; }
void HLock(Handle) {}
void HUnlock(Handle) {}

void DisposeHandle(Handle handle) {
  std::free(*handle);
  delete reinterpret_cast<Block *>(handle);
}

}  // namespace kzv
