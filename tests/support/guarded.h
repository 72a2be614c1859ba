// Bytes that end, to the byte, where memory that cannot be touched begins.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <map>
#include <new>
#include <span>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace kzv {

class Guarded {
 public:
  explicit Guarded(std::size_t size) : size_(size), unused_(unused_of(size)) {
    if (unused_.empty()) unused_.push_back(map_end(size));
    end_ = unused_.back();
    unused_.pop_back();
  }
  explicit Guarded(std::string_view text) : Guarded(text.size()) {
    if (!text.empty()) std::memcpy(data(), text.data(), text.size());
  }
  Guarded(const Guarded &) = delete;
  Guarded &operator=(const Guarded &) = delete;
  ~Guarded() { unused_.push_back(end_); }

  std::uint8_t *data() { return end_ - size_; }
  std::span<std::uint8_t> bytes() { return {data(), size_}; }

 private:
  using Ends = std::vector<std::uint8_t *>;

  static std::size_t page() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }
  static std::size_t mapped(std::size_t size) { return std::max(page(), std::bit_ceil(size)); }

  // Mappings are used again: to make one takes longer than most kernels do.
  static Ends &unused_of(std::size_t size) {
    thread_local std::map<std::size_t, Ends> unused;
    return unused[mapped(size)];
  }
  static std::uint8_t *map_end(std::size_t size) {
    void *const start =
        mmap(nullptr, mapped(size) + page(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (start == MAP_FAILED || mprotect(start, mapped(size), PROT_READ | PROT_WRITE) != 0)
      throw std::bad_alloc();
    return static_cast<std::uint8_t *>(start) + mapped(size);
  }

  std::size_t size_;
  Ends &unused_;
  std::uint8_t *end_ = nullptr;
};

}  // namespace kzv
