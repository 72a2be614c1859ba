// Every function on hosts that fail, and without memory: the rules of misbehaviour.h, and known answers.
#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>

#include "support/memory.h"
#include "support/misbehaviour.h"
#include "support/samples.h"

namespace kzv::host {
namespace {

const Settings kHosts[] = {version(2011.5), version(2012.0), version(2012.0, {"PluginGetStringData"}),
                           version(2013.03), version(2013.03, {"PluginGetStringData"})};

// Something that goes wrong in the k-th call of a service or for memory.
struct Fault {
  std::string what;
  std::function<void(Host &, int k)> start;
  bool finds_fewer_services = false;
};

std::vector<Fault> faults() {
  std::vector<Fault> all;
  for (const bool for_good : {false, true}) {
    for (const auto &[what, kind] :
         {std::pair("throwing std::bad_alloc", Kind::kThrowBadAlloc),
          std::pair("throwing", Kind::kThrowOther), std::pair("refusing", Kind::kRefuse),
          std::pair("a length of -1", Kind::kNegativeLength),
          std::pair("a length of 2^31", Kind::kHugeLength), std::pair("no bytes", Kind::kNoBytes)}) {
      all.push_back({what, [=, kind = kind](Host &host, int k) {
                       host.settings.misbehaviour = {"", kind, k, for_good};
                     }});
    }
    all.push_back({"no memory", [=](Host &, int k) {
                     memory.calls_left = k;
                     memory.for_good = for_good;
                   }});
  }
  return all;
}

const Fault kLookUpFaults[] = {
    {"a resolver that throws",
     [](Host &host, int k) {
       host.settings.misbehaviour = {"resolver", Kind::kThrowOther, k};
     }},
    {"silence at first", [](Host &host, int k) { host.settings.silent_look_ups = k; }, true}};

// Whether a call may give `result` when a fault has happened: the known result, that of a call with an
// unreadable argument, or nil.
bool is_known(const Sample &sample, std::size_t times, const Fault &fault, const Value &result) {
  if (const auto *const text = std::get_if<Text>(&result); text != nullptr && text->bytes.empty())
    return true;
  std::vector<Value> known = sample.unreadable;
  known.insert(known.end(), {sample.expected, kNoBlock});
  return std::ranges::any_of(known, [&](const Value &value) {
    const Value expected = repeated(value, times);
    const Text *const text = std::get_if<Text>(&expected);
    if (text == nullptr || !fault.finds_fewer_services) return result == expected;
    // Unlabelled bytes, also where they were to be converted from UTF-16.
    return result == expected || result == Value(raw(text->bytes)) ||
           result == Value(utf8(*convert(text->bytes, kEncodingUTF8, kEncodingUTF16)));
  });
}

// A host may call while an exception of its own is on its way.
template <typename Action>
void act_while_unwinding(Action action) {
  EXPECT_ANY_THROW({
    const std::shared_ptr<void> at_the_end(nullptr, [&](void *) { action(); });
    throw std::runtime_error("the host's own");
  });
}

class Faults : public testing::Test {
 protected:
  using Failure = std::pair<std::string, std::string>;  // function and message

  // Makes one call while `fault` is at work; returns whether it came to it, as it always does at 0.
  bool call(Plugin &plugin, const Sample &sample, std::size_t times, const Fault &fault, int k) {
    std::srand(7);  // for random bytes
    const std::size_t held_before = memory.held.size();
    std::optional<Value> result;
    fault.start(plugin.host, k);
    int &silent = plugin.host.settings.silent_look_ups;
    Endured endured;
    const auto act = [&] {
      endured = endure(
          plugin.host, [&] { result = sample.call(plugin, times); },
          [&] { return memory.last_refused > 0 || (fault.finds_fewer_services && (k == 0 || silent < k)); });
    };
    k % 2 == 0 ? act_while_unwinding(act) : act();
    silent = 0;
    memory = {.held = std::move(memory.held)};

    const auto where = testing::Message()
                       << sample.name << " at " << k << " of " << fault.what << ", host "
                       << plugin.host.settings.version.value_or(0) << ", texts times " << times << ": ";
    EXPECT_EQ(endured.broken, "") << where;
    EXPECT_TRUE(!endured.passed || endured.raised.empty()) << where;
    EXPECT_EQ(memory.held.size(), held_before) << where;
    if (result && !endured.happened) {
      EXPECT_EQ(*result, repeated(sample.expected, times)) << where;
    } else if (result) {
      EXPECT_TRUE(is_known(sample, times, fault, *result)) << where << testing::PrintToString(*result);
    }
    if (endured.happened) ++met_[fault.what];
    for (const RaisedException &raised : endured.raised) {
      EXPECT_EQ(raised.class_name, "OutOfMemoryException") << where;
      raised_[fault.what].insert({sample.name, raised.message});
    }
    return endured.happened;
  }

  void call_with_every_fault(const char *file, const Settings &settings, const std::vector<Sample> &calls) {
    Plugin plugin(file, settings);
    for (const Sample &sample : calls) {
      for (const Fault &fault : faults()) {
        for (const std::size_t times : {1U, 200U}) {  // 200: often more than fits on the stack
          if (times > 1 && !sample.repeats) continue;
          for (int k = 1; call(plugin, sample, times, fault, k); ++k) ASSERT_LT(k, 100);
        }
      }
    }
  }

