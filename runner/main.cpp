// kzv: calls the functions of a plugin from the command line, as a host would.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <iostream>
#include <iterator>
#include <unistd.h>

#include "commands.h"
#include "encodings.h"
#include "plugin_file.h"
#include "values.h"

namespace kzv::runner {
namespace {

class UsageFormatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App *, std::string) const override {
    return R"(
Usage:
  kzv [OPTIONS] NAME [ARG...]   call a function; missing arguments take their defaults
  kzv list                      all functions, with a sentence on each
  kzv help NAME                 all about one function, with examples
  kzv tour                      what the plugin registers, with an example of each function

An ARG for a string or a memory block is text as typed, file:PATH, - for standard input, hex:4142, nil for
none, or text:... for text that looks like one of these. Integers are decimal or 0x2A, doubles as usual,
booleans true or false. "--" ends the options: put it before an argument that begins with "-".

Standard output receives the bytes of the result and nothing else; a nil result has none. The exit code is 0,
1 when the function raised an exception or the plugin cannot be loaded, or 2 for wrong use. Encodings are UTF-8,
UTF-16, UTF-32, ASCII, ISO-8859-1, Windows-1252, MacRoman and bytes.
)";
  }
};

// Words that stand before "--", and those behind it, which are never options.
struct CommandLine {
  std::vector<std::string> before;
  std::vector<std::string> behind;
};

CommandLine split_at_dashes(const std::vector<std::string> &words) {
  const auto dashes = std::ranges::find(words, "--");
  CommandLine line{{words.begin(), dashes}, {}};
  if (dashes != words.end()) line.behind.assign(std::next(dashes), words.end());
  return line;
}

bool looks_like_option(const std::string &word) {
  const bool number =
      word.size() > 1 && (std::isdigit(static_cast<unsigned char>(word[1])) != 0 || word[1] == '.');
  return word.size() > 1 && word.front() == '-' && !number;
}

REALencoding read_label(const std::string &name) {
  if (const host::Encoding *const encoding = host::find_encoding(name)) return encoding->number;
  std::string message = "--as: \"" + name + "\" is no encoding that kzv knows; take one of";
  for (const host::Encoding &encoding : host::encodings()) message += std::string(" ") + encoding.name;
  throw UsageError(message);
}

std::optional<double> read_host_version(const std::string &text) {
  if (text == "none") return std::nullopt;
  const Parameter parameter{"--host-version", Type::kDouble, std::nullopt};
  return std::get<double>(read_argument(parameter, text, kEncodingUTF8));
}

std::filesystem::path plugin_beside_the_runner() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "kzvstrings.so";
}

int run_words(const std::vector<std::string> &words, const Options &defaults, const Output &output);

int dispatch(const Options &options, const std::vector<std::string> &words, const Output &output) {
  const std::string &command = words.front();
  const std::vector<std::string> rest(words.begin() + 1, words.end());
  if (command == "help" && !rest.empty()) return help_on(rest, output);
  if (command == "list" && rest.empty()) return list_functions(options, output);
  if (command == "tour" && rest.empty()) return tour(options, run_words, output);
  if (command == "list" || command == "tour") throw UsageError("kzv " + command + " takes no arguments");
  return call_function(options, words, output);
}

// The command line without the runner's own name.
int parse_and_run(const std::vector<std::string> &all, const Options &defaults, const Output &output) {
  CLI::App app("kzv: calls the functions of the kzvstrings plugin from the command line, as a host would.",
               "kzv");
  app.formatter(std::make_shared<UsageFormatter>());
  app.allow_extras();
  Options options = defaults;
  std::string plugin;
  std::string label;
  std::string host_version;
  const auto *const plugin_option =
      app.add_option("--plugin", plugin, "the plugin file (default: kzvstrings.so beside kzv)")
          ->type_name("FILE");
  const auto *const label_option =
      app.add_option(
             "--as", label,
             "encoding that text arguments get (default UTF-8): typed text is converted to it, bytes from "
             "file:, - and hex: get its label; \"bytes\" for none")
          ->type_name("ENCODING");
  bool hex = false;
  bool json = false;
  auto *const hex_flag = app.add_flag("--hex", hex, "show the result's bytes as hex digits");
  app.add_flag("--json", json, "show type, encoding, length, text, hex and exception as JSON")
      ->excludes(hex_flag);
  const auto *const version_option =
      app.add_option("--host-version", host_version, "version that the host tells, or none (default 2013.03)")
          ->type_name("VERSION");

  CommandLine line = split_at_dashes(all);
  std::ranges::reverse(line.before);  // as CLI11 takes a vector
  app.parse(line.before);
  std::vector<std::string> words = app.remaining();
  for (const std::string &word : words) {
    if (looks_like_option(word)) {
      throw UsageError("unknown option " + word +
                       "; kzv --help shows the options, and -- goes before arguments " +
                       "that begin with \"-\"");
    }
  }
  words.insert(words.end(), line.behind.begin(), line.behind.end());
  if (words.empty() || (words.size() == 1 && words.front() == "help")) {
    output.out << app.help();
    return kDone;
  }

  if (*plugin_option) options.plugin = plugin;
  if (*label_option) options.label = read_label(label);
  if (*version_option) options.host_version = read_host_version(host_version);
  if (hex) options.format = Format::kHex;
  if (json) options.format = Format::kJson;
  options.newline_at_end = &output.out == &std::cout && isatty(STDOUT_FILENO) != 0;
  return dispatch(options, words, output);
}

int run_words(const std::vector<std::string> &words, const Options &defaults, const Output &output) {
  try {
    return parse_and_run(words, defaults, output);
  } catch (const CLI::CallForHelp &) {
    return parse_and_run({}, defaults, output);
  } catch (const CLI::ParseError &error) {
    output.err << "kzv: " << error.what() << "; kzv --help shows the options\n";
    return kWrongUse;
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
  const kzv::runner::Options defaults{.plugin = kzv::runner::plugin_beside_the_runner()};
  const int code = kzv::runner::run_words({std::next(words), std::next(words, count)}, defaults, output);
  if (std::cout.flush()) return code;
  std::cerr << "kzv: cannot write the result to standard output\n";
  return kzv::runner::kFailed;
} catch (...) {
  return kzv::runner::kFailed;
}
