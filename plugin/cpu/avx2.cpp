#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <immintrin.h>
#include <utility>

#include "base/hex_digits.h"
#include "cpu/portable.h"
#include "cpu/x86_features.h"

#define FEATURES(FEATURE) FEATURE("avx2") FEATURE("bmi2") FEATURE("popcnt")
#define KZV_AVX2 KZV_TARGET(FEATURES)

namespace kzv::cpu::avx2 {
namespace {

// By eight mask bits: the numbers of those that are set, for a shuffle that moves their bytes together.
//
//   bytes       a b c d e f g h
//   mask bits   1 0 1 1 0 0 0 1     0x8D
//   order       0 2 3 7 0 0 0 0
//   shuffled    a c d h a a a a     4 bytes count; the next store overwrites the others
using Order = std::array<std::uint8_t, 8>;
constexpr std::array<Order, 256> kOrders = [] {
  std::array<Order, 256> orders{};
  for (unsigned mask = 0; mask < 256; ++mask) {
    std::size_t count = 0;
    for (std::uint8_t bit = 0; bit < 8; ++bit) {
      if ((mask >> bit & 1) != 0) orders[mask][count++] = bit;
    }
  }
  return orders;
}();

KZV_AVX2 __m256i load(const void *bytes) { return _mm256_loadu_si256(static_cast<const __m256i *>(bytes)); }
KZV_AVX2 __m128i load_half(const void *bytes) { return _mm_loadu_si128(static_cast<const __m128i *>(bytes)); }
KZV_AVX2 void store(std::uint8_t *bytes, __m256i vector) {
  _mm256_storeu_si256(reinterpret_cast<__m256i *>(bytes), vector);
}

KZV_AVX2 __m256i twice(const void *row) { return _mm256_broadcastsi128_si256(load_half(row)); }

// One bit for each byte, which is 0xFF or 0.
KZV_AVX2 std::uint64_t mask_of(__m256i bytes) {
  return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes));
}

KZV_AVX2 bool any_above(__m256i bytes, __m256i limits) {
  return mask_of(_mm256_cmpeq_epi8(_mm256_max_epu8(bytes, limits), limits)) != 0xFFFFFFFF;
}

// As at the portable level.
KZV_AVX2 bool all_within(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first,
                         std::uint8_t last) {
  if (byte_count < sizeof(__m256i)) return portable::all_within(bytes, byte_count, first, last);
  const __m256i firsts = _mm256_set1_epi8(static_cast<char>(first));
  const __m256i range = _mm256_set1_epi8(static_cast<char>(last - first));
  const std::uint8_t *const last_vector = bytes + byte_count - sizeof(__m256i);
  std::ptrdiff_t run = kFirstSearchRun;
  for (__m256i greatest = _mm256_sub_epi8(load(last_vector), firsts); !any_above(greatest, range);) {
    if (bytes >= last_vector) return true;
    const std::uint8_t *const end = bytes + std::min(last_vector - bytes, std::exchange(run, kSearchRun));
    for (; end - bytes >= std::ptrdiff_t{kBlock}; bytes += kBlock) {
      greatest = _mm256_max_epu8(greatest, _mm256_sub_epi8(load(bytes), firsts));
      greatest = _mm256_max_epu8(greatest, _mm256_sub_epi8(load(bytes + sizeof(__m256i)), firsts));
    }
    for (; bytes < end; bytes += sizeof(__m256i))
      greatest = _mm256_max_epu8(greatest, _mm256_sub_epi8(load(bytes), firsts));
  }
  return false;
}