  std::map<std::string, int> met_;  // calls by what went wrong
  std::map<std::string, std::set<Failure>> raised_;
};

TEST_F(Faults, OfServicesAndMemoryEndInKnownAnswers) {
  std::vector<Sample> calls = samples();
  for (const bool printable : {false, true}) {
    std::string drawn(600, '\0');
    std::srand(7);
    for (char &byte : drawn) byte = static_cast<char>(printable ? 32 + std::rand() % 96 : std::rand());
    calls.push_back(sample("RandomBytesStringKZV", printable ? ascii(drawn) : raw(drawn), 600, printable));
  }
  for (const Settings &settings : kHosts) {
    call_with_every_fault(KZV_FAULTY, settings, calls);
    call_with_every_fault(KZV_PROBE, settings, probe_samples());
  }
  for (const Fault &fault : faults()) EXPECT_GT(met_[fault.what], 400) << fault.what;

  constexpr char kNoText[] = "Failed to allocate memory for a string.";
  const std::set<Failure> without_memory = {
      {"EncodingToQuotedPrintableKZV", kNoText},
      {"DecodingFromQuotedPrintableKZV", kNoText},
      {"EncodeEmailSubjectKZV", kNoText},
      {"JaroWinklerDistanceKZV", "Failed to allocate 400 bytes of memory."},
      {"LevenshteinDistanceKZV", "Failed to allocate 2566404 bytes of memory."},
  };
  EXPECT_EQ(raised_["no memory"], without_memory);
  std::set<Failure> without_block;
  for (const std::string bytes : {"5", "1000"})
    without_block.emplace("_yDecodeMemoryKZV",
                          "Failed to allocate a memoryblock with " + bytes + " bytes in size.");
  EXPECT_EQ(raised_["refusing"], without_block);
  // Where a result is made, an exception is raised in place of the std::bad_alloc of a host without memory.
  std::set<Failure> &without_host_memory = raised_["throwing std::bad_alloc"];
  EXPECT_TRUE(std::ranges::includes(without_host_memory, without_block));
  for (const Failure &failure : without_host_memory) {
    EXPECT_TRUE(failure.second == kNoText || without_block.contains(failure)) << failure.first;
  }
}

TEST_F(Faults, OfMemoryForResultsDoNotPass) {
  Plugin plugin(KZV_PLUGIN);
  for (const char *const service :
       {"REALBuildString", "REALSetStringEncoding", "REALConvertString", "newMemoryBlock"}) {
    for (const Sample &sample : samples()) {
      plugin.host.settings.misbehaviour = {service, Kind::kThrowBadAlloc};
      // Only the two that convert their argument itself have nothing to catch it.
      const bool converts = sample.name == "UnicodeStringKZV" || sample.name == "NativeStringKZV";
      EXPECT_EQ(endure(plugin.host, [&] { sample.call(plugin); }).passed.has_value(),
                converts && std::string_view(service) == "REALConvertString")
          << sample.name << service;
    }
  }
}

TEST_F(Faults, OfLookUpsEndInKnownAnswers) {
  const auto library = std::make_shared<Loaded>(KZV_FAULTY);
  for (const Settings &settings :
       {kHosts[0], kHosts[3], kHosts[4], version(2013.03, {"PluginDisposeStringData"})}) {
    for (const Sample &sample : samples()) {
      for (const Fault &fault : kLookUpFaults) {
        constexpr int kMostLookUps = 32;
        bool happened = false;
        for (int k = 1; k <= kMostLookUps; ++k) {
          Plugin plugin(library, settings);
          happened = call(plugin, sample, 1, fault, k);
        }
        EXPECT_TRUE(!happened || fault.finds_fewer_services) << "more look-ups: " << sample.name;
      }
    }
  }
  for (const Fault &fault : kLookUpFaults) EXPECT_GT(met_[fault.what], 400) << fault.what;
}

// A service that is missing from the start, or all of them.
TEST_F(Faults, OfMissingServicesEndInKnownAnswers) {
  std::vector<Names> rows(1);
  for (const std::string_view service : Services::names()) {
    rows.front().emplace(service);
    rows.push_back({std::string(service)});
  }
  for (const Settings &settings : kHosts) {
    for (const Names &withheld : rows) {
      Plugin plugin(KZV_FAULTY, version(settings.version));
      plugin.host.settings.withheld = withheld;
      plugin.host.settings.withheld.insert(settings.withheld.begin(), settings.withheld.end());
      const Fault fault{"without " + *withheld.begin(), [](Host &, int) {}, true};
      for (const Sample &sample : samples()) call(plugin, sample, 1, fault, 0);
    }
  }
}

}  // namespace
}  // namespace kzv::host

// What the plugins' allocator asks.
extern "C" {

__attribute__((visibility("default"))) bool kzv_refuses(std::size_t byte_count) {
  kzv::Memory &now = kzv::memory;
  ++now.requests;
  now.last_request = byte_count;
  const bool in_turn = now.calls_left > 0 && --now.calls_left == 0;
  if (in_turn && now.for_good) now.refused_from = 0;
  const bool refused = in_turn || byte_count >= now.refused_from;
  if (refused) now.last_refused = byte_count;
  return refused;
}

__attribute__((visibility("default"))) void kzv_moved(void *from, void *to) {
  kzv::memory.held.erase(from);
  if (to != nullptr) kzv::memory.held.insert(to);
}
}
