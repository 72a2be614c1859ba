// The reference against the plugin: nothing forgotten or misdescribed, every example run; and the README's.
#include "reference.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

#include "support/plugin.h"
#include "support/shell.h"

namespace kzv::runner {
namespace {

std::vector<Section> all_sections() {
  std::vector<Section> sections;
  for (const Group &group : reference())
    sections.insert(sections.end(), group.sections.begin(), group.sections.end());
  return sections;
}

void expect_what_stands_below(const std::vector<Example> &examples) {
  for (const Example &example : examples) {
    const Outcome outcome = shell("PATH=" KZV_FOLDER ":$PATH\n" + std::string(example.command));
    std::string output = outcome.out + outcome.err;
    if (!output.empty() && !output.ends_with('\n')) output += '\n';
    EXPECT_EQ(output, example.output) << example.command;
  }
}

TEST(Reference, DeclaresExactlyWhatThePluginRegisters) {
  const host::Plugin plugin(KZV_PLUGIN);
  std::vector<std::string> registered;
  for (const host::Method &method : plugin.host.methods()) registered.push_back(method.declaration);
  std::vector<std::string> declared;
  for (const Section &section : all_sections()) {
    for (const std::string_view declaration : section.declarations) {
      EXPECT_TRUE(declaration.starts_with(std::string(section.name) + "(")) << declaration;
      declared.emplace_back(declaration);
    }
  }
  std::ranges::sort(registered);
  std::ranges::sort(declared);
  EXPECT_EQ(declared, registered);
}

TEST(Reference, SaysOfEveryFunctionWhatAPersonMustKnow) {
  for (const Section &section : all_sections()) {
    EXPECT_TRUE(section.sentence.ends_with('.')) << section.name << ": " << section.sentence;
    EXPECT_GE(section.examples.size(), 2U) << section.name;
    for (const char *const topic : {"- **Reads** ", "- **Gives** ", "- **Nil or empty** "}) {
      EXPECT_NE(section.text.find(topic), std::string_view::npos) << section.name << " lacks " << topic;
    }
  }
}

TEST(Reference, ExamplesGiveWhatStandsBelowThem) {
  for (const Section &section : all_sections()) expect_what_stands_below(section.examples);
}

// What stands before README.md's first section. There the runner goes by the command that builds it.
TEST(Readme, TranscriptGivesWhatStandsBelowIt) {
  std::ifstream file(KZV_SOURCE "/README.md");
  std::string front = "## README\n### README\n";
  front.append(std::istreambuf_iterator<char>(file), {});
  const std::string command = "$ ./run ";
  for (std::size_t at = 0; (at = front.find(command, at)) != std::string::npos;) {
    front.replace(at, command.size(), "$ kzv ");
  }
  const std::vector<Group> groups = parse_reference(front);
  const std::vector<Example> &examples = groups.at(0).sections.at(0).examples;
  EXPECT_GE(examples.size(), 5U);
  expect_what_stands_below(examples);
}

TEST(Reference, IsWhatHelpListAndTourShow) {
  const std::string path = "PATH=" KZV_FOLDER ":$PATH\n";
  const Outcome list = shell(path + "kzv list");
  const Outcome tour = shell(path + "kzv tour");
  EXPECT_EQ(tour.exit_code, 0) << tour.err;
  EXPECT_EQ(tour.err, "");
  EXPECT_NE(shell(path + "kzv --host-version none tour").out.find("told interface version 9"),
            std::string::npos);
  for (const Section &section : all_sections()) {
    EXPECT_EQ(shell(path + "kzv help " + std::string(section.name)).out, section.text);
    EXPECT_NE(list.out.find(section.sentence), std::string::npos) << section.name;
    for (const std::string_view declaration : section.declarations) {
      EXPECT_NE(list.out.find("  " + std::string(declaration) + "\n"), std::string::npos) << declaration;
    }
    const Example &first = section.examples.front();
    const std::string first_line(first.output.substr(0, first.output.find('\n')));
    EXPECT_NE(tour.out.find("  $ " + std::string(first.command) + "\n  " + first_line), std::string::npos)
        << first.command;
  }
}

}  // namespace
}  // namespace kzv::runner
