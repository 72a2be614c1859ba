// The boundary between host and plugin, seen from the host.
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "support/plugin.h"

namespace kzv::host {
namespace {

using std::string_literals::operator""s;
using std::string_view_literals::operator""sv;

constexpr char kEncode[] = "EncodingToURLKZV(s as string) as string";
constexpr char kDecode[] = "DecodingFromURLKZV(s as string) as string";
constexpr char kDecodeWith[] = "DecodingFromURLKZV(s as string, options as integer) as string";

// One on each side of every threshold.
const std::optional<double> kVersions[] = {std::nullopt, 2011.5, 2012.0, 2012.5, 2013.0, 2013.01, 2013.03};

Text ascii(std::string bytes) { return {std::move(bytes), kEncodingASCII}; }

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
      {"bytes stand", kEncodingBytes, kEncodingUTF16, "\xE9", "\xE9"},
      {"unknown", 0x1234, kEncodingUTF8, "a", std::nullopt},
  };
  for (const auto &row : rows) EXPECT_EQ(convert(row.text, row.from, row.to), row.result) << row.what;
}

TEST(Loading, TellsTheInterfaceVersionThatGoesWithTheHosts) {
  const struct {
    std::optional<double> host;
    std::int32_t told;
  } rows[] = {{std::nullopt, 9}, {2011.5, 9},
              {2012.0, 10},      {2012.9, 10},
              {2013.0, 11},      {2013.02, 11},
              {2013.03, 12},     {2026.0, 12},
              {-1.0, 9},         {std::numeric_limits<double>::quiet_NaN(), 9}};
  for (const auto &row : rows) {
    EXPECT_EQ(Plugin(KZV_PLUGIN, version(row.host)).host.interface_version(), row.told)
        << row.host.value_or(0);
  }
}

