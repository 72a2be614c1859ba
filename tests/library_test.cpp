// The library file itself, and the check that guards its table of declarations.
#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <sstream>

#include "support/shell.h"

namespace kzv {
namespace {

// The lines that `command` prints.
std::vector<std::string> lines_of(const std::string &command) {
  std::istringstream output(shell(command).out);
  std::vector<std::string> lines;
  for (std::string line; std::getline(output, line);) lines.push_back(line);
  return lines;
}

std::string last_word(const std::string &line) { return line.substr(line.rfind(' ') + 1); }

TEST(Library, ExportsItsEntryPointAlone) {
  const auto exported = lines_of("nm -D --defined-only " KZV_PLUGIN);
  ASSERT_EQ(exported.size(), 1U);
  EXPECT_EQ(last_word(exported[0]), "REALPluginMain");
}

#if !defined(KZV_SANITIZED)
TEST(Library, NeedsTheRuntimeLibrariesAlone) {
  for (const std::string &line : lines_of("readelf -dW " KZV_PLUGIN " | grep NEEDED")) {
    const std::string library = last_word(line);
    const bool runtime = library == "[libstdc++.so.6]" || library == "[libgcc_s.so.1]" ||
                         library == "[libm.so.6]" || library == "[libc.so.6]" ||
                         library.starts_with("[ld-linux");
    EXPECT_TRUE(runtime) << library;
  }
}

// 1.2.3 as a number that orders as versions do.
int version_number(const std::string &text) {
  int parts[3] = {};
  std::sscanf(text.c_str(), "%d.%d.%d", &parts[0], &parts[1], &parts[2]);
  return (parts[0] * 1000 + parts[1]) * 1000 + parts[2];
}

// What is undefined is looked for in those libraries, in no version that old systems lack: memcpy has had its
// own since GLIBC 2.14; the conversion of doubles to text came with GLIBCXX 3.4.29, which is GCC 11.
TEST(Library, RunsOnSystemsAsOldAsTheDocumentationSays) {
  const std::pair<std::string, std::string> highest[] = {
      {"GLIBC_", "2.14"}, {"GLIBCXX_", "3.4.29"}, {"CXXABI_", "1.3"}, {"GCC_", "3.4"}};
  const auto undefined = lines_of("nm -D --undefined-only " KZV_PLUGIN);
  EXPECT_GT(undefined.size(), 10U);
  for (const std::string &line : undefined) {
    if (line.find(" w ") != std::string::npos) continue;  // may be missing
    const std::string version = line.substr(line.find('@') + 1);
    bool known = false;
    for (const auto &[name, limit] : highest) {
      if (!version.starts_with(name)) continue;
      known = version_number(version.substr(name.size())) <= version_number(limit);
    }
    EXPECT_TRUE(known) << line;
  }
}

TEST(Library, RunsNothingAtLoadAndKeepsNothingPerThreadOrProcess) {
  const std::string symbols = shell("readelf -sW " KZV_PLUGIN).out;
  EXPECT_EQ(symbols.find(" TLS "), std::string::npos);
  EXPECT_EQ(symbols.find(" UNIQUE "), std::string::npos);
  // The compiler's own start-up code has one entry and its query of the processor another; constructors of
  // ours would have more.
  EXPECT_EQ(shell("readelf -dW " KZV_PLUGIN " | grep -w INIT_ARRAYSZ | grep -ow '[0-9]* (bytes)'").out,
            std::to_string(2 * sizeof(void *)) + " (bytes)\n");
}

// Code and tables are shared between processes, and nothing that is called through can be overwritten.
TEST(Library, IsMappedSafely) {
  const std::string segments = shell("readelf -lW " KZV_PLUGIN).out;
  const std::string dynamic = shell("readelf -dW " KZV_PLUGIN).out;
  EXPECT_NE(segments.find("GNU_RELRO"), std::string::npos);
  EXPECT_NE(dynamic.find("BIND_NOW"), std::string::npos);
  EXPECT_EQ(dynamic.find("TEXTREL"), std::string::npos);
  EXPECT_EQ(lines_of("readelf -lW " KZV_PLUGIN " | grep GNU_STACK | grep -w RW").size(), 1U);
  EXPECT_EQ(segments.find("RWE"), std::string::npos);
}

TEST(Library, IsSmall) {
  const auto sizes = lines_of("size -B " KZV_PLUGIN " | awk 'NR == 2 { print $4 }'");
  ASSERT_EQ(sizes.size(), 1U);
  EXPECT_GT(std::stoi(sizes[0]), 50'000);
  EXPECT_LT(std::stoi(sizes[0]), 256 * 1024);
}

// What every processor has that the library is built for: general instructions, prefixes, the older
// arithmetic unit, SSE and SSE2. The query of the processor is the compiler's.
bool is_everywhere(const std::string &mnemonic) {
  static const std::regex kEverywhere(
      "(adc|add|and|bs[fr]|bt[crs]?|call|cmp|dec|i?div|i?mul|inc|lea|leave|mov|movabs|neg|nop|not|or|popf?|"
      "pushf?|"
      "ret|ro[lr]|sar|sbb|sh[lr]d?|sub|test|tzcnt|xchg|xor)[bwlq]?|mov[sz][bwl][wlq]|c[lqw]t[dloq]|(j|cmov|"
      "set)"
      "[a-z]+|rep[nz]*|cs|data16|notrack|endbr(32|64)|ud2|hlt|cpuid|xgetbv|(?!fistt)f[a-z]+|\\.\\.\\.|(add|"
      "sub|mul|"
      "div|sqrt|min|max|andn?|x?or|mov[ualh]?|shuf|unpck[lh]|u?comi|cmp[a-z]*|movmsk)[ps][sd]|"
      "mov(d|q|dq[au]|hlps|lhps)|cvt[a-z0-9]+|p(add|sub)(u?s)?[bwdq]|pandn?|por|pxor|pcmp(eq|gt)[bwd]|"
      "pm(in|ax)(ub|sw)|pmovmskb|pmul(lw|hu?w|udq)|pmaddwd|psadbw|pavg[bw]|pshuf(d|lw|hw)|ps[lr]l(w|d|q|dq)|"
      "psra[wd]|pack(ss(wb|dw)|uswb)|punpck[lh](bw|wd|dq|qdq)|p(ins|ext)rw");
  return std::regex_match(mnemonic, kEverywhere);
}

TEST(Library, HasWideInstructionsOnlyWhereTheyAreChosenAtRunTime) {
  std::string function;
  int instructions = 0;
  std::map<std::string, std::string> found;  // function by mnemonic
  for (const std::string &line : lines_of("objdump -d --no-show-raw-insn " KZV_PLUGIN)) {
    if (line.ends_with(">:")) function = line.substr(line.find('<'));
    const std::size_t tab = line.find('\t');
    if (tab == std::string::npos || function.find("avx") != std::string::npos) continue;
    ++instructions;
    found.emplace(line.substr(tab + 1, line.find(' ', tab) - tab - 1), function);
  }
  EXPECT_GT(instructions, 5000);
  for (const auto &[mnemonic, where] : found) EXPECT_TRUE(is_everywhere(mnemonic)) << mnemonic << where;
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