KZV_AVX2 void replace_outside(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first,
                              std::uint8_t last, std::uint8_t byte, std::uint8_t *output) {
  if (byte_count < sizeof(__m256i)) {
    return portable::replace_outside(bytes, byte_count, first, last, byte, output);
  }
  const __m256i firsts = _mm256_set1_epi8(static_cast<char>(first));
  const __m256i lasts = _mm256_set1_epi8(static_cast<char>(last));
  const __m256i others = _mm256_set1_epi8(static_cast<char>(byte));
  const auto replace = [&](std::size_t at) KZV_AVX2 {
    const __m256i text = load(bytes + at);
    const __m256i nearest = _mm256_min_epu8(_mm256_max_epu8(text, firsts), lasts);
    store(output + at, _mm256_blendv_epi8(others, text, _mm256_cmpeq_epi8(text, nearest)));
  };
  const std::size_t last_vector = byte_count - sizeof(__m256i);
  for (std::size_t at = 0; at < last_vector; at += sizeof(__m256i)) replace(at);
  replace(last_vector);
}

// A comparison yields -1 in each byte that is equal, at most 255 of which are added up in a byte.
KZV_AVX2 std::size_t count(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t byte) {
  constexpr std::size_t kMostVectors = 255;
  const __m256i wanted = _mm256_set1_epi8(static_cast<char>(byte));
  std::size_t total = 0;
  while (byte_count >= sizeof(__m256i)) {
    const std::size_t vectors = std::min(byte_count / sizeof(__m256i), kMostVectors);
    __m256i sums = _mm256_setzero_si256();
    for (std::size_t i = 0; i < vectors; ++i, bytes += sizeof(__m256i))
      sums = _mm256_sub_epi8(sums, _mm256_cmpeq_epi8(load(bytes), wanted));
    std::array<std::uint64_t, 4> parts;
    store(reinterpret_cast<std::uint8_t *>(parts.data()), _mm256_sad_epu8(sums, _mm256_setzero_si256()));
    total += static_cast<std::size_t>(parts[0] + parts[1] + parts[2] + parts[3]);
    byte_count -= vectors * sizeof(__m256i);
  }
  return total + portable::count(bytes, byte_count, byte);
}

// The low nibble of a byte looks up a row of the set, which has one bit for each value of the next three
// bits; these look up which bit. A shuffle yields 0 where bit 7 of its index is set, so each table sees its
// own half of the bytes.
//
//   set           '0' to '9', 30 to 39: bit 3 of the rows of 0 to 9
//   text          '2' = 32      '?' = 3F      B2
//   ascii_rows    0x08          0             0 (bit 7)
//   bit           1 << 3        1 << 3        1 << 3
//   found         yes           no            no: high_rows[2] is 0
KZV_AVX2 std::uint64_t find_32(const std::uint8_t *bytes, __m256i ascii_rows, __m256i high_rows) {
  const __m256i kBits = _mm256_set1_epi64x(static_cast<long long>(0x8040201008040201));
  const __m256i text = load(bytes);
  const __m256i high_text = _mm256_xor_si256(text, _mm256_set1_epi8(static_cast<char>(0x80)));
  const __m256i rows =
      _mm256_or_si256(_mm256_shuffle_epi8(ascii_rows, text), _mm256_shuffle_epi8(high_rows, high_text));
  const __m256i nibbles = _mm256_and_si256(_mm256_srli_epi16(text, 4), _mm256_set1_epi8(7));
  const __m256i bit = _mm256_shuffle_epi8(kBits, nibbles);
  return mask_of(_mm256_cmpeq_epi8(_mm256_and_si256(rows, bit), bit));
}

KZV_AVX2 void find(const std::uint8_t *bytes, std::size_t blocks, const ByteSet &set, std::uint64_t *masks) {
  const __m256i ascii_rows = twice(set.ascii_rows.data());
  const __m256i high_rows = twice(set.high_rows.data());
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock) {
    masks[i] = find_32(bytes, ascii_rows, high_rows) | find_32(bytes + 32, ascii_rows, high_rows) << 32;
  }
}

KZV_AVX2 void find_pair(const std::uint8_t *bytes, std::size_t blocks, std::uint8_t first, std::uint8_t last,
                        std::size_t distance, std::uint64_t *masks) {
  const __m256i firsts = _mm256_set1_epi8(static_cast<char>(first));
  const __m256i lasts = _mm256_set1_epi8(static_cast<char>(last));
  const auto find_32 = [=](const std::uint8_t *at) KZV_AVX2 {
    const __m256i is_last = _mm256_cmpeq_epi8(load(at + distance), lasts);
    return mask_of(_mm256_and_si256(_mm256_cmpeq_epi8(load(at), firsts), is_last));
  };
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock)
    masks[i] = find_32(bytes) | find_32(bytes + 32) << 32;
}

