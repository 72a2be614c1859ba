// Loops that leave vector code to the compiler, which compiles each for SSE2, AVX2 and AVX-512. Which one
// runs is chosen when the rivals are loaded: the last one of this processor, among the levels of this build.
#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/bytes.h"
#include "cpu/level.h"

namespace kzv::rivals {

#define KZV_LOOP_FOR_AVX2 gnu::flatten, gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")
#ifdef __clang__
#define KZV_LOOP_FOR_AVX512                                                                     \
  gnu::flatten, gnu::target(                                                                    \
                    "avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,lzcnt," \
                    "popcnt")
#else
#define KZV_LOOP_FOR_AVX512                                                                            \
  gnu::flatten, gnu::target(                                                                           \
                    "avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,lzcnt,popcnt," \
                    "prefer-vector-width=512")
#endif

inline bool has_level(std::string_view name) {
  return std::ranges::any_of(cpu::levels(), [name](const cpu::Level *level) { return level->name == name; });
}

template <auto kLoop>
struct Compiled;

template <typename Result, typename... Parameters, Result (*kLoop)(Parameters...)>
struct Compiled<kLoop> {
  [[KZV_LOOP_FOR_AVX2]] static Result for_avx2(Parameters... values) { return kLoop(values...); }
  [[KZV_LOOP_FOR_AVX512]] static Result for_avx512(Parameters... values) { return kLoop(values...); }

  inline static Result (*const call)(Parameters...) = has_level("avx512") ? for_avx512
                                                      : has_level("avx2") ? for_avx2
                                                                          : kLoop;
};

inline constexpr std::size_t kLoopBlock = 64;

// How many of them are true: not zero where any is. GCC would make a bit test of conditions that are combined
// by "or", and no vector code.
constexpr int count_of(auto... conditions) { return (int{conditions} + ...); }

// Without an exit from the loop, so that it becomes vector code.
template <typename Element, typename Is>
bool any_in_block(const Element *block, Is is) {
  std::uint8_t found = 0;
  for (std::size_t i = 0; i < kLoopBlock; ++i) found |= static_cast<std::uint8_t>(is(block[i]));
  return found != 0;
}

// Writes `plain(element)` for each element of a block without special ones. In all other blocks it has
// `step(at, next)` read and write at least one element and move both on.
template <typename View, typename IsSpecial, typename Plain, typename Step>
std::size_t by_blocks(View in, ByteBuffer out, IsSpecial is_special, Plain plain, Step step) {
  std::uint8_t *next = out.data();
  for (std::size_t at = 0; at < in.size();) {
    if (in.size() - at >= kLoopBlock && !any_in_block(in.data() + at, is_special)) {
      const auto *const block = in.data() + at;
      for (std::size_t i = 0; i < kLoopBlock; ++i) next[i] = static_cast<std::uint8_t>(plain(block[i]));
      at += kLoopBlock;
      next += kLoopBlock;
      continue;
    }
    const std::size_t end = std::min(at + kLoopBlock, in.size());
    while (at < end) step(at, next);
  }
  return static_cast<std::size_t>(next - out.data());
}

}  // namespace kzv::rivals
