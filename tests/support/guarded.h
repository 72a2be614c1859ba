// Bytes that end, to the byte, where memory that cannot be touched begins. The address sanitizer reports what
// touches the bytes before them.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>
#include <new>
#include <sanitizer/asan_interface.h>
#include <span>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace kzv {

class Guarded {
 public:
  explicit Guarded(std::size_t size)
      : size_(size), mapped_(std::bit_ceil(std::max(size, static_cast<std::size_t>(getpagesize())))) {
    std::vector<std::uint8_t *> &ends = unused[mapped_];
    if (ends.empty()) ends.push_back(map_end());
    end_ = ends.back();
    ends.pop_back();
    ASAN_POISON_MEMORY_REGION(end_ - mapped_, mapped_ - size);
  }
  explicit Guarded(std::string_view text) : Guarded(text.size()) { std::ranges::copy(text, data()); }
  Guarded(const Guarded &) = delete;
  Guarded &operator=(const Guarded &) = delete;
  ~Guarded() {
    ASAN_UNPOISON_MEMORY_REGION(end_ - mapped_, mapped_);
    unused[mapped_].push_back(end_);
  }

  std::uint8_t *data() { return end_ - size_; }
  std::span<std::uint8_t> bytes() { return {data(), size_}; }

 private:
  // Mappings are used again, by size: to make one takes longer than most kernels do.
  static inline thread_local std::map<std::size_t, std::vector<std::uint8_t *>> unused;

  [[nodiscard]] std::uint8_t *map_end() const {
    void *const start = mmap(nullptr, mapped_ + static_cast<std::size_t>(getpagesize()), PROT_NONE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (start == MAP_FAILED || mprotect(start, mapped_, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    return static_cast<std::uint8_t *>(start) + mapped_;
  }

  std::size_t size_;
  std::size_t mapped_;
  std::uint8_t *end_ = nullptr;
};

}  // namespace kzv
