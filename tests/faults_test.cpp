// Every function on hosts that let it down, and without memory: whatever fails, the rules of misbehaviour.h
// hold and the answer is a known one.
#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>

#include "support/memory.h"
#include "support/misbehaviour.h"
#include "support/samples.h"

namespace kzv::host {
namespace {

using Kind = Misbehaviour::Kind;

// By version, and on hosts that do not deliver text.
const Settings kHosts[] = {version(2011.5), version(2012.0), version(2012.0, {"PluginGetStringData"}),
                           version(2013.03), version(2013.03, {"PluginGetStringData"})};

// Something that goes wrong in the k-th call of a service or for memory.
struct Fault {
  std::string what;
  std::function<void(Host &, int k)> start;
  bool finds_fewer_services = false;
  std::function<bool(Host &, int k)> happened = [](Host &, int) { return false; };
};

Fault misbehaving(const char *what, const std::string &service, Kind kind, bool for_good) {
  return {what, [=](Host &host, int k) { host.settings.misbehaviour = {service, kind, k, for_good}; }};
}

std::vector<Fault> faults() {
  std::vector<Fault> all;
  for (const bool for_good : {false, true}) {
    for (const auto &[what, kind] :
         {std::pair("throwing std::bad_alloc", Kind::kThrowBadAlloc),
          std::pair("throwing", Kind::kThrowOther), std::pair("refusing", Kind::kRefuse),
          std::pair("a length of -1", Kind::kNegativeLength),
          std::pair("a length of 2^31", Kind::kHugeLength), std::pair("no bytes", Kind::kNoBytes)}) {
      all.push_back(misbehaving(what, "", kind, for_good));
    }
    all.push_back({"no memory",
                   [for_good](Host &, int k) {
                     memory().calls_left = k;
                     memory().for_good = for_good;
                   },
                   false, [](Host &, int) { return memory().calls_left == 0; }});
  }
  return all;
}

// Services that are not found at first, or whose look-up throws.
std::vector<Fault> look_up_faults() {
  return {misbehaving("a resolver that throws", "resolver", Kind::kThrowOther, false),
          {"silence at first", [](Host &host, int k) { host.settings.silent_look_ups = k; }, true,
           [](Host &host, int k) { return host.settings.silent_look_ups < k; }}};
}

// The samples, and a function whose results a program must prepare.
std::vector<Sample> all_calls() {
  std::vector<Sample> calls = samples();
  std::string drawn;
  std::srand(7);
  for (int i = 0; i < 600; ++i) drawn += static_cast<char>(std::rand() & 0xFF);
  Sample random = sample("RandomBytesStringKZV", raw(drawn), 600, false);
  random.make = [make = random.make](Plugin &plugin, std::size_t times, const Place &place) {
    std::srand(7);
    return make(plugin, times, place);
  };
  calls.push_back(random);
  return calls;
}

// Whether a call may give `result` when a fault has happened: the known result, that of a call with an
// unreadable argument, or nil.
bool is_known(const Sample &sample, std::size_t times, const Fault &fault, const Value &result) {
  if (result == Value(kNoBlock)) return true;
  if (const auto *const text = std::get_if<Text>(&result); text != nullptr && text->bytes.empty())
    return true;
  std::vector<Value> known = sample.unreadable;
  known.push_back(sample.expected);
  for (const Value &value : known) {
    const Value expected = repeated(value, times);
    if (result == expected) return true;
    const Text *const text = std::get_if<Text>(&expected);
    if (text == nullptr || !fault.finds_fewer_services) continue;
    // Without the service that labels them: unlabelled bytes, also where they were to be converted from
    // UTF-16.
    if (result == Value(raw(text->bytes))) return true;
    if (result == Value(utf8(*convert(text->bytes, kEncodingUTF8, kEncodingUTF16)))) return true;
  }
  return false;
}

class Faults : public testing::Test {
 protected:
  using Failure = std::pair<std::string, std::string>;  // function and message

