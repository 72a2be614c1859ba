// A plugin, loaded as a host loads it, and the functions that it registered.
#pragma once

#include <string_view>
#include <vector>

#include "declaration.h"
#include "host.h"
#include "options.h"
#include "plugin_file.h"
#include "values.h"

namespace kzv::runner {

struct Function {
  Declaration declaration;
  void *address;
};

class Session {
 public:
  explicit Session(const Options &options);

  host::Host &host() { return host_; }
  const host::PluginFile &plugin() const { return plugin_; }
  const std::vector<Function> &functions() const { return functions_; }

  // The overload of `name` that takes `argument_count` arguments, or more with defaults; throws UsageError.
  const Function &find(const std::string &name, std::size_t argument_count) const;

 private:
  host::PluginFile plugin_;
  host::Host host_;
  std::vector<Function> functions_;
};

// The error for an unknown function: suggests the nearest of the known names.
UsageError no_such_function(const std::string &name, std::vector<std::string> known);

}  // namespace kzv::runner
