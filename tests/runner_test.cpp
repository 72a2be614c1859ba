// kzv as a person uses it: what it prints where, and how it exits.
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/shell.h"

namespace kzv {
namespace {

using std::string_literals::operator""s;

// Runs a command line in which "kzv" is the runner of this build.
Outcome run(const std::string &command) { return shell("PATH=" KZV_FOLDER ":$PATH\n" + command); }

TEST(Runner, WritesTheBytesOfTheResultAndNothingElse) {
  const struct {
    const char *command;
    std::string out;
  } rows[] = {
      {"kzv EncodingToURLKZV 'a b+c/d~e'", "a%20b+c%2Fd%7Ee"},
      {"kzv EncodingToURLKZV 'a b+c/d~e' 1", "a+b%2Bc%2Fd%7Ee"},
      {"kzv EncodingToURLKZV 'a b' 0x1", "a+b"},
      {"kzv EncodingToURLKZV 'a b' -1", "a%20b"},
      {"kzv EncodingToURLKZV 'a b' -2147483648", "a%20b"},
      {"printf '%%' | kzv DecodingFromURLKZV -", "\0"s},
      {"printf 'a\\000b' | kzv EncodingToURLKZV -", "a%00b"},
      {"printf 'a\\000\\377' >\"$TMPDIR\"bytes$$; kzv EncodingToURLKZV file:\"$TMPDIR\"bytes$$; rm "
       "\"$TMPDIR\"bytes$$",
       "a%00%FF"},
      {"kzv EncodingToURLKZV hex:00fF20", "%00%FF%20"},
      {"kzv EncodingToURLKZV hex:", ""},
      {"kzv EncodingToURLKZV nil", ""},
      {"kzv EncodingToURLKZV ''", ""},
      {"kzv EncodingToURLKZV text:nil", "nil"},
      {"kzv EncodingToURLKZV text:text:-", "text%3A-"},
      {"kzv EncodingToURLKZV text:", ""},
      {"kzv EncodingToURLKZV '[a,b]'", "%5Ba%2Cb%5D"},
      {"kzv --as ISO-8859-1 EncodingToURLKZV caf\303\251", "caf%E9"},
      {"kzv --as utf16 EncodingToURLKZV a", "a%00"},
      {"kzv --as bytes EncodingToURLKZV caf\303\251", "caf%C3%A9"},
      {"kzv --as UTF-16 EncodingToURLKZV hex:E9", "%E9"},
      {"kzv --hex DecodingFromURLKZV %41%00%ff", "4100FF"},
      {"kzv DecodingFromURLKZV a --hex", "61"},
      {"kzv -- EncodingToURLKZV --hex", "--hex"},
      {"kzv EncodingToURLKZV -- -- 1", "--"},
      {"kzv --host-version none EncodingToURLKZV ' '", "%20"},
      {"kzv --host-version 2011.5 EncodingToURLKZV ' '", "%20"},
      {"cd / && kzv --plugin " KZV_FOLDER "/kzvstrings.so EncodingToURLKZV ' '", "%20"},
      {"cd " KZV_FOLDER " && kzv --plugin kzvstrings.so EncodingToURLKZV ' '", "%20"},
  };
  for (const auto &row : rows) {
    const Outcome outcome = run(row.command);
    EXPECT_EQ(outcome.out, row.out) << row.command;
    EXPECT_EQ(outcome.err, "") << row.command;
    EXPECT_EQ(outcome.exit_code, 0) << row.command;
  }
}

TEST(Runner, SaysOnStandardErrorWhatIsWrongAndWhatToDo) {
  const struct {
    const char *command;
    int exit_code;
    std::vector<const char *> said;
  } rows[] = {
      {"kzv EncodingToURL x", 2, {"there is no function EncodingToURL\n", "did you mean EncodingToURLKZV?"}},
      {"kzv DecodngFromURLKZV x", 2, {"did you mean DecodingFromURLKZV?"}},
      {"kzv help StrKZV EncodingToURL", 2, {"there is no function EncodingToURL\n", "EncodingToURLKZV?"}},
      {"kzv EncodingToURLKZV",
       2,
       {"0 arguments", "EncodingToURLKZV(s as string, options as integer) as string"}},
      {"kzv EncodingToURLKZV a 1 2", 2, {"3 arguments", "EncodingToURLKZV(s as string) as string"}},
      {"kzv EncodingToURLKZV a 1.5", 2, {"options", "\"1.5\" is no integer"}},
      {"kzv EncodingToURLKZV a ''", 2, {"options", "is no integer"}},
      {"kzv EncodingToURLKZV a 2147483648", 2, {"out of range", "2147483647"}},
      {"kzv EncodingToURLKZV a -2147483649", 2, {"out of range"}},
      {"kzv EncodingToURLKZV a 99999999999999999999999", 2, {"out of range"}},
      {"kzv EncodingToURLKZV file:/no/such/file", 2, {"file:/no/such/file", "No such file"}},
      {"kzv EncodingToURLKZV file:/", 2, {"file:/", "directory"}},
      {"kzv EncodingToURLKZV hex:4", 2, {"odd number"}},
      {"kzv EncodingToURLKZV hex:4g", 2, {"no hex digit"}},
      {"kzv --as nonsense EncodingToURLKZV a", 2, {"nonsense", "Windows-1252"}},
      {"kzv --host-version new EncodingToURLKZV a", 2, {"--host-version", "no number"}},
      {"kzv --nonsense EncodingToURLKZV a", 2, {"unknown option --nonsense"}},
      {"kzv EncodingToURLKZV -a", 2, {"unknown option -a", "--"}},
      {"kzv --json --hex EncodingToURLKZV a", 2, {"--hex", "--json"}},
      {"kzv --as", 2, {"--as"}},
      {"kzv StrCompBytesKZV - -", 2, {"once only"}},
      {"kzv list EncodingToURLKZV", 2, {"list takes no arguments"}},
      {"kzv --plugin /no/such/file.so list", 1, {"/no/such/file.so", "No such file"}},
      {"head -c 9000 " KZV_FOLDER "/kzvstrings.so >" KZV_FOLDER "/cut.so; kzv --plugin " KZV_FOLDER
       "/cut.so list",
       1,
       {"cut short"}},
      {"kzv --plugin / list", 1, {"directory"}},
      {"kzv --plugin /etc/passwd list", 1, {"/etc/passwd", "no ELF file"}},
      {"kzv --plugin \"$(ldd " KZV_FOLDER "/kzv | awk '/libstdc/ { print $3 }')\" list",
       1,
       {"libstdc++", "no symbol REALPluginMain"}},
  };
  for (const auto &row : rows) {
    const Outcome outcome = run(row.command);
    EXPECT_EQ(outcome.exit_code, row.exit_code) << row.command;
    EXPECT_EQ(outcome.out, "") << row.command;
    for (const char *const words : row.said)
      EXPECT_NE(outcome.err.find(words), std::string::npos) << outcome.err;
  }
}

TEST(Runner, NamesBothArchitecturesWhenAPluginIsForAnother) {
  std::string file(64, '\0');
  file.replace(0, 6,
               "\x7F"
               "ELF\x01\x01");  // 32-bit
  file[18] = 3;                 // x86
  const std::string path = testing::TempDir() + "kzv-32-bit.so";
  std::ofstream(path, std::ios::binary) << file;
  const Outcome outcome = run("kzv --plugin " + path + " list");
  EXPECT_EQ(outcome.exit_code, 1);
  EXPECT_NE(outcome.err.find("built for 32-bit x86, and this runner is 64-bit x86-64"), std::string::npos)
      << outcome.err;
  std::remove(path.c_str());
}

TEST(Runner, DescribesResultsAsJson) {
  using nlohmann::json;
  const struct {
    const char *command;
    json expected;
  } rows[] = {
      {"kzv --json EncodingToURLKZV 'a b'",
       {{"type", "string"},
        {"nil", false},
        {"length", 5},
        {"encoding", "ASCII"},
        {"encoding_number", 0x600},
        {"text", "a%20b"},
        {"hex", "6125323062"}}},
      {"kzv --json DecodingFromURLKZV %00%FF",
       {{"type", "string"},
        {"nil", false},
        {"length", 2},
        {"encoding", "bytes"},
        {"encoding_number", 0xFFFF},
        {"hex", "00FF"}}},
      {"kzv --json EncodingToURLKZV nil", {{"type", "string"}, {"nil", true}, {"length", 0}}},
  };
  for (const auto &row : rows) EXPECT_EQ(json::parse(run(row.command).out), row.expected) << row.command;
}

TEST(Runner, EndsTheResultWithANewlineOnATerminalOnly) {
  const Outcome outcome = run("script --quiet --command 'kzv EncodingToURLKZV x' /dev/null");
  EXPECT_EQ(outcome.out, "x\r\n") << outcome.err;
}

TEST(Runner, TellsHowToUseIt) {
  for (const char *const command : {"kzv", "kzv --help", "kzv help"}) {
    const Outcome outcome = run(command);
    EXPECT_EQ(outcome.exit_code, 0) << command;
    EXPECT_NE(outcome.out.find("kzv [OPTIONS] NAME [ARG...]"), std::string::npos) << command;
  }
}

TEST(Runner, ReportsAResultThatCannotBeWritten) {
  const Outcome outcome = run("kzv EncodingToURLKZV x >/dev/full");
  EXPECT_EQ(outcome.exit_code, 1);
  EXPECT_NE(outcome.err.find("cannot write"), std::string::npos);
}

}  // namespace
}  // namespace kzv
