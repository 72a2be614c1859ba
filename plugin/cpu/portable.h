// The operations of the portable level that other levels use, whole or for short texts and last bytes.
#pragma once

#include "cpu/level.h"

namespace kzv::cpu {

// Bytes that a search through all of a text looks at before it asks whether the answer is known. The first
// run is short: often the start of a text decides.
inline constexpr std::ptrdiff_t kFirstSearchRun = kBlock;
inline constexpr std::ptrdiff_t kSearchRun = 1024;

namespace portable {

bool all_within(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first, std::uint8_t last);
void replace_outside(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first, std::uint8_t last,
                     std::uint8_t byte, std::uint8_t *__restrict output);
std::size_t count(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t byte);
void load_partial(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *block);
std::size_t write_escapes(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                          char introducer, std::uint8_t *output);
void to_hex(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *digits);

}  // namespace portable

}  // namespace kzv::cpu
