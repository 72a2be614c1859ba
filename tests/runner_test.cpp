// What the runner prints for a call, and what it makes of wrong use, hostile words and files.
#include "support/runner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "reference.h"

namespace kzv {
namespace {

using nlohmann::json;
using std::string_literals::operator""s;

TEST(Runner, WritesTheBytesOfTheResultAndNothingElse) {
  const std::pair<const char *, std::string> rows[] = {
      {"kzv EncodingToURLKZV 'a b' 0x1", "a+b"},
      {"kzv EncodingToURLKZV 'a b' -2147483648", "a%20b"},
      {"printf '%%' | kzv DecodingFromURLKZV -", "\0"s},
      {"printf 'a\\000\\377' >$TMPDIR$$; kzv EncodingToURLKZV file:$TMPDIR$$; rm $TMPDIR$$", "a%00%FF"},
      {"kzv EncodingToURLKZV hex:00fF20", "%00%FF%20"},
      {"kzv EncodingToURLKZV nil", ""},
      {"kzv EncodingToURLKZV text:nil", "nil"},
      {"kzv EncodingToURLKZV text:text:-", "text%3A-"},
      {"kzv EncodingToURLKZV '[a,b]'", "%5Ba%2Cb%5D"},
      {"kzv --as utf16 EncodingToURLKZV a", "a%00"},
      {"kzv --as bytes EncodingToURLKZV caf\303\251", "caf%C3%A9"},
      {"kzv --as UTF-16 EncodingToURLKZV hex:E9", "%E9"},
      {"kzv DecodingFromURLKZV %41%00%ff --hex", "4100FF"},
      {"kzv -- EncodingToURLKZV --hex", "--hex"},
      {"kzv EncodingToURLKZV -- -- 1", "--"},
      {"kzv --host-version none EncodingToURLKZV ' '", "%20"},
      {"kzv --host-version 2011.5 EncodingToURLKZV ' '", "%20"},
      {"cd " KZV_FOLDER " && kzv --plugin kzvstrings.so EncodingToURLKZV ' '", "%20"},
      {"script --quiet --command 'kzv EncodingToURLKZV x' /dev/null", "x\r\n"},  // on a terminal
      {"kzv --as nonsense --version", "kzv " KZV_VERSION "\n"},
  };
  for (const auto &[command, out] : rows) {
    const Outcome outcome = run("TMPDIR=${TMPDIR:-/tmp}/kzv\n" + std::string(command));
    EXPECT_EQ(outcome.out, out) << command;
    EXPECT_EQ(outcome.err, "") << command;
    EXPECT_EQ(outcome.exit_code, 0) << command;
  }
  for (const char *const command : {"kzv", "kzv --help", "kzv help"})
    EXPECT_NE(run(command).out.find("kzv [OPTIONS] NAME [ARG...]"), std::string::npos) << command;
}

TEST(Runner, SaysOnStandardErrorWhatIsWrongAndWhatToDo) {
  const struct {
    const char *command;
    int exit_code;
    const char *err;  // how it begins, after "kzv: "
  } rows[] = {
      {"kzv EncodingToURL x", 2, "there is no function EncodingToURL\n  did you mean EncodingToURLKZV?"},
      {"kzv help encodingtourlkzv", 2,
       "there is no function encodingtourlkzv\n  did you mean EncodingToURLKZV?\n  kzv list"},
      {"kzv \"$(printf 'a\\033[2J\\n\\302\\233\\377\\303\\251')\"", 2,
       "there is no function a\\x1B[2J\\x0A\\xC2\\x9B\\xFF\303\251\n"},
      {"kzv EncodingToURLKZV", 2,
       "EncodingToURLKZV does not take 0 arguments; it is declared:\n"
       "  EncodingToURLKZV(s as string) as string\n"
       "  EncodingToURLKZV(s as string, options as integer) as string\n"},
      {"kzv EncodingToURLKZV a 1 2", 2, "EncodingToURLKZV does not take 3 arguments"},
      {"kzv EncodingToURLKZV a 1.5", 2, "argument options: \"1.5\" is not an integer"},
      {"kzv EncodingToURLKZV a ''", 2, "argument options: \"\" is not an integer"},
      {"kzv EncodingToURLKZV a 2147483648", 2,
       "argument options: \"2147483648\" is out of range: integers go from -2147483648 to"},
      {"kzv EncodingToURLKZV a -2147483649", 2, "argument options: \"-2147483649\" is out of range"},
      {"kzv RandomBytesStringKZV 1 maybe", 2, "argument ASCII: \"maybe\" is not a boolean"},
      {"kzv EncodingToURLKZV file:/no/such/file", 2,
       "argument s: \"file:/no/such/file\" cannot be read: No such file"},
      {"kzv EncodingToURLKZV file:/", 2, "argument s: \"file:/\" cannot be read: Is a directory\n"},
      {"kzv EncodingToURLKZV hex:4", 2, "argument s: \"hex:4\" has an odd number of digits\n"},
      {"kzv EncodingToURLKZV hex:4g", 2, "argument s: \"hex:4g\" has a character that is not a hex digit\n"},
      {"kzv StrCompBytesKZV - -", 2, "standard input (-) can be read once only\n"},
      {"kzv --host-version new EncodingToURLKZV a", 2, "argument --host-version: \"new\" is not a number"},
      {"kzv --as \"$(printf '\\r')\" list", 2,
       "--as: kzv does not know the encoding \"\\x0D\"; take one of UTF-8 UTF-16"},
      {"kzv --nonsense EncodingToURLKZV a", 2, "unknown option --nonsense; kzv --help shows the options"},
      {"kzv --json --hex EncodingToURLKZV a", 2, "--hex excludes --json\n"},
      {"kzv --as --hex StringToHexKZV a", 2,
       "--as needs a value: --as ENCODING, or --as=... for one that begins with \"-\"\n"},
      {"kzv --as UTF-8 --as=bytes list", 2, "--as is given twice\n"},
      {"kzv --hex=yes list", 2, "--hex takes no value\n"},
      {"kzv --hex", 2, "there is no function or command to run; kzv --help shows them\n"},
      {"kzv list EncodingToURLKZV", 2, "kzv list takes no arguments\n"},
      {"kzv info", 2, "kzv info takes one FILE\n"},
      {"kzv completion fish", 2, "there is no completion for \"fish\"; take one of bash zsh\n"},
      {"kzv --plugin /no/such/file.so list", 1, "cannot load /no/such/file.so: No such file or directory\n"},
      {"kzv --plugin / list", 1, "cannot load /: it is a directory\n"},
      {"kzv info /dev/null", 1, "cannot load /dev/null: it is a device or a pipe\n"},
      {"kzv info /etc/passwd", 1, "cannot load /etc/passwd: it is not a library (not an ELF file)\n"},
      {"kzv info " KZV_FOLDER "/kzv >/dev/null", 1,
       "cannot load " KZV_FOLDER "/kzv: it has no symbol REALPluginMain, so it is not a plugin\n"},
      {"cd \"$(dirname \"$(ldd " KZV_FOLDER "/kzv | awk '/libstdc/ { print $3 }')\")\" && "
       "kzv --plugin libstdc++.so.6 list",
       1, "cannot load libstdc++.so.6: it has no symbol REALPluginMain, so it is not a plugin"},
      {"kzv EncodingToURLKZV x >/dev/full", 1, "cannot write the result to standard output\n"},
  };
  for (const auto &row : rows) {
    const Outcome outcome = run(row.command);
    EXPECT_EQ(outcome.exit_code, row.exit_code) << row.command;
    EXPECT_EQ(outcome.out, "") << row.command;
    EXPECT_TRUE(outcome.err.starts_with("kzv: "s + row.err)) << row.command << '\n' << outcome.err;
  }
}

TEST(Runner, ShortensLongWords) {
  for (const char *const command :
       {"kzv $long", "kzv --$long", "kzv StrKZV $long", "kzv --plugin /$long list"}) {
    const Outcome outcome = run("long=$(head -c 100000 /dev/zero | tr '\\0' x)\n" + std::string(command));
    EXPECT_NE(outcome.err.find("xxx[...]xxx"), std::string::npos) << command;
    EXPECT_LT(outcome.err.size(), 500U) << command;
  }
}

// The reference's examples show strings and memory blocks.
TEST(Runner, WritesJson) {
  const std::pair<const char *, const char *> rows[] = {
      {"kzv --json IsASCIIStringKZV a", R"({"type": "boolean", "value": true})"},
      {"a=$(printf '%023170d' 0); kzv --json LevenshteinDistanceKZV $a $a",
       R"({"type": "double", "value": 1, "exception": {"class": "OutOfMemoryException", "error_number": 0,
           "message": "Failed to allocate 2147580964 bytes of memory."}})"},
  };
  for (const auto &[command, expected] : rows)
    EXPECT_EQ(json::parse(run(command).out), json::parse(expected)) << command;
  const json list = json::parse(run("kzv --json list").out);
  EXPECT_EQ(list.size(), runner::all_sections().size());
  EXPECT_EQ(list[0]["name"], "EncodingToURLKZV");
  EXPECT_EQ(list[0]["group"], "URLs");
  EXPECT_EQ(list[0]["declarations"].size(), 2U);
}

