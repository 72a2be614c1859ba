// The instructions of a call, counted by callgrind: unlike its time they know neither caches nor what else
// the machine does.
#pragma once

#include "calls.h"

namespace kzv::bench {

struct Instructions {
  double all = 0;     // a copy of megabytes may be a single one
  double plugin = 0;  // in the plugin's file alone: without the host and the C library
};

// Of one call, after another that looked up services and got memory. Throws std::runtime_error in a process
// that does not run under callgrind as ./bench starts it.
Instructions count_instructions(const Call &call);

}  // namespace kzv::bench
