// Shows the result of a call.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "values.h"

namespace kzv::runner {

// Bytes: exactly the result's bytes, numbers and booleans in words. Hex: the same bytes as upper-case hex
// digits. Json: one object that tells all, and what was raised.
void write_result(const Options &options, Type type, const Value &result,
                  const std::vector<host::RaisedException> &raised, std::ostream &out);

// A function as the list shows it.
struct Entry {
  std::string_view group;
  std::string_view name;
  std::vector<std::string> declarations;
  std::string_view sentence;
};

// Entries of one group stand together.
void write_list(const Options &options, const std::vector<Entry> &entries, std::ostream &out);

}  // namespace kzv::runner
