// The library file itself, and the check that guards its table of declarations.
#include <array>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "declaration.h"
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

// `pattern` is that of the ends of lines.
void expect_lines(const std::string &command, const std::string &pattern) {
  std::istringstream lines(output_of(command));
  for (std::string line; std::getline(lines, line);)
    EXPECT_TRUE(std::regex_match(line, std::regex(".*" + pattern))) << line;
}

TEST(Library, ExportsItsEntryPointAlone) {
  expect_lines("nm -D --defined-only " KZV_PLUGIN, " T REALPluginMain");
}

#if !defined(KZV_SANITIZED)
// In the runtime libraries alone, and in no version that old systems lack: those of glibc 2.17 and GCC 5.
TEST(Library, RunsOnSystemsAsOldAsTheDocumentationSays) {
  expect_lines("readelf -dW " KZV_PLUGIN " | grep NEEDED",
               R"(\[(libstdc\+\+\.so\.6|libgcc_s\.so\.1|lib[mc]\.so\.6|ld-linux.*)\])");
  expect_lines(
      "nm -D --undefined-only " KZV_PLUGIN " | grep -v ' w '",  // those may be missing
      R"(@(GLIBC_2\.([0-9]|1[0-7])(\.[0-9]+)?|GLIBCXX_3\.4(\.(1?[0-9]|2[01]))?|CXXABI_1\.3(\.[0-9])?|GCC_3\.([0-3].*|4)))");
}

// Code and tables are shared between processes, and nothing that is called through can be overwritten. Memory
// that is zero at first is not in the file and costs nothing until it is used.
TEST(Library, IsSmallMappedSafelyAndKeepsNothingPerThreadOrProcess) {
  const std::string facts = output_of("readelf -lsdW " KZV_PLUGIN);
  for (const char *const wanted : {"GNU_RELRO", "BIND_NOW"})
    EXPECT_NE(facts.find(wanted), std::string::npos) << wanted;
  for (const char *const unwanted : {"TEXTREL", "RWE", " TLS ", " UNIQUE "})
    EXPECT_EQ(facts.find(unwanted), std::string::npos) << unwanted;
  expect_lines("readelf -lW " KZV_PLUGIN " | grep GNU_STACK", " RW +0x[0-9a-f]+");
  const int size = std::stoi(output_of("size -B " KZV_PLUGIN " | awk 'NR == 2 { print $1 + $2 }'"));
  EXPECT_TRUE(size > 50'000 && size < 256 * 1024) << size;
}

TEST(Library, RunsNothingAtLoad) {
  // The compiler's own start-up code has one entry and, where levels are asked for, its query of the
  // processor another; constructors of ours would have more.
  const std::size_t entries = std::string(KZV_BUILT_IN_LEVELS) == "portable" ? 1 : 2;
  expect_lines("readelf -dW " KZV_PLUGIN " | grep -w INIT_ARRAYSZ",
               " " + std::to_string(entries * sizeof(void *)) + " \\(bytes\\)");
}

// SSE and SSE2; with a "v" before, AVX and AVX2.
#define KZV_SSE2                                                                                          \
  "(add|sub|mul|div|sqrt|min|max|andn?|x?or|mov[ualh]?|shuf|unpck[lh]|u?comi|cmp[a-z]*|movmsk)[ps][sd]|"  \
  "mov(d|q|dq[au]|hlps|lhps)|cvt(t?[ps][sd]2([ps][sdi]|si|dq)|(dq|[ps]i)2[ps][sd])[lq]?|psra[wd]|pandn?|" \
  "por|pxor|p(add|sub)(u?s)?[bwdq]|pcmp(eq|gt)[bwd]|pm(in|ax)(ub|sw)|pmovmskb|pmul(lw|hu?w|udq)|pmaddwd|" \
  "psadbw|pavg[bw]|pshuf(d|lw|hw)|ps[lr]l(w|d|q|dq)|pack(ss(wb|dw)|uswb)|punpck[lh](bw|wd|dq|qdq)|"       \
  "p(ins|ext)rw"

// What the functions of a level may hold besides what those of the levels before it may: mnemonics, and
// registers as ymm, zmm, k (the masks) and 16 (vectors beyond the first 16).
constexpr std::pair<const char *, const char *> kInstructions[] = {
    // General instructions, prefixes, the x87 unit and SSE2. cpuid and xgetbv are how the compiler asks for a
    // processor's features; tzcnt is bsf on one that does not have it.
    {"portable",
     "(adc|add|and|bs[fr]|bt[crs]?|call|cmp|dec|i?div|i?mul|inc|lea|leave|mov|movabs|neg|nop|not|x?or|popf?|"
     "pushf?|ret|ro[lr]|sar|sbb|sh[lr]d?|sub|test|tzcnt|xchg)[bwlq]?|mov[sz][bwl][wlq]|c[lqw]t[dloq]|"
     "(j|cmov|set)[a-z]+|rep[nz]*|cs|data16|notrack|endbr(32|64)|ud2|hlt|cpuid|xgetbv|(?!fistt)f[a-z]+1?|"
     "\\.\\.\\.|" KZV_SSE2},
    // AVX2, BMI2, POPCNT.
    {"avx2", "v(" KZV_SSE2 ")|ymm|v(zeroupper|(broadcast|insert|extract)[if]128|p(broadcast[bwdq]|"
             "cmp(eq|gt)q|blend(vb|w|d)|(min|max)[us][bwd]|ackusdw|mov[sz]x[bwd][wdq]|shufb|s(ll|rl|ra)v[dq]|"
             "maddubsw|(extr|insr)[bdq]|alignr|test))|vperm(q|d|2i128)|(sar|shl|shr|ror|mul)x|pdep|pext|bzhi|"
             "popcnt[lq]?"},
    // AVX-512 F, BW, VL, VBMI, VBMI2.
    {"avx512",
     "zmm|k|16|\\{evex\\}|k(mov|unpck|andn?|x?n?or|not|shift[lr]|ortest|test|add)([bwdq]|bw|wd|dq)|"
     "v(movdq[au](8|16|32|64)|perm(b|[ti]2b)|(broadcast|insert|extract|shuf)[if](32x[48]|64x[24])|"
     "p((andn?|x?or|ternlog)[dq]|cmp[a-z]*[bwdq]|testn?m[bwdq]|blendm[bwdq]|compress[bw]|movwb))"},
};

// The row of the namespace that a function is in, as in <_ZN3kzv3cpu4avx212_GLOBAL__N_14findE...>. What is in
// none may run on any processor, and so may the question whether a level is available.
std::size_t row_of(const std::string &function) {
  const bool asks = function.find("9availableE") != std::string::npos;
  for (std::size_t row = 0; row < std::size(kInstructions) && !asks; ++row) {
    const std::string level = kInstructions[row].first;
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
  for (std::sregex_iterator at(instruction.begin(), instruction.end(), kRegister), end; at != end; ++at)
    tokens.insert((*at)[1].matched ? "16" : (*at)[2].str());
  return tokens;
}

TEST(Library, HasInstructionsOnlyInLevelsThatAskForThem) {
  std::array<std::map<std::string, std::string>, std::size(kInstructions)> found;  // function by token
  std::string function;
  std::istringstream lines(output_of("objdump -d --no-show-raw-insn " KZV_PLUGIN));
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with(">:")) function = line.substr(line.find('<'));
    for (const std::string &token : tokens_of(line)) found[row_of(function)].emplace(token, function);
  }
  std::string allowed;
  for (std::size_t row = 0; row < found.size(); ++row) {
    const auto &[level, also_allowed] = kInstructions[row];
    const bool built_in =
        std::regex_search(KZV_BUILT_IN_LEVELS, std::regex("\\b" + std::string(level) + "\\b"));
    EXPECT_EQ(found[row].size() > 40, built_in) << found[row].size() << " different tokens in " << level;
    allowed += (row > 0 ? "|" : "") + std::string(also_allowed);
    const std::regex pattern(allowed);
    for (const auto &[token, where] : found[row])
      EXPECT_TRUE(std::regex_match(token, pattern)) << level << ": " << token << " in " << where;
  }
}
#endif

