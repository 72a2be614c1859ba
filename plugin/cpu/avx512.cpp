#include <algorithm>
#include <array>
#include <cstring>
#include <immintrin.h>
#include <utility>

#include "base/hex_digits.h"
#include "cpu/portable.h"
#include "cpu/x86_features.h"

#define FEATURES(FEATURE) \
  FEATURE("avx512f")      \
  FEATURE("avx512bw")     \
  FEATURE("avx512vl") FEATURE("avx512vbmi") FEATURE("avx512vbmi2") FEATURE("bmi2") FEATURE("popcnt")
#define KZV_AVX512 KZV_TARGET(FEATURES)

namespace kzv::cpu::avx512 {
namespace {

// With a mask, because GCC 12 warns of uninitialised memory inside the intrinsic without one.
KZV_AVX512 __m512i four_times(__m128i quarter) { return _mm512_maskz_broadcast_i32x4(0xFFFF, quarter); }

KZV_AVX512 __m128i load_quarter(const void *bytes) {
  return _mm_loadu_si128(static_cast<const __m128i *>(bytes));
}

constexpr __mmask64 first_bits(std::size_t count) {
  return count < kBlock ? (__mmask64{1} << count) - 1 : ~__mmask64{0};
}

KZV_AVX512 void load_partial(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *block) {
  _mm512_storeu_si512(block, _mm512_maskz_loadu_epi8(first_bits(byte_count), bytes));
}

// As at the portable level, for whole blocks and then the tail.
KZV_AVX512 bool all_within(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first,
                           std::uint8_t last) {
  const __m512i firsts = _mm512_set1_epi8(static_cast<char>(first));
  const __m512i range = _mm512_set1_epi8(static_cast<char>(last - first));
  const std::uint8_t *const tail = bytes + byte_count / kBlock * kBlock;
  const __m512i text = _mm512_mask_loadu_epi8(firsts, first_bits(byte_count % kBlock), tail);
  std::ptrdiff_t run = kFirstSearchRun;
  for (__m512i greatest = _mm512_sub_epi8(text, firsts); _mm512_cmpgt_epu8_mask(greatest, range) == 0;) {
    if (bytes == tail) return true;
    const std::uint8_t *const end = bytes + std::min(tail - bytes, std::exchange(run, kSearchRun));
    for (; bytes != end; bytes += kBlock)
      greatest = _mm512_max_epu8(greatest, _mm512_sub_epi8(_mm512_loadu_si512(bytes), firsts));
  }
  return false;
}

KZV_AVX512 void replace_outside(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first,
                                std::uint8_t last, std::uint8_t byte, std::uint8_t *output) {
  const __m512i firsts = _mm512_set1_epi8(static_cast<char>(first));
  const __m512i range = _mm512_set1_epi8(static_cast<char>(last - first));
  const __m512i others = _mm512_set1_epi8(static_cast<char>(byte));
  const auto replace = [&](std::size_t at, __mmask64 part) KZV_AVX512 {
    const __m512i text = _mm512_maskz_loadu_epi8(part, bytes + at);
    const __mmask64 inside = _mm512_cmple_epu8_mask(_mm512_sub_epi8(text, firsts), range);
    _mm512_mask_storeu_epi8(output + at, part, _mm512_mask_mov_epi8(others, inside, text));
  };
  const std::size_t tail = byte_count % kBlock;
  for (std::size_t at = 0; at < byte_count - tail; at += kBlock) replace(at, ~__mmask64{0});
  if (tail > 0) replace(byte_count - tail, first_bits(tail));
}

KZV_AVX512 std::size_t count(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t byte) {
  const __m512i wanted = _mm512_set1_epi8(static_cast<char>(byte));
  const std::uint8_t *const tail = bytes + byte_count / kBlock * kBlock;
  std::uint64_t total = 0;
  for (; bytes != tail; bytes += kBlock)
    total += static_cast<unsigned>(
        __builtin_popcountll(_mm512_cmpeq_epi8_mask(_mm512_loadu_si512(bytes), wanted)));
  const __mmask64 rest = first_bits(byte_count % kBlock);
  const __m512i last = _mm512_maskz_loadu_epi8(rest, bytes);
  total += static_cast<unsigned>(__builtin_popcountll(_mm512_mask_cmpeq_epi8_mask(rest, last, wanted)));
  return static_cast<std::size_t>(total);
}

// As at the level avx2; the comparison yields the mask.
KZV_AVX512 void find(const std::uint8_t *bytes, std::size_t blocks, const ByteSet &set,
                     std::uint64_t *masks) {
  const __m512i ascii_rows = four_times(load_quarter(set.ascii_rows.data()));
  const __m512i high_rows = four_times(load_quarter(set.high_rows.data()));
  const __m512i kBits = _mm512_set1_epi64(static_cast<long long>(0x8040201008040201));
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock) {
    const __m512i text = _mm512_loadu_si512(bytes);
    const __m512i high_text = _mm512_xor_si512(text, _mm512_set1_epi8(static_cast<char>(0x80)));
    const __m512i rows =
        _mm512_or_si512(_mm512_shuffle_epi8(ascii_rows, text), _mm512_shuffle_epi8(high_rows, high_text));
    const __m512i nibbles = _mm512_and_si512(_mm512_srli_epi16(text, 4), _mm512_set1_epi8(7));
    masks[i] = _mm512_test_epi8_mask(rows, _mm512_shuffle_epi8(kBits, nibbles));
  }
}

KZV_AVX512 void find_pair(const std::uint8_t *bytes, std::size_t blocks, std::uint8_t first,
                          std::uint8_t last, std::size_t distance, std::uint64_t *masks) {
  const __m512i firsts = _mm512_set1_epi8(static_cast<char>(first));
  const __m512i lasts = _mm512_set1_epi8(static_cast<char>(last));
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock) {
    const __mmask64 found = _mm512_cmpeq_epi8_mask(_mm512_loadu_si512(bytes), firsts);
    masks[i] = _mm512_mask_cmpeq_epi8_mask(found, _mm512_loadu_si512(bytes + distance), lasts);
  }
}

