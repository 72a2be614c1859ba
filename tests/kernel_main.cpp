// Runs the kernel tests at one level: kernel_tests LEVEL. Exits with 77 if the processor does not have it.
#include <gtest/gtest.h>

#include "cpu/level.h"

int main(int argc, char **argv) {
  testing::InitGoogleTest(&argc, argv);
  const std::string_view wanted = argc > 1 ? argv[1] : "";
  for (const kzv::cpu::Level *const level : kzv::cpu::built_in_levels()) {
    if (level->name != wanted) continue;
    if (!level->available()) {
      std::printf("this processor does not have the level \"%s\"\n", level->name);
      return 77;
    }
    kzv::cpu::choose(*level);
    return RUN_ALL_TESTS();
  }
  std::printf("no level \"%s\" was built in; there are", argc > 1 ? argv[1] : "");
  for (const kzv::cpu::Level *const level : kzv::cpu::built_in_levels()) std::printf(" %s", level->name);
  std::printf("\n");
  return 1;
}
