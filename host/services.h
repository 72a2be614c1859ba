// The host's services as a plugin sees them: plain functions behind a table from name to function.
#pragma once

#include <string_view>
#include <vector>

#include "abi.h"

namespace kzv::host {

struct Services {
  // The resolver that a plugin is handed.
  static void *resolve(const char *name);

  // Every service by name.
  static std::vector<std::string_view> names();

 private:
  struct Functions;
  struct Entry;
  static const Entry kTable[];
};

}  // namespace kzv::host
