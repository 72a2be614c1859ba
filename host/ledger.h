// What a plugin took from the host and what it released.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "counter.h"

namespace kzv::host {

class Ledger {
 public:
  // References to strings (locked, built, converted), references to objects and memory blocks, and
  // string-data records.
  struct Account {
    const char *name;
    Counter taken{};
    Counter released{};
  };
  Account strings{"string references"};
  Account objects{"object references"};
  Account records{"string-data records"};

  // Something that a plugin must never do, such as releasing what it does not hold.
  void add_fault(std::string fault);

  // Whether everything that was taken has been released, and no fault was seen. For use between calls.
  bool balanced() const { return report().empty(); }

  // What is wrong, in words; empty when balanced.
  std::string report() const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> faults_;
};

}  // namespace kzv::host
