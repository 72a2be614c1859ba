#include "instructions.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <valgrind/callgrind.h>

namespace kzv::bench {
namespace {

// Adds up a file of callgrind's. After a line "ob=(2) /path" or "ob=(2)", costs are those of that object; in
// "cob=" it is that of a function which is called, whose whole cost is on the line after "calls=":
//
//   ob=(2) build/bench/kzvstrings.so
//   fn=(7) kzv::EncodingToHex(REALstringStruct*)
//   57 23                                            23 instructions of its own
//   cob=(3) libc.so.6
//   calls=1 0
//   57 80                                            80 of the function called, which are counted there
Instructions add_up(std::istream &lines) {
  const std::string plugin = std::filesystem::path(KZV_PLUGIN).filename();
  Instructions sum;
  std::map<std::string, bool> is_plugin;
  bool in_plugin = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("calls=")) {
      std::getline(lines, line);
    } else if (line.starts_with("ob=") || line.starts_with("cob=")) {
      const std::string number = line.substr(line.find('('), line.find(')') - line.find('('));
      if (line.find(' ') != std::string::npos) is_plugin[number] = line.ends_with("/" + plugin);
      if (line.starts_with("ob=")) in_plugin = is_plugin.at(number);
    } else if (!line.empty() && std::string_view("0123456789+-*").find(line.front()) != std::string::npos) {
      const double cost = std::stod(line.substr(line.rfind(' ')));
      sum.all += cost;
      if (in_plugin) sum.plugin += cost;
    }
  }
  return sum;
}

}  // namespace

Instructions count_instructions(const Call &call) {
  static int dumps = 0;
  call.repeat(1);
  CALLGRIND_ZERO_STATS;
  CALLGRIND_TOGGLE_COLLECT;
  call.repeat(1);
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_DUMP_STATS;
  const std::filesystem::path file = KZV_COUNTS "." + std::to_string(++dumps);
  std::ifstream lines(file);
  if (!lines) throw std::runtime_error("./bench --scaling has the instructions counted by callgrind");
  const Instructions sum = add_up(lines);
  std::filesystem::remove(file);
  return sum;
}

}  // namespace kzv::bench
