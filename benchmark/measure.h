// Times of one function on one input: ours, its kernel's, its rivals', that of the host's round trip alone,
// that of copying as many bytes, and that of the same function in another plugin file.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cases.h"

namespace kzv::bench {

struct Plugins {
  Plugin ours{KZV_PLUGIN};
  std::optional<Plugin> rivals;
  std::optional<Plugin> other;  // another build of ours
};

struct Row {
  std::string function;
  std::string kind;
  std::size_t size;
  std::size_t bytes_read;
  double whole;                 // nanoseconds, as all of them
  std::vector<double> kernels;  // at each vector level
  std::string best_rival;       // empty: there is none
  double rival;
  double round_trip;  // the host's, with nothing between arguments and result; 0 without rivals
  double copy;
  std::optional<double> other_ratio;  // the other file's time to ours, unless it lacks the function

  double gigabytes_per_second() const { return static_cast<double>(bytes_read) / whole; }
  double ratio() const { return rival / whole; }
  bool is_slower() const { return !best_rival.empty() && ratio() < 1; }
  double share_of_copy() const { return copy / whole; }
  // In proportion to `whole`, which is measured at another moment than the ratio.
  double other() const { return whole * *other_ratio; }
};

// What a table or a file is headed with: processor, compiler and commit.
std::string circumstances();

// The address of the registered function.
void *address_of(const Plugin &plugin, const std::string &declaration);

std::size_t bytes_of(const Arguments &arguments);

// Throws std::runtime_error when the result of a rival or of the other file is not ours.
Row measure(Plugins &plugins, const Function &function, const Kind &kind, std::size_t size);

}  // namespace kzv::bench
