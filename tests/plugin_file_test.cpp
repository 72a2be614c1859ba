// Plugin files of either width as a host's loader sees them, whole and damaged.
#include "plugin_file.h"

#include <gtest/gtest.h>
#include <set>

#include "support/random.h"
#include "support/shell.h"

namespace kzv {
namespace {

namespace fs = std::filesystem;
constexpr bool k64Bit = sizeof(void *) == 8;
constexpr const char *kOurs = k64Bit ? "64-bit x86-64" : "32-bit x86";
constexpr const char *kOther = k64Bit ? "32-bit x86" : "64-bit x86-64";

std::string write_file(const std::string &name, const std::string &bytes) {
  std::string path = testing::TempDir() + name + std::to_string(getpid());
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

// What can be read of a file without loading it, or why it cannot be read.
std::string facts(const fs::path &path) try {
  host::ElfFile file(path);
  file.check_complete();
  const bool plugin = file.exports("REALPluginMain");
  return file.architecture() + (plugin ? " plugin " : " library ") + file.note("kzvstrings").value_or("none");
} catch (const host::LoadError &error) {
  return error.what();
}

TEST(PluginFile, IsDescribed) {
  EXPECT_EQ(facts(KZV_PLUGIN), std::string(kOurs) + " plugin kzvstrings " KZV_VERSION);
  EXPECT_EQ(facts("/proc/self/exe"), std::string(kOurs) + " library none");
  std::string header = contents(KZV_PLUGIN).substr(0, 64);
  header[5] = 2;  // the other byte order
  std::swap(header[18], header[19]);
  const std::string path = write_file("kzv-swapped", header);
  EXPECT_EQ(host::ElfFile(path).architecture(), kOurs);
  EXPECT_NE(facts(path).find("other byte order"), std::string::npos);
  fs::remove(path);
}

TEST(PluginFile, OfTheOtherWidthIsReadButNotLoaded) {
  std::string header = contents(KZV_PLUGIN).substr(0, 64);
  header[4] = k64Bit ? 1 : 2;
  header[18] = k64Bit ? 3 : 62;  // x86 or x86-64
  const std::string path = write_file("kzv-other", header);
  try {
    const host::PluginFile plugin(path);
    FAIL();
  } catch (const host::LoadError &error) {
    EXPECT_EQ(error.what(), "cannot load " + path + ": it is built for " + kOther + ", and this runner is " +
                                kOurs + "; take the plugin built for " + kOurs);
  }
  fs::remove(path);
  if (!fs::exists(KZV_OTHER_PLUGIN)) GTEST_SKIP() << "there is no " KZV_OTHER_PLUGIN;
  EXPECT_EQ(facts(KZV_OTHER_PLUGIN), std::string(kOther) + " plugin kzvstrings " KZV_VERSION);
}

TEST(PluginFile, CutShortIsRefused) {
  const std::string bytes = contents(KZV_PLUGIN);
  for (std::size_t size = 0; size < bytes.size(); size += 1 + size / 7) {
    const std::string path = write_file("kzv-cut", bytes.substr(0, size));
    const char *const why = size < 4 ? "not an ELF file" : "cut short";
    EXPECT_NE(facts(path).find(why), std::string::npos) << size << ": " << facts(path);
    EXPECT_THROW(host::PluginFile{path}, host::LoadError) << size;
    fs::remove(path);
  }
}

// Reading ends, whatever is damaged; the sanitizers report any access outside the bytes.
TEST(PluginFile, DamagedIsReadWithoutHarm) {
  const std::string whole = contents(KZV_PLUGIN);
  auto engine = seeded_random();
  const auto below = [&](std::size_t limit) { return static_cast<std::size_t>(engine()) % limit; };
  std::set<std::string> answers;
  for (int round = 0; round < 1500; ++round) {
    std::string bytes = whole;
    for (int i = 0; i < 3; ++i) {
      // The header, the segments and the notes; the symbols and the table of sections.
      const std::size_t areas[] = {below(64), below(1200), bytes.size() - 1 - below(2400)};
      bytes[areas[below(3)]] = static_cast<char>(below(256));
    }
    const std::string path = write_file("kzv-damaged", bytes);
    answers.insert(facts(path));
    fs::remove(path);
  }
  EXPECT_GT(answers.size(), 5U);
}

}  // namespace
}  // namespace kzv
