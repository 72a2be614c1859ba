// What a plugin took from the host and what it gave back.
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
    Counter given_back{};
  };
  Account strings{"string references"};
  Account objects{"object references"};
  Account records{"string-data records"};

  // Something that a plugin must never do, such as giving back what it does not hold.
  void add_fault(std::string fault);

  // Whether everything that was taken has been given back, and no fault was seen. Ask between calls.
  bool balanced() const { return report().empty(); }

  // What is wrong, in words; empty when balanced.
  std::string report() const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> faults_;
};

}  // namespace kzv::host
