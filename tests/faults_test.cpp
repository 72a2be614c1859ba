// Every function on hosts that let it down, and without memory: whatever fails, the answer is whole or one
// that arguments which cannot be read explain, everything is given back, and at most one exception is raised.
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <new>

#include "support/memory.h"
#include "support/samples.h"

namespace kzv::host {
namespace {

using Kind = Misbehaviour::Kind;

constexpr std::size_t kLong = 200;  // texts that often do not fit what stands on the stack

// The samples, and what they leave out.
std::vector<Sample> all_calls() {
  static constexpr char kRandom[] =
      "RandomBytesStringKZV(Length as integer, ASCII as boolean=false) as string";
  std::vector<Sample> calls = samples();
  std::string drawn;
  std::srand(7);
  for (int i = 0; i < 600; ++i) drawn += static_cast<char>(std::rand() & 0xFF);
  Sample random = sample(kRandom, raw(drawn), 600, false);
  random.make = [make = random.make](Plugin &plugin, const Change &change) {
    std::srand(7);
    return make(plugin, change);
  };
  calls.push_back(random);
  // Its output does not fit into the first block.
  calls.push_back(sample("EncodingToHTMLKZV(s as string, options as integer = 0) as string",
                         ascii(repeated("&#39;", 20)), utf8(repeated("'", 20)), 0));
  return calls;
}

// The roads that arguments come in by: by version, and where a host does not deliver text.
std::vector<Settings> roads() {
  return {version(2011.5), version(2012.0), version(2012.0, {"PluginGetStringData"}), version(2013.03),
          version(2013.03, {"PluginGetStringData"})};
}

// Something that goes wrong in the k-th call of a service or for memory, in words and as data.
struct Fault {
  std::string what;
  Kind kind;
  std::function<void(Plugin &, int k)> start;
  std::function<bool(Plugin &, int k)> happened;
  bool on_fresh_plugin = false;  // found services are kept, so looking them up can only fail once
  bool silences = false;         // services may be missing, REALSetStringEncoding among them
};

std::vector<Fault> faults() {
  std::vector<Fault> all;
  const std::pair<Kind, std::string> kinds[] = {{Kind::kThrowBadAlloc, "throwing std::bad_alloc"},
                                                {Kind::kThrowOther, "throwing"},
                                                {Kind::kRefuse, "refusing"},
                                                {Kind::kNegativeLength, "a length of -1"},
                                                {Kind::kHugeLength, "a length of 2^31"},
                                                {Kind::kNoBytes, "no bytes"}};
  const auto misbehaviour_was_due = [](Plugin &plugin, int) {
    return plugin.host.settings.misbehaviour->calls_left <= 0;
  };
  for (const bool for_good : {false, true}) {
    for (const auto &[kind, name] : kinds) {
      all.push_back({name, kind,
                     [kind = kind, for_good](Plugin &plugin, int k) {
                       plugin.host.settings.misbehaviour = {"", kind, k, for_good};
                     },
                     misbehaviour_was_due});
    }
    all.push_back({"no memory", Kind::kRefuse,
                   [for_good](Plugin &, int k) {
                     memory().calls_left = k;
                     memory().for_good = for_good;
                   },
                   [](Plugin &, int) { return memory().calls_left == 0; }});
  }
  all.push_back({"a resolver that throws", Kind::kThrowOther,
                 [](Plugin &plugin, int k) {
                   plugin.host.settings.misbehaviour = {"resolver", Kind::kThrowOther, k, false};
                 },
                 misbehaviour_was_due, true});
  all.push_back({"silence at first", Kind::kRefuse,
                 [](Plugin &plugin, int k) { plugin.host.settings.silent_look_ups = k; },
                 [](Plugin &plugin, int k) { return plugin.host.settings.silent_look_ups < k; }, true, true});
  return all;
}

// What a call may answer when some of its arguments cannot be read, or their labels not be known: what it
// does answer when they are missing, empty, or labelled otherwise. And nothing, which is nil.
std::set<std::string> explained_answers(Plugin &healthy, const Sample &sample, std::size_t times,
                                        const Fault &fault) {
  // Bytes that are not to be had look like ASCII, whatever they are.
  const bool labels_may_fail = fault.kind != Kind::kThrowBadAlloc && fault.kind != Kind::kThrowOther;
  const Answer whole = sample.call(healthy, {times});
  std::set<std::string> words;
  const auto explain = [&](const Answer &answer) {
    words.insert(answer.words);
    if (!answer.text || !fault.silences) return;
    // Without the service that labels, unlabelled bytes; and where they were to be converted from UTF-16,
    // they stand as they are.
    words.insert(shown(raw(answer.text->bytes)));
    words.insert(shown(Text{*convert(answer.text->bytes, kEncodingUTF8, kEncodingUTF16), kEncodingUTF8}));
  };
  explain(whole);
  for (std::size_t first = 0; first < sample.argument_count; ++first) {
    for (std::size_t last = first + 1; last <= sample.argument_count; ++last) {
      for (const Change::Kind kind : {Change::Kind::kMissing, Change::Kind::kEmpty}) {
        explain(sample.call(healthy, {times, first, last, kind}));
      }
      if (!labels_may_fail) continue;
      for (const REALencoding label : {kEncodingASCII, kEncodingUTF8, kEncodingUTF16, kEncodingMacRoman}) {
        explain(sample.call(healthy, {times, first, last, Change::Kind::kLabelled, label}));
      }
    }
  }
  // A text of an impossible length is an empty one, and a subject that is empty comes back as it is.
  if (sample.declaration.starts_with("EncodeEmailSubjectKZV")) {
    explain(answer(changed(*sample.first_text, {times}, 0)));
  }
  if (whole.words.starts_with("block")) words.insert(shown(Block{"nil"}));
  if (whole.text) {
    words.insert(shown(kNil));
    words.insert(shown(Text{"", whole.text->encoding}));  // of the host's own making
  }
  return words;
}

// A declaration, the answer in words, and the message of the exception that came with it.
using Failure = std::tuple<std::string, std::string, std::string>;
using Failures = std::map<std::string, std::set<Failure>>;  // by what went wrong

class Faults : public testing::Test {
 protected:
  void TearDown() override { std::printf("%d calls met a fault\n", happened_); }

