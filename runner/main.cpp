// kzv: calls the functions of a plugin from the command line, as a host would.
#include <algorithm>
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

void set_plugin(Options &options, const std::string &path) { options.plugin = path; }

void set_label(Options &options, const std::string &name) {
  const host::Encoding *const encoding = host::find_encoding(name);
  if (encoding == nullptr) {
    throw UsageError("--as: kzv does not know the encoding \"" + host::shown(name) + "\"; take one of " +
                     choices(Takes::kEncoding));
  }
  options.label = encoding->number;
}

template <Format format>
void set_format(Options &options, const std::string &) {
  options.format = format;
}

void set_host_version(Options &options, const std::string &text) {
  const Parameter parameter{"--host-version", Type::kDouble, std::nullopt};
  options.host_version.reset();
  if (text != "none") options.host_version = std::get<double>(read_argument(parameter, text, kEncodingUTF8));
}

// Commands that use the tables themselves.
int run_words(const Options &defaults, const Words &words, const Output &output);
int help(const Options &options, const Words &words, const Output &output);
int show_completion(const Options &options, const Words &words, const Output &output);
int show_manual(const Options &options, const Words &words, const Output &output);

int show_version(const Options &, const Words &, const Output &output) {
  output.out << "kzv " << kVersion << '\n';
  return kDone;
}

int take_tour(const Options &options, const Words &, const Output &output) {
  return tour(options, run_words, output);
}

constexpr Row kOptions[] = {
    {"--plugin", "FILE", Takes::kFile,
     "the plugin file (default: kzvstrings.so beside kzv, or where it was installed with kzv)", set_plugin,
     nullptr},
    {"--as", "ENCODING", Takes::kEncoding,
     "encoding of text arguments (default UTF-8): typed text is converted to it, bytes from file:, - and "
     "hex: "
     "are labelled with it; \"bytes\" for none",
     set_label, nullptr},
    {"--hex", "", Takes::kNothing, "show the result's bytes as hex digits", set_format<Format::kHex>,
     nullptr},
    {"--json", "", Takes::kNothing,
     "show type, encoding, length, text, hex and exception as JSON; list and info have JSON of their own",
     set_format<Format::kJson>, nullptr},
    {"--host-version", "VERSION", Takes::kHostVersion,
     "version that the host reports, or none (default 2013.03)", set_host_version, nullptr},
    {"--version", "", Takes::kNothing, "show the version of kzv", nullptr, show_version},
    {"--help", "", Takes::kNothing, "show this help", nullptr, help},
};

constexpr Row kCommands[] = {
    {"NAME", "[ARG...]", Takes::kArguments, "call a function; missing arguments take their defaults", nullptr,
     call_function},
    {"list", "", Takes::kNothing, "list all functions, with a sentence on each", nullptr, list_functions},
    {"help", "NAME...", Takes::kFunction, "describe functions in full, with examples", nullptr, help},
    {"tour", "", Takes::kNothing, "show what the plugin registers, with an example of each function", nullptr,
     take_tour},
    {"info", "FILE", Takes::kFile,
     "describe a plugin file; one for this processor and width is loaded, which runs its code", nullptr,
     describe_plugin},
    {"completion", "SHELL", Takes::kShell, "print a script that completes kzv's words in bash or zsh",
     nullptr, show_completion},
    {"manual", "", Takes::kNothing, "print the manual page, as input for man", nullptr, show_manual},
};

constexpr Usage kUsage{kOptions, kCommands};

int help(const Options &options, const Words &words, const Output &output) {
  if (words.size() > 1) return help_on_functions(options, words, output);
  output.out << help_text(kUsage);
  return kDone;
}

int show_completion(const Options &, const Words &words, const Output &output) {
  output.out << completion_for(words[1], kUsage);
  return kDone;
}

int show_manual(const Options &, const Words &, const Output &output) {
  output.out << manual_page(kUsage);
  return kDone;
}

// Beside the runner, or where installing puts it, which is relative to that.
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

// The row of the first word: a command's, or that of all functions.
const Row &row_of(const Words &words) {
  const Row *const command = std::ranges::find(kCommands, words.front(), &Row::name);
  if (command == std::end(kCommands) || command->takes == Takes::kArguments) return kCommands[0];
  const bool one_word = command->takes == Takes::kFile || command->takes == Takes::kShell;
  if (one_word && words.size() != 2)
    throw UsageError("kzv " + words.front() + " takes one " + std::string(command->value));
  if (command->takes == Takes::kNothing && words.size() != 1)
    throw UsageError("kzv " + words.front() + " takes no arguments");
  return *command;
}

// `all` is a command line without the runner's own name.
int parse_and_run(const Options &defaults, const Words &all, const Output &output) {
  const CommandLine line = read_command_line(all, kOptions);
  if (all.empty()) return help(defaults, {}, output);
  for (const auto &[option, value] : line.options)
    if (option->run != nullptr) return option->run(defaults, {}, output);
  if (line.words.empty()) throw UsageError("there is no function or command to run; kzv --help shows them");
  Options options = defaults;
  for (const auto &[option, value] : line.options) option->set(options, value);
  options.newline_at_end = &output.out == &std::cout && isatty(STDOUT_FILENO) != 0;
  return row_of(line.words).run(options, line.words, output);
}

int run_words(const Options &defaults, const Words &words, const Output &output) {
  try {
    return parse_and_run(defaults, words, output);
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
  const int code = kzv::runner::run_words(defaults, {std::next(words), std::next(words, count)}, output);
  if (std::cout.flush()) return code;
  std::cerr << "kzv: cannot write the result to standard output\n";
  return kzv::runner::kFailed;
} catch (...) {
  return kzv::runner::kFailed;
}
