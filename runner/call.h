// Calls a registered function through its address, from its declaration alone.
#pragma once

#include <vector>

#include "values.h"

namespace kzv::runner {

// `arguments` are one for each parameter, each of the parameter's type.
Value call(host::Host &host, void *function, const Declaration &declaration,
           const std::vector<Value> &arguments);

}  // namespace kzv::runner
