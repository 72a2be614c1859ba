// The library file itself, and the check that guards its table of declarations.
#include <gtest/gtest.h>
#include <sstream>

#include "support/shell.h"

namespace kzv {
namespace {

// The last words of each line that `command` prints.
std::vector<std::string> last_words(const std::string &command) {
  std::istringstream lines(shell(command).out);
  std::vector<std::string> words;
  for (std::string line; std::getline(lines, line);) words.push_back(line.substr(line.rfind(' ') + 1));
  return words;
}

TEST(Library, ExportsItsEntryPointAlone) {
  EXPECT_EQ(last_words("nm -D --defined-only " KZV_PLUGIN), std::vector<std::string>{"REALPluginMain"});
}

#if !defined(KZV_SANITIZED)
TEST(Library, NeedsTheRuntimeLibrariesAlone) {
  for (const std::string &library : last_words("readelf -dW " KZV_PLUGIN " | grep NEEDED")) {
    const bool runtime = library == "[libstdc++.so.6]" || library == "[libgcc_s.so.1]" ||
                         library == "[libm.so.6]" || library == "[libc.so.6]" ||
                         library.starts_with("[ld-linux");
    EXPECT_TRUE(runtime) << library;
  }
}

TEST(Library, RunsNothingAtLoadAndKeepsNothingPerThreadOrProcess) {
  const std::string symbols = shell("readelf -sW " KZV_PLUGIN).out;
  EXPECT_EQ(symbols.find(" TLS "), std::string::npos);
  EXPECT_EQ(symbols.find(" UNIQUE "), std::string::npos);
  // The compiler's own start-up code has one entry; constructors of ours would have more.
  EXPECT_EQ(shell("readelf -dW " KZV_PLUGIN " | grep -w INIT_ARRAYSZ | grep -ow '[0-9]* (bytes)'").out,
            std::to_string(sizeof(void *)) + " (bytes)\n");
}
#endif

// Compiles tests/must_not_compile.cpp with one of its cases.
Outcome compile(int row) {
  return shell(KZV_COMPILE " -DROW=" + std::to_string(row) + " " KZV_SOURCE "/tests/must_not_compile.cpp");
}

TEST(Declarations, ThatDifferFromTheirFunctionStopTheBuild) {
  constexpr char kDiffers[] = "declaration_differs_from_its_function";
  constexpr char kUnknown[] = "declaration_names_an_unknown_type";
  constexpr char kMalformed[] = "declaration_is_malformed";
  // The first compiles: so the others do not fail by accident.
  const char *const messages[] = {nullptr,    kDiffers,   kDiffers,   kDiffers,   kDiffers,
                                  kUnknown,   kUnknown,   kMalformed, kUnknown,   kMalformed,
                                  kMalformed, kMalformed, kMalformed, kMalformed, kUnknown};
  for (int row = 0; row < static_cast<int>(std::size(messages)); ++row) {
    const Outcome outcome = compile(row);
    if (messages[row] == nullptr) {
      EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
      continue;
    }
    EXPECT_NE(outcome.exit_code, 0) << row;
    EXPECT_NE(outcome.err.find(messages[row]), std::string::npos) << row << outcome.err;
  }
}

}  // namespace
}  // namespace kzv
