// Shows the result of a call.
#pragma once

#include <ostream>
#include <vector>

#include "commands.h"
#include "values.h"

namespace kzv::runner {

// Bytes: exactly the result's bytes, numbers and booleans in words. Hex: the same bytes as upper-case hex
// digits. Json: one object that tells all, and what was raised.
void write_result(const Options &options, Type type, const Value &result,
                  const std::vector<host::RaisedException> &raised, std::ostream &out);

}  // namespace kzv::runner