  // Makes one call while `fault` is at work; tells whether it came to it.
  bool call(Plugin &plugin, const Sample &sample, std::size_t times, const Fault &fault, int k) {
    const auto where = [&] {
      return (std::ostringstream() << sample.declaration << " at " << k << " of " << fault.what << ", host "
                                   << plugin.host.settings.version.value_or(0) << ", texts times " << times)
          .str();
    };
    const std::size_t blocks_before = memory().blocks.size();
    std::optional<Kind> passed;
    std::string words;
    fault.start(plugin, k);
    try {
      words = sample.call(plugin, {times}).words;
    } catch (const std::bad_alloc &) {
      passed = Kind::kThrowBadAlloc;
    } catch (const HostFailure &) {
      passed = Kind::kThrowOther;
    }
    const bool happened = fault.happened(plugin, k);
    plugin.host.settings.misbehaviour.reset();
    plugin.host.settings.silent_look_ups = 0;
    memory() = {.blocks = std::move(memory().blocks)};

    if (happened) ++happened_;
    const auto raised = plugin.host.take_raised();
    EXPECT_LE(raised.size(), happened ? 1U : 0U) << where();
    EXPECT_EQ(plugin.host.ledger.report(), "") << where();
    EXPECT_EQ(memory().blocks.size(), blocks_before) << where();
    if (passed) {
      EXPECT_EQ(passed, fault.kind) << where();
      EXPECT_TRUE(raised.empty()) << where();
      return happened;
    }
    // What a host throws either passes or was std::bad_alloc and is told.
    EXPECT_TRUE(!happened || fault.kind != Kind::kThrowBadAlloc || raised.size() == 1) << where();
    EXPECT_FALSE(happened && fault.kind == Kind::kThrowOther) << where();
    check_answer(sample, times, fault, happened, words, where());
    if (!raised.empty()) {
      EXPECT_EQ(raised[0].class_name, "OutOfMemoryException") << where();
      raised_[fault.what].insert({sample.declaration, words, raised[0].message});
    }
    return happened;
  }

