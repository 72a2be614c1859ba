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

std::string bytes_of(const fs::path &path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string write_file(const std::string &name, const std::string &bytes) {
  std::string path = testing::TempDir() + name + std::to_string(getpid());
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

// All that can be told of a file without loading it; why it cannot be told otherwise.
std::string facts(const fs::path &path) try {
  host::ElfFile file(path);
  file.check_complete();
  const bool plugin = file.exports("REALPluginMain");
  return file.architecture() + (plugin ? " plugin " : " library ") + file.note("kzvstrings").value_or("none");
} catch (const host::LoadError &error) {
  return error.what();
}

// The plugin of the build for the other width, which need not have been made.
class OtherWidth : public testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(KZV_OTHER_PLUGIN)) GTEST_SKIP() << "there is no " KZV_OTHER_PLUGIN;
  }
};

TEST_F(OtherWidth, IsReadAndNotLoaded) {
  EXPECT_EQ(facts(KZV_OTHER_PLUGIN), std::string(kOther) + " plugin kzvstrings " KZV_VERSION);
  try {
    const host::PluginFile plugin(KZV_OTHER_PLUGIN);
    FAIL();
  } catch (const host::LoadError &error) {
    EXPECT_EQ(std::string(error.what()), "cannot load " KZV_OTHER_PLUGIN ": it is built for " +
                                             std::string(kOther) + ", and this runner is " + kOurs +
                                             "; take the plugin built for " + kOurs);
  }
}

TEST(PluginFile, TellsWhatItIs) {
  EXPECT_EQ(facts(KZV_PLUGIN), std::string(kOurs) + " plugin kzvstrings " KZV_VERSION);
  EXPECT_EQ(facts("/proc/self/exe"), std::string(kOurs) + " library none");
  std::string swapped = bytes_of(KZV_PLUGIN).substr(0, 64);
  swapped[5] = 2;  // the other order of bytes
  std::swap(swapped[18], swapped[19]);
  const std::string path = write_file("kzv-swapped", swapped);
  EXPECT_EQ(host::ElfFile(path).architecture(), kOurs);
  EXPECT_NE(facts(path).find("other order of bytes"), std::string::npos);
  fs::remove(path);
}

TEST(PluginFile, CutShortIsNotTaken) {
  const std::string bytes = bytes_of(KZV_PLUGIN);
  for (std::size_t size = 0; size < bytes.size(); size += 1 + size / 7) {
    const std::string path = write_file("kzv-cut", bytes.substr(0, size));
    const char *const why = size < 4 ? "no ELF file" : "cut short";
    EXPECT_NE(facts(path).find(why), std::string::npos) << size << ": " << facts(path);
    EXPECT_THROW(host::PluginFile{path}, host::LoadError) << size;
    fs::remove(path);
  }
}

// Nothing is asserted but that reading comes to an end: the sanitizers tell what it read.
TEST(PluginFile, DamagedIsReadWithoutHarm) {
  const std::string whole = bytes_of(KZV_PLUGIN);
  auto engine = seeded_random();
  const auto below = [&](std::size_t limit) { return static_cast<std::size_t>(engine()) % limit; };
  std::set<std::string> answers;
  for (int round = 0; round < 1500; ++round) {
    std::string bytes = whole;
    for (int i = 0; i < 3; ++i) {
      // The header, the segments and the notes; the sections' table; the symbols' tables.
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
