#include <bit>
#include <cstring>
#include <emmintrin.h>

#include "base/hex_digits.h"
#include "cpu/levels.h"

namespace kzv::cpu {
namespace {

__m128i load(const std::uint8_t *bytes) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes)); }
void store(std::uint8_t *bytes, __m128i vector) {
  _mm_storeu_si128(reinterpret_cast<__m128i *>(bytes), vector);
}

// A byte lies in a range if its distance from the first is no more than that of the last.
std::uint64_t find_16(__m128i bytes, const ByteSet &set) {
  __m128i found = _mm_setzero_si128();
  for (std::size_t i = 0; i < set.range_count; ++i) {
    const ByteSet::Range range = set.ranges[i];
    const __m128i distance = _mm_sub_epi8(bytes, _mm_set1_epi8(static_cast<char>(range.first)));
    const __m128i limit = _mm_set1_epi8(static_cast<char>(range.last - range.first));
    found = _mm_or_si128(found, _mm_cmpeq_epi8(_mm_min_epu8(distance, limit), distance));
  }
  return static_cast<std::uint64_t>(_mm_movemask_epi8(found));
}

void find(const std::uint8_t *bytes, std::size_t blocks, const ByteSet &set, std::uint64_t *masks) {
  for (std::size_t i = 0; i < blocks; ++i) {
    std::uint64_t mask = 0;
    for (unsigned part = 0; part < kBlock; part += 16, bytes += 16) {
      mask |= find_16(load(bytes), set) << part;
    }
    masks[i] = mask;
  }
}

void find_pair(const std::uint8_t *bytes, std::size_t blocks, std::uint8_t first, std::uint8_t last,
               std::size_t distance, std::uint64_t *masks) {
  const __m128i firsts = _mm_set1_epi8(static_cast<char>(first));
  const __m128i lasts = _mm_set1_epi8(static_cast<char>(last));
  for (std::size_t i = 0; i < blocks; ++i) {
    std::uint64_t mask = 0;
    for (unsigned part = 0; part < kBlock; part += 16, bytes += 16) {
      const __m128i found =
          _mm_and_si128(_mm_cmpeq_epi8(load(bytes), firsts), _mm_cmpeq_epi8(load(bytes + distance), lasts));
      mask |= static_cast<std::uint64_t>(_mm_movemask_epi8(found)) << part;
    }
    masks[i] = mask;
  }
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

// 16 bits, each spread over a byte: all ones where it is set.
__m128i spread_16(std::uint64_t bits) {
  const __m128i kBits = _mm_set1_epi64x(static_cast<long long>(0x8040201008040201));
  const __m128i low = _mm_set1_epi8(static_cast<char>(bits));
  const __m128i high = _mm_set1_epi8(static_cast<char>(bits >> 8));
  return _mm_cmpeq_epi8(_mm_and_si128(_mm_unpacklo_epi64(low, high), kBits), kBits);
}

void add(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where, std::uint8_t everywhere,
         std::uint8_t there, std::uint8_t *output) {
  const __m128i for_all = _mm_set1_epi8(static_cast<char>(everywhere));
  const __m128i for_some = _mm_set1_epi8(static_cast<char>(there));
  for (std::size_t at = 0; at < blocks * kBlock; at += 16) {
    const __m128i some = _mm_and_si128(for_some, spread_16(where[at / kBlock] >> at % kBlock));
    store(output + at, _mm_add_epi8(_mm_add_epi8(load(bytes + at), for_all), some));
  }
}

__m128i blend(__m128i otherwise, __m128i where_chosen, __m128i chosen) {
  return _mm_or_si128(_mm_and_si128(chosen, where_chosen), _mm_andnot_si128(chosen, otherwise));
}

void fill(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where, std::uint8_t byte,
          std::uint8_t *output) {
  const __m128i filling = _mm_set1_epi8(static_cast<char>(byte));
  for (std::size_t at = 0; at < blocks * kBlock; at += 16) {
    const __m128i chosen = spread_16(where[at / kBlock] >> at % kBlock);
    store(output + at, blend(load(bytes + at), filling, chosen));
  }
}

__m128i is_at_most(__m128i bytes, int limit) {
  return _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(static_cast<char>(limit))), bytes);
}