TEST(Loading, SeedsTheRandomGeneratorInABuiltApplicationOnly) {
  const auto first_after = [](bool in_runtime, std::set<std::string, std::less<>> withheld) {
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

TEST(Loading, AsksForAServiceUntilTheHostHasItAndThenNeverAgain) {
  Plugin plugin(KZV_PLUGIN, version(2013.03, {"REALBuildString"}));
  const String s = new_string("a b", kEncodingUTF8);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(plugin.call(kEncode, s), kNil);
  EXPECT_EQ(plugin.host.times_asked_for("REALBuildString"), 3);
  plugin.host.settings.withheld.clear();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(plugin.call(kEncode, s), ascii("a%20b"));
  EXPECT_EQ(plugin.host.times_asked_for("REALBuildString"), 4);
  EXPECT_EQ(plugin.host.times_asked_for("PluginGetStringData"), 1);
  EXPECT_EQ(plugin.host.ledger.report(), "");

  // The host language's own function is a service of its own kind.
  Plugin copying(KZV_PLUGIN, version(2013.03, {"PluginGetStringData"}));
  copying.host.settings.misbehaviour = {"REALLoadGlobalMethod", Misbehaviour::Kind::kRefuse, 1};
  EXPECT_EQ(copying.call(kEncode, s), kNil);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(copying.call(kEncode, s), ascii("a%20b"));
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

TEST(Arguments, AreReadByTheRoadThatTheVersionNames) {
  for (const auto &host_version : kVersions) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    EXPECT_EQ(plugin.call(kDecode, new_string("%C3%A9+", kEncodingUTF16)),
              (Text{"\xC3\xA9+", kEncodingBytes}));
    EXPECT_EQ(plugin.call(kDecodeWith, new_string("a+b", kEncodingUTF8), 1), ascii("a b"));
    EXPECT_EQ(plugin.call(kEncode, nullptr), kNil);
    EXPECT_EQ(plugin.call(kEncode, new_string("", kEncodingUTF8)), kNil);
    const bool newer = host_version.value_or(0) > 2013.0;
    EXPECT_EQ(plugin.host.times_asked_for("PluginGetStringData"), newer ? 1 : 0);
    EXPECT_EQ(plugin.host.times_asked_for("REALLockString"), newer ? 0 : 1);
    EXPECT_EQ(plugin.host.ledger.report(), "");
  }
}

TEST(MissingServices, EndInTheDocumentedOutcome) {
  const Text works = ascii("a%20b");
  const Text unlabelled{"a%20b", kEncodingBytes};
  const struct {
    double version;
    std::set<std::string, std::less<>> withheld;
    Text result;
  } rows[] = {
      {2013.03, {"PluginGetStringData"}, works},  // the bytes are copied
      {2013.03, {"PluginGetStringData", "PluginDisposeStringData"}, works},
      {2013.03, {"PluginGetStringData", "StringGetCString"}, kNil},
      {2013.03, {"PluginGetStringData", "REALLoadGlobalMethod"}, kNil},
      {2013.03, {"PluginDisposeStringData"}, works},  // the record's buffer is freed
      {2013.03, {"REALBuildString"}, kNil},
      {2013.03, {"REALSetStringEncoding"}, unlabelled},
      {2013.03, {"RegisterPluginVersion"}, works},
      {2012.0, {"REALLockString"}, works},
      {2012.0, {"REALBuildString"}, kNil},
  };
  for (const auto &row : rows) {
    Plugin plugin(KZV_PLUGIN, version(row.version, row.withheld));
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(plugin.call(kEncode, new_string("a b", kEncodingUTF8)), row.result) << *row.withheld.begin();
    }
    EXPECT_EQ(plugin.host.ledger.report(), "") << *row.withheld.begin();
    EXPECT_TRUE(plugin.host.take_raised().empty());
  }
}

TEST(Results, AreLabelledAndConverted) {
  const struct {
    const char *what;
    std::string bytes;
    REALencoding encoding;
    Text result;
  } rows[] = {
      {"7-bit bytes become ASCII", "abc", kEncodingBytes, ascii("abc")},
      {"so does 7-bit Mac OS Roman", "abc", kEncodingMacRoman, ascii("abc")},
      {"and 7-bit Windows-1252", "abc", kEncodingWindows1252, ascii("abc")},
      {"but no other encoding", "abc", kEncodingUTF8, {"abc", kEncodingUTF8}},
      {"8-bit bytes keep their label", "a\xE9", kEncodingBytes, {"a\xE9", kEncodingBytes}},
      {"also Mac OS Roman", "\x8E", kEncodingMacRoman, {"\x8E", kEncodingMacRoman}},
      {"an unknown encoding is kept", "a\xE9", 0x1234, {"a\xE9", 0x1234}},
      {"the last byte of a long text counts",
       std::string(1000, 'a') + '\x80',
       kEncodingBytes,
       {std::string(1000, 'a') + '\x80', kEncodingBytes}},
      {"UTF-16 becomes UTF-8",
       "a\0\xE9\0c\0"s,
       kEncodingUTF16,
       {"a\xC3\xA9"
        "c",
        kEncodingUTF8}},
      {"a rest of UTF-32 is dropped", "a\0\0\0b\0\0"s, kEncodingUTF32, {"a", kEncodingUTF8}},
      {"of UTF-32 the low 16 bits count", "\0\xF6\x01\0"s, kEncodingUTF32, {"\xEF\x98\x80", kEncodingUTF8}},
  };
  for (const auto &row : rows) {
    Plugin probe(KZV_PROBE);
    const String s = new_string(row.bytes, kEncodingBytes);
    EXPECT_EQ(probe.call("Build(s as string, encoding as integer) as string", s,
                         static_cast<std::int32_t>(row.encoding)),
              row.result)
        << row.what;
    EXPECT_EQ(probe.host.ledger.report(), "") << row.what;
  }
}

TEST(Results, OfUTF32MayBeLong) {
  for (const std::size_t units : {1U, 199U, 200U, 255U, 256U, 5000U}) {
    Plugin probe(KZV_PROBE);
    std::string bytes;
    for (std::size_t i = 0; i < units; ++i) bytes += "z\0\0\0"s;
    EXPECT_EQ(probe.call("Build(s as string, encoding as integer) as string",
                         new_string(bytes, kEncodingBytes), static_cast<std::int32_t>(kEncodingUTF32)),
              (Text{std::string(units, 'z'), kEncodingUTF8}));
  }
}

// The one road to a result that no function takes.
TEST(Results, OfUTF32AreReleasedWhenTheHostFails) {
  using enum Misbehaviour::Kind;
  Plugin probe(KZV_PROBE);
  const String s = new_string("a\0\0\0"sv, kEncodingBytes);
  for (const char *const service :
       {"REALBuildString", "REALSetStringEncoding", "REALConvertString", "REALUnlockString"}) {
    for (const auto kind : {kThrowBadAlloc, kThrowOther, kRefuse}) {
      probe.host.settings.misbehaviour = {service, kind};
      bool passed = false;
      Text result;
      try {
        result = probe.call("Build(s as string, encoding as integer) as string", s,
                            static_cast<std::int32_t>(kEncodingUTF32));
      } catch (const HostFailure &) {
        passed = true;
      }
      const bool happened = probe.host.settings.misbehaviour->calls_left <= 0;
      EXPECT_EQ(passed, kind == kThrowOther) << service;
      EXPECT_EQ(result, passed ? Text() : happened ? kNil : (Text{"a", kEncodingUTF8})) << service;
      EXPECT_EQ(probe.host.take_raised().size(), kind == kThrowBadAlloc ? 1U : 0U) << service;
      EXPECT_EQ(probe.host.ledger.report(), "") << service;
    }
  }
}

TEST(Views, HaveAZeroUnitBehindThem) {
  constexpr char kBehind[] = "UnitBehind(s as string, bitsPerUnit as integer) as integer";
  const std::string bytes = "abcdefgh";  // of which the host delivers four
  for (const double host_version : {2011.5, 2013.03}) {
    Plugin probe(KZV_PROBE, version(host_version));
    auto *const behind = probe.function<std::int32_t(REALstringStruct *, std::int32_t)>(kBehind);
    for (const auto &[encoding, bits] : {std::pair(kEncodingASCII, 7), std::pair(kEncodingUTF8, 8),
                                         std::pair(kEncodingUTF16, 16), std::pair(kEncodingUTF16, 32)}) {
      const String s(make_string_of_lent({bytes.data(), 4}, encoding));
      EXPECT_EQ(probe.host.call(behind, s.get(), bits), 0) << bits;
    }
  }
}

TEST(Results, OutsideTheLimitsAreNilWithoutAnException) {
  Plugin probe(KZV_PROBE);
  for (const char *const declaration :
       {"BuildOfLength(length as double) as string", "BuildOfNothing(length as double) as string"}) {
    for (const double length : {0.0, -1.0, -4294967295.0, 2147483648.0, 4294967297.0, 9e18}) {
      auto *const function = probe.function<REALstringStruct *(double)>(declaration);
      EXPECT_EQ(text_of(probe.host.call(function, length)), kNil) << length;
    }
  }
  auto *const nothing =
      probe.function<REALstringStruct *(double)>("BuildOfNothing(length as double) as string");
  EXPECT_EQ(text_of(probe.host.call(nothing, 1.0)), kNil);
  EXPECT_EQ(probe.host.times_asked_for("REALBuildString"), 0);
  EXPECT_TRUE(probe.host.take_raised().empty());
}

constexpr char kCopyBlock[] = "CopyBlock(block as memoryblock) as memoryblock";
using CopyBlock = REALmemoryBlockStruct *(REALmemoryBlockStruct *);

TEST(MemoryBlocks, AreCopiedOrReportedWithTheirSize) {
  const struct {
    std::set<std::string, std::less<>> withheld;
    const char *message;  // null: the block is copied
  } rows[] = {
      {{}, nullptr},
      {{"REALLockObject"}, nullptr},
      {{"newMemoryBlock"}, "Failed to allocate a memoryblock with 3 bytes in size."},
      {{"memoryBlockGetPtr"}, "Failed to allocate a memoryblock with 0 bytes in size."},
      {{"memoryBlockGetSize"}, nullptr},  // reads as empty
  };
  for (const auto &row : rows) {
    Plugin probe(KZV_PROBE, version(2013.03, row.withheld));
    const MemoryBlock block = new_memory_block("a\0z"sv);
    const MemoryBlock result = probe.host.call(probe.function<CopyBlock>(kCopyBlock), block.get());
    const auto raised = probe.host.take_raised();
    ASSERT_EQ(raised.size(), row.message == nullptr ? 0U : 1U);
    if (row.message != nullptr) {
      EXPECT_EQ(raised[0].message, row.message);
      EXPECT_EQ(result, nullptr);
    } else {
      EXPECT_EQ(result->bytes, row.withheld.contains("memoryBlockGetSize") ? "" : "a\0z"s);
    }
    EXPECT_EQ(probe.host.ledger.report(), "");
  }
}

TEST(MemoryBlocks, AreLockedBeforeTheyAreLookedInto) {
  for (const char *const service : {"memoryBlockGetSize", "memoryBlockGetPtr"}) {
    Plugin probe(KZV_PROBE);
    const MemoryBlock block = new_memory_block("abc");
    probe.host.settings.misbehaviour = {service, Misbehaviour::Kind::kThrowOther};
    EXPECT_THROW(probe.host.call(probe.function<CopyBlock>(kCopyBlock), block.get()), HostFailure);
    EXPECT_EQ(probe.host.ledger.objects.taken.value(), 1) << service;
    EXPECT_EQ(probe.host.ledger.report(), "");
  }
}

TEST(MemoryBlocks, AreMadeOnceTheyCanBeGivenBack) {
  for (int k = 1; k <= 3; ++k) {
    Plugin probe(KZV_PROBE);
    probe.host.settings.misbehaviour = {"resolver", Misbehaviour::Kind::kThrowOther, k};
    EXPECT_THROW(probe.host.call(probe.function<CopyBlock>(kCopyBlock), nullptr), HostFailure) << k;
    EXPECT_EQ(probe.host.ledger.report(), "") << k;
  }
}

TEST(Arguments, ThatTheHostRefusesAreAbsentAndNotCopied) {
  using enum Misbehaviour::Kind;
  for (const auto kind : {kRefuse, kNoBytes}) {
    Plugin plugin(KZV_PLUGIN);
    auto *const compare = plugin.function<std::int32_t(REALstringStruct *, REALstringStruct *)>(
        "StrCompBytesKZV(a as string, b as string) as integer");
    const String text = new_string("a", kEncodingUTF8);
    const String empty = new_string("", kEncodingUTF8);
    plugin.host.settings.misbehaviour = {"PluginGetStringData", kind};
    EXPECT_EQ(plugin.host.call(compare, text.get(), empty.get()), -1);
    EXPECT_EQ(plugin.host.times_asked_for("StringGetCString"), 0);
    EXPECT_EQ(plugin.host.ledger.report(), "");
  }
}

TEST(RaisedExceptions, TakeTheClassThatTheHostHas) {
  const struct {
    std::set<std::string, std::less<>> withheld;
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
    auto *const raise = probe.function<std::int32_t(REALboolean)>("Raise(withMessage as boolean) as integer");
    probe.host.call(raise, static_cast<REALboolean>(row.with_message ? 0x101U : 0x100U));
    const auto raised = probe.host.take_raised();
    ASSERT_EQ(raised.size(), row.raised.empty() ? 0U : 1U);
    if (!raised.empty()) {
      EXPECT_EQ(raised[0].class_name, row.raised[0]);
      EXPECT_EQ(raised[0].message, row.raised[1]);
      EXPECT_EQ(raised[0].error_number, 0);
    }
    EXPECT_EQ(probe.host.ledger.report(), "");
  }
}

// Any bit of the low byte makes a boolean true, those above none.
TEST(RaisedExceptions, HaveTheirMessageIfABooleanSaysSo) {
  Plugin probe(KZV_PROBE);
  auto *const raise = probe.function<std::int32_t(REALboolean)>("Raise(withMessage as boolean) as integer");
  for (unsigned bit = 1; bit < 0x200; bit *= 2) {
    probe.host.call(raise, static_cast<REALboolean>(bit));
    EXPECT_EQ(probe.host.take_raised().at(0).message, bit < 0x100 ? "It is full." : "") << bit;
  }
}

TEST(RaisedExceptions, AreRaisedWithoutAMessageWhenThereIsNoMemoryForOne) {
  Plugin probe(KZV_PROBE);
  probe.host.settings.misbehaviour = {"REALBuildString", Misbehaviour::Kind::kThrowBadAlloc};
  auto *const raise = probe.function<std::int32_t(REALboolean)>("Raise(withMessage as boolean) as integer");
  probe.host.call(raise, ToREALboolean(true));
  const auto raised = probe.host.take_raised();
  ASSERT_EQ(raised.size(), 1U);
  EXPECT_EQ(raised[0].message, "");
  EXPECT_EQ(probe.host.ledger.report(), "");
}

// Raising calls the host, which may throw at each of those calls.
TEST(RaisedExceptions, LeaveNothingBehindWhenTheHostThrows) {
  using enum Misbehaviour::Kind;
  for (const auto kind : {kThrowBadAlloc, kThrowOther, kRefuse}) {
    for (const bool for_good : {false, true}) {
      Plugin probe(KZV_PROBE);
      auto *const raise =
          probe.function<std::int32_t(REALboolean)>("Raise(withMessage as boolean) as integer");
      bool happened = true;
      for (int k = 1; happened; ++k) {
        probe.host.settings.misbehaviour = {"", kind, k, for_good};
        try {
          probe.host.call(raise, ToREALboolean(true));
        } catch (const std::bad_alloc &) {
          EXPECT_EQ(kind, kThrowBadAlloc);
        } catch (const HostFailure &) {
          EXPECT_EQ(kind, kThrowOther);
        }
        happened = probe.host.settings.misbehaviour->calls_left <= 0;
        EXPECT_LE(probe.host.take_raised().size(), 1U);
        EXPECT_EQ(probe.host.ledger.report(), "") << k;
      }
    }
  }
}

#if defined(__i386__)
// Hosts of 32 bits keep their stack aligned to 4 bytes only: every function that they call begins by aligning
// it.
TEST(Stack, IsRealignedByEveryFunctionThatAHostCalls) {
  constexpr std::string_view kAlign = "\x83\xE4\xF0";  // and $-16,%esp
  const Plugin plugin(KZV_PLUGIN);
  for (const Method &method : plugin.host.methods()) {
    const std::string_view code(static_cast<const char *>(method.function), 32);
    EXPECT_NE(code.find(kAlign), std::string_view::npos) << method.declaration;
  }
  const PluginFile file(KZV_PLUGIN);
  const std::string_view code(reinterpret_cast<const char *>(file.main()), 32);
  EXPECT_NE(code.find(kAlign), std::string_view::npos);
}
#endif

}  // namespace
}  // namespace kzv::host
