#include "ledger.h"

#include <utility>

namespace kzv::host {

void Ledger::add_fault(std::string fault) {
  const std::lock_guard lock(mutex_);
  faults_.push_back(std::move(fault));
}

std::string Ledger::report() const {
  std::string text;
  for (const Account *account : {&strings, &objects, &records}) {
    const std::int64_t taken = account->taken.value();
    const std::int64_t released = account->released.value();
    if (taken == released) continue;
    text += std::string(account->name) + ": " + std::to_string(taken) + " taken, " +
            std::to_string(released) + " released\n";
  }
  const std::lock_guard lock(mutex_);
  for (const std::string &fault : faults_) text += fault + '\n';
  return text;
}

}  // namespace kzv::host
