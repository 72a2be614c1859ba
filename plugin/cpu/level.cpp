#include "cpu/level.h"

#include <algorithm>
#include <array>

// KZV_LEVELS is the list of the levels that are built in: KZV_LEVEL(portable) KZV_LEVEL(avx2) ...
#define KZV_LEVEL(level)      \
  namespace kzv::cpu::level { \
  extern const Level kLevel;  \
  }
KZV_LEVELS
#undef KZV_LEVEL

namespace kzv::cpu {
namespace {

#define KZV_LEVEL(level) &level::kLevel,
constexpr std::array kBuiltIn = {KZV_LEVELS};
#undef KZV_LEVEL

const Level *current = kBuiltIn.front();

}  // namespace

std::span<const Level *const> built_in_levels() { return kBuiltIn; }

std::span<const Level *const> levels() {
  const auto *const end =
      std::ranges::find_if_not(kBuiltIn, [](const Level *level) { return level->available(); });
  return {kBuiltIn.begin(), end};
}

const Level &level() { return *current; }
void choose(const Level &chosen) { current = &chosen; }

}  // namespace kzv::cpu
