// The vector kernels, in one version for each generation of processors. They work on blocks of 64 bytes,
// which need not be aligned, and tell and take what concerns single bytes as bits.
#pragma once

#include <span>

#include "byte_set.h"

namespace kzv::cpu {

inline constexpr std::size_t kBlock = 64;

struct Level {
  const char *name;

  // Sets bit k of masks[i] to whether byte 64 * i + k belongs to the set.
  void (*find)(const std::uint8_t *bytes, std::size_t blocks, const ByteSet &set, std::uint64_t *masks);

  // Moves together the bytes whose bits are set, and returns their number. The output has room for as many
  // blocks, and may be the bytes themselves; what is behind those returned may be overwritten.
  std::size_t (*compact)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *kept,
                         std::uint8_t *output);

  // Writes the bytes with `everywhere` added and, where bits are set, `there` as well, modulo 256.
  void (*add)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
              std::uint8_t everywhere, std::uint8_t there, std::uint8_t *output);

  // Writes the bytes and, where bits are set, the number that the two hex digits behind a byte make; what is
  // no digit counts as 0. Two bytes behind the blocks are read.
  void (*unescape)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                   std::uint8_t *output);
};

// Those that this processor has, the baseline first and the fastest last.
std::span<const Level *const> levels();

// The level that the kernels use: the baseline until another is chosen. The entry point chooses, before any
// function can run.
const Level &level();
void choose(const Level &chosen);

}  // namespace kzv::cpu
