// What the stack protector needs at run time. The compiler's own library for it would add a dependency on
// ADVAPI32 for one random number; this one is made of what differs from process to process.
#include <cstdint>
#include <windows.h>

extern "C" {

// The names are the compiler's.
std::uintptr_t __stack_chk_guard;
[[noreturn]] void __stack_chk_fail();

}  // extern "C"

void __stack_chk_fail() { __builtin_trap(); }

namespace {

// Before the other initialisers, and without the check, which would see the guard change.
[[gnu::constructor(101), gnu::no_stack_protector]] void choose_guard() {
  LARGE_INTEGER ticks;
  FILETIME time;
  QueryPerformanceCounter(&ticks);
  GetSystemTimeAsFileTime(&time);
  constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;  // odd, so that nothing is lost
  std::uint64_t mixed =
      (static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime) * kSpread;
  mixed = (mixed ^ static_cast<std::uint64_t>(ticks.QuadPart)) * kSpread;
  mixed = (mixed ^ GetCurrentProcessId() ^ reinterpret_cast<std::uintptr_t>(&ticks)) * kSpread;
  // A guard whose first byte is zero cannot be written by text.
  __stack_chk_guard = static_cast<std::uintptr_t>(mixed >> 32 ^ mixed) & ~std::uintptr_t{0xFF};
}

}  // namespace
