// A plugin's library file: looked at, and loaded.
#pragma once

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "abi.h"

namespace kzv::host {

// Why a file could not be loaded, in words for a person.
struct LoadError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A loaded plugin, unloaded at the end. Throws LoadError.
class PluginFile {
 public:
  enum class Instance : std::uint8_t {
    kShared,  // the one that this process has of the file
    kOwn,     // one more, with state of its own
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

// "64-bit x86-64", "32-bit x86" and the like; empty when the file is no library for this system.
std::string architecture_of(const std::filesystem::path &file);
std::string architecture_of_this_process();

}  // namespace kzv::host
