#include "plugin_file.h"

#include <cstdlib>
#include <dlfcn.h>

#include "elf_file.h"
#include "shown.h"

namespace kzv::host {
namespace fs = std::filesystem;
namespace {

std::string last_dl_error() {
  const char *const text = dlerror();
  return text != nullptr ? text : "no reason given";
}

void check(const fs::path &path) {
  ElfFile file(path);
  const std::string theirs = file.architecture();
  const std::string ours = architecture_of_this_process();
  if (theirs != ours) {
    throw LoadError("cannot load " + shown(path.string()) + ": it is built for " + theirs +
                    ", and this runner is " + ours + "; take the plugin built for " + ours);
  }
  file.check_complete();
}

void *open_library(const fs::path &path) {
  // dlopen searches the system's folders for a name without a slash.
  return dlopen(fs::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
}

// The dynamic linker loads a file once: another instance needs another file.
void *open_copy(const fs::path &path) {
  std::string folder = (fs::temp_directory_path() / "kzv-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr)
    throw LoadError("cannot make a folder for a copy of " + shown(path.string()));
  const fs::path copy = fs::path(folder) / path.filename();
  std::error_code error;
  fs::copy_file(path, copy, error);
  void *const handle = error ? nullptr : open_library(copy);
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  if (error) throw LoadError("cannot copy " + shown(path.string()) + ": " + error.message());
  return handle;
}

}  // namespace

std::string architecture_of_this_process() { return ElfFile("/proc/self/exe").architecture(); }

PluginFile::PluginFile(const fs::path &path, Instance instance) : path_(path) {
  check(path);
  handle_.reset(instance == Instance::kOwn ? open_copy(path) : open_library(path));
  if (handle_ == nullptr)
    throw LoadError("cannot load " + shown(path.string()) + ": " + shown(last_dl_error()));
  main_ = reinterpret_cast<Main>(dlsym(handle_.get(), kEntryName));
  if (main_ == nullptr) {
    throw LoadError("cannot load " + shown(path.string()) + ": it has no symbol " + kEntryName +
                    ", so it is not a plugin (" + shown(last_dl_error()) + ")");
  }
}

void PluginFile::Unload::operator()(void *handle) const { dlclose(handle); }

}  // namespace kzv::host
