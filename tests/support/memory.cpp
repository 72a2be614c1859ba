#include "support/memory.h"

namespace kzv {
namespace {

bool is_refused(std::size_t byte_count) {
  Memory &now = memory();
  ++now.requests;
  now.last_request = byte_count;
  const bool in_turn = now.calls_left > 0 && --now.calls_left == 0;
  if (in_turn && now.for_good) now.refused_from = 0;
  const bool refused = in_turn || byte_count >= now.refused_from;
  if (refused) now.last_refused = byte_count;
  return refused;
}

}  // namespace

Memory &memory() {
  static Memory the_memory;
  return the_memory;
}

}  // namespace kzv

// What the plugin's allocator asks; the test program exports them.
extern "C" {

__attribute__((visibility("default"))) bool kzv_refuses(std::size_t byte_count) {
  return kzv::is_refused(byte_count);
}

__attribute__((visibility("default"))) void kzv_moved(void *from, void *to) {
  kzv::memory().blocks.erase(from);
  if (to != nullptr) kzv::memory().blocks.insert(to);
}
}
