// A plugin's library that can be reset to what it was after loading: loading it again takes long.
#pragma once

#include <algorithm>
#include <cstdint>
#include <dlfcn.h>
#include <link.h>
#include <span>
#include <vector>

#include "plugin_file.h"

namespace kzv::host {

class Loaded {
 public:
  explicit Loaded(const char *file, PluginFile::Instance instance = PluginFile::Instance::kOwn)
      : file_(file, instance), memory_(find_memory(file_.main())), when_loaded_(memory_.size()) {
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

  // The last writable segment, without what the dynamic linker has made read-only.
  static Memory find_memory(PluginFile::Main main) {
    Dl_info library;
    if (dladdr(reinterpret_cast<void *>(main), &library) == 0) return {};
    auto *const base = static_cast<std::uint8_t *>(library.dli_fbase);
    const auto *const header = reinterpret_cast<const ElfW(Ehdr) *>(base);
    const auto *const segments = reinterpret_cast<const ElfW(Phdr) *>(base + header->e_phoff);
    std::uint8_t *start = nullptr;
    std::uint8_t *end = nullptr;
    for (const ElfW(Phdr) & segment : std::span(segments, header->e_phnum)) {
      std::uint8_t *const segment_end = base + segment.p_vaddr + segment.p_memsz;
      if (segment.p_type == PT_GNU_RELRO) start = segment_end;
      if (segment.p_type == PT_LOAD && (segment.p_flags & PF_W) != 0) {
        start = std::max(start, base + segment.p_vaddr);
        end = segment_end;
      }
    }
    return {reinterpret_cast<std::uint64_t *>(start), static_cast<std::size_t>(end - start) / 8};
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
