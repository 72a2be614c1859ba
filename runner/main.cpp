// kzv: calls the functions of a plugin from the command line, as a host would.
#include <array>
#include <iostream>
#include <iterator>
#include <new>
#include <unistd.h>

#include "command_line.h"
#include "commands.h"
#include "completion.h"
#include "encodings.h"
#include "info.h"
#include "manual.h"
#include "shown.h"
#include "usage.h"
#include "values.h"

namespace kzv::runner {
namespace {

REALencoding read_label(const std::string &name) {
  if (const host::Encoding *const encoding = host::find_encoding(name)) return encoding->number;
  throw UsageError("--as: \"" + host::shown(name) + "\" is no encoding that kzv knows; take one of " +
                   choices(Takes::kEncoding));
}

std::optional<double> read_host_version(const std::string &text) {
  if (text == "none") return std::nullopt;
  const Parameter parameter{"--host-version", Type::kDouble, std::nullopt};
  return std::get<double>(read_argument(parameter, text, kEncodingUTF8));
}

// Beside the runner, or from there in one of the folders where installing puts it.
std::filesystem::path find_plugin() {
  constexpr std::array<std::string_view, 3> kFolders = {"", KZV_PLUGIN_FOLDER, KZV_SYSTEM_PLUGIN_FOLDER};
  const std::filesystem::path here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  for (const std::string_view folder : kFolders) {
    std::filesystem::path plugin = (here / folder / "kzvstrings.so").lexically_normal();
    std::error_code error;
    if (std::filesystem::exists(plugin, error)) return plugin;
  }
  return here / "kzvstrings.so";
}

Options read_options(const CommandLine &line, const Options &defaults) {
  Options options = defaults;
  for (const auto &[name, value] : line.options) {
    if (name == "--plugin") options.plugin = value;
    if (name == "--as") options.label = read_label(value);
    if (name == "--host-version") options.host_version = read_host_version(value);
    if (name == "--hex") options.format = Format::kHex;
    if (name == "--json") options.format = Format::kJson;
  }
  return options;
}

const std::string &only_word(const std::string &command, const std::vector<std::string> &words) {
  for (const CommandRow &row : command_rows()) {
    if (row.name == command && words.size() != 1)
      throw UsageError("kzv " + command + " takes one " + std::string(row.value));
  }
  return words.front();
}

int run_words(const std::vector<std::string> &words, const Options &defaults, const Output &output);

int show(const std::string &text, const Output &output) {
  output.out << text;
  return kDone;
}

int dispatch(const Options &options, const std::vector<std::string> &words, const Output &output) {
  const std::string &command = words.front();
  const std::vector<std::string> rest(words.begin() + 1, words.end());
  if (command == "help") return rest.empty() ? show(help_text(), output) : help_on(rest, output);
  if (command == "info") return describe_plugin(options, only_word(command, rest), output);
  if (command == "completion") return show(completion_for(only_word(command, rest)), output);
  if (command == "list" || command == "tour" || command == "manual") {
    if (!rest.empty()) throw UsageError("kzv " + command + " takes no arguments");
    if (command == "list") return list_functions(options, output);
    return command == "tour" ? tour(options, run_words, output) : show(manual_page(), output);
  }
  return call_function(options, words, output);
}

// The command line without the runner's own name.
int parse_and_run(const std::vector<std::string> &all, const Options &defaults, const Output &output) {
  const CommandLine line = read_command_line(all);
  if (all.empty() || line.has("--help")) return show(help_text(), output);
  if (line.has("--version")) return show("kzv " + std::string(kVersion) + '\n', output);
  if (line.words.empty()) throw UsageError("there is no function or command to run; kzv --help shows them");
  Options options = read_options(line, defaults);
  options.newline_at_end = &output.out == &std::cout && isatty(STDOUT_FILENO) != 0;
  return dispatch(options, line.words, output);
}

int run_words(const std::vector<std::string> &words, const Options &defaults, const Output &output) {
  try {
    return parse_and_run(words, defaults, output);
  } catch (const UsageError &error) {
    output.err << "kzv: " << error.what() << '\n';
    return kWrongUse;
  } catch (const std::bad_alloc &) {
    output.err << "kzv: there is not enough memory for the arguments and the result\n";
    return kFailed;
  } catch (const std::exception &error) {
    output.err << "kzv: " << error.what() << '\n';
    return kFailed;
  }
}

}  // namespace
}  // namespace kzv::runner

int main(int count, char **words) try {
  const kzv::runner::Output output{std::cout, std::cerr};
  const kzv::runner::Options defaults{.plugin = kzv::runner::find_plugin()};
  const int code = kzv::runner::run_words({std::next(words), std::next(words, count)}, defaults, output);
  if (std::cout.flush()) return code;
  std::cerr << "kzv: cannot write the result to standard output\n";
  return kzv::runner::kFailed;
} catch (...) {
  return kzv::runner::kFailed;
}
