// Gigabytes of address space without the memory: for arguments at the limits.
#pragma once

#include <cassert>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace kzv {

// 2^31 bytes and some behind, all zero or one pattern, whose length is a power of two, again and again.
class Sparse {
 public:
  explicit Sparse(std::string_view pattern = {}) {
    void *const start = mmap(nullptr, kSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (start == MAP_FAILED) throw std::bad_alloc();
    start_ = static_cast<char *>(start);
    if (pattern.empty()) return;
    assert(kPiece % pattern.size() == 0);
    // One file, mapped again and again.
    const int file = memfd_create("pattern", 0);
    if (file < 0 || ftruncate(file, kPiece) != 0) throw std::bad_alloc();
    auto *const piece =
        static_cast<char *>(mmap(start_, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0));
    for (std::size_t at = 0; at < kPiece; at += pattern.size())
      std::memcpy(piece + at, pattern.data(), pattern.size());
    for (std::size_t at = 0; at < kSize; at += kPiece) {
      if (mmap(start_ + at, kPiece, PROT_READ, MAP_SHARED | MAP_FIXED, file, 0) == MAP_FAILED)
        throw std::bad_alloc();
    }
    close(file);
  }
  Sparse(const Sparse &) = delete;
  Sparse &operator=(const Sparse &) = delete;
  ~Sparse() { munmap(start_, kSize); }

  std::string_view first(std::size_t byte_count) const { return {start_, byte_count}; }

 private:
  static constexpr std::size_t kPiece = 1U << 20;
  static constexpr std::size_t kSize = (std::size_t{1} << 31) + kPiece;

  char *start_;
};

}  // namespace kzv
