#include "commands.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <sstream>
#include <wordexp.h>

#include "call.h"
#include "output.h"
#include "reference.h"
#include "session.h"
#include "values.h"

namespace kzv::runner {
namespace {

std::vector<Value> read_arguments(const Options &options, const Declaration &declaration,
                                  const Words &words) {
  if (std::ranges::count(words, "-") > 1) throw UsageError("standard input (-) can be read once only");
  std::vector<Value> values;
  for (std::size_t i = 0; i < declaration.parameters.size(); ++i) {
    const Parameter &parameter = declaration.parameters[i];
    values.push_back(i < words.size() ? read_argument(parameter, words[i], options.label)
                                      : read_default(parameter));
  }
  return values;
}

// The words of an example's command, split as the shell splits them; nothing is expanded.
Words words_of(std::string_view command) {
  wordexp_t words{};
  if (wordexp(std::string(command).c_str(), &words, WRDE_NOCMD | WRDE_UNDEF) != 0) {
    throw std::runtime_error("the tour cannot run the example: " + std::string(command));
  }
  // The first is the runner's own name.
  Words result(std::next(words.we_wordv),
               std::next(words.we_wordv, static_cast<std::ptrdiff_t>(words.we_wordc)));
  wordfree(&words);
  return result;
}

void show_live(const Example &example, const Options &options, Command run, const Output &output) {
  std::ostringstream result;
  run(options, words_of(example.command), {result, output.err});
  output.out << "  $ " << example.command << "\n  " << result.str() << '\n';
}

}  // namespace

int call_function(const Options &options, const Words &words, const Output &output) {
  Session session(options);
  const Words arguments(words.begin() + 1, words.end());
  const Function &function = session.find(words.front(), arguments.size());
  const std::vector<Value> values = read_arguments(options, function.declaration, arguments);
  const Value result = call(session.host(), function.address, function.declaration, values);
  const std::vector<host::RaisedException> raised = session.host().take_raised();
  if (raised.empty() || options.format == Format::kJson) {
    write_result(options, function.declaration.result, result, raised, output.out);
  }
  for (const host::RaisedException &exception : raised) {
    output.err << "kzv: " << words.front() << " raised " << exception.class_name << ": " << exception.message
               << '\n';
  }
  return raised.empty() ? kDone : kFailed;
}

int list_functions(const Options &options, const Words &, const Output &output) {
  const Session session(options);
  std::vector<Entry> entries;
  for (const Group &group : reference()) {
    for (const Section &section : group.sections) {
      entries.push_back({group.title, section.name, {}, section.sentence});
      for (const Function &function : session.functions()) {
        if (function.declaration.name == section.name)
          entries.back().declarations.push_back(function.declaration.text);
      }
    }
  }
  write_list(options, entries, output.out);
  return kDone;
}

int help_on_functions(const Options &, const Words &words, const Output &output) {
  const std::vector<Section> &sections = all_sections();
  std::string text;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const auto section = std::ranges::find(sections, words[i], &Section::name);
    if (section == sections.end()) {
      Words known;
      for (const Section &each : sections) known.emplace_back(each.name);
      throw no_such_function(words[i], std::move(known));
    }
    text += section->text;
  }
  output.out << text;
  return kDone;
}

int tour(const Options &options, Command run, const Output &output) {
  Session session(options);
  const std::optional<std::int32_t> version = session.host().interface_version();
  output.out << "Loaded " << session.plugin().path().string() << " (" << host::architecture_of_this_process()
             << ").\n"
             << "It reported interface version " << (version ? std::to_string(*version) : "none")
             << " and registered " << session.functions().size() << " functions. An example of each:\n";
  for (const Group &group : reference()) {
    output.out << '\n' << group.title << '\n';
    for (const Section &section : group.sections) {
      if (!section.examples.empty()) show_live(section.examples.front(), options, run, output);
    }
  }
  output.out << "\nkzv list describes each in a sentence, kzv help NAME one of them in full.\n";
  return kDone;
}

}  // namespace kzv::runner
