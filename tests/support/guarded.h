// Bytes that end, to the byte, where memory that cannot be touched begins. The address sanitizer reports what
// touches the bytes before them.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>
#include <new>
#include <span>
#include <string_view>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif
#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size)
#define ASAN_UNPOISON_MEMORY_REGION(address, size)
#endif

namespace kzv {

inline constexpr std::size_t kPage = 4096;

// The end of that many bytes, whole pages, that a page follows which cannot be touched.
inline std::uint8_t *map_before_guard(std::size_t byte_count) {
#ifdef _WIN32
  void *const start = VirtualAlloc(nullptr, byte_count + kPage, MEM_RESERVE, PAGE_NOACCESS);
  const bool usable =
      start != nullptr && VirtualAlloc(start, byte_count, MEM_COMMIT, PAGE_READWRITE) != nullptr;
#else
  void *const start =
      mmap(nullptr, byte_count + kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  const bool usable = start != MAP_FAILED && mprotect(start, byte_count, PROT_READ | PROT_WRITE) == 0;
#endif
  if (!usable) throw std::bad_alloc();
  return static_cast<std::uint8_t *>(start) + byte_count;
}

class Guarded {
 public:
  explicit Guarded(std::size_t size) : size_(size), mapped_(std::bit_ceil(std::max(size, kPage))) {
    std::vector<std::uint8_t *> &ends = unused(mapped_);
    if (ends.empty()) ends.push_back(map_before_guard(mapped_));
    end_ = ends.back();
    ends.pop_back();
    ASAN_POISON_MEMORY_REGION(end_ - mapped_, mapped_ - size);
  }
  explicit Guarded(std::string_view text) : Guarded(text.size()) { std::ranges::copy(text, data()); }
  Guarded(const Guarded &) = delete;
  Guarded &operator=(const Guarded &) = delete;
  ~Guarded() {
    ASAN_UNPOISON_MEMORY_REGION(end_ - mapped_, mapped_);
    unused(mapped_).push_back(end_);
  }

  std::uint8_t *data() { return end_ - size_; }
  std::span<std::uint8_t> bytes() { return {data(), size_}; }

 private:
  // Mappings are used again, by size: to make one takes longer than most kernels do.
  static std::vector<std::uint8_t *> &unused(std::size_t byte_count) {
    thread_local std::map<std::size_t, std::vector<std::uint8_t *>> ends;
    return ends[byte_count];
  }

  std::size_t size_;
  std::size_t mapped_;
  std::uint8_t *end_ = nullptr;
};

}  // namespace kzv
