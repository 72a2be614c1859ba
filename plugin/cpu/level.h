// The vector kernels, in one version for each generation of processors. They work on blocks of 64 bytes,
// which need not be aligned, and tell and take what concerns single bytes as bits.
//
// Each names what its levels won: the microseconds of a function's kernel on 1 MiB of typical input with
// SSE2, AVX2 and AVX-512, on an AMD EPYC (family 26) with GCC 12.
#pragma once

#include <span>

#include "base/bytes.h"
#include "cpu/byte_set.h"

namespace kzv::cpu {

inline constexpr std::size_t kBlock = 64;

struct Level {
  const char *name;
  std::size_t by_table;  // bytes up to which a table is faster than finding and escaping

  // Copies at most a block and fills up the rest of it with zeros. Won some 10 of 70 ns on texts of 24 bytes
  // with AVX-512: a block just put together from pieces keeps whoever loads it waiting.
  void (*load_partial)(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *block);

  // Sets bit k of masks[i] to whether byte 64 * i + k belongs to the set.
  // With compact, tag removal: 632, 115, 77.
  void (*find)(const std::uint8_t *bytes, std::size_t blocks, const ByteSet &set, std::uint64_t *masks);

  // Sets bit k of masks[i] to whether byte 64 * i + k is `first` and the one `distance` behind it `last`.
  // Counting a word: 207, 200, 194; 34, 27, 23 where all are candidates. A loop left to the compiler took
  // 616.
  void (*find_pair)(const std::uint8_t *bytes, std::size_t blocks, std::uint8_t first, std::uint8_t last,
                    std::size_t distance, std::uint64_t *masks);

  // Moves together the bytes whose bits are set, and returns their number. The output has room for as many
  // blocks, and may be the bytes themselves; what is behind those returned may be overwritten.
  // See find.
  std::size_t (*compact)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *kept,
                         std::uint8_t *output);

  // Writes the bytes with `everywhere` added and, where bits are set, `there` as well, modulo 256.
  // yEnc: 225, 91, 65; where every other byte is an escape 417, 98, 50.
  void (*add)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
              std::uint8_t everywhere, std::uint8_t there, std::uint8_t *output);

  // Writes the bytes and, where bits are set, `byte` in their place. Tags replaced by a space: 762, 133, 89.
  void (*fill)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where, std::uint8_t byte,
               std::uint8_t *output);

  // Writes the bytes and, where bits are set, the number that the two hex digits behind a byte make; what is
  // no digit counts as 0. Two bytes behind the blocks are read.
  // URL decoding: 572, 149, 84; quoted-printable decoding 914, 265, 204.
  void (*decode_escapes)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                         std::uint8_t *output);

  // Writes the bytes and, in place of those whose bits are set, `introducer` and two hex digits. Returns the
  // number written, behind which a block may be overwritten.
  // URL encoding with AVX-512: 138, by table 473; the others use that. Quoted-printable: 1620, 1026, 464.
  std::size_t (*write_escapes)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                               char introducer, std::uint8_t *output);

  // Writes the low byte of each unit and sets the bits of those that are not below `limit`.
  // ISO-8859-1: 63, 41, 36; HTML encoding 611, 384, 414. Loops left to the compiler took 173 and 597.
  void (*narrow)(const CodeUnit *units, std::size_t blocks, std::uint16_t limit, std::uint8_t *output,
                 std::uint64_t *masks);

  // Between bytes and pairs of hex digits, any number of them. What is no digit counts as 0.
  // Encoding: 74, 37, 32. Decoding: 90, 35, 20.
  void (*to_hex)(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *digits);
  void (*from_hex)(const std::uint8_t *digits, std::size_t byte_count, std::uint8_t *bytes);
};

// Those that this processor has, the baseline first and the fastest last.
std::span<const Level *const> levels();

// The level that the kernels use: the baseline until another is chosen. The entry point chooses, before any
// function can run.
const Level &level();
void choose(const Level &chosen);

}  // namespace kzv::cpu
