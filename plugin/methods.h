// The table of the functions that the library registers with the host.
#pragma once

#include <span>

#include "abi.h"

namespace kzv {

// In the order of registration.
extern const std::span<const REALmethodDefinition> globalMethods;

}  // namespace kzv
