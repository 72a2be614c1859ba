// Arguments and results at the limits of 2^31-1 bytes. What a function would need is seen from what it asks
// the allocator for, which grants nothing of that size: so no gigabytes are written.
#include <gtest/gtest.h>

#include "support/memory.h"
#include "support/samples.h"
#include "support/sparse.h"

namespace kzv::host {
namespace {

constexpr char kToURL[] = "EncodingToURLKZV";
constexpr char kRemoveTags[] = "RemoveHTMLTagsKZV";
// What a block that can grow takes besides its bytes.
constexpr std::size_t kHead = sizeof(void *) + 8;
constexpr char kNoText[] = "Failed to allocate memory for a string.";

// The first `byte_count` bytes of `bytes` as an argument: more than 2^31-1 become a length below zero.
String lent(const Sparse &bytes, std::size_t byte_count, REALencoding encoding = kEncodingBytes) {
  return String(make_string_of_lent(bytes.first(byte_count), encoding));
}

// What `call` asked the allocator for that was too much, or 0.
template <typename Call>
std::size_t asked_for(Call call) {
  memory().refused_from = 4096;
  memory().last_refused = 0;
  call();
  const std::size_t request = memory().last_refused;
  memory() = {};
  return request;
}

class Limits : public testing::Test {
 protected:
  ~Limits() override { EXPECT_EQ(plugin_.host.ledger.report(), ""); }

  std::string only_message() {
    const auto raised = plugin_.host.take_raised();
    EXPECT_LE(raised.size(), 1U);
    return raised.empty() ? "" : raised.front().message;
  }

  // A call that finds no memory and gives nil.
  template <typename... Arguments>
  void call(const char *name, const Arguments &...arguments) {
    EXPECT_EQ(plugin_.call(name, arguments...), kNil) << name;
  }