KZV_AVX2 std::size_t compact(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *kept,
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
      const auto bits = static_cast<std::uint8_t>(mask >> part);
      const __m128i text = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(bytes + part));
      const __m128i order = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(kOrders[bits].data()));
      _mm_storel_epi64(reinterpret_cast<__m128i *>(next), _mm_shuffle_epi8(text, order));
      next += __builtin_popcount(bits);
    }
  }
  return static_cast<std::size_t>(next - output);
}

// 32 bits, each spread over a byte: 0xFF where it is set. The shuffle repeats each of the four bytes eight
// times; every copy keeps another bit.
KZV_AVX2 __m256i spread_32(std::uint64_t bits) {
  const __m256i kBits = _mm256_set1_epi64x(static_cast<long long>(0x8040201008040201));
  const __m256i kBytes = _mm256_setr_epi64x(0, 0x0101010101010101, 0x0202020202020202, 0x0303030303030303);
  const __m256i bytes = _mm256_shuffle_epi8(_mm256_set1_epi32(static_cast<int>(bits)), kBytes);
  return _mm256_cmpeq_epi8(_mm256_and_si256(bytes, kBits), kBits);
}

KZV_AVX2 void add(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                  std::uint8_t everywhere, std::uint8_t there, std::uint8_t *output) {
  const __m256i for_all = _mm256_set1_epi8(static_cast<char>(everywhere));
  const __m256i for_some = _mm256_set1_epi8(static_cast<char>(there));
  for (std::size_t i = 0; i < blocks; ++i) {
    for (unsigned part = 0; part < kBlock; part += 32, bytes += 32, output += 32) {
      const __m256i some = _mm256_and_si256(for_some, spread_32(where[i] >> part));
      store(output, _mm256_add_epi8(_mm256_add_epi8(load(bytes), for_all), some));
    }
  }
}

KZV_AVX2 std::size_t compact_sums(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *kept,
                                  const std::uint64_t *where, std::uint8_t everywhere, std::uint8_t there,
                                  std::uint8_t *output) {
  return compact_each_sum<add, compact>(bytes, blocks, kept, where, everywhere, there, output);
}

KZV_AVX2 void fill(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                   std::uint8_t byte, std::uint8_t *output) {
  const __m256i filling = _mm256_set1_epi8(static_cast<char>(byte));
  for (std::size_t i = 0; i < blocks; ++i) {
    for (unsigned part = 0; part < kBlock; part += 32, bytes += 32, output += 32) {
      store(output, _mm256_blendv_epi8(load(bytes), filling, spread_32(where[i] >> part)));
    }
  }
}

KZV_AVX2 __m256i is_at_most(__m256i bytes, int limit) {
  return _mm256_cmpeq_epi8(_mm256_min_epu8(bytes, _mm256_set1_epi8(static_cast<char>(limit))), bytes);
}

KZV_AVX2 __m256i digit_values(__m256i text) {
  const __m256i decimal = _mm256_sub_epi8(text, _mm256_set1_epi8('0'));
  const __m256i letter =
      _mm256_sub_epi8(_mm256_or_si256(text, _mm256_set1_epi8(0x20)), _mm256_set1_epi8('a'));
  const __m256i letter_value = _mm256_add_epi8(letter, _mm256_set1_epi8(10));
  return _mm256_or_si256(_mm256_and_si256(decimal, is_at_most(decimal, 9)),
                         _mm256_and_si256(letter_value, is_at_most(letter, 5)));
}

