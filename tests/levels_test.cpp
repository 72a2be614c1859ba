#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

#include "cpu/level.h"

namespace kzv::cpu {

// By what the operating system says of the processor.
TEST(Levels, AreThoseOfThisProcessorTheFastestLast) {
  std::ifstream file("/proc/cpuinfo");
  const std::string features(std::istreambuf_iterator<char>(file), {});
  const auto has = [&](const char *feature) { return features.find(feature) < features.size(); };
  const bool avx2 = has(" avx2 ") && has(" bmi2 ");
  const bool avx512 = has(" avx512bw ") && has(" avx512vl ") && has(" avx512vbmi ") && has(" avx512_vbmi2 ");
  std::string names;
  std::string expected;
  for (const Level *const each : levels().subspan(1)) names += each->name + std::string(" ");
  for (const Level *const each : built_in_levels().subspan(1)) {
    const std::string name = each->name;
    if ((name == "avx2" && avx2) || (name == "avx512" && avx512)) expected += name + " ";
  }
  EXPECT_EQ(names, expected);
}

}  // namespace kzv::cpu
