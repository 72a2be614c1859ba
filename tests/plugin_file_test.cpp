// Plugin files of either width as a host's loader sees them, whole and damaged.
#include "plugin_file.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

#include "support/random.h"
#include "support/shell.h"

namespace kzv {
namespace {

constexpr bool k64Bit = sizeof(void *) == 8;
constexpr const char *kOurs = k64Bit ? "64-bit x86-64" : "32-bit x86";
constexpr const char *kOther = k64Bit ? "32-bit x86" : "64-bit x86-64";

// What can be read of a file, or why it cannot be read; with `File` PluginFile, why it cannot be loaded.
template <typename File = host::ElfFile>
std::string facts(const std::string &path) try {
  const File opened(path);
  host::ElfFile file(path);
  file.check_complete();
  const bool plugin = file.exports("REALPluginMain");
  return file.architecture() + (plugin ? " plugin " : " library ") + file.note("kzvstrings").value_or("none");
} catch (const host::LoadError &error) {
  return error.what();
}

class PluginFile : public testing::Test {
 protected:
  void TearDown() override { std::filesystem::remove(path_); }

  // File systems write out at once what replaces the bytes of a file, which takes long.
  void write(std::string_view bytes) {
    std::filesystem::remove(path_);
    std::ofstream(path_, std::ios::binary) << bytes;
  }

  const std::string whole_ = contents(KZV_PLUGIN);
  const std::string path_ = testing::TempDir() + "kzv-plugin" + std::to_string(getpid());
};

TEST_F(PluginFile, ThatDoesNotFitIsNotLoaded) {
  EXPECT_EQ(facts(KZV_PLUGIN), std::string(kOurs) + " plugin kzvstrings " KZV_VERSION);
  std::string bytes = whole_;
  bytes.replace(bytes.find("REALPluginMain"), 14, "REALPluginNone");
  write(bytes);
  EXPECT_NE(facts<host::PluginFile>(path_).find("it has no symbol REALPluginMain, so it is not a plugin ("),
            std::string::npos);
  bytes[5] = 2;  // the other byte order
  std::swap(bytes[18], bytes[19]);
  write(bytes);
  EXPECT_EQ(host::ElfFile(path_).architecture(), kOurs);
  EXPECT_NE(facts<host::PluginFile>(path_).find("other byte order"), std::string::npos);
  bytes = whole_.substr(0, 64);
  bytes[4] = k64Bit ? 1 : 2;
  bytes[18] = k64Bit ? 3 : 62;  // x86 or x86-64
  write(bytes);
  EXPECT_EQ(facts<host::PluginFile>(path_), "cannot load " + path_ + ": it is built for " + kOther +
                                                ", and this runner is " + kOurs +
                                                "; take the plugin built for " + kOurs);
}

// Reading ends, whatever is damaged or missing; the sanitizers report any access outside the bytes.
TEST_F(PluginFile, DamagedOrCutShortIsReadWithoutHarm) {
  auto engine = seeded_random();
  const auto below = [&](std::size_t limit) { return static_cast<std::size_t>(engine()) % limit; };
  std::set<std::string> answers;
  for (int round = 0; round < 1500; ++round) {
    std::string bytes = whole_;
    for (int i = 0; i < 3; ++i) {
      // The header, the segments and the notes; the symbols and the table of sections.
      const std::size_t areas[] = {below(64), below(1200), bytes.size() - 1 - below(2400)};
      bytes[areas[below(3)]] = static_cast<char>(below(256));
    }
    if (round % 2 == 0) bytes.resize(below(bytes.size()));
    write(bytes);
    answers.insert(facts(path_));
  }
  for (const std::string why : {"not an ELF file", "cut short"})
    EXPECT_TRUE(std::ranges::any_of(answers, [&](const auto &a) { return a.find(why) < a.size(); })) << why;
}

}  // namespace
}  // namespace kzv
