// Comes between the library and the runtime library's memory, by the linker's option --wrap. The test
// program that loads the plugin decides what is granted.
#include <cstddef>
#include <cstring>

// What new memory holds: nothing that a library may count on.
constexpr int kRubbish = 0xA5;

extern "C" {

bool kzv_refuses(std::size_t byte_count);
void kzv_moved(void *from, void *to);

// The linker gives the names.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
void *__real_malloc(std::size_t byte_count);
void *__real_realloc(void *block, std::size_t byte_count);
void __real_free(void *block);

void *__wrap_malloc(std::size_t byte_count) {
  void *const block = kzv_refuses(byte_count) ? nullptr : __real_malloc(byte_count);
  if (block != nullptr) std::memset(block, kRubbish, byte_count);
  kzv_moved(nullptr, block);
  return block;
}

void *__wrap_calloc(std::size_t count, std::size_t size) {
  void *const block = __wrap_malloc(count * size);
  return block == nullptr ? nullptr : std::memset(block, 0, count * size);
}

void *__wrap_realloc(void *block, std::size_t byte_count) {
  if (kzv_refuses(byte_count)) return nullptr;
  void *const moved = __real_realloc(block, byte_count);
  if (moved != nullptr) kzv_moved(block, moved);
  return moved;
}

void __wrap_free(void *block) {
  kzv_moved(block, nullptr);
  __real_free(block);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
}
