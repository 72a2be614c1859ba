// Runs command lines as a user at a shell would.
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
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
  std::string errors = (std::filesystem::temp_directory_path() / "kzv-test-XXXXXX").string();
  close(mkstemp(errors.data()));
  FILE *const pipe = popen(("exec </dev/null 2>'" + errors + "'\n" + command).c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  Outcome outcome{};
  std::array<char, 4096> chunk{};
  for (std::size_t read = 0; (read = fread(chunk.data(), 1, chunk.size(), pipe)) > 0;)
    outcome.out.append(chunk.data(), read);
  const int status = pclose(pipe);
  outcome.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.err = contents(errors);
  std::filesystem::remove(errors);
  return outcome;
}

}  // namespace kzv
