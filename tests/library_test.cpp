// The library file itself, and the check that guards its table of declarations.
#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "support/shell.h"

namespace kzv {
namespace {

// What `command` prints. It has to succeed and to print something: a tool that is missing finds no fault
// either.
std::string output_of(const std::string &command) {
  const Outcome outcome = shell(command);
  EXPECT_EQ(outcome.exit_code, 0) << command << ": " << outcome.err;
  EXPECT_FALSE(outcome.out.empty()) << command;
  return outcome.out;
}

std::vector<std::string> lines_of(const std::string &command) {
  std::istringstream output(output_of(command));
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
  const std::string symbols = output_of("readelf -sW " KZV_PLUGIN);
  EXPECT_EQ(symbols.find(" TLS "), std::string::npos);
  EXPECT_EQ(symbols.find(" UNIQUE "), std::string::npos);
  // The compiler's own start-up code has one entry and, where levels are asked for, its query of the
  // processor another; constructors of ours would have more.
  const std::size_t entries = std::string(KZV_BUILT_IN_LEVELS) == "portable" ? 1 : 2;
  EXPECT_EQ(output_of("readelf -dW " KZV_PLUGIN " | grep -w INIT_ARRAYSZ | grep -ow '[0-9]* (bytes)'"),
            std::to_string(entries * sizeof(void *)) + " (bytes)\n");
}

// Code and tables are shared between processes, and nothing that is called through can be overwritten.
TEST(Library, IsMappedSafely) {
  const std::string segments = output_of("readelf -lW " KZV_PLUGIN);
  const std::string dynamic = output_of("readelf -dW " KZV_PLUGIN);
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

// What the functions of a level may hold besides what those of the levels before it may: mnemonics, and
// registers as ymm, zmm, k (the masks) and 16 (vectors beyond the first 16).
struct Instructions {
  const char *level;
  const char *allowed;
};
constexpr Instructions kInstructions[] = {
    // What the library is built for: general instructions, prefixes, the x87 unit, SSE and SSE2. cpuid and
    // xgetbv are
    // how the compiler asks for a processor's features; tzcnt is bsf on one that does not have it.
    {"portable",
     "(adc|add|and|bs[fr]|bt[crs]?|call|cmp|dec|i?div|i?mul|inc|lea|leave|mov|movabs|neg|nop|not|or|popf?|"
     "pushf?|ret|"
     "ro[lr]|sar|sbb|sh[lr]d?|sub|test|tzcnt|xchg|xor)[bwlq]?|mov[sz][bwl][wlq]|c[lqw]t[dloq]|(j|cmov|set)[a-"
     "z]+|"
     "rep[nz]*|cs|data16|notrack|endbr(32|64)|ud2|hlt|cpuid|xgetbv|(?!fistt)f[a-z]+|\\.\\.\\.|"
     "(add|sub|mul|div|sqrt|min|max|andn?|x?or|mov[ualh]?|shuf|unpck[lh]|u?comi|cmp[a-z]*|movmsk)[ps][sd]|"
     "mov(d|q|dq[au]|hlps|lhps)|cvt[a-z0-9]+|p(add|sub)(u?s)?[bwdq]|pandn?|por|pxor|pcmp(eq|gt)[bwd]|"
     "pm(in|ax)(ub|sw)|pmovmskb|pmul(lw|hu?w|udq)|pmaddwd|psadbw|pavg[bw]|pshuf(d|lw|hw)|ps[lr]l(w|d|q|dq)|"
     "psra[wd]|pack(ss(wb|dw)|uswb)|punpck[lh](bw|wd|dq|qdq)|p(ins|ext)rw"},
    // AVX2, BMI2, POPCNT.
    {"avx2",
     "ymm|vzeroupper|vmov(d|q|dq[au]|[ua]p[sd])|v(broadcast|insert|extract)[if]128|vpbroadcast[bwdq]|"
     "vperm(q|d|2i128)|vp(add|sub)(u?s)?[bwdq]|vp(andn?|or|xor)|vpcmp(eq|gt)[bwdq]|vpblend(vb|w|d)|"
     "vp(min|max)[us][bwd]|vpmovmskb|vpack[su]s(wb|dw)|vpunpck[lh](bw|wd|dq|qdq)|vpmov[sz]x[bwd][wdq]|"
     "vpshuf(b|d|lw|hw)|vps(ll|rl|ra)v?(w|d|q|dq)|vpmadd(ubsw|wd)|vp(extr|insr)[bwdq]|vpalignr|vptest|"
     "(sar|shl|shr|ror|mul)x|pdep|pext|bzhi|popcnt[lq]?"},
    // AVX-512 F, BW, VL, VBMI, VBMI2.
    {"avx512",
     "zmm|k|16|\\{evex\\}|vmovdq[au](8|16|32|64)|vp(andn?|or|xor|ternlog)[dq]|vpcmp[a-z]*[bwdq]|vptestn?m["
     "bwdq]|"
     "vpblendm[bwdq]|k(mov|unpck|andn?|x?n?or|not|shift[lr]|ortest|test|add)(b|w|d|q|bw|wd|dq)|vpcompress[bw]"
     "|"
     "vperm(b|[ti]2b)|vpmovwb|v(broadcast|insert|extract|shuf)[if](32x[48]|64x[24])"},
};

// The row of the namespace that a function is in, as in <_ZN3kzv3cpu4avx212_GLOBAL__N_14findE...>. What is in
// none may run on any processor, and so may the question whether a level is available.
std::size_t row_of(const std::string &function) {
  const bool asks = function.find("9availableE") != std::string::npos;
  for (std::size_t row = 0; row < std::size(kInstructions) && !asks; ++row) {
    const std::string level = kInstructions[row].level;
    if (function.find("3kzv3cpu" + std::to_string(level.size()) + level) < 8) return row;
  }
  return 0;
}

// The mnemonic of a line of objdump, and the registers that only some levels have.
std::set<std::string> tokens_of(const std::string &line) {
  static const std::regex kRegister("%[xyz]mm(1[6-9]|2[0-9]|3[01])|%([yz]mm|k)[0-9]");
  const std::size_t tab = line.find('\t');
  if (tab == std::string::npos) return {};
  const std::string instruction = line.substr(tab + 1, line.find_first_of("<#", tab) - tab - 1);
  std::set<std::string> tokens = {instruction.substr(0, instruction.find(' '))};
  for (std::sregex_iterator at(instruction.begin(), instruction.end(), kRegister), end; at != end; ++at) {
    tokens.insert((*at)[1].matched ? "16" : (*at)[2].str());
  }
  return tokens;
}

TEST(Library, HasInstructionsOnlyInLevelsThatAskForThem) {
  std::array<std::map<std::string, std::string>, std::size(kInstructions)> found;  // function by token
  std::string function;
  for (const std::string &line : lines_of("objdump -d --no-show-raw-insn " KZV_PLUGIN)) {
    if (line.ends_with(">:")) function = line.substr(line.find('<'));
    for (const std::string &token : tokens_of(line)) found[row_of(function)].emplace(token, function);
  }
  std::string allowed;
  for (std::size_t row = 0; row < found.size(); ++row) {
    const auto &[level, also_allowed] = kInstructions[row];
    const bool built_in =
        std::string(" " KZV_BUILT_IN_LEVELS " ").find(" " + std::string(level) + " ") != std::string::npos;
    EXPECT_EQ(found[row].size() > 40, built_in) << found[row].size() << " different tokens in " << level;
    allowed += (row > 0 ? "|" : "") + std::string(also_allowed);
    const std::regex pattern(allowed);
    for (const auto &[token, where] : found[row]) {
      EXPECT_TRUE(std::regex_match(token, pattern)) << level << ": " << token << " in " << where;
    }
  }
}
#endif

// Compiles tests/must_not_compile.cpp with one of its cases.
Outcome compile(int row) {
  return shell(KZV_COMPILE " -DROW=" + std::to_string(row) + " " KZV_SOURCE "/tests/must_not_compile.cpp");
}

TEST(Declarations, ThatDifferFromTheirFunctionStopTheBuild) {
  // The first compiles: so the others do not fail by accident.
  const Outcome good = compile(0);
  EXPECT_EQ(good.exit_code, 0) << good.err;
  for (int row = 1; row < 15; ++row) {
    const Outcome outcome = compile(row);
    EXPECT_NE(outcome.exit_code, 0) << row;
    EXPECT_NE(outcome.err.find("declaration_differs_from_its_function"), std::string::npos)
        << row << outcome.err;
  }
}

}  // namespace
}  // namespace kzv
