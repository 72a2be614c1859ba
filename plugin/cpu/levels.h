// The levels themselves, whatever the processor has.
#pragma once

#include "cpu/level.h"

namespace kzv::cpu {

extern const Level kPortable;  // SSE2, which every processor has that the library is built for
extern const Level kAvx2;
extern const Level kAvx512;

// Operations of the baseline that serve others, too.
void load_partial(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *block);
std::size_t write_escapes(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                          char introducer, std::uint8_t *output);
void to_hex(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *digits);
void from_hex(const std::uint8_t *digits, std::size_t byte_count, std::uint8_t *bytes);

}  // namespace kzv::cpu
