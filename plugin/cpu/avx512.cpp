#include <cstring>
#include <immintrin.h>

#include "levels.h"

#define KZV_AVX512 __attribute__((target("avx512f,avx512bw,avx512vbmi2,bmi2,popcnt")))

namespace kzv::cpu {
namespace {

// By way of a mask, for GCC 12 takes the plain intrinsic's own code for a use of uninitialised memory.
KZV_AVX512 __m512i four_times(const std::array<std::uint8_t, 16> &row) {
  return _mm512_maskz_broadcast_i32x4(0xFFFF, _mm_loadu_si128(reinterpret_cast<const __m128i *>(row.data())));
}

// As with AVX2, with a mask for an answer.
KZV_AVX512 void find_avx512(const std::uint8_t *bytes, std::size_t blocks, const ByteSet &set,
                            std::uint64_t *masks) {
  const __m512i ascii_rows = four_times(set.ascii_rows);
  const __m512i high_rows = four_times(set.high_rows);
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

KZV_AVX512 std::size_t compact_avx512(const std::uint8_t *bytes, std::size_t blocks,
                                      const std::uint64_t *kept, std::uint8_t *output) {
  std::uint8_t *next = output;
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock) {
    const bool whole = kept[i] == ~std::uint64_t{0};  // as most blocks are
    if (!whole || next != bytes) {
      const __m512i text = _mm512_loadu_si512(bytes);
      _mm512_storeu_si512(next, whole ? text : _mm512_maskz_compress_epi8(kept[i], text));
    }
    next += __builtin_popcountll(kept[i]);
  }
  return static_cast<std::size_t>(next - output);
}

KZV_AVX512 void add_avx512(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                           std::uint8_t everywhere, std::uint8_t there, std::uint8_t *output) {
  const __m512i for_all = _mm512_set1_epi8(static_cast<char>(everywhere));
  const __m512i for_some = _mm512_set1_epi8(static_cast<char>(there));
  for (std::size_t at = 0; at < blocks * kBlock; at += kBlock) {
    const __m512i text = _mm512_add_epi8(_mm512_loadu_si512(bytes + at), for_all);
    _mm512_storeu_si512(output + at, _mm512_mask_add_epi8(text, where[at / kBlock], text, for_some));
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

KZV_AVX512 void unescape_avx512(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                                std::uint8_t *output) {
  for (std::size_t at = 0; at < blocks * kBlock; at += kBlock) {
    const __m512i text = _mm512_loadu_si512(bytes + at);
    const __m512i high = _mm512_slli_epi16(digit_values(_mm512_loadu_si512(bytes + at + 1)), 4);
    const __m512i number = _mm512_or_si512(high, digit_values(_mm512_loadu_si512(bytes + at + 2)));
    _mm512_storeu_si512(output + at, _mm512_mask_mov_epi8(text, where[at / kBlock], number));
  }
}

}  // namespace

constexpr Level kAvx512 = {"avx512", find_avx512, compact_avx512, add_avx512, unescape_avx512};

}  // namespace kzv::cpu
