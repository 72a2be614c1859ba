#include "manual.h"

#include <algorithm>
#include <cctype>

#include "reference.h"

namespace kzv::runner {
namespace {

// Escapes text for troff, which replaces "-" by a hyphen and takes a line that begins with "." or "'" for a
// request.
std::string troff(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
  }
  if (result.starts_with('.') || result.starts_with('\'')) result.insert(0, "\\&");
  return result;
}

std::string section(std::string_view title) {
  std::string upper(title);
  std::ranges::transform(upper, upper.begin(),
                         [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return ".SH " + upper + '\n';
}

std::string entry(const std::string &term, std::string_view sentence) {
  return ".TP\n.B " + troff(term) + '\n' + troff(sentence) + '\n';
}

}  // namespace

std::string manual_page(const Usage &usage) {
  std::string page = ".TH KZV 1 " + std::string(kReleased) + " \"kzvstrings " + std::string(kVersion) +
                     "\" \"User Commands\"\n" + section("Name") + "kzv \\- " + troff(kSubject) + '\n' +
                     section("Synopsis") + ".B kzv\n[OPTIONS] COMMAND\n" + section("Commands");
  for (const Row &row : usage.commands) page += entry(row.with_value(), row.sentence);
  page += section("Options");
  for (const Row &row : usage.options) page += entry(row.with_value(), row.sentence);
  for (const Paragraph &each : paragraphs()) page += section(each.title) + troff(each.text) + '\n';
  page += section("Functions");
  for (const Group &group : reference()) {
    page += ".SS " + troff(group.title) + '\n';
    for (const Section &each : group.sections) page += entry(std::string(each.name), each.sentence);
  }
  return page;
}

}  // namespace kzv::runner
