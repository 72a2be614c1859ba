// The function reference, docs/functions.md, which is compiled into the runner.
#pragma once

#include <span>
#include <string_view>
#include <vector>

namespace kzv::runner {

struct Example {
  std::string_view command;  // without the "$ "
  std::string_view output;   // with its line breaks
};

// One function, with all its overloads.
struct Section {
  std::string_view name;
  std::string_view text;  // the whole section, with its heading
  std::vector<std::string_view> declarations;
  std::string_view sentence;
  std::vector<Example> examples;
};

struct Group {
  std::string_view title;
  std::vector<Section> sections;
};

// The groups of the text, in its order. "## " heads a group, "### " a function. In a function's section,
// fenced code in `basic` holds the declarations, the first line of text after it is the sentence, and fenced
// code in `console` holds examples.
std::vector<Group> parse_reference(std::string_view text);

// The reference as text, as groups, and as the sections of all groups.
std::string_view reference_text();
const std::vector<Group> &reference();
const std::vector<Section> &all_sections();

}  // namespace kzv::runner
