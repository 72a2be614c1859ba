#include "reference.h"

namespace kzv::runner {
namespace {

constexpr std::string_view kPrompt = "$ ";

// Cuts the first line off `text` and returns it without its line break.
std::string_view take_line(std::string_view &text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

// Cuts off the lines before the next one that starts with `prefix`; all lines if there is none.
std::string_view take_until(std::string_view &text, std::string_view prefix) {
  std::string_view rest = text;
  while (!rest.empty() && !rest.starts_with(prefix)) take_line(rest);
  const std::string_view taken = text.substr(0, text.size() - rest.size());
  text = rest;
  return taken;
}

std::vector<std::string_view> lines_of(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) lines.push_back(take_line(text));
  return lines;
}

std::vector<Example> examples_in(std::string_view text) {
  std::vector<Example> examples;
  while (!text.empty()) {
    std::string_view command = take_line(text);
    if (command.starts_with(kPrompt)) command.remove_prefix(kPrompt.size());
    examples.push_back({command, take_until(text, kPrompt)});
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

// The parts of the text that each begin with a line that starts with `heading`.
std::vector<std::string_view> parts_of(std::string_view text, std::string_view heading) {
  std::vector<std::string_view> parts;
  take_until(text, heading);
  while (!text.empty()) {
    std::string_view rest = text;
    take_line(rest);
    take_until(rest, heading);
    parts.push_back(text.substr(0, text.size() - rest.size()));
    text = rest;
  }
  return parts;
}

}  // namespace

std::vector<Group> parse_reference(std::string_view text) {
  constexpr std::string_view kHeading = "## ";
  std::vector<Group> groups;
  for (std::string_view part : parts_of(text, kHeading)) {
    Group group{take_line(part).substr(kHeading.size()), {}};
    for (const std::string_view section : parts_of(part, "### "))
      group.sections.push_back(parse_section(section));
    if (!group.sections.empty()) groups.push_back(std::move(group));
  }
  return groups;
}

const std::vector<Group> &reference() {
  static const std::vector<Group> groups = parse_reference(reference_text());
  return groups;
}

const std::vector<Section> &all_sections() {
  static const std::vector<Section> all = [] {
    std::vector<Section> sections;
    for (const Group &group : reference())
      sections.insert(sections.end(), group.sections.begin(), group.sections.end());
    return sections;
  }();
  return all;
}

}  // namespace kzv::runner