KZV_AVX2 void decode_escapes(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                             std::uint8_t *output) {
  for (std::size_t at = 0; at < blocks * kBlock; at += 32) {
    const __m256i high = _mm256_slli_epi16(digit_values(load(bytes + at + 1)), 4);
    const __m256i number = _mm256_or_si256(high, digit_values(load(bytes + at + 2)));
    const __m256i chosen = spread_32(where[at / kBlock] >> at % kBlock);
    store(output + at, _mm256_blendv_epi8(load(bytes + at), number, chosen));
  }
}

// Packing works within each half of a vector and leaves quarters 0 2 1 3; this puts them in order.
KZV_AVX2 __m256i in_order(__m256i packed) { return _mm256_permute4x64_epi64(packed, 0b11011000); }

KZV_AVX2 void narrow(const CodeUnit *units, std::size_t blocks, std::uint16_t limit, std::uint8_t *output,
                     std::uint64_t *masks) {
  const __m256i limits = _mm256_set1_epi16(static_cast<short>(limit));
  const __m256i kLow = _mm256_set1_epi16(0xFF);
  for (std::size_t i = 0; i < blocks; ++i) {
    std::uint64_t mask = 0;
    for (unsigned part = 0; part < kBlock; part += 32, units += 32, output += 32) {
      const __m256i first = load(units);
      const __m256i second = load(units + 16);
      store(output,
            in_order(_mm256_packus_epi16(_mm256_and_si256(first, kLow), _mm256_and_si256(second, kLow))));
      const __m256i found = _mm256_packs_epi16(_mm256_cmpeq_epi16(_mm256_max_epu16(first, limits), first),
                                               _mm256_cmpeq_epi16(_mm256_max_epu16(second, limits), second));
      mask |= mask_of(in_order(found)) << part;
    }
    masks[i] = mask;
  }
}

// Where vectors of 16 begin that cover `count` elements, at least 16: the last one may overlap the one
// before.
template <typename Convert>
KZV_AVX2 void by_16(std::size_t count, Convert convert) {
  for (std::size_t at = 0; at < count - 16; at += 16) convert(at);
  convert(count - 16);
}

KZV_AVX2 void to_hex(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *digits) {
  if (byte_count < 16) return portable::to_hex(bytes, byte_count, digits);
  const __m256i kDigits = twice(kHexDigits);
  const __m256i kNibble = _mm256_set1_epi8(15);
  by_16(byte_count, [&](std::size_t at) KZV_AVX2 {
    const __m256i wide = _mm256_cvtepu8_epi16(load_half(bytes + at));
    const __m256i nibbles = _mm256_or_si256(_mm256_srli_epi16(wide, 4), _mm256_slli_epi16(wide, 8));
    store(digits + 2 * at, _mm256_shuffle_epi8(kDigits, _mm256_and_si256(nibbles, kNibble)));
  });
}

KZV_AVX2 void from_hex(const std::uint8_t *digits, std::size_t byte_count, std::uint8_t *bytes) {
  if (byte_count < 16) {
    std::array<std::uint8_t, 32> some_digits{};
    std::array<std::uint8_t, 16> some_bytes;
    if (byte_count > 0) std::memcpy(some_digits.data(), digits, 2 * byte_count);
    from_hex(some_digits.data(), some_bytes.size(), some_bytes.data());
    if (byte_count > 0) std::memcpy(bytes, some_bytes.data(), byte_count);
    return;
  }
  const __m256i kWeights = _mm256_set1_epi16(0x0110);  // 16 and 1
  by_16(byte_count, [&](std::size_t at) KZV_AVX2 {
    const __m256i sums = _mm256_maddubs_epi16(digit_values(load(digits + 2 * at)), kWeights);
    const __m256i packed = in_order(_mm256_packus_epi16(sums, sums));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(bytes + at), _mm256_castsi256_si128(packed));
  });
}

bool available() { return KZV_HAS(FEATURES); }

}  // namespace

extern constexpr Level kLevel = {
    .name = "avx2",
    .available = available,
    .by_table = ~std::size_t{0},
    .load_partial = portable::load_partial,
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
    .write_escapes = portable::write_escapes,
    .narrow = narrow,
    .to_hex = to_hex,
    .from_hex = from_hex,
};

}  // namespace kzv::cpu::avx2
