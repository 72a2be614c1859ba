// The memory of the plugins "kzvfaulty", which is the library, and "kzvprobe": they are linked to an
// allocator that refuses what a test wants refused.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

namespace kzv {

// Not for tests in which several threads call.
struct Memory {
  int calls_left = 0;                   // the request that brings this to 0 is refused; 0: none
  bool for_good = false;                // so are all after it
  std::size_t refused_from = SIZE_MAX;  // requests of so many bytes and more are refused, too

  int requests = 0;
  std::size_t last_request = 0;  // bytes
  std::size_t last_refused = 0;  // bytes; 0 if nothing was
  std::set<void *> held;         // what the plugins hold
};
inline Memory memory;

}  // namespace kzv