  void check_answer(const Sample &sample, std::size_t times, const Fault &fault, bool happened,
                    const std::string &words, const std::string &where) {
    if (!happened) {
      EXPECT_EQ(words, sample.call(healthy_, {times}).words) << where;
      return;
    }
    auto &answers = explained_[{&sample, times, fault.kind, fault.silences}];
    if (answers.empty()) answers = explained_answers(healthy_, sample, times, fault);
    EXPECT_TRUE(answers.contains(words)) << where << words;
  }

  Plugin healthy_{KZV_FAULTY};
  int happened_ = 0;
  Failures raised_;

 private:
  std::map<std::tuple<const Sample *, std::size_t, Kind, bool>, std::set<std::string>> explained_;
};

TEST_F(Faults, OfServicesAndMemoryLeaveWholeAnswersAndNothingBehind) {
  const std::vector<Sample> calls = all_calls();
  for (const Settings &road : roads()) {
    const auto lasting = std::make_unique<Plugin>(KZV_FAULTY, road);
    for (const Sample &sample : calls) {
      for (const Fault &fault : faults()) {
        if (fault.on_fresh_plugin) continue;
        for (const std::size_t times : {std::size_t{1}, kLong}) {
          for (int k = 1; call(*lasting, sample, times, fault, k); ++k) {
          }
          ASSERT_FALSE(HasFailure());
        }
      }
    }
  }
  // Those that tell of it when there is no memory, and when no block is made.
  constexpr char kNoText[] = "Failed to allocate memory for a string.";
  const std::set<Failure> without_memory = {
      {"EncodingToQuotedPrintableKZV(s as string, LineLen as integer = 72) as string", "nil", kNoText},
      {"DecodingFromQuotedPrintableKZV(s as string) as string", "nil", kNoText},
      {"EncodeEmailSubjectKZV(s as string) as string", "nil", kNoText},
      {"JaroWinklerDistanceKZV(a as string, b as string) as double", shown(0.0),
       "Failed to allocate 1200 bytes of memory."},
      {"JaroWinklerDistanceKZV(a as string, b as string) as double", shown(0.0),
       "Failed to allocate 400 bytes of memory."},
      {"LevenshteinDistanceKZV(a as string, b as string) as double", shown(1.0),
       "Failed to allocate 2566404 bytes of memory."},
  };
  EXPECT_EQ(raised_["no memory"], without_memory);
  constexpr char kDecodeBlock[] = "_yDecodeMemoryKZV(data as memoryblock) as memoryblock";
  const std::set<Failure> without_block = {
      {kDecodeBlock, shown(Block{"nil"}), "Failed to allocate a memoryblock with 2 bytes in size."},
      {kDecodeBlock, shown(Block{"nil"}), "Failed to allocate a memoryblock with 5 bytes in size."},
      {kDecodeBlock, shown(Block{"nil"}), "Failed to allocate a memoryblock with 400 bytes in size."},
      {kDecodeBlock, shown(Block{"nil"}), "Failed to allocate a memoryblock with 1000 bytes in size."},
  };
  EXPECT_EQ(raised_["refusing"], without_block);
}

TEST_F(Faults, OfLookUpsLeaveWholeAnswersAndNothingBehind) {
  constexpr int kMostLookUps = 16;
  for (const Settings &road : {roads().front(), roads().back(), version(2013.03)}) {
    for (const Sample &sample : samples()) {
      for (const Fault &fault : faults()) {
        if (!fault.on_fresh_plugin) continue;
        bool happened = true;
        for (int k = 1; happened && k <= kMostLookUps; ++k) {
          Plugin fresh(KZV_FAULTY, road);
          happened = call(fresh, sample, 1, fault, k);
        }
        EXPECT_FALSE(happened && fault.kind == Kind::kThrowOther) << "more look-ups: " << sample.declaration;
        ASSERT_FALSE(HasFailure());
      }
    }
  }
}

// A missing service is asked for again where bytes are given back. What is lost then, the leak sanitizer
// finds.
TEST_F(Faults, OfLookUpsLoseNoBytesThatTheHostLeavesToTheLibrary) {
  const std::vector<Fault> all = faults();
  const auto throwing = std::ranges::find(all, "a resolver that throws", &Fault::what);
  bool happened = true;
  for (int k = 1; happened; ++k) {
    Plugin fresh(KZV_FAULTY, version(2013.03, {"PluginDisposeStringData"}));
    happened = call(fresh, samples().front(), 1, *throwing, k);
  }
}

// A service that is missing from the start, or all of them.
TEST_F(Faults, OfMissingServicesLeaveWholeAnswersAndNothingBehind) {
  std::vector<std::set<std::string, std::less<>>> rows(1);
  for (const std::string_view service : Services::names()) {
    rows.front().emplace(service);
    rows.push_back({std::string(service)});
  }
  for (const Settings &road : roads()) {
    for (const auto &withheld : rows) {
      Plugin plugin(KZV_FAULTY, version(road.version));
      plugin.host.settings.withheld = withheld;
      plugin.host.settings.withheld.insert(road.withheld.begin(), road.withheld.end());
      const Fault fault{"without " + *withheld.begin(),     Kind::kRefuse, [](Plugin &, int) {},
                        [](Plugin &, int) { return true; }, false,         true};
      for (const Sample &sample : samples()) call(plugin, sample, 1, fault, 0);
      ASSERT_FALSE(HasFailure());
    }
  }
}

// A host without memory is told what there was none for, and is not thrown its own exception.
TEST(Exceptions, OfAHostWithoutMemoryAreTold) {
  for (const auto &[service, message, block] :
       {std::tuple("REALBuildString", "Failed to allocate memory for a string.", false),
        std::tuple("REALSetStringEncoding", "Failed to allocate memory for a string.", false),
        std::tuple("newMemoryBlock", "Failed to allocate a memoryblock with 5 bytes in size.", true)}) {
    Plugin plugin(KZV_FAULTY);
    plugin.host.settings.misbehaviour = {service, Kind::kThrowBadAlloc};
    const std::string_view wanted = block ? "_yDecodeMemoryKZV" : "EncodingToURLKZV";
    const auto sample = std::ranges::find_if(
        samples(), [=](const Sample &each) { return each.declaration.starts_with(wanted); });
    EXPECT_EQ(sample->call(plugin).words, block ? shown(Block{"nil"}) : shown(kNil)) << service;
    const auto raised = plugin.host.take_raised();
    ASSERT_EQ(raised.size(), 1U) << service;
    EXPECT_EQ(raised[0].message, message);
    EXPECT_EQ(plugin.host.ledger.report(), "") << service;
  }
}

// A host's destructor calls while an exception of the host is on its way.
struct CallWhileUnwinding {
  Plugin &plugin;
  const Sample &sample;
  bool &passed;
  ~CallWhileUnwinding() {
    try {
      sample.call(plugin);
    } catch (const HostFailure &) {
      passed = true;
    }
  }
};

TEST(Exceptions, PassWhileTheHostUnwinds) {
  for (const auto &[host_version, service] :
       {std::pair(2011.5, "REALUnlockString"), std::pair(2013.03, "PluginDisposeStringData")}) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    bool passed = false;
    try {
      plugin.host.settings.misbehaviour = {service, Kind::kThrowOther};
      [[maybe_unused]] const CallWhileUnwinding call{plugin, samples().back(), passed};
      throw std::runtime_error("the host's own");
    } catch (const std::runtime_error &) {
      EXPECT_TRUE(passed) << service;
    }
  }
}

}  // namespace
}  // namespace kzv::host