  // Makes one call while `fault` is at work; returns whether it came to it.
  bool call(Plugin &plugin, const Sample &sample, std::size_t times, const Fault &fault, int k) {
    const std::size_t blocks_before = memory().blocks.size();
    std::optional<Value> result;
    fault.start(plugin.host, k);
    const Endured endured = endure(
        plugin.host, [&] { result = sample.call(plugin, times); },
        [&] { return fault.happened(plugin.host, k); });
    plugin.host.settings.silent_look_ups = 0;
    memory() = {.blocks = std::move(memory().blocks)};

    const auto where = testing::Message()
                       << sample.name << " at " << k << " of " << fault.what << ", host "
                       << plugin.host.settings.version.value_or(0) << ", texts times " << times << ": ";
    EXPECT_EQ(endured.broken, "") << where;
    EXPECT_TRUE(!endured.passed || endured.raised.empty()) << where;
    EXPECT_EQ(memory().blocks.size(), blocks_before) << where;
    if (result && !endured.happened) {
      EXPECT_EQ(*result, repeated(sample.expected, times)) << where;
    } else if (result) {
      EXPECT_TRUE(is_known(sample, times, fault, *result)) << where << *result;
    }
    if (endured.happened) ++met_[fault.what];
    for (const RaisedException &raised : endured.raised) {
      EXPECT_EQ(raised.class_name, "OutOfMemoryException") << where;
      raised_[fault.what].insert({sample.name, raised.message});
    }
    return endured.happened;
  }

  void call_while_everything_fails(Plugin &plugin, const Sample &sample) {
    for (const Fault &fault : faults()) {
      for (const std::size_t times : {1U, 200U}) {  // 200: often more than fits on the stack
        if (times > 1 && !sample.repeats) continue;
        for (int k = 1; call(plugin, sample, times, fault, k); ++k) ASSERT_LT(k, 100);
      }
    }
  }

  std::map<std::string, int> met_;  // calls by what went wrong
  std::map<std::string, std::set<Failure>> raised_;
};

TEST_F(Faults, OfServicesAndMemoryEndInKnownAnswers) {
  for (const Settings &settings : kHosts) {
    Plugin plugin(KZV_FAULTY, settings);
    for (const Sample &sample : all_calls()) call_while_everything_fails(plugin, sample);
    Plugin probe(KZV_PROBE, settings);
    for (const Sample &sample : probe_samples()) call_while_everything_fails(probe, sample);
  }
  for (const Fault &fault : faults()) EXPECT_GT(met_[fault.what], 400) << fault.what;

  // Those that report it when there is no memory, and when no block is made.
  constexpr char kNoText[] = "Failed to allocate memory for a string.";
  const std::set<Failure> without_memory = {
      {"EncodingToQuotedPrintableKZV", kNoText},
      {"DecodingFromQuotedPrintableKZV", kNoText},
      {"EncodeEmailSubjectKZV", kNoText},
      {"JaroWinklerDistanceKZV", "Failed to allocate 400 bytes of memory."},
      {"JaroWinklerDistanceKZV", "Failed to allocate 600 bytes of memory."},
      {"LevenshteinDistanceKZV", "Failed to allocate 2566404 bytes of memory."},
  };
  EXPECT_EQ(raised_["no memory"], without_memory);
  constexpr char kDecodeBlock[] = "_yDecodeMemoryKZV";
  const std::set<Failure> without_block = {
      {kDecodeBlock, "Failed to allocate a memoryblock with 2 bytes in size."},
      {kDecodeBlock, "Failed to allocate a memoryblock with 5 bytes in size."},
      {kDecodeBlock, "Failed to allocate a memoryblock with 1000 bytes in size."},
  };
  EXPECT_EQ(raised_["refusing"], without_block);
}

TEST_F(Faults, OfLookUpsEndInKnownAnswers) {
  const auto library = std::make_shared<Loaded>(KZV_FAULTY);
  for (const Settings &settings :
       {kHosts[0], kHosts[3], kHosts[4], version(2013.03, {"PluginDisposeStringData"})}) {
    for (const Sample &sample : samples()) {
      for (const Fault &fault : look_up_faults()) {
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
  for (const Fault &fault : look_up_faults()) EXPECT_GT(met_[fault.what], 400) << fault.what;
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
      const Fault fault{"without " + *withheld.begin(), [](Host &, int) {}, true,
                        [](Host &, int) { return true; }};
      for (const Sample &sample : samples()) call(plugin, sample, 1, fault, 0);
    }
  }
}

}  // namespace
}  // namespace kzv::host
