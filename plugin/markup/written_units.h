// How the HTML encoder writes each code unit: as itself, as a named reference or as a number.
#pragma once

#include <array>
#include <atomic>

#include "base/bytes.h"

namespace kzv::html {

// What is written for one code unit, in the size of one store.
struct Written {
  std::array<char, 15> text;
  std::uint8_t length;  // 0 until it is made
};
static_assert(sizeof(Written) == 16);

// All code units, each page of 256 made when a text first needs it: a process has memory only for the scripts
// that it meets. Everything is zero at first, so that the library's file has none of it. The first array
// encodes markup characters, the second keeps all ASCII characters.
inline constexpr std::size_t kPageSize = 256;
using WrittenUnits = std::array<Written, 0x10000>;
extern std::array<WrittenUnits, 2> written_units;

// Makes the page of a code unit, or waits until another thread has.
void make_page(CodeUnit unit, bool keep_ascii);

// Every code unit from U+0080 on is written as a reference; the markup characters as well, unless
// `keep_ascii`. Any number of threads can ask.
inline const Written &written_as(CodeUnit unit, bool keep_ascii) {
  Written &written = written_units[keep_ascii ? 1 : 0][unit.value];
  if (std::atomic_ref(written.length).load(std::memory_order_acquire) == 0) make_page(unit, keep_ascii);
  return written;
}

}  // namespace kzv::html
