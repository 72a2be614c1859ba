// The function reference, docs/functions.md, which the runner carries with it.
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
  std::string_view text;  // the whole section, from its heading on
  std::vector<std::string_view> declarations;
  std::string_view sentence;
  std::vector<Example> examples;
};

struct Group {
  std::string_view title;
  std::vector<Section> sections;
};

// What the text holds, in its order. "## " heads a group, "### " a function; a fenced block of `basic` holds
// the declarations, the first paragraph behind it is the sentence, a fenced block of `console` holds
// examples.
std::vector<Group> parse_reference(std::string_view text);

// The reference, and the part that it was made of.
std::string_view reference_text();
const std::vector<Group> &reference();

// Null when there is no such function.
const Section *find_section(std::string_view name);

}  // namespace kzv::runner
