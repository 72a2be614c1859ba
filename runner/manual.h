// The manual page kzv(1).
#pragma once

#include <string>

#include "usage.h"

namespace kzv::runner {

std::string manual_page(const Usage &usage);

}  // namespace kzv::runner
