// A plugin's library file, checked and loaded.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "abi.h"
#include "elf_file.h"

namespace kzv::host {

// The one symbol that every plugin exports.
inline constexpr char kEntryName[] = "REALPluginMain";

// A loaded plugin, unloaded by the destructor. Throws LoadError.
class PluginFile {
 public:
  enum class Instance : std::uint8_t {
    kShared,  // the one that this process has of the file
    kOwn,     // another one, with its own state
  };
  explicit PluginFile(const std::filesystem::path &path, Instance instance = Instance::kShared);

  const std::filesystem::path &path() const { return path_; }

  using Main = void (*)(REALresolver);
  Main main() const { return main_; }

 private:
  struct Unload {
    void operator()(void *handle) const;
  };

  std::filesystem::path path_;
  std::unique_ptr<void, Unload> handle_;
  Main main_ = nullptr;
};

// In the form of ElfFile::architecture.
std::string architecture_of_this_process();

}  // namespace kzv::host
