// The reference and the README against the plugin: every function, number and example.
#include "reference.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "support/plugin.h"
#include "support/runner.h"

namespace kzv::runner {
namespace {

void expect_outputs(const std::vector<Example> &examples) {
  for (const Example &example : examples) {
    const Outcome outcome = run(std::string(example.command));
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

TEST(Reference, HasAllTopicsOfEveryFunction) {
  for (const Section &section : all_sections()) {
    EXPECT_TRUE(section.sentence.ends_with('.')) << section.name << ": " << section.sentence;
    EXPECT_GE(section.examples.size(), 2U) << section.name;
    for (const char *const topic : {"- **Reads** ", "- **Returns** ", "- **Nil or empty** "}) {
      EXPECT_NE(section.text.find(topic), std::string_view::npos) << section.name << " lacks " << topic;
    }
  }
}

TEST(Reference, ExamplesPrintTheirOutput) {
  for (const Section &section : all_sections()) expect_outputs(section.examples);
}

// The examples before README.md's first section call the runner by the command that builds it.
TEST(Readme, ExamplesPrintTheirOutput) {
  std::string front = "## README\n### README\n" + contents(KZV_SOURCE "/README.md");
  const std::string command = "$ ./run ";
  for (std::size_t at = 0; (at = front.find(command, at)) != std::string::npos;)
    front.replace(at, command.size(), "$ kzv ");
  const std::vector<Group> groups = parse_reference(front);
  const std::vector<Example> &examples = groups.at(0).sections.at(0).examples;
  EXPECT_GE(examples.size(), 5U);
  expect_outputs(examples);
}

TEST(Readme, CountsTheFunctionsAsThePackagesAndTheChangelogDo) {
  const host::Plugin plugin(KZV_PLUGIN);
  const std::string functions = std::to_string(plugin.host.methods().size());
  const std::string names = std::to_string(all_sections().size());
  const std::pair<const char *, std::string> texts[] = {
      {KZV_SOURCE "/README.md", " " + functions + " string functions (" + names + " names,"},
      {KZV_SOURCE "/CHANGELOG.md", "- " + functions + " functions under " + names + " names:"},
      {KZV_SOURCE "/package", " " + functions + " string functions"},
  };
  for (const auto &[file, text] : texts)
    EXPECT_NE(contents(file).find(text), std::string::npos) << file << " lacks \"" << text << '"';
}

TEST(Reference, IsShownByHelpListAndTour) {
  const std::string list = run("kzv list").out;
  const Outcome tour = run("kzv tour");
  EXPECT_EQ(tour.exit_code, 0);
  EXPECT_EQ(tour.err, "");
  EXPECT_NE(run("kzv --host-version none tour").out.find("interface version 9"), std::string::npos);
  for (const Section &section : all_sections()) {
    EXPECT_EQ(run("kzv help " + std::string(section.name)).out, section.text);
    EXPECT_NE(list.find(section.sentence), std::string::npos) << section.name;
    for (const std::string_view declaration : section.declarations) {
      EXPECT_NE(list.find("  " + std::string(declaration) + "\n"), std::string::npos) << declaration;
    }
    const Example &first = section.examples.front();
    const std::string first_line(first.output.substr(0, first.output.find('\n')));
    EXPECT_NE(tour.out.find("  $ " + std::string(first.command) + "\n  " + first_line), std::string::npos)
        << first.command;
  }
}

}  // namespace
}  // namespace kzv::runner
