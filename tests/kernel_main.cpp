// Runs the kernel tests at one level: kernel_tests LEVEL. Exits with 77 if the processor does not have it.
#include <gtest/gtest.h>

#include "cpu/level.h"

int main(int argc, char **argv) {
  testing::InitGoogleTest(&argc, argv);
  const std::string_view wanted = argc > 1 ? argv[1] : "";
  for (const kzv::cpu::Level *const level : kzv::cpu::built_in_levels()) {
    if (level->name != wanted) continue;
    if (!level->available()) return 77;
    kzv::cpu::choose(*level);
    return RUN_ALL_TESTS();
  }
  std::printf("kernel_tests LEVEL: a level that was built in\n");
  return 1;
}
