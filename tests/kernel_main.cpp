// Runs the kernel tests with one vector level: kernel_tests LEVEL.
#include <gtest/gtest.h>

#include "cpu/level.h"

int main(int argc, char **argv) {
  testing::InitGoogleTest(&argc, argv);
  const std::string_view wanted = argc > 1 ? argv[1] : "";
  for (const kzv::cpu::Level *const level : kzv::cpu::levels()) {
    if (level->name != wanted) continue;
    kzv::cpu::choose(*level);
    return RUN_ALL_TESTS();
  }
  std::printf("no level \"%s\" on this processor\n", argc > 1 ? argv[1] : "");
  return argc > 1 ? 0 : 1;
}
