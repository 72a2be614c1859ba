#include "cpu/portable.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "base/byte_words.h"
#include "base/hex_digits.h"

// One source for every processor: vectors of 16 bytes in the compilers' own extension, which becomes SSE2,
// NEON or whatever else the processor has.
namespace kzv::cpu::portable {
namespace {

using Bytes [[gnu::vector_size(16)]] = std::uint8_t;
using Units [[gnu::vector_size(16)]] = std::uint16_t;
using DoubleUnits [[gnu::vector_size(16)]] = std::uint32_t;
using Words [[gnu::vector_size(16)]] = std::uint64_t;

static_assert(std::endian::native == std::endian::little,
              "masks number the bytes of a word from its low end");

#if defined(__SSE2__)
// What SSE2's own operations take.
using Chars [[gnu::vector_size(16)]] = char;
using Shorts [[gnu::vector_size(16)]] = std::int16_t;
#endif

template <typename Vector = Bytes>
Vector load(const void *bytes) {
  Vector vector;
  std::memcpy(&vector, bytes, sizeof vector);
  return vector;
}
void store(std::uint8_t *bytes, Bytes vector) { std::memcpy(bytes, &vector, sizeof vector); }

// The low byte of each unit of `first`, then of `second`.
Bytes low_bytes(Units first, Units second) {
  return __builtin_shufflevector(std::bit_cast<Bytes>(first), std::bit_cast<Bytes>(second), 0, 2, 4, 6, 8, 10,
                                 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
}

// One bit for each byte, which is 0xFF or 0.
std::uint64_t mask_of(Bytes bytes) {
#if defined(__SSE2__)
  return static_cast<std::uint64_t>(__builtin_ia32_pmovmskb128(std::bit_cast<Chars>(bytes)));
#else
  // Byte k of a word keeps bit k alone; the product adds up all eight in its highest byte.
  const Words bits = std::bit_cast<Words>(bytes) & 0x8040201008040201;
  const Words sums = bits * 0x0101010101010101 >> 56;
  return sums[0] | sums[1] << 8;
#endif
}

// One bit for each unit, which is 0xFFFF or 0.
std::uint64_t mask_of(Units first, Units second) {
#if defined(__SSE2__)
  const Chars packed =
      __builtin_ia32_packsswb128(std::bit_cast<Shorts>(first), std::bit_cast<Shorts>(second));
  return mask_of(std::bit_cast<Bytes>(packed));
#else
  return mask_of(low_bytes(first, second));
#endif
}

// 16 bits, each spread over a byte: 0xFF where it is set. Three interleavings repeat each of the two bytes
// eight times; every copy keeps another bit.
//
//   bits       0x8005
//   repeated   05 05 05 05 05 05 05 05 80 80 80 80 80 80 80 80
//   kBits      01 02 04 08 10 20 40 80 01 02 04 08 10 20 40 80
//   result     FF 00 FF 00 00 00 00 00 00 00 00 00 00 00 00 FF
Bytes spread_16(std::uint64_t bits) {
  const auto kBits = std::bit_cast<Bytes>(Words{0x8040201008040201, 0x8040201008040201});
  const auto bytes = std::bit_cast<Bytes>(DoubleUnits{static_cast<std::uint32_t>(bits)});
  const auto twice = std::bit_cast<Units>(
      __builtin_shufflevector(bytes, bytes, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
  const auto four_times =
      std::bit_cast<DoubleUnits>(__builtin_shufflevector(twice, twice, 0, 8, 1, 9, 2, 10, 3, 11));
  const auto repeated = std::bit_cast<Bytes>(__builtin_shufflevector(four_times, four_times, 0, 0, 1, 1));
  return std::bit_cast<Bytes>((repeated & kBits) == kBits);
}

Bytes blend(Bytes otherwise, Bytes where_chosen, Bytes chosen) {
  return (where_chosen & chosen) | (otherwise & ~chosen);
}

// Makes each block's mask of four parts, which `find_16` finds from a byte or unit on.
template <typename Find>
void find_in_parts(std::size_t blocks, std::uint64_t *masks, Find find_16) {
  for (std::size_t i = 0; i < blocks; ++i) {
    std::uint64_t mask = 0;
    for (unsigned part = 0; part < kBlock; part += 16) mask |= find_16(i * kBlock + part) << part;
    masks[i] = mask;
  }
}

// A byte is in a range if its distance from the first byte is at most that of the last; a distance below the
// first wraps around and is greater than any.
void find(const std::uint8_t *bytes, std::size_t blocks, const ByteSet &set, std::uint64_t *masks) {
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock) {
    const std::array<Bytes, 4> text = {load(bytes), load(bytes + 16), load(bytes + 32), load(bytes + 48)};
    std::array<Bytes, 4> found{};
    for (std::size_t range = 0; range < set.range_count; ++range) {
      const auto [first, last] = set.ranges[range];
      const Bytes width = Bytes{} + static_cast<std::uint8_t>(last - first);
      for (std::size_t k = 0; k < 4; ++k) found[k] |= std::bit_cast<Bytes>(text[k] - first <= width);
    }
    masks[i] =
        mask_of(found[0]) | mask_of(found[1]) << 16 | mask_of(found[2]) << 32 | mask_of(found[3]) << 48;
  }
}

void find_pair(const std::uint8_t *bytes, std::size_t blocks, std::uint8_t first, std::uint8_t last,
               std::size_t distance, std::uint64_t *masks) {
  find_in_parts(blocks, masks, [=](std::size_t at) {
    const auto found =
        (load(bytes + at) == Bytes{} + first) & (load(bytes + at + distance) == Bytes{} + last);
    return mask_of(std::bit_cast<Bytes>(found));
  });
}

std::size_t compact(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *kept,
                    std::uint8_t *output) {
  std::uint8_t *next = output;
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock) {
    const std::uint64_t mask = kept[i];
    if (mask == ~std::uint64_t{0}) {
      if (next != bytes) std::memmove(next, bytes, kBlock);
      next += kBlock;
      continue;
    }
    for (unsigned part = 0; part < kBlock; part += 8) {
      const std::uint64_t bits = mask >> part & 0xFF;
      if (bits == 0xFF) {
        std::memmove(next, bytes + part, 8);
        next += 8;
        continue;
      }
      // Each byte is written; one that is dropped is overwritten by the next.
      for (unsigned k = 0; k < 8; ++k) {
        *next = bytes[part + k];
        next += bits >> k & 1;
      }
    }
  }
  return static_cast<std::size_t>(next - output);
}

void add(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where, std::uint8_t everywhere,
         std::uint8_t there, std::uint8_t *output) {
  for (std::size_t at = 0; at < blocks * kBlock; at += 16) {
    const Bytes some = spread_16(where[at / kBlock] >> at % kBlock) & there;
    store(output + at, load(bytes + at) + everywhere + some);
  }
}

std::size_t compact_sums(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *kept,
                         const std::uint64_t *where, std::uint8_t everywhere, std::uint8_t there,
                         std::uint8_t *output) {
  return compact_each_sum<add, compact>(bytes, blocks, kept, where, everywhere, there, output);
}

void fill(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where, std::uint8_t byte,
          std::uint8_t *output) {
  for (std::size_t at = 0; at < blocks * kBlock; at += 16) {
    const Bytes chosen = spread_16(where[at / kBlock] >> at % kBlock);
    store(output + at, blend(load(bytes + at), Bytes{} + byte, chosen));
  }
}

Bytes digit_values(Bytes text) {
  const Bytes decimal = text - std::uint8_t{'0'};
  const Bytes letter = (text | std::uint8_t{0x20}) - std::uint8_t{'a'};  // the bit that lower case adds
  return (decimal & std::bit_cast<Bytes>(decimal <= Bytes{} + std::uint8_t{9})) |
         ((letter + std::uint8_t{10}) & std::bit_cast<Bytes>(letter <= Bytes{} + std::uint8_t{5}));
}

void decode_escapes(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                    std::uint8_t *output) {
  for (std::size_t at = 0; at < blocks * kBlock; at += 16) {
    // A value has four bits, so that none crosses into the next byte although two are shifted at once.
    const auto high = std::bit_cast<Bytes>(std::bit_cast<Units>(digit_values(load(bytes + at + 1))) << 4);
    const Bytes number = high | digit_values(load(bytes + at + 2));
    const Bytes chosen = spread_16(where[at / kBlock] >> at % kBlock);
    store(output + at, blend(load(bytes + at), number, chosen));
  }
}

void narrow(const CodeUnit *units, std::size_t blocks, std::uint16_t limit, std::uint8_t *output,
            std::uint64_t *masks) {
  find_in_parts(blocks, masks, [=](std::size_t at) {
    const auto first = load<Units>(units + at);
    const auto second = load<Units>(units + at + 8);
    store(output + at, low_bytes(first, second));
    const Units limits = Units{} + limit;
    return mask_of(std::bit_cast<Units>(first >= limits), std::bit_cast<Units>(second >= limits));
  });
}

// Computed, not looked up: compilers make vector code of arithmetic on bytes.
constexpr std::uint8_t digit_of(unsigned nibble) {
  return static_cast<std::uint8_t>(nibble + '0' + (nibble > 9 ? 'A' - '9' - 1 : 0));
}

constexpr std::uint8_t value_of(std::uint8_t digit) {
  const auto decimal = static_cast<std::uint8_t>(digit - '0');
  const auto letter = static_cast<std::uint8_t>((digit | 0x20) - 'a');
  const auto letter_value = static_cast<std::uint8_t>(letter < 6 ? letter + 10 : 0);
  return decimal < 10 ? decimal : letter_value;
}

// Nothing but the bytes of a text that is shorter than a vector, each at least once: parts of it that
// overlap.
Bytes load_overlapping(const std::uint8_t *bytes, std::size_t byte_count) {
  std::array<std::uint64_t, 2> words{};
  if (byte_count >= 8) {
    std::memcpy(words.data(), bytes, 8);
    std::memcpy(&words[1], bytes + byte_count - 8, 8);
  } else if (byte_count >= 4) {
    std::array<std::uint32_t, 2> halves{};
    std::memcpy(halves.data(), bytes, 4);
    std::memcpy(&halves[1], bytes + byte_count - 4, 4);
    words[0] = words[1] = halves[0] | std::uint64_t{halves[1]} << 32;
  } else {
    words[0] = in_each_byte(bytes[0]);
    words[1] = (in_each_byte(bytes[byte_count / 2]) & 0xFFFFFFFF) | in_each_byte(bytes[byte_count - 1]) << 32;
  }
  return std::bit_cast<Bytes>(words);
}

Bytes greater_of(Bytes a, Bytes b) { return a > b ? a : b; }

bool any_above(Bytes bytes, std::uint8_t limit) {
  return mask_of(std::bit_cast<Bytes>(bytes > Bytes{} + limit)) != 0;
}

void from_hex(const std::uint8_t *digits, std::size_t byte_count, std::uint8_t *bytes) {
  for (std::size_t i = 0; i < byte_count; ++i) {
    bytes[i] = static_cast<std::uint8_t>(value_of(digits[2 * i]) << 4U | value_of(digits[2 * i + 1]));
  }
}

bool available() { return true; }

}  // namespace

// Distances as in find; the greatest of them all shows whether any byte is outside.
bool all_within(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first, std::uint8_t last) {
  const auto range = static_cast<std::uint8_t>(last - first);
  if (byte_count == 0) return true;
  if (byte_count < sizeof(Bytes)) return !any_above(load_overlapping(bytes, byte_count) - first, range);
  const std::uint8_t *const last_vector = bytes + byte_count - sizeof(Bytes);
  if (byte_count <= 2 * sizeof(Bytes)) {
    return !any_above(greater_of(load(bytes) - first, load(last_vector) - first), range);
  }
  std::ptrdiff_t run = kFirstSearchRun;
  for (Bytes greatest = load(last_vector) - first; !any_above(greatest, range);) {
    if (bytes >= last_vector) return true;
    const std::uint8_t *const end = bytes + std::min(last_vector - bytes, std::exchange(run, kSearchRun));
    for (; end - bytes >= std::ptrdiff_t{kBlock}; bytes += kBlock) {
      for (std::size_t i = 0; i < kBlock; i += sizeof(Bytes))
        greatest = greater_of(greatest, load(bytes + i) - first);
    }
    for (; bytes < end; bytes += sizeof(Bytes)) greatest = greater_of(greatest, load(bytes) - first);
  }
  return false;
}

void replace_outside(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first, std::uint8_t last,
                     std::uint8_t byte, std::uint8_t *__restrict output) {
  for (std::size_t i = 0; i < byte_count; ++i) {
    output[i] = bytes[i] >= first && bytes[i] <= last ? bytes[i] : byte;
  }
}

// A sum of at most 255 ones fits in a byte, so that compilers add a register full of them at once.
std::size_t count(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t byte) {
  constexpr std::size_t kMostBytes = 240;
  std::size_t total = 0;
  for (std::size_t size = 0; byte_count > 0; bytes += size, byte_count -= size) {
    size = std::min(byte_count, kMostBytes);
    std::uint8_t sum = 0;
    for (std::size_t i = 0; i < size; ++i) sum = static_cast<std::uint8_t>(sum + (bytes[i] == byte ? 1 : 0));
    total += sum;
  }
  return total;
}

void load_partial(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *block) {
  std::memset(block, 0, kBlock);
  if (byte_count > 0) std::memcpy(block, bytes, byte_count);
}

std::size_t write_escapes(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                          char introducer, std::uint8_t *output) {
  std::uint8_t *next = output;
  for (std::size_t part = 0; part < blocks * (kBlock / 8); ++part, bytes += 8) {
    const std::uint64_t bits = where[part / 8] >> part % 8 * 8 & 0xFF;
    if (bits == 0) {
      std::memcpy(next, bytes, 8);
      next += 8;
      continue;
    }
    for (unsigned k = 0; k < 8; ++k) {
      // Four bytes in one store, of which one or three count:   '=' '4' '1' 0   or   'A' '4' '1' 0
      const bool escaped = (bits >> k & 1) != 0;
      const auto digits = std::uint32_t{std::bit_cast<std::uint16_t>(kHexPairs[bytes[k]])} << 8;
      const std::uint32_t form = digits | static_cast<std::uint8_t>(escaped ? introducer : bytes[k]);
      std::memcpy(next, &form, sizeof form);
      next += escaped ? 3 : 1;
    }
  }
  return static_cast<std::size_t>(next - output);
}

void to_hex(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *digits) {
  for (std::size_t i = 0; i < byte_count; ++i) {
    digits[2 * i] = digit_of(bytes[i] >> 4U);
    digits[2 * i + 1] = digit_of(bytes[i] & 15U);
  }
}

extern constexpr Level kLevel = {
    .name = "portable",
    .available = available,
    .by_table = ~std::size_t{0},
    .load_partial = load_partial,
    .all_within = all_within,
    .replace_outside = replace_outside,
    .count = count,
    .find = find,
    .find_pair = find_pair,
    .compact = compact,
    .add = add,
    .compact_sums = compact_sums,
    .fill = fill,
    .decode_escapes = decode_escapes,
    .write_escapes = write_escapes,
    .narrow = narrow,
    .to_hex = to_hex,
    .from_hex = from_hex,
};

}  // namespace kzv::cpu::portable
