// A number that several threads add to; without atomic operations for as long as the process has one thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <sys/single_threaded.h>

namespace kzv::host {

class Counter {
 public:
  // Adds, and returns the value before.
  std::int64_t add(std::int64_t amount) {
    if (__libc_single_threaded == 0) return value_.fetch_add(amount);
    const std::int64_t before = value_.load(std::memory_order_relaxed);
    value_.store(before + amount, std::memory_order_relaxed);
    return before;
  }
  std::int64_t value() const { return value_; }

 private:
  std::atomic<std::int64_t> value_{0};
};

}  // namespace kzv::host
