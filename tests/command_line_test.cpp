// What shells complete, the manual, and what the runner makes of hostile words and files.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "reference.h"
#include "support/shell.h"

namespace kzv {
namespace {

using nlohmann::json;

Outcome run(const std::string &command) { return shell("PATH=" KZV_FOLDER ":$PATH\n" + command); }

TEST(CommandLine, SaysWhatIsWrong) {
  const struct {
    const char *command;
    int exit_code;
    const char *err;  // its first line
  } rows[] = {
      {"kzv --hex", 2, "kzv: there is no function or command to run; kzv --help shows them"},
      {"kzv --as --hex StringToHexKZV a", 2,
       "kzv: --as needs a value: --as ENCODING, or --as=... for one that begins with \"-\""},
      {"kzv --plugin -- list", 2,
       "kzv: --plugin needs a value: --plugin FILE, or --plugin=... for one that begins with \"-\""},
      {"kzv --as UTF-8 --as=bytes list", 2, "kzv: --as is given twice"},
      {"kzv --hex=yes list", 2, "kzv: --hex takes no value"},
      {"kzv info", 2, "kzv: kzv info takes one FILE"},
      {"kzv completion fish", 2, "kzv: there is no completion for \"fish\"; take one of bash zsh"},
      {"kzv \"$(printf 'a\\033[2J\\n\\302\\233\\377\\303\\251')\"", 2,
       "kzv: there is no function a\\x1B[2J\\x0A\\xC2\\x9B\\xFF\303\251"},
      {"kzv --as \"$(printf '\\r')\" list", 2,
       "kzv: --as: \"\\x0D\" is no encoding that kzv knows; take one of UTF-8 UTF-16 UTF-32 ASCII ISO-8859-1 "
       "Windows-1252 MacRoman bytes"},
      {"kzv info /", 1, "kzv: cannot load /: it is a directory"},
      {"kzv info /dev/null", 1, "kzv: cannot load /dev/null: it is no file but a device or a pipe"},
      {"kzv info /etc/passwd", 1, "kzv: cannot load /etc/passwd: it is no library (no ELF file)"},
      {"kzv info " KZV_FOLDER "/kzv >/dev/null", 1,
       "kzv: cannot load " KZV_FOLDER "/kzv: it has no symbol REALPluginMain, so it is no plugin"},
  };
  for (const auto &row : rows) {
    const Outcome outcome = run(row.command);
    EXPECT_EQ(outcome.exit_code, row.exit_code) << row.command;
    EXPECT_EQ(outcome.out, "") << row.command;
    EXPECT_EQ(outcome.err.substr(0, outcome.err.find('\n')), row.err) << row.command;
  }
}

TEST(CommandLine, ShortensWhatIsLongAndOffersTheOnlyNameThatDiffersInCase) {
  for (const char *const command :
       {"kzv $long", "kzv --$long", "kzv StrKZV $long", "kzv --plugin /$long list"}) {
    const Outcome outcome = run("long=$(head -c 100000 /dev/zero | tr '\\0' x)\n" + std::string(command));
    EXPECT_NE(outcome.err.find("xxx[...]xxx"), std::string::npos) << command;
    EXPECT_LT(outcome.err.size(), 500U) << command;
  }
  EXPECT_EQ(run("kzv encodingtourlkzv").err,
            "kzv: there is no function encodingtourlkzv\n  did you mean EncodingToURLKZV?\n"
            "  kzv list shows all functions\n");
}

TEST(CommandLine, ListsAsJson) {
  const json list = json::parse(run("kzv --json list").out);
  std::size_t declarations = 0;
  for (const json &each : list) declarations += each["declarations"].size();
  EXPECT_EQ(declarations, 47U);
  EXPECT_EQ(list[0]["name"], "EncodingToURLKZV");
  EXPECT_EQ(list[0]["group"], "URLs");
}

TEST(Info, TellsOfPlugins) {
  const std::string about_ours = run("kzv info " KZV_PLUGIN).out;
  EXPECT_NE(about_ours.find("functions     47\n"), std::string::npos) << about_ours;
  const json ours = json::parse(run("kzv --json info " KZV_PLUGIN).out);
  EXPECT_EQ(ours["services"].size(), 23U);  // LenB, the 24th, has no name of its own

  if (!std::filesystem::exists(KZV_OTHER_PLUGIN)) GTEST_SKIP() << "there is no " KZV_OTHER_PLUGIN;
  const json expected = {
      {"file", KZV_OTHER_PLUGIN},     {"architecture", "32-bit x86"},
      {"entry", "REALPluginMain"},    {"version", KZV_VERSION},
      {"services", ours["services"]}, {"not_loaded", "it takes a 32-bit x86 runner to load it"}};
  EXPECT_EQ(json::parse(run("kzv --json info " KZV_OTHER_PLUGIN).out), expected);
}

// A plugin of the few words given, made for the occasion.
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
    const json told = json::parse(outcome.out);
    EXPECT_EQ(told["version"], nullptr) << row.code;
    EXPECT_EQ(told.value("functions", json()), row.functions) << row.code;
    EXPECT_EQ(outcome.err.find("cannot load") != std::string::npos, row.exit_code != 0) << outcome.err;
  }
}

