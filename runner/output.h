// Shows the result of a call.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "options.h"
#include "values.h"

namespace kzv::runner {

// Bytes: exactly the result's bytes; numbers and booleans as text. Hex: the same bytes as upper-case hex
// digits. Json: an object with everything about the result, and the exception.
void write_result(const Options &options, Type type, const Value &result,
                  const std::vector<host::RaisedException> &raised, std::ostream &out);

// A function in the list.
struct Entry {
  std::string_view group;
  std::string_view name;
  std::vector<std::string> declarations;
  std::string_view sentence;
};

// Entries of one group are next to each other.
void write_list(const Options &options, const std::vector<Entry> &entries, std::ostream &out);

}  // namespace kzv::runner
