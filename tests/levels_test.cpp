#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

#include "cpu/level.h"

namespace kzv::cpu {

// By what the operating system says of the processor.
TEST(Levels, AreThoseOfThisProcessorTheFastestLast) {
  std::ifstream file("/proc/cpuinfo");
  const std::string features(std::istreambuf_iterator<char>(file), {});
  const auto has = [&](const char *feature) { return features.find(feature) < features.size(); };
  std::vector<std::string> expected = {levels().front()->name};
  if (has(" avx2 ") && has(" bmi2 ")) expected.emplace_back("avx2");
  if (expected.size() == 2 && has(" avx512bw ") && has(" avx512vl ") && has(" avx512vbmi ") &&
      has(" avx512_vbmi2 "))
    expected.emplace_back("avx512");
  std::vector<std::string> names;
  for (const Level *const each : levels()) names.emplace_back(each->name);
  EXPECT_EQ(names, expected);
  EXPECT_TRUE(names.front() != "avx2" && names.front() != "avx512");
}

}  // namespace kzv::cpu
