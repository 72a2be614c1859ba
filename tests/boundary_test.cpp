// The boundary between host and plugin, seen from the host.
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <tuple>

#include "support/memory.h"
#include "support/misbehaviour.h"
#include "support/samples.h"

namespace kzv::host {
namespace {

constexpr char kDecodeBlock[] = "_yDecodeMemoryKZV";

// Samples show the rest.
// Characters on which conversions differ from the C library's.
TEST(Host, ConvertsMacOSRomanAsItIsToday) {
  EXPECT_EQ(convert("\u00E9\u0394\u2206\uF8FF", kEncodingUTF8, kEncodingMacRoman), "\x8E?\xC6\xF0");
}

// In numbers, as plugins have them: the names in abi.h are also the in-process host's.
TEST(Host, NumbersEncodings) {
  const std::pair<const char *, REALencoding> rows[] = {
      {"MacRoman", 0},      {"UTF-16", 0x100},     {"Windows-1252", 0x500}, {"ASCII", 0x600},
      {"UTF-8", 0x8000100}, {"UTF-32", 0xC000100}, {"bytes", 0xFFFF}};
  for (const auto &[name, number] : rows) EXPECT_EQ(find_encoding(name)->number, number) << name;
}

TEST(Host, ShowsAStringToOlderPluginsOnlyWhileTheyHoldIt) {
  // At byte 4 a pointer to the buffer, whose text begins at its byte 1; at byte 12 the length.
  const auto is_shown = [](REALstringStruct *string) {
    const auto *const object = reinterpret_cast<const char *>(string);
    const char *buffer = nullptr;
    std::int32_t length = 0;
    std::memcpy(&buffer, object + 4, sizeof buffer);
    std::memcpy(&length, object + 12, sizeof length);
    return buffer != nullptr && length == 4 && std::string_view(buffer + 1, 4) == "text";
  };
  Host host;
  const String s = new_string("text", kEncodingUTF8);
  EXPECT_FALSE(host.call(+is_shown, s.get()));
  host.settings.withheld = {"REALLockString"};  // no way to hold it
  EXPECT_TRUE(host.call(+is_shown, s.get()));
}

TEST(Loading, ReportsTheInterfaceVersionThatGoesWithTheHosts) {
  const std::pair<std::optional<double>, std::int32_t> rows[] = {
      {std::nullopt, 9}, {-1.0, 9},     {std::numeric_limits<double>::quiet_NaN(), 9},
      {2011.5, 9},       {2012.0, 10},  {2012.9, 10},
      {2013.0, 11},      {2013.02, 11}, {2013.03, 12}};
  for (const auto &[reporting, reported] : rows) {
    EXPECT_EQ(Plugin(KZV_PLUGIN, version(reporting)).host.interface_version(), reported)
        << reporting.value_or(0);
  }
}

TEST(Loading, SeedsTheRandomGeneratorInABuiltApplicationOnly) {
  const auto first_of = [](std::time_t seed) {
    std::srand(static_cast<unsigned>(seed));
    return std::rand();
  };
  const auto first_after = [](bool in_runtime, const Names &withheld) {
    std::srand(1);
    const Plugin plugin(KZV_PLUGIN, {.withheld = withheld, .in_runtime = in_runtime});
    return std::rand();
  };
  EXPECT_EQ(first_after(false, {}), first_of(1));
  EXPECT_EQ(first_after(true, {"REALinRuntime"}), first_of(1));
  std::time_t time = std::time(nullptr);
  const int seeded = first_after(true, {});
  const std::time_t after = std::time(nullptr);
  while (time < after && seeded != first_of(time)) ++time;
  EXPECT_EQ(seeded, first_of(time));
}

TEST(Loading, ChoosesTheFastestLevel) { EXPECT_TRUE(Plugin(KZV_PROBE).call<bool>("LevelIsFastest", false)); }

TEST(Loading, AsksForAServiceUntilTheHostHasItAndThenNeverAgain) {
  const auto encode = [](Plugin &plugin) { return plugin.call("EncodingToURLKZV", utf8("a b")); };
  Plugin plugin(KZV_PLUGIN, version(2013.03, {"REALBuildString"}));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(encode(plugin), kNil);
  EXPECT_EQ(plugin.host.times_asked_for("REALBuildString"), 3);
  plugin.host.settings.withheld.clear();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(encode(plugin), ascii("a%20b"));
  EXPECT_EQ(plugin.host.times_asked_for("REALBuildString"), 4);
  EXPECT_EQ(plugin.host.times_asked_for("PluginGetStringData"), 1);

  // The host language's own function is a service of its own kind.
  Plugin copying(KZV_PLUGIN, version(2013.03, {"PluginGetStringData"}));
  copying.host.settings.misbehaviour = {"REALLoadGlobalMethod", Kind::kRefuse, 1};
  EXPECT_EQ(encode(copying), kNil);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(encode(copying), ascii("a%20b"));
  EXPECT_EQ(copying.host.settings.misbehaviour->calls_left, -1);
}

// By services that differ with the host.
TEST(Arguments, AreReadDirectlyOrDeliveredOrConverted) {
  using Row = std::tuple<Settings, const char *, Names>;  // host, function, and the services that it asks for
  const Settings copying = version(2013.01, {"PluginGetStringData"});
  for (const auto &[settings, function, asked] :
       {Row(version(2013.0), "EncodingToURLKZV", {"REALLockString"}),
        Row(version(2013.01), "EncodingToURLKZV", {"PluginGetStringData"}),
        Row(copying, "EncodingToURLKZV", {"PluginGetStringData", "StringGetCString"}),
        Row(version(2011.5), "RemoveHTMLTagsKZV", {"REALConvertString", "REALLockString"}),
        Row(version(2012.0), "RemoveHTMLTagsKZV", {"PluginGetStringData", "REALLockString"}),
        Row(version(2012.5), "EncodingToISO8859KZV", {"REALConvertString", "REALLockString"}),
        Row(version(2013.0), "EncodingToISO8859KZV", {"PluginGetStringData", "REALLockString"}),
        Row(version(2011.5), "DecodingFromHexKZV", {"REALConvertString", "REALLockString"}),
        Row(version(2012.0), "DecodingFromHexKZV", {"PluginGetStringData", "REALLockString"})}) {
    Plugin plugin(KZV_PLUGIN, settings);
    plugin.call(function, Text{"41", kEncodingISO8859_1});
    for (const char *const service :
         {"PluginGetStringData", "REALLockString", "StringGetCString", "REALConvertString"})
      EXPECT_EQ(plugin.host.times_asked_for(service), asked.count(service)) << function << service;
  }
}

TEST(MissingServices, EndInTheDocumentedOutcome) {
  const auto url = [](const Text &result) { return sample("EncodingToURLKZV", result, utf8("a b")); };
  const auto block = [](const Block &result) { return sample(kDecodeBlock, result, Block{"\x8B\x8C\x2A"}); };
  const std::tuple<double, Names, Sample> rows[] = {
      {2013.03, {"PluginGetStringData"}, url(ascii("a%20b"))},
      {2013.03, {"PluginGetStringData", "PluginDisposeStringData"}, url(ascii("a%20b"))},
      {2013.03, {"PluginGetStringData", "StringGetCString"}, url(kNil)},
      {2013.03, {"REALBuildString"}, url(kNil)},
      {2013.03, {"REALSetStringEncoding"}, url(raw("a%20b"))},
      {2013.03, {"RegisterPluginVersion"}, url(ascii("a%20b"))},
      {2012.0, {"REALLockString"}, url(ascii("a%20b"))},
      {2013.03, {"REALLockObject"}, block({"ab\0"s})},
      {2013.03, {"newMemoryBlock"}, block(kNoBlock)},
  };
  for (const auto &[host_version, withheld, known] : rows) {
    Plugin plugin(KZV_PLUGIN, version(host_version, withheld));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(known.call(plugin), known.expected) << *withheld.begin();
    EXPECT_EQ(plugin.host.take_raised().size(), withheld.contains("newMemoryBlock") ? 2U : 0U);
  }
}

TEST(Views, EndInAZeroUnit) {
  // The host delivers four bytes. What follows them is not a zero, or half of one.
  const std::string texts[] = {"abcdefgh", "abcd\0fgh"s, "abcde\0gh"s};
  const std::tuple<REALencoding, std::int32_t, int> rows[] = {// encoding, bits, copies if not delivered
                                                              {kEncodingASCII, 7, 1},
                                                              {kEncodingUTF8, 8, 1},
                                                              {kEncodingUTF16, 16, 1},
                                                              {kEncodingUTF16, 32, 2}};
  for (const Settings &settings :
       {version(2011.5), version(2013.03), version(2013.03, {"PluginGetStringData"})}) {
    Plugin probe(KZV_PROBE, settings);
    for (const auto &[encoding, bits, copies] : rows) {
      for (const std::string &text : texts) {
        const String s(make_string_of_lent({text.data(), 4}, encoding));
        memory.requests = 0;
        EXPECT_EQ(probe.call<std::int32_t>("UnitAfter", s, bits), 0) << bits;
        EXPECT_TRUE(settings.withheld.empty() || memory.requests == copies) << bits;
      }
    }
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

TEST(RaisedExceptions, TakeTheClassThatTheHostHas) {
  const std::pair<Settings, std::string> rows[] = {
      {{}, "OutOfMemoryException: It is full."},
      {version(2013.03, {"OutOfMemoryException"}), "RuntimeException: It is full."},
      {version(2013.03, {"OutOfMemoryException", "RuntimeException"}), ""},
      {version(2013.03, {"RuntimeRaiseException"}), ""},
      {version(2013.03, {"REALSetPropValueString"}), "OutOfMemoryException: "},
      {version(2013.03, {"REALBuildString"}), "OutOfMemoryException: "},
      {{.withheld = {}, .misbehaviour = {{"REALBuildString"}}}, "OutOfMemoryException: "},
  };
  for (const auto &[settings, expected] : rows) {
    Plugin probe(KZV_PROBE, settings);
    probe.call<std::int32_t>("Raise", true);
    std::string all;
    for (const RaisedException &raised : probe.host.take_raised()) {
      all += raised.class_name + ": " + raised.message;
      EXPECT_EQ(raised.message_encoding, raised.message.empty() ? 0 : kEncodingASCII);
      EXPECT_EQ(raised.error_number, 0);
    }
    EXPECT_EQ(all, expected);
  }
}

// Raising calls the host, which may fail at each of those calls.
TEST(RaisedExceptions, LeaveNothingTakenWhateverTheHostDoes) {
  int passed = 0;
  for (const auto kind : {Kind::kThrowBadAlloc, Kind::kThrowOther, Kind::kRefuse}) {
    Plugin probe(KZV_PROBE);
    for (int k = 0; k < 20; ++k) {
      probe.host.settings.misbehaviour = {"", kind, 1 + k / 2, k % 2 == 1};
      const Endured endured = endure(
          probe.host, [&] { probe.call<std::int32_t>("Raise", true); }, [] { return true; });
      EXPECT_EQ(endured.broken, "") << k;
      passed += endured.passed ? 1 : 0;
    }
  }
  EXPECT_GT(passed, 20);
}

}  // namespace
}  // namespace kzv::host
