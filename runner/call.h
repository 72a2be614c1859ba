// Calls a registered function of which only the address and the declaration are known.
#pragma once

#include <vector>

#include "values.h"

namespace kzv::runner {

// Takes one argument for each parameter, of the parameter's type.
Value call(host::Host &host, void *function, const Declaration &declaration,
           const std::vector<Value> &arguments);

}  // namespace kzv::runner
