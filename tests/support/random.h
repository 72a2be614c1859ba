// Random numbers for tests: the same at every run, or from the seed in the environment variable KZV_SEED.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <random>

namespace kzv {

inline std::mt19937_64 seeded_random() {
  const char *const wanted = std::getenv("KZV_SEED");
  const unsigned long seed = wanted != nullptr ? std::strtoul(wanted, nullptr, 10) : 1;
  std::printf("KZV_SEED=%lu\n", seed);
  return std::mt19937_64(seed);
}

}  // namespace kzv
