// Several threads, and a library that comes and goes.
#include <barrier>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "support/samples.h"

namespace kzv::host {
namespace {

TEST(Threads, MakeEveryCallTogether) {
  constexpr std::size_t kThreads = 8;
  for (const double host_version : {2011.5, 2012.5, 2013.03}) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    std::barrier together(kThreads);
    const auto work = [&] {
      for (const Sample &sample : samples()) {
        together.arrive_and_wait();
        for (int i = 0; i < 20; ++i) EXPECT_EQ(sample.call(plugin), sample.expected) << sample.name;
        EXPECT_EQ(plugin.call("RandomBytesStringKZV", 20, true).bytes.size(), 20U);
      }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) threads.emplace_back(work);
    for (std::thread &thread : threads) thread.join();
  }
}

TEST(Unloading, LeavesNothingToTheNextLife) {
  using Row = std::pair<std::optional<double>, int>;  // versions of host and interface
  for (int i = 0; i < 50; ++i) {
    for (const auto &[host_version, interface_version] : {Row(2013.03, 12), Row(std::nullopt, 9)}) {
      const auto library = std::make_shared<Loaded>(KZV_PLUGIN, PluginFile::Instance::kShared);
      Plugin plugin(library, version(host_version));
      EXPECT_EQ(plugin.host.interface_version(), interface_version);
      EXPECT_EQ(plugin.call("EncodingToURLKZV", utf8("a b")), ascii("a%20b"));
    }
    EXPECT_EQ(dlopen(KZV_PLUGIN, RTLD_LAZY | RTLD_NOLOAD), nullptr) << "still loaded";
  }
}

}  // namespace
}  // namespace kzv::host
