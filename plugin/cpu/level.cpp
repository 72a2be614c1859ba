#include "cpu/level.h"

#include <array>

#include "cpu/levels.h"

namespace kzv::cpu {
namespace {

const Level *current = &kPortable;

constexpr std::array<const Level *, 3> kAll = {&kPortable, &kAvx2, &kAvx512};

bool has_avx2() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2"); }
bool has_avx512() {
  return has_avx2() && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
         __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2");
}

}  // namespace

std::span<const Level *const> levels() {
  __builtin_cpu_init();
  return std::span(kAll).first(has_avx512() ? 3 : has_avx2() ? 2 : 1);
}

const Level &level() { return *current; }
void choose(const Level &chosen) { current = &chosen; }

}  // namespace kzv::cpu