__m128i digit_values(__m128i text) {
  const __m128i decimal = _mm_sub_epi8(text, _mm_set1_epi8('0'));
  const __m128i letter = _mm_sub_epi8(_mm_or_si128(text, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
  const __m128i letter_value = _mm_add_epi8(letter, _mm_set1_epi8(10));
  return _mm_or_si128(_mm_and_si128(decimal, is_at_most(decimal, 9)),
                      _mm_and_si128(letter_value, is_at_most(letter, 5)));
}

void decode_escapes(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                    std::uint8_t *output) {
  for (std::size_t at = 0; at < blocks * kBlock; at += 16) {
    // No value reaches bit 4, so that none crosses into the next byte.
    const __m128i high = _mm_slli_epi16(digit_values(load(bytes + at + 1)), 4);
    const __m128i number = _mm_or_si128(high, digit_values(load(bytes + at + 2)));
    const __m128i chosen = spread_16(where[at / kBlock] >> at % kBlock);
    store(output + at, blend(load(bytes + at), number, chosen));
  }
}

__m128i load(const CodeUnit *units) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(units)); }

void narrow(const CodeUnit *units, std::size_t blocks, std::uint16_t limit, std::uint8_t *output,
            std::uint64_t *masks) {
  const __m128i limits = _mm_set1_epi16(static_cast<short>(limit));
  const __m128i kLow = _mm_set1_epi16(0xFF);
  const __m128i kZero = _mm_setzero_si128();
  for (std::size_t i = 0; i < blocks; ++i) {
    std::uint64_t mask = 0;
    for (unsigned part = 0; part < kBlock; part += 16, units += 16, output += 16) {
      const __m128i first = load(units);
      const __m128i second = load(units + 8);
      store(output, _mm_packus_epi16(_mm_and_si128(first, kLow), _mm_and_si128(second, kLow)));
      // What is left of the limit, where it is the greater one.
      const __m128i below = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_subs_epu16(limits, first), kZero),
                                            _mm_cmpeq_epi16(_mm_subs_epu16(limits, second), kZero));
      mask |= static_cast<std::uint64_t>(_mm_movemask_epi8(below)) << part;
    }
    masks[i] = mask;
  }
}

// Computed, not looked up: arithmetic on bytes is what a compiler turns into vector code.
constexpr std::uint8_t digit_of(unsigned nibble) {
  return static_cast<std::uint8_t>(nibble + '0' + (nibble > 9 ? 'A' - '9' - 1 : 0));
}

constexpr std::uint8_t value_of(std::uint8_t digit) {
  const auto decimal = static_cast<std::uint8_t>(digit - '0');
  const auto letter = static_cast<std::uint8_t>((digit | 0x20) - 'a');  // the bit that lower case adds
  const auto letter_value = static_cast<std::uint8_t>(letter < 6 ? letter + 10 : 0);
  return decimal < 10 ? decimal : letter_value;
}

}  // namespace

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
      // The introducer and the two digits in one store, of which the first byte counts or all three.
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

void from_hex(const std::uint8_t *digits, std::size_t byte_count, std::uint8_t *bytes) {
  for (std::size_t i = 0; i < byte_count; ++i) {
    bytes[i] = static_cast<std::uint8_t>(value_of(digits[2 * i]) << 4U | value_of(digits[2 * i + 1]));
  }
}

constexpr Level kPortable = {"sse2", ~std::size_t{0}, load_partial,  find,   find_pair, compact, add,
                             fill,   decode_escapes,  write_escapes, narrow, to_hex,    from_hex};

}  // namespace kzv::cpu
