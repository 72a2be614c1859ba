#include "reference.h"

namespace kzv::runner {
namespace {

constexpr std::string_view kPrompt = "$ ";

// Cuts the first line off `text`, without its line break.
std::string_view take_line(std::string_view &text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

// Cuts off what stands before the next line that begins with `mark`, or all.
std::string_view take_until(std::string_view &text, std::string_view mark) {
  std::string_view rest = text;
  while (!rest.empty() && !rest.starts_with(mark)) take_line(rest);
  const std::string_view taken = text.substr(0, text.size() - rest.size());
  text = rest;
  return taken;
}

std::vector<std::string_view> lines_of(std::string_view block) {
  std::vector<std::string_view> lines;
  while (!block.empty()) lines.push_back(take_line(block));
  return lines;
}

std::vector<Example> examples_in(std::string_view block) {
  std::vector<Example> examples;
  while (!block.empty()) {
    std::string_view command = take_line(block);
    if (command.starts_with(kPrompt)) command.remove_prefix(kPrompt.size());
    examples.push_back({command, take_until(block, kPrompt)});
  }
  return examples;
}

Section parse_section(std::string_view text) {
  Section section;
  section.text = text;
  section.name = take_line(text).substr(std::string_view("### ").size());
  while (!text.empty()) {
    const std::string_view line = take_line(text);
    if (line == "```basic") {
      section.declarations = lines_of(take_until(text, "```"));
      take_line(text);
    } else if (line == "```console") {
      const std::vector<Example> examples = examples_in(take_until(text, "```"));
      section.examples.insert(section.examples.end(), examples.begin(), examples.end());
      take_line(text);
    } else if (section.sentence.empty() && !line.empty()) {
      section.sentence = line;
    }
  }
  return section;
}

Group parse_group(std::string_view text) {
  Group group;
  group.title = take_line(text).substr(std::string_view("## ").size());
  take_until(text, "### ");
  while (!text.empty()) {
    std::string_view rest = text;
    take_line(rest);
    take_until(rest, "### ");
    group.sections.push_back(parse_section(text.substr(0, text.size() - rest.size())));
    text = rest;
  }
  return group;
}

}  // namespace

std::vector<Group> parse_reference(std::string_view text) {
  std::vector<Group> groups;
  take_until(text, "## ");
  while (!text.empty()) {
    std::string_view rest = text;
    take_line(rest);
    take_until(rest, "## ");
    Group group = parse_group(text.substr(0, text.size() - rest.size()));
    if (!group.sections.empty()) groups.push_back(std::move(group));
    text = rest;
  }
  return groups;
}

const std::vector<Group> &reference() {
  static const std::vector<Group> groups = parse_reference(reference_text());
  return groups;
}

const Section *find_section(std::string_view name) {
  for (const Group &group : reference()) {
    for (const Section &section : group.sections) {
      if (section.name == name) return &section;
    }
  }
  return nullptr;
}

}  // namespace kzv::runner