TEST(Info, DescribesPlugins) {
  EXPECT_NE(run("kzv info " KZV_PLUGIN).out.find("\nentry         REALPluginMain\n"), std::string::npos);
  const json ours = json::parse(run("kzv --json info " KZV_PLUGIN).out);
  std::size_t declarations = 0;
  for (const runner::Section &section : runner::all_sections()) declarations += section.declarations.size();
  EXPECT_EQ(ours["functions"], declarations);
  EXPECT_EQ(ours["services"].size(), 23U);  // LenB, the 24th, has no name of its own

  if (!std::filesystem::exists(KZV_OTHER_PLUGIN)) GTEST_SKIP() << "there is no " KZV_OTHER_PLUGIN;
  const json expected = {
      {"file", KZV_OTHER_PLUGIN},     {"architecture", "32-bit x86"},
      {"entry", "REALPluginMain"},    {"version", KZV_VERSION},
      {"services", ours["services"]}, {"not_loaded", "a 32-bit x86 runner is needed to load it"}};
  EXPECT_EQ(json::parse(run("kzv --json info " KZV_OTHER_PLUGIN).out), expected);
}

// Each plugin is compiled from the code in its row.
TEST(Info, OutlivesWhatItLoads) {
  const struct {
    const char *code;
    int exit_code;
    json functions;
  } rows[] = {
      {"extern \"C\" void REALPluginMain(void *) {}", 0, 0},
      {"extern \"C\" void REALPluginMain(void *) { *(volatile int *)8 = 1; }", 1, nullptr},
      {"extern \"C\" void _exit(int); extern \"C\" void REALPluginMain(void *) { _exit(0); }", 1, nullptr},
  };
  for (const auto &row : rows) {
    const Outcome outcome = run("code='" + std::string(row.code) + R"('
plugin=$(mktemp)
echo "$code" | )" KZV_COMPILER R"( -shared -fPIC -w -x c++ -o $plugin - && kzv --json info $plugin
status=$?
rm $plugin
exit $status)");
    EXPECT_EQ(outcome.exit_code, row.exit_code) << row.code << outcome.err;
    const json facts = json::parse(outcome.out);
    EXPECT_EQ(facts["version"], nullptr) << row.code;
    EXPECT_EQ(facts.value("functions", json()), row.functions) << row.code;
    EXPECT_EQ(outcome.err.find("cannot load") != std::string::npos, row.exit_code != 0) << outcome.err;
  }
}

}  // namespace
}  // namespace kzv
