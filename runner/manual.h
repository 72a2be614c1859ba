// The manual page kzv(1).
#pragma once

#include <string>

namespace kzv::runner {

std::string manual_page();

}  // namespace kzv::runner
