// Several threads, several instances, and a library that comes and goes.
#include <atomic>
#include <barrier>
#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "support/random.h"
#include "support/samples.h"

namespace kzv::host {
namespace {

TEST(Threads, MakeEveryFirstCallTogetherAndGoOn) {
  constexpr std::size_t kThreads = 8;
  constexpr auto kTime = std::chrono::milliseconds(300);
  for (const double host_version : {2011.5, 2012.5, 2013.03}) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    std::barrier together(kThreads);
    std::atomic<int> calls = 0;
    const auto work = [&](std::mt19937 random) {
      for (const Sample &sample : samples()) {
        together.arrive_and_wait();
        EXPECT_EQ(sample.call(plugin), sample.expected) << sample.name;
      }
      for (const auto end = std::chrono::steady_clock::now() + kTime; std::chrono::steady_clock::now() < end;
           ++calls) {
        const Sample &sample = samples()[random() % samples().size()];
        ASSERT_EQ(sample.call(plugin), sample.expected) << sample.name;
        ASSERT_EQ(plugin.call("RandomBytesStringKZV", 20, true).bytes.size(), 20U);
      }
    };
    std::vector<std::thread> threads;
    auto seeds = seeded_random();
    for (std::size_t i = 0; i < kThreads; ++i) threads.emplace_back(work, std::mt19937(seeds()));
    for (std::thread &thread : threads) thread.join();
    EXPECT_GT(calls.load(), 100);
    EXPECT_EQ(plugin.host.ledger.report(), "");
  }
}

bool is_mapped(const std::string &file) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.ends_with(file)) return true;
  }
  return false;
}

int other_look_ups = 0;
void *other_resolver(const char *name) {
  ++other_look_ups;
  return Services::resolve(name);
}

void load_and_use(REALresolver resolver, std::optional<double> host_version, int interface_version) {
  const PluginFile file(KZV_PLUGIN);
  EXPECT_TRUE(is_mapped(KZV_PLUGIN));
  Host host(version(host_version));
  host.start(file.main(), resolver);
  EXPECT_EQ(host.interface_version(), interface_version);
  auto *const encode =
      reinterpret_cast<REALstringStruct *(*)(REALstringStruct *)>(host.methods()[23].function);
  EXPECT_EQ(returned(host.call(encode, new_string("a b", kEncodingUTF8).get())), ascii("a%20b"));
  EXPECT_EQ(host.ledger.report(), "");
}

// What one life of the library knew, such as the version, is gone in the next.
TEST(Unloading, LeavesNothingBehind) {
  for (int i = 0; i < 50; ++i) {
    load_and_use(Services::resolve, 2013.03, 12);
    EXPECT_FALSE(is_mapped(KZV_PLUGIN));
    load_and_use(Services::resolve, std::nullopt, 9);
  }
  load_and_use(other_resolver, 2012.0, 10);
  EXPECT_GT(other_look_ups, 5);
}

TEST(Instances, LiveSideBySide) {
  Plugin older(KZV_PLUGIN, version(2011.5));
  Plugin newer(KZV_PLUGIN, version(2013.03, {"REALLockString"}));
  for (const Sample &sample : samples()) {
    EXPECT_EQ(newer.host.interface_version(), 12);
    EXPECT_EQ(older.host.interface_version(), 9);
    EXPECT_EQ(sample.call(older), sample.expected);
  }
}

}  // namespace
}  // namespace kzv::host
