// The commands that load the plugin or read the reference.
#pragma once

#include "options.h"

namespace kzv::runner {

int call_function(const Options &options, const Words &words, const Output &output);
int list_functions(const Options &options, const Words &words, const Output &output);
int help_on_functions(const Options &options, const Words &words, const Output &output);

// Runs the first example of each function with `run`, which gets the words of a command line and the tour's
// own options as defaults.
int tour(const Options &options, Command run, const Output &output);

}  // namespace kzv::runner
