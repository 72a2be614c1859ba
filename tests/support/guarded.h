// Bytes that end, to the byte, where memory that cannot be touched begins.
#pragma once

#include <cstdint>
#include <cstring>
#include <new>
#include <span>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace kzv {

class Guarded {
 public:
  explicit Guarded(std::size_t size) : size_(size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t whole_pages = (size + page - 1) / page * page;
    mapped_ = whole_pages + 2 * page;
    void *start = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (start == MAP_FAILED) throw std::bad_alloc();
    start_ = static_cast<std::uint8_t *>(start);
    if (whole_pages > 0 && mprotect(start_ + page, whole_pages, PROT_READ | PROT_WRITE) != 0)
      throw std::bad_alloc();
    data_ = start_ + page + whole_pages - size;
  }
  explicit Guarded(std::string_view text) : Guarded(text.size()) {
    if (!text.empty()) std::memcpy(data_, text.data(), text.size());
  }
  Guarded(const Guarded &) = delete;
  Guarded &operator=(const Guarded &) = delete;
  ~Guarded() { munmap(start_, mapped_); }

  std::uint8_t *data() { return data_; }
  std::span<std::uint8_t> bytes() { return {data_, size_}; }

 private:
  std::size_t size_;
  std::size_t mapped_ = 0;
  std::uint8_t *start_ = nullptr;
  std::uint8_t *data_ = nullptr;
};

}  // namespace kzv
