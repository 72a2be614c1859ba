#include "plugin_file.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <fstream>
#include <link.h>
#include <string>
#include <unistd.h>

namespace kzv::host {
namespace fs = std::filesystem;
namespace {

constexpr char kEntryName[] = "REALPluginMain";

std::string name_of_machine(unsigned char width, std::uint16_t machine) {
  const std::string bits = width == ELFCLASS64 ? "64-bit " : "32-bit ";
  switch (machine) {
    case EM_X86_64:
      return bits + "x86-64";
    case EM_386:
      return bits + "x86";
    case EM_AARCH64:
    case EM_ARM:
      return bits + "ARM";
    default:
      return bits + "machine type " + std::to_string(machine);
  }
}

std::string last_dl_error() {
  const char *const text = dlerror();
  return text != nullptr ? text : "no reason given";
}

void check_readable(const fs::path &path) {
  std::error_code error;
  if (fs::is_directory(path, error)) throw LoadError("cannot load " + path.string() + ": it is a directory");
  if (access(path.c_str(), R_OK) != 0) {
    throw LoadError("cannot load " + path.string() + ": " + std::strerror(errno));
  }
}

void check_architecture(const fs::path &path) {
  const std::string theirs = architecture_of(path);
  const std::string ours = architecture_of_this_process();
  if (theirs.empty()) throw LoadError("cannot load " + path.string() + ": it is no library (no ELF file)");
  if (theirs != ours) {
    throw LoadError("cannot load " + path.string() + ": it is built for " + theirs + ", and this runner is " +
                    ours + "; take the plugin built for " + ours);
  }
}

// The dynamic linker would crash on a file that ends too early. The table of sections stands at the end of a
// file.
void check_complete(const fs::path &path) {
  ElfW(Ehdr) header{};
  std::ifstream stream(path, std::ios::binary);
  stream.read(reinterpret_cast<char *>(&header), sizeof header);
  const std::uint64_t end = header.e_shoff + std::uint64_t{header.e_shnum} * header.e_shentsize;
  if (!stream || fs::file_size(path) < end) {
    throw LoadError("cannot load " + path.string() + ": the file is cut short; copy it again");
  }
}

void *open_library(const fs::path &path) {
  // A bare name would be searched for in the system's folders.
  return dlopen(fs::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
}

// The dynamic linker loads a file once: an instance of one's own takes a file of one's own.
void *open_copy(const fs::path &path) {
  std::string folder = (fs::temp_directory_path() / "kzv-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr)
    throw LoadError("cannot make a folder for a copy of " + path.string());
  const fs::path copy = fs::path(folder) / path.filename();
  std::error_code error;
  fs::copy_file(path, copy, error);
  void *const handle = error ? nullptr : open_library(copy);
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  if (error) throw LoadError("cannot copy " + path.string() + ": " + error.message());
  return handle;
}

}  // namespace

std::string architecture_of(const fs::path &file) {
  // Both widths begin alike, up to and including the machine.
  Elf32_Ehdr header{};
  std::ifstream stream(file, std::ios::binary);
  stream.read(reinterpret_cast<char *>(&header), sizeof header);
  if (!stream || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return "";
  return name_of_machine(header.e_ident[EI_CLASS], header.e_machine);
}

std::string architecture_of_this_process() { return architecture_of("/proc/self/exe"); }

PluginFile::PluginFile(const fs::path &path, Instance instance) : path_(path) {
  check_readable(path);
  check_architecture(path);
  check_complete(path);
  handle_.reset(instance == Instance::kOwn ? open_copy(path) : open_library(path));
  if (handle_ == nullptr) throw LoadError("cannot load " + path.string() + ": " + last_dl_error());
  main_ = reinterpret_cast<Main>(dlsym(handle_.get(), kEntryName));
  if (main_ == nullptr) {
    throw LoadError("cannot load " + path.string() + ": it has no symbol " + kEntryName +
                    ", so it is no plugin (" + last_dl_error() + ")");
  }
}

void PluginFile::Unload::operator()(void *handle) const { dlclose(handle); }

}  // namespace kzv::host
