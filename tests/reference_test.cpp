// The reference and the README against the plugin: every function, number and example.
#include "reference.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <regex>

#include "support/runner.h"

namespace kzv::runner {
namespace {

using nlohmann::json;

void expect_outputs(const std::vector<Example> &examples) {
  for (const Example &example : examples) {
    const Outcome outcome = run(std::string(example.command));
    std::string output = outcome.out + outcome.err;
    if (!output.empty() && !output.ends_with('\n')) output += '\n';
    EXPECT_EQ(output, example.output) << example.command;
  }
}

// The runner lists what is registered under the names that the reference has, `kzv info` counts all.
TEST(Reference, DeclaresExactlyWhatThePluginRegisters) {
  json expected = json::array();
  std::size_t count = 0;
  for (const Group &group : reference()) {
    for (const auto &[name, text, declarations, sentence, examples] : group.sections) {
      expected.push_back(
          {{"group", group.title}, {"name", name}, {"declarations", declarations}, {"sentence", sentence}});
      count += declarations.size();
    }
  }
  EXPECT_EQ(json::parse(run("kzv --json list").out), expected);
  EXPECT_EQ(json::parse(run("kzv --json info " KZV_PLUGIN).out)["functions"], count);
}

TEST(Reference, ExamplesPrintTheirOutput) {
  for (const Section &section : all_sections()) expect_outputs(section.examples);
}

// The examples before README.md's first section call the runner by the command that builds it.
TEST(Readme, ExamplesPrintTheirOutput) {
  const std::string front = std::regex_replace("## README\n### README\n" + contents(KZV_SOURCE "/README.md"),
                                               std::regex(R"(\$ \./run )"), "$$ kzv ");
  const std::vector<Group> groups = parse_reference(front);
  const std::vector<Example> &examples = groups.at(0).sections.at(0).examples;
  EXPECT_GE(examples.size(), 5U);
  expect_outputs(examples);
}

TEST(Readme, CountsTheFunctionsAsThePackagesAndTheChangelogDo) {
  const std::string functions = json::parse(run("kzv --json info " KZV_PLUGIN).out)["functions"].dump();
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
  for (const Section &section : all_sections()) {
    EXPECT_EQ(run("kzv help " + std::string(section.name)).out, section.text);
    std::string listed;
    for (const std::string_view line : section.declarations) listed += "  " + std::string(line) + "\n";
    EXPECT_NE(list.find(listed + "      " + std::string(section.sentence)), std::string::npos) << listed;
  }
}

}  // namespace
}  // namespace kzv::runner