  Plugin plugin_{KZV_FAULTY};
};

TEST_F(Limits, OfArgumentsDecideWhetherMemoryIsAskedFor) {
  const Sparse zeros;
  using Call = std::function<void(std::size_t)>;
  const auto one = [&](const char *name, REALencoding encoding) -> Call {
    const std::size_t unit = encoding == kEncodingUTF16 ? 2 : 1;
    return [=, this, &zeros](std::size_t units) { call(name, lent(zeros, units * unit, encoding)); };
  };
  const auto joined = [&](std::size_t bytes) {
    const String sixth = lent(zeros, bytes / 6);
    call("ConcatBinaryStringsKZV", sixth, sixth, sixth, sixth, sixth, lent(zeros, bytes - bytes / 6 * 5));
  };
  const auto dumped = [&](std::size_t bytes, std::int32_t hexlen, std::int32_t linelen, const Text &lineend,
                          const Text &filler) {
    call("HexstringKZV", lent(zeros, bytes), hexlen, linelen, kNil, lineend, kNil, filler);
  };
  const auto html = [&](std::size_t n) { call("EncodingToHTMLKZV", lent(zeros, n * 2, kEncodingUTF16), 0); };
  const auto replaced = [&](std::size_t n) { call("ReplaceNonPrintableCharactersKZV", lent(zeros, n), 46); };
  const auto combined = [&](std::size_t n) { call("StringORKZV", lent(zeros, n), lent(zeros, n)); };
  const auto random = [&](std::size_t n) {
    call("RandomBytesStringKZV", static_cast<std::int32_t>(n), true);
  };
  const Text dots = ascii(std::string(2147, '.'));
  const struct {
    const char *what;
    Call call;
    std::size_t most;     // units that fit; one more does not
    std::size_t request;  // bytes asked for then
  } rows[] = {
      {"to URL", one(kToURL, kEncodingBytes), 715827879, 2147483647},
      {"from URL", one("DecodingFromURLKZV", kEncodingBytes), 2147483647, 2147483647},
      {"to hex", one("EncodingToHexKZV", kEncodingBytes), 1073741823, 2147483646},
      {"from hex", one("DecodingFromHexKZV", kEncodingASCII), 2147483647, 1073741823},
      {"from HTML", one("DecodingFromHTMLKZV", kEncodingUTF16), 1073739775, kHead + 2147483646},
      {"to ISO-8859-1", one("EncodingToISO8859KZV", kEncodingUTF16), 1073741823, 1073741823},
      {"from ISO-8859-1", one("DecodingFromISO8859KZV", kEncodingUTF8), 1073741823, 2147483646},
      {"from CP1252", one("DecodingFromCP1252KZV", kEncodingUTF8), 1073741823, 2147483646},
      {"tags", one(kRemoveTags, kEncodingUTF8), 2147483637, kHead + 2147483647},
      {"SQL", one("SQLReplaceBooleanKZV", kEncodingASCII), 2147483637, kHead + 2147483647},
      {"from MySQL", one("DecodingFromMySQLKZV", kEncodingUTF8), 2147483647, 2147483647},
      {"yEnc", one("_yDecodeStringKZV", kEncodingUTF8), 2147483647, 2147483647},
      {"to HTML", html, 1073739775, kHead + 2147483646},
      {"replacing", replaced, 2147483647, 2147483647},
      {"OR", combined, 2147483642, 2147483647},
      {"six arguments", joined, 2147483637, 2147483647},
      {"random bytes", random, 2147483647, 2147483647},
      {"dump in lines", [&](auto n) { dumped(n, 2, 1, ascii("\n"), kNil); }, 715827882, 2147483646},
      {"filled dump", [&](auto n) { dumped(n, 1000, 1000, kNil, dots); }, 241823, 1000000},
      {"dump of one line", [&](auto n) { dumped(n, 429496729, 5, kNil, kNil); }, 1, 2147483645},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(asked_for([&] { row.call(row.most); }), row.request) << row.what;
    EXPECT_EQ(asked_for([&] { row.call(row.most + 1); }), 0U) << row.what;
    EXPECT_EQ(only_message(), "") << row.what;
  }
  // Sizes of which 32 bits would keep little.
  EXPECT_EQ(asked_for([&] { call(kToURL, lent(zeros, 1431655763)); }), 0U);
  EXPECT_EQ(asked_for([&] { joined(std::size_t{2147483647} * (sizeof(void *) == 8 ? 6 : 1)); }), 0U);
#if defined(__LP64__)
  joined((std::size_t{1} << 32) + 100);
#endif
  EXPECT_EQ(asked_for([&] { dumped(1, 2147483647, 2147483647, kNil, kNil); }), 0U);
}

// Text without a terminator has to be copied, with one.
TEST_F(Limits, OfTextDecideWhetherItIsCopied) {
  const struct {
    const char *name;
    REALencoding encoding;
    std::string_view pattern;
    std::size_t most;  // bytes; one more unit is not copied
    std::size_t request;
  } rows[] = {{kRemoveTags, kEncodingUTF8, "a", 2147483643, 2147483647},
              {"EncodingToCP1252KZV", kEncodingUTF16, "a", 2147483642, 2147483646},
              {"EncodeEmailSubjectKZV", kEncodingUTF8, "\xC3\xA9", 2147483643, 2147483647}};
  for (const auto &row : rows) {
    const Sparse bytes(row.pattern);
    const auto request = [&](std::size_t size) {
      return asked_for([&] { call(row.name, lent(bytes, size, row.encoding)); });
    };
    EXPECT_EQ(request(row.most), row.request) << row.name;
    EXPECT_EQ(request(row.most + (row.encoding == kEncodingUTF16 ? 2 : 1)), 0U) << row.name;
    EXPECT_EQ(only_message(), "") << row.name;
  }
}

// What has to be copied for a view, which is empty without: the functions then answer as for empty texts.
TEST_F(Limits, OfViewsLeaveThemEmpty) {
  auto zeros = std::make_unique<Sparse>();
  const auto wide = [&](std::size_t units) {
    const String s = lent(*zeros, units * 2, kEncodingUTF16);
    return asked_for([&] { EXPECT_EQ(plugin_.call<double>("JaroWinklerDistanceKZV", s, ascii("x")), 1.0); });
  };
  EXPECT_EQ(wide(536870907), 2147483644U);
  EXPECT_EQ(wide(536870908), 0U);
  EXPECT_EQ(wide(1073741821), 0U);

  Plugin copying(KZV_FAULTY, version(2013.03, {"PluginGetStringData"}));
  const String all = lent(*zeros, 2147483647, kEncodingASCII);
  EXPECT_EQ(asked_for([&] { EXPECT_EQ(copying.call(kToURL, all), kNil); }), 2147483651U);

  // Bytes that are no ASCII are rebuilt as text up to 3 bytes below the limit.
  zeros.reset();  // 32 bits cannot address both
  const Sparse high("\x8E");
  for (const std::size_t bytes : {2147483643U, 2147483644U}) {
    plugin_.host.settings.misbehaviour = {"REALBuildString", Misbehaviour::Kind::kRefuse};
    call("DecodingFromHexKZV", lent(high, bytes));
    EXPECT_EQ(plugin_.host.settings.misbehaviour->calls_left, bytes == 2147483643U ? 0 : 1);
  }
  EXPECT_EQ(only_message(), "");
}

TEST_F(Limits, OfAMatrixAreIn64Bits) {
  const auto distance = [&](std::size_t a, std::size_t b) {
    return plugin_.call<double>("LevenshteinDistanceKZV", ascii(std::string(a, 'x')),
                                ascii(std::string(b, 'y')));
  };
  EXPECT_EQ(distance(23169, 23169), 1.0);
  EXPECT_EQ(distance(256998, 2088), 1.0 / (2088.0 / 256998.0));  // 2,147,483,644 bytes
  EXPECT_EQ(only_message(), "");
  EXPECT_EQ(distance(16383, 32767), 1.0);
  EXPECT_EQ(only_message(), "Failed to allocate 2147483648 bytes of memory.");
  EXPECT_EQ(distance(200000, 200000), 1.0);
  EXPECT_EQ(only_message(), "Failed to allocate 160001600004 bytes of memory.");
}

TEST_F(Limits, OfWhatIsThereDecideWhatIsAskedFor) {
  Plugin probe(KZV_PROBE);
  memory().last_request = 0;
  EXPECT_EQ(probe.call("AddName", 0, address_of("amp"), 3.0), ascii("&amp;"));
  EXPECT_EQ(memory().last_request, 4106U);
  EXPECT_EQ(probe.call("AddUnits", 8, 1), utf8("x"));
  EXPECT_EQ(memory().last_request, 4107U);
  EXPECT_EQ(probe.call("AddUnits", 8, 3000), utf8(repeated("x", 3000)));
  EXPECT_EQ(memory().last_request, 8205U);
  const std::string bytes = repeated("y", 5000);
  EXPECT_EQ(plugin_.call("RemoveHTMLTagsWithKZV", utf8("<x>"), utf8(bytes)), utf8(bytes));
  EXPECT_EQ(memory().last_request, 14100U);
  EXPECT_EQ(asked_for([&] { call("DecodingFromQuotedPrintableKZV", utf8(bytes)); }), 5000U);
  EXPECT_EQ(only_message(), kNoText);
}

#if !defined(KZV_SANITIZED)  // a sanitizer looks at no byte of such a mapping, but takes its time
TEST_F(Limits, OfResultsAreTheHosts) {
  const Sparse zeros;
  Plugin probe(KZV_PROBE);
  for (const REALencoding encoding : {kEncodingBytes, kEncodingUTF8, kEncodingUTF16}) {
    probe.host.settings.misbehaviour = {"REALBuildString", Misbehaviour::Kind::kRefuse};
    EXPECT_EQ(
        probe.call("Build", address_of(zeros.first(1)), 2147483647.0, static_cast<std::int32_t>(encoding)),
        kNil);
    EXPECT_EQ(probe.host.settings.misbehaviour->calls_left, 0);
  }
  // A builder asks for blocks of up to 2,147,483,632 bytes.
  const auto added = [&](double size) {
    return asked_for([&] { EXPECT_EQ(probe.call("AddName", 0, address_of(zeros.first(1)), size), kNil); });
  };
  EXPECT_EQ(added(1073739766), 2147483632U);
  EXPECT_EQ(added(1073739767), 0U);
}

TEST_F(Limits, AreNoneWhereNothingIsWritten) {
  const Sparse lines("a line of 64 bytes that is looked for from one end to the other ");
  const String text = lent(lines, 2147483647, kEncodingUTF8);
  const String shorter = lent(lines, 2147483646, kEncodingUTF8);
  const String line = lent(lines, 64, kEncodingUTF8);
  EXPECT_EQ(plugin_.call<std::int32_t>("CountOccurancesKZV", text, line), 33554431);
  EXPECT_EQ(plugin_.call<std::int32_t>("CountOccurancesKZV", text, utf8("a")), 67108864);
  EXPECT_EQ(plugin_.call<std::int32_t>("StrCompBytesKZV", text, text), 0);
  EXPECT_EQ(plugin_.call<std::int32_t>("StrCompBytesKZV", text, shorter), 1);
  EXPECT_TRUE(plugin_.call<bool>("IsASCIIStringKZV", text));
  EXPECT_TRUE(plugin_.call<bool>("StringIsHTMLreadyKZV", text));
}

// Output whose bound is too large is measured first: text that fits is only refused for want of memory, which
// raises; text that does not fit is no text.
TEST_F(Limits, OfMeasuredOutputAreExact) {
  const Sparse tabs("\taaaaaaaaaaaaaaa");
  const struct {
    std::size_t bytes;
    std::size_t request;
    const char *message;
  } subjects[] = {{2147483635, 2147483647, kNoText}, {2147483636, 0, ""}},
    texts[] = {{2147483645, 2147483645, kNoText}, {2147483646, 0, ""}};
  for (const auto &row : subjects) {
    EXPECT_EQ(asked_for([&] { call("EncodeEmailSubjectKZV", lent(tabs, row.bytes)); }), row.request);
    EXPECT_EQ(only_message(), row.message) << row.bytes;
  }
  for (const auto &row : texts) {
    const String s = lent(tabs, row.bytes, kEncodingUTF8);
    EXPECT_EQ(asked_for([&] { call("EncodingToQuotedPrintableKZV", s, 2147483647); }), row.request);
    EXPECT_EQ(only_message(), row.message) << row.bytes;
  }
}
#endif

}  // namespace
}  // namespace kzv::host