TEST(Completion, InBashKnowsFunctionsCommandsOptionsAndTheirValues) {
  const struct {
    const char *words;  // the last is being typed
    const char *offered;
  } rows[] = {
      {"kzv EncodingToU", "EncodingToURLKZV"},
      {"kzv --json --as UTF-8 l", "list"},
      {"kzv --j", "--json"},
      {"kzv StrKZV --h", "--hex --host-version --help"},
      {"kzv --as Mac", "MacRoman"},
      {"kzv --as = U", "UTF-8 UTF-16 UTF-32"},
      {"kzv help DecodingFromHe", "DecodingFromHexKZV"},
      {"kzv completion ''", "bash zsh"},
      {"kzv --plugin /etc/host.con", "/etc/host.conf"},
      {"kzv --hex info /etc/host.con", "/etc/host.conf"},
      {"kzv --plugin info ma", "manual"},
      {"kzv list ''", ""},
      {"kzv StrKZV l", ""},
  };
  for (const auto &row : rows) {
    const Outcome outcome =
        run("bash -c 'eval \"$(kzv completion bash)\"; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _kzv; "
            "echo \"${COMPREPLY[*]}\"' bash " +
            std::string(row.words));
    EXPECT_EQ(outcome.out, row.offered + std::string("\n")) << row.words;
    EXPECT_EQ(outcome.err, "") << row.words;
  }
}

// A shell on a terminal of its own: what stands on its line behind a tab.
TEST(Completion, InZshWorksOnALine) {
  const std::pair<const char *, const char *> rows[] = {
      {"kzv EncodingToU", "kzv EncodingToURLKZV "},
      {"kzv --js", "kzv --json "},
      {"kzv --as Mac", "kzv --as MacRoman "},
      {"kzv --as=Mac", "kzv --as=MacRoman "},
      {"kzv --hex tou", "kzv --hex tour "},
      {"kzv help DecodingFromU", "kzv help DecodingFromURLKZV "},
      {"kzv info /etc/host.con", "kzv info /etc/host.conf "},
      {"kzv completion z", "kzv completion zsh "},
  };
  for (const auto &[typed, line] : rows) {
    const Outcome outcome = run("typed='" + std::string(typed) + R"('
folder=$(mktemp -d)
kzv completion zsh >$folder/_kzv
timeout 20 zsh -f ")" KZV_SOURCE R"(/tests/support/complete_line.zsh" $folder "$typed"
rm -r $folder)");
    EXPECT_EQ(outcome.out, line + std::string("\n")) << outcome.err;
  }
}

TEST(Manual, IsWellFormedAndHasAll) {
  EXPECT_EQ(run("kzv manual | groff -ww -man -Tutf8 -z").err, "");
  const std::string page = run("kzv manual | groff -man -Tascii -P-cbou").out;
  for (const char *const word :
       {"kzvstrings " KZV_VERSION, "--host-version VERSION", "info FILE", "MacRoman"})
    EXPECT_NE(page.find(word), std::string::npos) << word;
  for (const runner::Group &group : runner::reference()) {
    for (const runner::Section &section : group.sections)
      EXPECT_NE(page.find("\n       " + std::string(section.name)), std::string::npos) << section.name;
  }
}

}  // namespace
}  // namespace kzv
