// The operations that kernels are made of, on blocks of 64 bytes: one table for each generation of
// processors. Bit k of masks[i] is for byte 64 * i + k. Bytes and code units need no alignment.
// docs/measurements.md has the time of each operation at each level.
#pragma once

#include <span>

#include "base/bytes.h"
#include "cpu/byte_set.h"

namespace kzv::cpu {

inline constexpr std::size_t kBlock = 64;

struct Level {
  const char *name;

  // Whether this processor has every instruction that the operations are compiled to.
  bool (*available)();

  // The longest text, in bytes, that is escaped faster byte by byte with a table than by find and
  // write_escapes.
  std::size_t by_table;

  // Copies byte_count bytes, at most a block, and fills the rest of the block with zeros. In one store where
  // the level can: pieces cannot be forwarded to the load of the whole block that follows.
  void (*load_partial)(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *block);

  // Whether all bytes, of any number, lie in `first` to `last`. A byte outside ends the search soon.
  bool (*all_within)(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first,
                     std::uint8_t last);

  // Writes the bytes, of any number, replaced by `byte` where they do not lie in `first` to `last`. The
  // output never overlaps the input.
  void (*replace_outside)(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first,
                          std::uint8_t last, std::uint8_t byte, std::uint8_t *output);

  // How many of any number of bytes equal `byte`.
  std::size_t (*count)(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t byte);

  // Sets the bits of the bytes that belong to the set.
  void (*find)(const std::uint8_t *bytes, std::size_t blocks, const ByteSet &set, std::uint64_t *masks);

  // Sets the bits of the bytes that are `first` and whose neighbour, `distance` bytes further, is `last`.
  // Reads that many bytes past the blocks.
  void (*find_pair)(const std::uint8_t *bytes, std::size_t blocks, std::uint8_t first, std::uint8_t last,
                    std::size_t distance, std::uint64_t *masks);

  // Writes the bytes whose bits are set, one after the other, and returns their number. The output takes as
  // many blocks as the input and may be the input itself; what follows the bytes returned may be overwritten.
  std::size_t (*compact)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *kept,
                         std::uint8_t *output);

  // Writes the bytes with `everywhere` added and, where bits are set, `there` as well, modulo 256. The output
  // of this operation and of the next three may be the input itself.
  void (*add)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
              std::uint8_t everywhere, std::uint8_t there, std::uint8_t *output);

  // compact and add in one: writes those of the sums whose bits are set in `kept`.
  std::size_t (*compact_sums)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *kept,
                              const std::uint64_t *where, std::uint8_t everywhere, std::uint8_t there,
                              std::uint8_t *output);

  // Writes the bytes, replaced by `byte` where bits are set.
  void (*fill)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where, std::uint8_t byte,
               std::uint8_t *output);

  // Writes the bytes, replaced where bits are set by the number in the two hex digits that follow the byte; a
  // byte that is not a digit counts as 0. Reads two bytes past the blocks.
  void (*decode_escapes)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                         std::uint8_t *output);

  // Writes the bytes, replaced where bits are set by `introducer` and the byte as two hex digits. Returns the
  // number of bytes written; the block that follows them may be overwritten.
  std::size_t (*write_escapes)(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                               char introducer, std::uint8_t *output);

  // Writes the low byte of each code unit and sets the bits of the units that are not below `limit`. A block
  // is 64 units.
  void (*narrow)(const CodeUnit *units, std::size_t blocks, std::uint16_t limit, std::uint8_t *output,
                 std::uint64_t *masks);

  // Converts any number of bytes to pairs of hex digits, and back; a byte that is not a digit counts as 0.
  void (*to_hex)(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *digits);
  void (*from_hex)(const std::uint8_t *digits, std::size_t byte_count, std::uint8_t *bytes);
};

// The levels that were built in, the portable one first; a processor that has one has those before it.
std::span<const Level *const> built_in_levels();

// Those of them that this processor has, the fastest last.
std::span<const Level *const> levels();

// The level that the kernels use: the portable one until another is chosen. The entry point chooses, before
// any function can run.
const Level &level();
void choose(const Level &chosen);

}  // namespace kzv::cpu