KZV_AVX512 std::size_t compact(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *kept,
                               std::uint8_t *output) {
  std::uint8_t *next = output;
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock) {
    const bool whole = kept[i] == ~std::uint64_t{0};  // most blocks are
    if (!whole || next != bytes) {
      const __m512i text = _mm512_loadu_si512(bytes);
      _mm512_storeu_si512(next, whole ? text : _mm512_maskz_compress_epi8(kept[i], text));
    }
    next += __builtin_popcountll(kept[i]);
  }
  return static_cast<std::size_t>(next - output);
}

KZV_AVX512 void add(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                    std::uint8_t everywhere, std::uint8_t there, std::uint8_t *output) {
  const __m512i for_all = _mm512_set1_epi8(static_cast<char>(everywhere));
  const __m512i for_some = _mm512_set1_epi8(static_cast<char>(there));
  for (std::size_t at = 0; at < blocks * kBlock; at += kBlock) {
    const __m512i text = _mm512_add_epi8(_mm512_loadu_si512(bytes + at), for_all);
    _mm512_storeu_si512(output + at, _mm512_mask_add_epi8(text, where[at / kBlock], text, for_some));
  }
}

KZV_AVX512 std::size_t compact_sums(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *kept,
                                    const std::uint64_t *where, std::uint8_t everywhere, std::uint8_t there,
                                    std::uint8_t *output) {
  const __m512i for_all = _mm512_set1_epi8(static_cast<char>(everywhere));
  const __m512i for_some = _mm512_set1_epi8(static_cast<char>(there));
  std::uint8_t *next = output;
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock) {
    const __m512i text = _mm512_add_epi8(_mm512_loadu_si512(bytes), for_all);
    const __m512i sums = _mm512_mask_add_epi8(text, where[i], text, for_some);
    const bool whole = kept[i] == ~std::uint64_t{0};
    _mm512_storeu_si512(next, whole ? sums : _mm512_maskz_compress_epi8(kept[i], sums));
    next += __builtin_popcountll(kept[i]);
  }
  return static_cast<std::size_t>(next - output);
}

