// The boundary between host and plugin, seen from the host.
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include "support/memory.h"
#include "support/misbehaviour.h"
#include "support/samples.h"

namespace kzv::host {
namespace {

using std::string_literals::operator""s;
using Kind = Misbehaviour::Kind;

TEST(Host, ConvertsAsSettled) {
  const struct {
    const char *what;
    REALencoding from, to;
    std::string text;
    std::optional<std::string> result;
  } rows[] = {
      {"unpaired surrogate", kEncodingUTF16, kEncodingUTF8, "\x00\xD8"s + "A\0\x00\xDC"s, "\uFFFDA\uFFFD"},
      {"pair", kEncodingUTF16, kEncodingUTF8, "\x3D\xD8\x00\xDE"s, "\U0001F600"},
      {"marks are characters", kEncodingUTF16, kEncodingUTF8, "\xFF\xFE\xFE\xFF", "\uFEFF\uFFFE"},
      {"odd byte", kEncodingUTF16, kEncodingUTF8, "A\0B"s, "A\uFFFD"},
      {"malformed", kEncodingUTF8, kEncodingUTF16, "a\xFF", "a\0\xFD\xFF"s},
      {"not held", kEncodingUTF8, kEncodingASCII, "\u00E9\U000E0041", "??"},
      {"not held", kEncodingUTF8, kEncodingMacRoman, "\u00E9\u0394\u2206\uF8FF", "\x8E?\xC6\xF0"},
      {"Mac OS Roman", kEncodingMacRoman, kEncodingUTF8, "\x8E\xC6\xF0\xDB", "\u00E9\u2206\uF8FF\u20AC"},
      {"bytes as they are", kEncodingBytes, kEncodingUTF16, "\xE9", "\xE9"},
      {"unknown", 0x1234, kEncodingUTF8, "a", std::nullopt},
  };
  for (const auto &row : rows) EXPECT_EQ(convert(row.text, row.from, row.to), row.result) << row.what;
}

TEST(Host, ShowsAStringToOlderPluginsOnlyWhileTheyHoldIt) {
  Host host;
  const String s = new_string("a", kEncodingUTF8);
  const auto is_shown = [](REALstringStruct *string) { return string->is_shown(); };
  EXPECT_FALSE(host.call(+is_shown, s.get()));
  host.settings.withheld = {"REALLockString"};  // no way to hold it
  EXPECT_TRUE(host.call(+is_shown, s.get()));
}

TEST(Loading, ReportsTheInterfaceVersionThatGoesWithTheHosts) {
  const struct {
    std::optional<double> host;
    std::int32_t reported;
  } rows[] = {{std::nullopt, 9}, {2011.5, 9},
              {2012.0, 10},      {2012.9, 10},
              {2013.0, 11},      {2013.02, 11},
              {2013.03, 12},     {2026.0, 12},
              {-1.0, 9},         {std::numeric_limits<double>::quiet_NaN(), 9}};
  for (const auto &row : rows) {
    EXPECT_EQ(Plugin(KZV_PLUGIN, version(row.host)).host.interface_version(), row.reported)
        << row.host.value_or(0);
  }
}

TEST(Loading, SeedsTheRandomGeneratorInABuiltApplicationOnly) {
  const auto first_after = [](bool in_runtime, Names withheld) {
    Settings settings = version(2013.03, std::move(withheld));
    settings.in_runtime = in_runtime;
    std::srand(1);
    const Plugin plugin(KZV_PLUGIN, settings);
    return std::rand();
  };
  const auto first_of = [](std::time_t seed) {
    std::srand(static_cast<unsigned>(seed));
    return std::rand();
  };
  EXPECT_EQ(first_after(false, {}), first_of(1));
  EXPECT_EQ(first_after(true, {"REALinRuntime"}), first_of(1));
  const std::time_t before = std::time(nullptr);
  const int seeded = first_after(true, {});
  const std::time_t after = std::time(nullptr);
  bool by_the_time = false;
  for (std::time_t time = before; time <= after; ++time)
    by_the_time = by_the_time || seeded == first_of(time);
  EXPECT_TRUE(by_the_time);
}

TEST(Loading, ChoosesTheFastestLevel) {
  EXPECT_EQ(Plugin(KZV_PROBE).call<std::int32_t>("LevelsAbove", false), 0);
}

TEST(Loading, AsksForAServiceUntilTheHostHasItAndThenNeverAgain) {
  const auto encode = [](Plugin &plugin) { return plugin.call("EncodingToURLKZV", utf8("a b")); };
  Plugin plugin(KZV_PLUGIN, version(2013.03, {"REALBuildString"}));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(encode(plugin), kNil);
  EXPECT_EQ(plugin.host.times_asked_for("REALBuildString"), 3);
  plugin.host.settings.withheld.clear();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(encode(plugin), ascii("a%20b"));
  EXPECT_EQ(plugin.host.times_asked_for("REALBuildString"), 4);
  EXPECT_EQ(plugin.host.times_asked_for("PluginGetStringData"), 1);
  EXPECT_EQ(plugin.host.ledger.report(), "");

  // The host language's own function is a service of its own kind.
  Plugin copying(KZV_PLUGIN, version(2013.03, {"PluginGetStringData"}));
  copying.host.settings.misbehaviour = {"REALLoadGlobalMethod", Kind::kRefuse, 1};
  EXPECT_EQ(encode(copying), kNil);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(encode(copying), ascii("a%20b"));
  EXPECT_EQ(copying.host.settings.misbehaviour->calls_left, -1);
}

TEST(Loading, RegistersWhatItCanWhenTheHostIsLate) {
  Settings settings;
  settings.silent_look_ups = 5;  // two versions, the runtime, and the registration of two functions
  const Plugin plugin(KZV_PLUGIN, settings);
  EXPECT_EQ(plugin.host.interface_version(), std::nullopt);
  EXPECT_EQ(plugin.host.methods().size(), 45U);
  EXPECT_EQ(plugin.host.methods().front().declaration, "_yDecodeStringKZV(data as string) as string");
}

// By services that differ with the host.
TEST(Arguments, AreReadDirectlyUpToVersion2013AndNeverConverted) {
  for (const auto &[settings, service] :
       {std::pair(version(2013.0), "REALLockString"), std::pair(version(2013.01), "PluginGetStringData"),
        std::pair(version(2013.01, {"PluginGetStringData"}), "StringGetCString")}) {
    Plugin plugin(KZV_PLUGIN, settings);
    plugin.call("EncodingToURLKZV", utf8("a"));
    for (const char *const one : {"REALLockString", "StringGetCString", "REALConvertString"}) {
      EXPECT_EQ(plugin.host.times_asked_for(one), one == std::string_view(service) ? 1 : 0) << one;
    }
    EXPECT_EQ(plugin.host.times_asked_for("PluginGetStringData"), settings.version > 2013.0 ? 1 : 0);
  }
}

TEST(Arguments, ThatTheHostRefusesAreAbsentAndNotCopied) {
  for (const auto kind : {Kind::kRefuse, Kind::kNoBytes}) {
    Plugin plugin(KZV_PLUGIN);
    plugin.host.settings.misbehaviour = {"PluginGetStringData", kind};
    EXPECT_EQ(plugin.call<std::int32_t>("StrCompBytesKZV", utf8("a"), utf8("")), -1);
    EXPECT_EQ(plugin.host.times_asked_for("StringGetCString"), 0);
    EXPECT_EQ(plugin.host.ledger.report(), "");
  }
}

TEST(MissingServices, EndInTheDocumentedOutcome) {
  const Text works = ascii("a%20b");
  const struct {
    double version;
    Names withheld;
    Text result;
  } rows[] = {
      {2013.03, {"PluginGetStringData"}, works},  // the bytes are copied
      {2013.03, {"PluginGetStringData", "PluginDisposeStringData"}, works},
      {2013.03, {"PluginGetStringData", "StringGetCString"}, kNil},
      {2013.03, {"PluginGetStringData", "REALLoadGlobalMethod"}, kNil},
      {2013.03, {"PluginDisposeStringData"}, works},  // the record's buffer is freed
      {2013.03, {"REALBuildString"}, kNil},
      {2013.03, {"REALSetStringEncoding"}, raw("a%20b")},
      {2013.03, {"RegisterPluginVersion"}, works},
      {2012.0, {"REALLockString"}, works},
      {2012.0, {"REALBuildString"}, kNil},
  };
  for (const auto &row : rows) {
    Plugin plugin(KZV_PLUGIN, version(row.version, row.withheld));
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(plugin.call("EncodingToURLKZV", utf8("a b")), row.result) << *row.withheld.begin();
    }
    EXPECT_EQ(plugin.host.ledger.report(), "") << *row.withheld.begin();
    EXPECT_TRUE(plugin.host.take_raised().empty());
  }
}

TEST(Results, AreLabelledAndConverted) {
  Plugin probe(KZV_PROBE);
  for (const Sample &sample : probe_samples())
    EXPECT_EQ(sample.call(probe), sample.expected) << sample.expected;
  EXPECT_EQ(probe.host.ledger.report(), "");
}

TEST(Results, OutsideTheLimitsAreNilWithoutAnException) {
  Plugin probe(KZV_PROBE);
  for (const double length : {0.0, -1.0, -4294967295.0, 2147483648.0, 4294967297.0, 9e18}) {
    EXPECT_EQ(probe.call("Build", address_of("x"), length, 0xFFFF), kNil) << length;
    EXPECT_EQ(probe.call("Build", 0.0, std::abs(length), 0xFFFF), kNil) << length;
  }
  EXPECT_EQ(probe.host.times_asked_for("REALBuildString"), 0);
  EXPECT_TRUE(probe.host.take_raised().empty());
}

TEST(Views, EndInAZeroUnit) {
  // The host delivers four bytes. What follows them is no zero, or half of one.
  const std::string texts[] = {"abcdefgh", "abcd\0fgh"s, "abcde\0gh"s};
  const struct {
    REALencoding encoding;
    std::int32_t bits;
    int copies;  // of the bytes, where the host does not deliver them
  } rows[] = {
      {kEncodingASCII, 7, 1}, {kEncodingUTF8, 8, 1}, {kEncodingUTF16, 16, 1}, {kEncodingUTF16, 32, 2}};
  for (const Settings &settings :
       {version(2011.5), version(2013.03), version(2013.03, {"PluginGetStringData"})}) {
    Plugin probe(KZV_PROBE, settings);
    for (const auto &row : rows) {
      for (const std::string &text : texts) {
        const String s(make_string_of_lent({text.data(), 4}, row.encoding));
        memory().requests = 0;
        EXPECT_EQ(probe.call<std::int32_t>("UnitAfter", s, row.bits), 0) << row.bits;
        EXPECT_TRUE(settings.withheld.empty() || memory().requests == row.copies) << row.bits;
      }
    }
  }
}

constexpr char kDecodeBlock[] = "_yDecodeMemoryKZV";

TEST(MemoryBlocks, AreReadAndMadeAsFarAsTheHostIsAble) {
  const struct {
    Names withheld;
    bool is_made;
    std::string message;
  } rows[] = {
      {{}, true, ""},
      {{"REALLockObject"}, true, ""},
      {{"REALUnlockObject"}, true, ""},
      {{"newMemoryBlock"}, false, "Failed to allocate a memoryblock with 3 bytes in size."},
      {{"memoryBlockGetPtr"}, false, ""},  // reads as empty
      {{"memoryBlockGetSize"}, false, ""},
  };
  for (const auto &row : rows) {
    Plugin plugin(KZV_PLUGIN, version(2013.03, row.withheld));
    EXPECT_EQ(plugin.call<Block>(kDecodeBlock, Block{"\x8B\x8C\x2A"}),
              row.is_made ? Block{"ab\0"s} : kNoBlock);
    const auto raised = plugin.host.take_raised();
    EXPECT_EQ(raised.empty() ? "" : raised[0].message, row.message);
    EXPECT_EQ(plugin.host.ledger.report(), "");
  }
}

TEST(MemoryBlocks, OfImpossibleSizesAreEmpty) {
  Plugin probe(KZV_PROBE);
  EXPECT_EQ(probe.call<Block>("CopyBlock", Block{"abc"}), Block{"abc"});
  for (const auto kind : {Kind::kNegativeLength, Kind::kHugeLength, Kind::kNoBytes}) {
    probe.host.settings.misbehaviour = {"", kind};
    EXPECT_EQ(probe.call<Block>("CopyBlock", Block{"abc"}), Block{""});
  }
}

TEST(MemoryBlocks, AreMadeOnceTheyCanBeReleased) {
  for (int k = 1; k <= 3; ++k) {
    Plugin probe(KZV_PROBE);
    probe.host.settings.misbehaviour = {"resolver", Kind::kThrowOther, k};
    const Endured endured = endure(probe.host, [&] { probe.call<Block>("CopyBlock", kNoBlock); });
    EXPECT_TRUE(endured.passed) << k;
    EXPECT_EQ(endured.broken, "") << k;
  }
}

TEST(MemoryBlocks, AreLockedBeforeTheyAreLookedInto) {
  for (const char *const service : {"memoryBlockGetSize", "memoryBlockGetPtr"}) {
    Plugin plugin(KZV_PLUGIN);
    plugin.host.settings.misbehaviour = {service, Kind::kThrowOther};
    EXPECT_THROW(plugin.call<Block>(kDecodeBlock, Block{"abc"}), HostFailure);
    EXPECT_EQ(plugin.host.ledger.objects.taken.value(), 1) << service;
    EXPECT_EQ(plugin.host.ledger.report(), "");
  }
}

TEST(RaisedExceptions, TakeTheClassThatTheHostHas) {
  const struct {
    Names withheld;
    bool with_message;
    std::vector<std::string> raised;  // class and message, or nothing
  } rows[] = {
      {{}, true, {"OutOfMemoryException", "It is full."}},
      {{}, false, {"OutOfMemoryException", ""}},
      {{"OutOfMemoryException"}, true, {"RuntimeException", "It is full."}},
      {{"OutOfMemoryException", "RuntimeException"}, true, {}},
      {{"PluginNewInstance"}, true, {}},
      {{"RuntimeRaiseException"}, true, {}},
      {{"REALSetPropValueString"}, true, {"OutOfMemoryException", ""}},
      {{"REALBuildString"}, true, {"OutOfMemoryException", ""}},
  };
  for (const auto &row : rows) {
    Plugin probe(KZV_PROBE, version(2013.03, row.withheld));
    probe.call<std::int32_t>("Raise", row.with_message);
    const auto raised = probe.host.take_raised();
    ASSERT_EQ(raised.size(), row.raised.empty() ? 0U : 1U);
    if (!raised.empty()) {
      EXPECT_EQ(raised[0].class_name, row.raised[0]);
      EXPECT_EQ(raised[0].message, row.raised[1]);
      EXPECT_EQ(raised[0].message_encoding, row.raised[1].empty() ? 0 : kEncodingASCII);
      EXPECT_EQ(raised[0].error_number, 0);
    }
    EXPECT_EQ(probe.host.ledger.report(), "");
  }
}

TEST(RaisedExceptions, HaveNoMessageWhenThereIsNoMemoryForOne) {
  Plugin probe(KZV_PROBE);
  probe.host.settings.misbehaviour = {"REALBuildString", Kind::kThrowBadAlloc};
  probe.call<std::int32_t>("Raise", true);
  EXPECT_EQ(probe.host.take_raised().at(0).message, "");
  EXPECT_EQ(probe.host.ledger.report(), "");
}

// Raising calls the host, which may let the library down at each of those calls.
TEST(RaisedExceptions, LeaveNothingTakenWhateverTheHostDoes) {
  int passed = 0;
  for (const auto kind : {Kind::kThrowBadAlloc, Kind::kThrowOther, Kind::kRefuse}) {
    for (const bool for_good : {false, true}) {
      Plugin probe(KZV_PROBE);
      for (int k = 1; k <= 10; ++k) {
        probe.host.settings.misbehaviour = {"", kind, k, for_good};
        const Endured endured = endure(
            probe.host, [&] { probe.call<std::int32_t>("Raise", true); }, [] { return true; });
        EXPECT_EQ(endured.broken, "") << k;
        passed += endured.passed ? 1 : 0;
      }
    }
  }
  EXPECT_GT(passed, 20);
}

// A host that runs out of memory gets an exception raised, where a result is made, instead of its own back.
TEST(Exceptions, OfAHostWithoutMemoryAreRaised) {
  constexpr char kNoText[] = "Failed to allocate memory for a string.";
  const struct {
    const char *service;
    const char *function;
    const char *message;
  } rows[] = {
      {"REALBuildString", "EncodingToURLKZV", kNoText},
      {"REALSetStringEncoding", "EncodingToURLKZV", kNoText},
      {"REALConvertString", "DecodingFromCP1252KZV", kNoText},
      {"REALBuildString", "GetUnicodeMarkersKZV", kNoText},
      {"newMemoryBlock", kDecodeBlock, "Failed to allocate a memoryblock with 5 bytes in size."},
  };
  for (const auto &row : rows) {
    Plugin plugin(KZV_PLUGIN);
    plugin.host.settings.misbehaviour = {row.service, Kind::kThrowBadAlloc};
    const auto sample = std::ranges::find(samples(), row.function, &Sample::name);
    const Value result = sample->call(plugin);
    EXPECT_TRUE(result == Value(kNil) || result == Value(kNoBlock)) << row.service << result;
    EXPECT_EQ(plugin.host.take_raised().at(0).message, row.message);
    EXPECT_EQ(plugin.host.ledger.report(), "") << row.service;
  }
}

// A host may call while an exception of its own is on its way.
TEST(Exceptions, PassWhileTheHostUnwinds) {
  for (const auto &[host_version, service] :
       {std::pair(2011.5, "REALUnlockString"), std::pair(2013.03, "PluginDisposeStringData")}) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    plugin.host.settings.misbehaviour = {service, Kind::kThrowOther};
    Endured endured;
    const auto call = [&](void *) {
      endured = endure(plugin.host, [&] { plugin.call("EncodingToURLKZV", utf8("a b")); });
    };
    try {
      const std::unique_ptr<void, decltype(call)> at_the_end(&plugin, call);
      throw std::runtime_error("the host's own");
    } catch (const std::runtime_error &) {
      EXPECT_EQ(endured.passed, Kind::kThrowOther) << service;
      EXPECT_EQ(endured.broken, "") << service;
    }
  }
}

}  // namespace
}  // namespace kzv::host
