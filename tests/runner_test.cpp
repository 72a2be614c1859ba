// What the runner prints: for a call, wrong use, hostile words and files; completions and the manual.
#include "support/runner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host.h"
#include "reference.h"

namespace kzv {
namespace {

using nlohmann::json;
using std::string_literals::operator""s;

// And nothing on standard error.
void expect_prints(const std::string &command, const std::string &out) {
  const Outcome outcome = run(command);
  EXPECT_EQ(outcome.out, out) << command;
  EXPECT_EQ(outcome.err, "") << command;
  EXPECT_EQ(outcome.exit_code, 0) << command;
}

// The reference's examples show most options and kinds of arguments.
TEST(Runner, WritesTheBytesOfTheResultAndNothingElse) {
  const std::pair<const char *, std::string> rows[] = {
      {"kzv EncodingToURLKZV 'a b' 0x1", "a+b"},
      {"f=$(mktemp); printf 'a\\000\\377' >$f; kzv ConcatBinaryStringsKZV file:$f hex:fF00; rm $f",
       "a\0\377\377\0"s},
      {"kzv ConcatBinaryStringsKZV text:nil text:text:-", "niltext:-"},
      {"kzv ConcatBinaryStringsKZV -- -- --hex", "----hex"},
      {"kzv --host-version 2011.5 EncodingToURLKZV '[a,b]'", "%5Ba%2Cb%5D"},
      {"kzv --as utf16 EncodingToURLKZV a", "a%00"},
      {"kzv EncodingToURLKZV caf\303\251 --as=bytes", "caf%C3%A9"},
      {"cd " KZV_FOLDER " && kzv --plugin kzvstrings.so EncodingToURLKZV ' '", "%20"},
      {"script --quiet --command 'kzv EncodingToURLKZV x' /dev/null", "x\r\n"},  // on a terminal
  };
  for (const auto &[command, out] : rows) expect_prints(command, out);
  for (const char *const command : {"kzv", "kzv --help", "kzv help"})
    EXPECT_NE(run(command).out.find("kzv [OPTIONS] NAME [ARG...]"), std::string::npos) << command;
}

TEST(Runner, SaysOnStandardErrorWhatIsWrongAndWhatToDo) {
  // Arguments, exit code, and how the message begins after "kzv: ".
  const std::tuple<const char *, int, const char *> rows[] = {
      {"EncodingToURL x", 2, "there is no function EncodingToURL\n  did you mean EncodingToURLKZV?"},
      {"\"$(printf 'a\\033[2J\\n\\302\\233\\377\\303\\251')\"", 2,
       "there is no function a\\x1B[2J\\x0A\\xC2\\x9B\\xFF\303\251\n"},
      {"EncodingToURLKZV", 2,
       "EncodingToURLKZV does not take 0 arguments; it is declared:\n"
       "  EncodingToURLKZV(s as string) as string\n"
       "  EncodingToURLKZV(s as string, options as integer) as string\n"},
      {"EncodingToURLKZV a ''", 2, "argument options: \"\" is not an integer"},
      {"EncodingToURLKZV a 2147483648", 2, "argument options: \"2147483648\" is out of range: integers go"},
      {"StrKZV $long", 2, "argument d: \"xxx"},
      {"RandomBytesStringKZV 1 maybe", 2, "argument ASCII: \"maybe\" is not a boolean"},
      {"EncodingToURLKZV file:/no/file", 2, "argument s: \"file:/no/file\" cannot be read: No such file"},
      {"EncodingToURLKZV hex:4g", 2, "argument s: \"hex:4g\" has a character that is not a hex digit\n"},
      {"StrCompBytesKZV - -", 2, "standard input (-) can be read once only\n"},
      {"--host-version 1.5x list", 2, "argument --host-version: \"1.5x\" is not a number"},
      {"--as \"$(printf '\\r')\" list", 2, "--as: kzv does not know the encoding \"\\x0D\"; take one"},
      {"--as --hex list", 2, "--as needs a value: --as ENCODING, or --as=... for one that begins with"},
      {"--plugin /no/such/file.so list", 1, "cannot load /no/such/file.so: No such file or directory\n"},
      {"info " KZV_FOLDER "/kzv >/dev/null", 1,
       "cannot load " KZV_FOLDER "/kzv: it has no symbol REALPluginMain, so it is not a plugin\n"},
      {"EncodingToURLKZV x >/dev/full", 1, "cannot write the result to standard output\n"},
  };
  for (const auto &[words, exit_code, err] : rows) {
    const Outcome outcome = run("long=$(head -c 100000 /dev/zero | tr '\\0' x)\nkzv "s + words);
    EXPECT_EQ(outcome.exit_code, exit_code) << words;
    EXPECT_EQ(outcome.out, "") << words;
    EXPECT_TRUE(outcome.err.starts_with("kzv: "s + err)) << words << '\n' << outcome.err;
    EXPECT_LT(outcome.err.size(), 500U) << words;
  }
}

// The reference's examples show strings and memory blocks.
TEST(Runner, WritesJson) {
  EXPECT_EQ(json::parse(run("kzv --json IsASCIIStringKZV a").out),
            json({{"type", "boolean"}, {"value", true}}));
  EXPECT_EQ(json::parse(run("a=$(printf '%023170d' 0); kzv --json LevenshteinDistanceKZV $a $a").out),
            json::parse(R"({"type": "double", "value": 1, "exception": {"class": "OutOfMemoryException",
                "error_number": 0, "message": "Failed to allocate 2147580964 bytes of memory."}})"));
}

TEST(Info, DescribesPlugins) {
  EXPECT_NE(run("kzv info " KZV_PLUGIN).out.find("\nentry         REALPluginMain\n"), std::string::npos);
  const json ours = json::parse(run("kzv --json info " KZV_PLUGIN).out);
  EXPECT_EQ(ours["services"].size(), host::Services::names().size());
  if (!std::filesystem::exists(KZV_OTHER_PLUGIN)) GTEST_SKIP() << "there is no " KZV_OTHER_PLUGIN;
  const json expected = {
      {"file", KZV_OTHER_PLUGIN},     {"architecture", "32-bit x86"},
      {"entry", "REALPluginMain"},    {"version", KZV_VERSION},
      {"services", ours["services"]}, {"not_loaded", "a 32-bit x86 runner is needed to load it"}};
  EXPECT_EQ(json::parse(run("kzv --json info " KZV_OTHER_PLUGIN).out), expected);
}

// Whatever a plugin does when it is loaded.
TEST(Info, OutlivesWhatItLoads) {
  for (const std::string code : {"", "*(volatile int *)8 = 1;", "_exit(0);"}) {
    const Outcome outcome = run("code='extern \"C\" void REALPluginMain(void *) { " + code + R"( }'
plugin=$(mktemp)
echo "$code" | )" KZV_COMPILER R"( -shared -fPIC -w -include unistd.h -x c++ -o $plugin -
(kzv info $plugin || echo failed $?) | grep -E '^(version|functions|failed) '
rm $plugin)");
    EXPECT_EQ(outcome.out, "version       none\n"s + (code.empty() ? "functions     0\n" : "failed 1\n"))
        << code;
    EXPECT_EQ(outcome.err.find("cannot load") == std::string::npos, code.empty()) << outcome.err;
  }
}

TEST(Completion, InBashKnowsFunctionsCommandsOptionsAndTheirValues) {
  const std::pair<const char *, const char *> rows[] = {
      // The last word is being typed.
      {"kzv EncodingToU", "EncodingToURLKZV"},
      {"kzv --json --as UTF-8 l", "list"},
      {"kzv StrKZV --h", "--hex --host-version --help"},
      {"kzv --as = U", "UTF-8 UTF-16 UTF-32"},
      {"kzv --hex info /etc/host.con", "/etc/host.conf"},
      {"kzv --plugin info ma", "manual"},
  };
  const std::string complete =
      "eval \"$(kzv completion bash)\"; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _kzv; "
      "echo \"${COMPREPLY[*]}\"";
  for (const auto &[words, offered] : rows)
    expect_prints("bash -c '" + complete + "' bash " + words, offered + "\n"s);
}

TEST(Completion, InZshWorksOnALine) {
  const std::pair<const char *, const char *> rows[] = {
      {"kzv EncodingToU", "kzv EncodingToURLKZV "},
      {"kzv --as=Mac", "kzv --as=MacRoman "},
  };
  for (const auto &[typed, line] : rows)
    expect_prints("timeout 20 zsh -f '" KZV_SOURCE "/tests/support/complete_line.zsh' '"s + typed + "'",
                  line + "\n"s);
}

TEST(Manual, IsWellFormedAndComplete) {
  expect_prints("kzv manual | groff -ww -man -Tutf8 -z", "");
  const std::string page = run("kzv manual | groff -man -Tascii -P-cbou").out;
  for (const char *const word :
       {"kzvstrings " KZV_VERSION, "--host-version VERSION", "info FILE", "MacRoman"})
    EXPECT_NE(page.find(word), std::string::npos) << word;
  for (const runner::Section &section : runner::all_sections())
    EXPECT_NE(page.find("\n       " + std::string(section.name)), std::string::npos) << section.name;
}

}  // namespace
}  // namespace kzv
