#include "info.h"

#include <array>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "host.h"
#include "plugin_file.h"
#include "shown.h"

namespace kzv::runner {
namespace {

using Json = nlohmann::ordered_json;

constexpr unsigned kMostSeconds = 10;

Json load(const std::filesystem::path &path) try {
  const host::PluginFile plugin(path);
  host::Host host;
  host.start(plugin.main());
  return {{"functions", host.methods().size()}};
} catch (const std::exception &error) {
  return {{"error", error.what()}};
}

std::string text_of(const Json &json) { return json.dump(2, ' ', false, Json::error_handler_t::replace); }

[[noreturn]] void load_and_report(const std::filesystem::path &path, int pipe) {
  alarm(kMostSeconds);
  dup2(STDERR_FILENO, STDOUT_FILENO);  // the output of the file's own code is not one of the facts
  const std::string text = text_of(load(path));
  for (std::size_t written = 0; written < text.size();) {
    const ssize_t count = write(pipe, text.data() + written, text.size() - written);
    if (count < 0) break;
    written += static_cast<std::size_t>(count);
  }
  _exit(0);
}

std::string read_all(int pipe) {
  std::string text;
  std::array<char, 4096> chunk{};
  for (ssize_t count = 0; (count = read(pipe, chunk.data(), chunk.size())) > 0;)
    text.append(chunk.data(), static_cast<std::size_t>(count));
  return text;
}

// Loads the file in another process, because a damaged one may crash or never return. The result has
// "functions" or "error".
Json load_in_child(const std::filesystem::path &path) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
  const pid_t child = fork();
  if (child < 0) throw std::system_error(errno, std::generic_category(), "cannot make a process");
  if (child == 0) load_and_report(path, ends[1]);
  close(ends[1]);
  const std::string text = read_all(ends[0]);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status)) {
    const int signal = WTERMSIG(status);
    return {{"error", "cannot load " + host::shown(path.string()) +
                          (signal == SIGALRM ? ": it does not return"
                                             : std::string(": it crashes (") + strsignal(signal) + ")")}};
  }
  Json report = Json::parse(text, nullptr, false);
  if (report.is_object()) return report;
  return {{"error", "cannot load " + host::shown(path.string()) + ": it ends the process"}};
}

// A fact as text.
std::string in_words(const Json &fact) {
  if (fact.is_null()) return "none";
  if (fact.is_string()) return host::shown(fact.get<std::string>());
  if (!fact.is_array()) return fact.dump();
  std::string words;
  for (const Json &each : fact) words += (words.empty() ? "" : " ") + in_words(each);
  return words.empty() ? "none" : words;
}

// The services that the file names. Loading it would not show them: a plugin looks most of them up when it
// first uses them.
Json services_in(const std::filesystem::path &path) {
  std::ifstream stream(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  Json named = Json::array();
  for (const std::string_view name : host::Services::names()) {
    if (bytes.find(std::string(name) + '\0') != std::string::npos) named.push_back(name);
  }
  return named;
}

// Adds the facts that loading the file shows; returns why it failed, empty if it did not.
std::string add_loaded(const std::filesystem::path &path, const std::string &architecture, Json &facts) {
  if (facts["entry"].is_null())
    return "cannot load " + host::shown(path.string()) + ": it has no symbol " + host::kEntryName +
           ", so it is not a plugin";
  if (architecture != host::architecture_of_this_process()) {
    facts["not_loaded"] = "a " + architecture + " runner is needed to load it";
    return "";
  }
  Json report = load_in_child(path);
  if (report.contains("error")) return report["error"];
  facts.update(report);
  return "";
}

}  // namespace

int describe_plugin(const Options &options, const Words &words, const Output &output) {
  const std::string &path = words[1];
  host::ElfFile file(path);
  file.check_complete();
  const std::optional<std::string> version = file.note("kzvstrings");
  Json facts = {
      {"file", path}, {"architecture", file.architecture()}, {"entry", nullptr}, {"version", nullptr}};
  if (file.exports(host::kEntryName)) facts["entry"] = host::kEntryName;
  if (version) facts["version"] = version->substr(version->find(' ') + 1);
  facts["services"] = services_in(path);
  const std::string failure = add_loaded(path, file.architecture(), facts);
  if (options.format == Format::kJson) {
    output.out << text_of(facts) << '\n';
  } else {
    for (const auto &[name, fact] : facts.items())
      output.out << name << std::string(14 - name.size(), ' ') << in_words(fact) << '\n';
  }
  if (failure.empty()) return kDone;
  output.err << "kzv: " << failure << '\n';
  return kFailed;
}

}  // namespace kzv::runner