KZV_AVX512 void fill(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                     std::uint8_t byte, std::uint8_t *output) {
  const __m512i filling = _mm512_set1_epi8(static_cast<char>(byte));
  for (std::size_t at = 0; at < blocks * kBlock; at += kBlock) {
    const __m512i text = _mm512_loadu_si512(bytes + at);
    _mm512_storeu_si512(output + at, _mm512_mask_mov_epi8(text, where[at / kBlock], filling));
  }
}

KZV_AVX512 __m512i digit_values(__m512i text) {
  const __m512i decimal = _mm512_sub_epi8(text, _mm512_set1_epi8('0'));
  const __m512i letter =
      _mm512_sub_epi8(_mm512_or_si512(text, _mm512_set1_epi8(0x20)), _mm512_set1_epi8('a'));
  const __mmask64 is_decimal = _mm512_cmple_epu8_mask(decimal, _mm512_set1_epi8(9));
  const __mmask64 is_letter = _mm512_cmple_epu8_mask(letter, _mm512_set1_epi8(5));
  const __m512i values = _mm512_maskz_mov_epi8(is_decimal, decimal);
  return _mm512_mask_add_epi8(values, is_letter, letter, _mm512_set1_epi8(10));
}

KZV_AVX512 void decode_escapes(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                               std::uint8_t *output) {
  for (std::size_t at = 0; at < blocks * kBlock; at += kBlock) {
    const __m512i text = _mm512_loadu_si512(bytes + at);
    const __m512i high = _mm512_slli_epi16(digit_values(_mm512_loadu_si512(bytes + at + 1)), 4);
    const __m512i number = _mm512_or_si512(high, digit_values(_mm512_loadu_si512(bytes + at + 2)));
    _mm512_storeu_si512(output + at, _mm512_mask_mov_epi8(text, where[at / kBlock], number));
  }
}

// 16 bytes take three places each, introducer or byte and two digits; then those that count move together.
//
//   text        a     ,     b               , is escaped
//   all         a61   =2C   b62
//   kept        100   111   100
//   written     a=2Cb
//
// kThreePlaces is the shuffle that repeats each byte for its three places: 0 0 0 1 1 1 ... 15 15 15.
constexpr std::array<std::uint8_t, kBlock> kThreePlaces = [] {
  std::array<std::uint8_t, kBlock> sources{};
  for (std::uint8_t place = 0; place < 48; ++place) sources[place] = place / 3;
  return sources;
}();
constexpr std::uint64_t kFirstPlaces = 0x249249249249;  // every third bit of 48

// 16 bits, each moved to the first of its three places; in halves, for 32-bit programs have no wider pdep.
KZV_AVX512 std::uint64_t to_first_places(unsigned bits) {
  constexpr auto kHalf = static_cast<unsigned>(kFirstPlaces & 0xFFFFFF);
  return _pdep_u32(bits & 0xFF, kHalf) | std::uint64_t{_pdep_u32(bits >> 8, kHalf)} << 24;
}

KZV_AVX512 __m512i interleave(__m128i first, __m128i second, __m128i third) {
  const __m512i sources = _mm512_loadu_si512(kThreePlaces.data());
  const __m512i firsts = _mm512_shuffle_epi8(four_times(first), sources);
  const __m512i two = _mm512_mask_shuffle_epi8(firsts, kFirstPlaces << 1, four_times(second), sources);
  return _mm512_mask_shuffle_epi8(two, kFirstPlaces << 2, four_times(third), sources);
}

KZV_AVX512 std::size_t write_escapes(const std::uint8_t *bytes, std::size_t blocks,
                                     const std::uint64_t *where, char introducer, std::uint8_t *output) {
  const __m128i kDigits = load_quarter(kHexDigits);
  const __m128i kNibble = _mm_set1_epi8(15);
  std::uint8_t *next = output;
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock) {
    if (where[i] == 0) {
      _mm512_storeu_si512(next, _mm512_loadu_si512(bytes));
      next += kBlock;
      continue;
    }
    for (unsigned part = 0; part < kBlock; part += 16) {
      const auto escaped = static_cast<__mmask16>(where[i] >> part);
      const __m128i text = load_quarter(bytes + part);
      const __m128i high = _mm_shuffle_epi8(kDigits, _mm_and_si128(_mm_srli_epi16(text, 4), kNibble));
      const __m128i low = _mm_shuffle_epi8(kDigits, _mm_and_si128(text, kNibble));
      const __m128i first = _mm_mask_mov_epi8(text, escaped, _mm_set1_epi8(introducer));
      const std::uint64_t firsts = to_first_places(escaped);
      const __m512i all = interleave(first, high, low);
      const std::uint64_t kept = kFirstPlaces | firsts << 1 | firsts << 2;
      _mm512_storeu_si512(next, _mm512_maskz_compress_epi8(kept, all));
      next += __builtin_popcountll(kept);
    }
  }
  return static_cast<std::size_t>(next - output);
}

