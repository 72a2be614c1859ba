// A plugin's library that can be had as new again and again without being loaded anew, which takes long.
#pragma once

#include <cstdint>
#include <dlfcn.h>
#include <link.h>
#include <span>
#include <string_view>
#include <vector>

#include "plugin_file.h"

namespace kzv::host {

class Loaded {
 public:
  explicit Loaded(const char *file, PluginFile::Instance instance = PluginFile::Instance::kOwn)
      : file_(file, instance) {
    dl_iterate_phdr(find_memory, this);
    when_loaded_.resize(memory_.size());
    copy(memory_, when_loaded_);
  }
  Loaded(const Loaded &) = delete;
  Loaded &operator=(const Loaded &) = delete;

  // All writable memory of the library becomes what it was after loading. Coverage counters are part of it.
  PluginFile::Main as_new() {
    copy(when_loaded_, memory_);
    return file_.main();
  }

 private:
  using Memory = std::span<std::uint64_t>;

  // The writable segment, without what the dynamic linker has made read-only.
  static int find_memory(dl_phdr_info *info, std::size_t, void *loaded) {
    auto *const self = static_cast<Loaded *>(loaded);
    Dl_info library;
    if (dladdr(reinterpret_cast<void *>(self->file_.main()), &library) == 0 ||
        std::string_view(info->dlpi_name) != library.dli_fname) {
      return 0;
    }
    std::uintptr_t start = 0;
    std::uintptr_t end = 0;
    for (const ElfW(Phdr) & segment : std::span(info->dlpi_phdr, info->dlpi_phnum)) {
      const std::uintptr_t segment_end = info->dlpi_addr + segment.p_vaddr + segment.p_memsz;
      if (segment.p_type == PT_GNU_RELRO) start = segment_end;
      if (segment.p_type == PT_LOAD && (segment.p_flags & PF_W) != 0) end = segment_end;
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the dynamic linker has addresses as numbers
    self->memory_ = {reinterpret_cast<std::uint64_t *>(start), (end - start) / 8};
    return 1;
  }

  // Between the variables lies memory that the sanitizer lets nobody touch.
  [[gnu::no_sanitize_address]] static void copy(Memory from, Memory to) {
    volatile std::uint64_t *next = to.data();
    for (const std::uint64_t word : from) *next++ = word;
  }

  PluginFile file_;
  Memory memory_;
  std::vector<std::uint64_t> when_loaded_;
};

}  // namespace kzv::host
