// What shells complete, and the manual.
#include <gtest/gtest.h>

#include "reference.h"
#include "support/runner.h"

namespace kzv {
namespace {

TEST(Completion, InBashKnowsFunctionsCommandsOptionsAndTheirValues) {
  const std::pair<const char *, const char *> rows[] = {
      // The last word is being typed.
      {"kzv EncodingToU", "EncodingToURLKZV"},
      {"kzv --json --as UTF-8 l", "list"},
      {"kzv --j", "--json"},
      {"kzv StrKZV --h", "--hex --host-version --help"},
      {"kzv --as = U", "UTF-8 UTF-16 UTF-32"},
      {"kzv help DecodingFromHe", "DecodingFromHexKZV"},
      {"kzv completion ''", "bash zsh"},
      {"kzv --hex info /etc/host.con", "/etc/host.conf"},
      {"kzv --plugin info ma", "manual"},
      {"kzv list ''", ""},
      {"kzv StrKZV l", ""},
  };
  for (const auto &[words, offered] : rows) {
    const Outcome outcome =
        run("bash -c 'eval \"$(kzv completion bash)\"; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _kzv; "
            "echo \"${COMPREPLY[*]}\"' bash " +
            std::string(words));
    EXPECT_EQ(outcome.out, offered + std::string("\n")) << words;
    EXPECT_EQ(outcome.err, "") << words;
  }
}

// An interactive shell on its own terminal: what the line holds after a tab.
TEST(Completion, InZshWorksOnALine) {
  const std::pair<const char *, const char *> rows[] = {
      {"kzv EncodingToU", "kzv EncodingToURLKZV "},
      {"kzv --js", "kzv --json "},
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

TEST(Manual, IsWellFormedAndComplete) {
  EXPECT_EQ(run("kzv manual | groff -ww -man -Tutf8 -z").err, "");
  const std::string page = run("kzv manual | groff -man -Tascii -P-cbou").out;
  for (const char *const word :
       {"kzvstrings " KZV_VERSION, "--host-version VERSION", "info FILE", "MacRoman"})
    EXPECT_NE(page.find(word), std::string::npos) << word;
  for (const runner::Section &section : runner::all_sections())
    EXPECT_NE(page.find("\n       " + std::string(section.name)), std::string::npos) << section.name;
}

}  // namespace
}  // namespace kzv