constexpr std::array<std::uint8_t, kBlock> kEvenBytes = [] {
  std::array<std::uint8_t, kBlock> even{};
  for (std::size_t i = 0; i < kBlock; ++i) even[i] = static_cast<std::uint8_t>(2 * i);
  return even;
}();

KZV_AVX512 void narrow(const CodeUnit *units, std::size_t blocks, std::uint16_t limit, std::uint8_t *output,
                       std::uint64_t *masks) {
  const __m512i limits = _mm512_set1_epi16(static_cast<short>(limit));
  const __m512i low_bytes = _mm512_loadu_si512(kEvenBytes.data());
  for (std::size_t i = 0; i < blocks; ++i, units += kBlock, output += kBlock) {
    const __m512i first = _mm512_loadu_si512(units);
    const __m512i second = _mm512_loadu_si512(units + kBlock / 2);
    _mm512_storeu_si512(output, _mm512_permutex2var_epi8(first, low_bytes, second));
    // Joined as masks: shifted together as numbers, GCC 12 leaves half of them undefined on 32 bit.
    masks[i] =
        _mm512_kunpackd(_mm512_cmpge_epu16_mask(second, limits), _mm512_cmpge_epu16_mask(first, limits));
  }
}

// The last bytes are copied from a buffer: a masked store is not forwarded to loads that follow.
template <typename Vector>
KZV_AVX512 void store_first(Vector vector, std::size_t byte_count, std::uint8_t *bytes) {
  if (byte_count == sizeof vector) {
    std::memcpy(bytes, &vector, sizeof vector);
  } else {
    std::array<std::uint8_t, sizeof vector> last;
    std::memcpy(last.data(), &vector, sizeof vector);
    std::memcpy(bytes, last.data(), byte_count);
  }
}

KZV_AVX512 void to_hex(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *digits) {
  const __m512i kDigits = four_times(load_quarter(kHexDigits));
  const __m512i kNibble = _mm512_set1_epi8(15);
  for (std::size_t at = 0; at < byte_count; at += kBlock / 2) {
    const std::size_t count = std::min(byte_count - at, kBlock / 2);
    const __m256i text = _mm256_maskz_loadu_epi8(static_cast<__mmask32>(first_bits(count)), bytes + at);
    const __m512i wide = _mm512_cvtepu8_epi16(text);
    const __m512i nibbles = _mm512_or_si512(_mm512_srli_epi16(wide, 4), _mm512_slli_epi16(wide, 8));
    const __m512i hex = _mm512_shuffle_epi8(kDigits, _mm512_and_si512(nibbles, kNibble));
    store_first(hex, 2 * count, digits + 2 * at);
  }
}

KZV_AVX512 void from_hex(const std::uint8_t *digits, std::size_t byte_count, std::uint8_t *bytes) {
  const __m512i kWeights = _mm512_set1_epi16(0x0110);  // 16 and 1
  for (std::size_t at = 0; at < byte_count; at += kBlock / 2) {
    const std::size_t count = std::min(byte_count - at, kBlock / 2);
    const __m512i text = _mm512_maskz_loadu_epi8(first_bits(2 * count), digits + 2 * at);
    const __m512i sums = _mm512_maddubs_epi16(digit_values(text), kWeights);
    store_first(_mm512_maskz_cvtepi16_epi8(~__mmask32{0}, sums), count, bytes + at);
  }
}

bool available() { return KZV_HAS(FEATURES); }

}  // namespace

extern constexpr Level kLevel = {
    .name = "avx512",
    .available = available,
    .by_table = 48,
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

}  // namespace kzv::cpu::avx512