// Only the first is that of its function, which in row 6 returns what the host language does not have. The
// others stop the build: to the compiler they are not constants.
constexpr const char *kDeclarations[] = {
    "F(s as string, i as integer = 0, b as boolean=false,m as memoryblock) as double",
    "F(s as string, i as integer, b as boolean) as double",
    "F(s as string, i as integer, b as boolean, m as memoryblock) as integer",
    "F(s as string, i as integer, b as boolean, m as memoryblock, x as string) as double",
    "F(s as string, i as integr, b as boolean, m as memoryblock) as double",
    "F(s as string, i as integer, b as boolean, m as memoryblock) as Double",
    "F(s as string, i as integer, b as boolean, m as memoryblock) as integer",
    "F(s as string, i as integer, b as boolean, m as memoryblock,) as double",
    "F G(s as string, i as integer, b as boolean, m as memoryblock) as double",
    "F(s as string, i as integer = , b as boolean, m as memoryblock) as double",
    "F(s as string, i as integer, b as boolean, m as memoryblock) as double = 3",
};
template <std::size_t row>
using Function = std::conditional_t<row == 6, long double, double>(REALstringStruct *, std::int32_t,
                                                                   REALboolean, REALmemoryBlockStruct *);
template <std::size_t row>
constexpr bool kIsAccepted = requires {
  typename std::bool_constant<declares<Function<row>>(kDeclarations[row]) != nullptr>;
};

TEST(Declarations, ThatDifferFromTheirFunctionAreNotConstants) {
  constexpr auto kAccepted = []<std::size_t... row>(std::index_sequence<row...>) {
    return std::array{kIsAccepted<row>...};
  }
  (std::make_index_sequence<std::size(kDeclarations)>());
  for (std::size_t row = 0; row < kAccepted.size(); ++row) EXPECT_EQ(kAccepted[row], row == 0) << row;
}

}  // namespace
}  // namespace kzv
