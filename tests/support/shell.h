// Runs command lines as a user at a shell would.
#pragma once

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace kzv {

struct Outcome {
  int exit_code;
  std::string out;
  std::string err;
};

inline std::string contents(const std::filesystem::path &path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// Runs a command with sh, without standard input unless it redirects that itself.
inline Outcome shell(const std::string &command) {
  const auto errors = std::filesystem::temp_directory_path() / ("kzv-test-" + std::to_string(getpid()));
  FILE *const pipe = popen(("exec </dev/null 2>'" + errors.string() + "'\n" + command).c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  Outcome outcome{};
  for (int c = 0; (c = getc_unlocked(pipe)) != EOF;) outcome.out += static_cast<char>(c);
  const int status = pclose(pipe);
  outcome.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.err = contents(errors);
  std::filesystem::remove(errors);
  return outcome;
}

}  // namespace kzv
