// Arguments and results at the limits of 2^31-1 bytes. What a function would need is seen from what it asks
// the allocator for, which grants nothing of that size: so no gigabytes are written.
#include <cstring>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "support/memory.h"
#include "support/samples.h"

namespace kzv::host {
namespace {

constexpr char kToURL[] = "EncodingToURLKZV";
constexpr char kRemoveTags[] = "RemoveHTMLTagsKZV";
constexpr char kSubject[] = "EncodeEmailSubjectKZV";
constexpr char kNoText[] = "Failed to allocate memory for a string.";

using std::string_view_literals::operator""sv;

// Gigabytes of address space without the memory: one pattern again and again, whose length is a power of two.
class Sparse {
 public:
  explicit Sparse(std::string_view pattern = "\0"sv)
      : start_(static_cast<char *>(mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    const int file = memfd_create("pattern", 0);
    if (start_ == MAP_FAILED || ftruncate(file, kPiece) != 0) throw std::bad_alloc();
    for (std::size_t at = 0; at < kSize; at += kPiece) {
      if (mmap(start_ + at, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) == MAP_FAILED)
        throw std::bad_alloc();
    }
    close(file);
    for (std::size_t at = 0; at < kPiece; at += pattern.size())
      std::memcpy(start_ + at, pattern.data(), pattern.size());
  }
  Sparse(const Sparse &) = delete;
  Sparse &operator=(const Sparse &) = delete;
  ~Sparse() { munmap(start_, kSize); }

  std::string_view first(std::size_t byte_count) const { return {start_, byte_count}; }

 private:
  static constexpr std::size_t kPiece = 1U << 20;
  static constexpr std::size_t kSize = (std::size_t{1} << 31) + kPiece;

  char *start_;
};

// The first `byte_count` bytes of `bytes` as an argument: more than 2^31-1 become a length below zero.
String lent(const Sparse &bytes, std::size_t byte_count, REALencoding encoding = kEncodingBytes) {
  return String(make_string_of_lent(bytes.first(byte_count), encoding));
}

// What `call` asked the allocator for that was too much, or 0.
template <typename Call>
std::size_t asked_for(Call call) {
  memory.refused_from = 4096;
  memory.last_refused = 0;
  call();
  const std::size_t request = memory.last_refused;
  memory = {};
  return request;
}

class Limits : public testing::Test {
 protected:
  using Call = std::function<void(std::size_t)>;

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

  // The call with so many units of `bytes`, and `arguments`.
  template <typename... Arguments>
  Call taking(const Sparse &bytes, const char *name, REALencoding encoding, Arguments... arguments) {
    const std::size_t unit = encoding == kEncodingUTF16 ? 2 : 1;
    return [=, this, &bytes](std::size_t n) { call(name, lent(bytes, n * unit, encoding), arguments...); };
  }

  // With `most` units the call asks for `request` bytes, with one more for none.
  void expect_limit(const std::string &what, const Call &call, std::size_t most, std::size_t request,
                    const char *message = "") {
    EXPECT_EQ(asked_for([&] { call(most); }), request) << what;
    EXPECT_EQ(only_message(), message) << what;
    EXPECT_EQ(asked_for([&] { call(most + 1); }), 0U) << what;
    EXPECT_EQ(only_message(), "") << what;
  }

  Plugin plugin_{KZV_FAULTY};
};

TEST_F(Limits, OfArgumentsDecideWhetherMemoryIsAskedFor) {
  const Sparse zeros;
  const struct {
    const char *name;
    REALencoding encoding;
    std::size_t most;
    std::size_t request;
  } rows[] = {
      {kToURL, kEncodingBytes, 715827879, 2147483647},
      {"DecodingFromURLKZV", kEncodingBytes, 2147483647, 2147483647},
      {"EncodingToHexKZV", kEncodingBytes, 1073741823, 2147483646},
      {"DecodingFromHexKZV", kEncodingASCII, 2147483647, 1073741823},
      {"DecodingFromHTMLKZV", kEncodingUTF16, 1073739775, 2147483646},
      {"EncodingToISO8859KZV", kEncodingUTF16, 1073741823, 1073741823},
      {"DecodingFromISO8859KZV", kEncodingUTF8, 1073741823, 2147483646},
      {"DecodingFromCP1252KZV", kEncodingUTF8, 1073741823, 2147483646},
      {kRemoveTags, kEncodingUTF8, 2147483637, 2147483647},
      {"SQLReplaceBooleanKZV", kEncodingASCII, 2147483637, 2147483647},
      {"DecodingFromMySQLKZV", kEncodingUTF8, 2147483647, 2147483647},
      {"_yDecodeStringKZV", kEncodingUTF8, 2147483647, 2147483647},
  };
  for (const auto &row : rows)
    expect_limit(row.name, taking(zeros, row.name, row.encoding), row.most, row.request);
  expect_limit("to HTML", taking(zeros, "EncodingToHTMLKZV", kEncodingUTF16, 0), 1073739775, 2147483646);
  expect_limit("replacing", taking(zeros, "ReplaceNonPrintableCharactersKZV", kEncodingBytes, 46), 2147483647,
               2147483647);
  const auto combined = [&](std::size_t n) { call("StringORKZV", lent(zeros, n), lent(zeros, n)); };
  expect_limit("OR", combined, 2147483642, 2147483647);
  const auto random = [&](std::size_t n) {
    call("RandomBytesStringKZV", static_cast<std::int32_t>(n), true);
  };
  expect_limit("random bytes", random, 2147483647, 2147483647);
  const auto joined = [&](std::size_t bytes) {
    const String sixth = lent(zeros, bytes / 6);
    call("ConcatBinaryStringsKZV", sixth, sixth, sixth, sixth, sixth, lent(zeros, bytes - bytes / 6 * 5));
  };
  expect_limit("six arguments", joined, 2147483637, 2147483647);
  const auto dumped = [&](std::int32_t hexlen, std::int32_t linelen, const Text &lineend,
                          const Text &filler) {
    return taking(zeros, "HexstringKZV", kEncodingBytes, hexlen, linelen, kNil, lineend, kNil, filler);
  };
  const Text dots = ascii(std::string(2147, '.'));
  expect_limit("dump in lines", dumped(2, 1, ascii("\n"), kNil), 715827882, 2147483646);
  expect_limit("filled dump", dumped(1000, 1000, kNil, dots), 241823, 1000000);
  expect_limit("dump of one line", dumped(429496729, 5, kNil, kNil), 1, 2147483645);
  // Sizes of which 32 bits would keep little.
  EXPECT_EQ(asked_for([&] { call(kToURL, lent(zeros, 1431655763)); }), 0U);
  EXPECT_EQ(asked_for([&] { joined(std::size_t{2147483647} * (sizeof(void *) == 8 ? 6 : 1)); }), 0U);
#if defined(__LP64__)
  joined((std::size_t{1} << 32) + 100);
#endif
  EXPECT_EQ(asked_for([&] { dumped(2147483647, 2147483647, kNil, kNil)(1); }), 0U);
}

// Text without a terminator has to be copied, with one.
TEST_F(Limits, OfTextDecideWhetherItIsCopied) {
  expect_limit("narrow", taking(Sparse("a"), kRemoveTags, kEncodingUTF8), 2147483643, 2147483647);
  expect_limit("wide", taking(Sparse("a"), "EncodingToCP1252KZV", kEncodingUTF16), 1073741821, 2147483646);
  expect_limit("subject", taking(Sparse("\xC3\xA9"), kSubject, kEncodingUTF8), 2147483643, 2147483647);
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
  EXPECT_EQ(distance(256998, 2088), 1.0 / (2088.0 / 256998.0));  // 2,147,483,644 bytes
  EXPECT_EQ(only_message(), "");
  EXPECT_EQ(distance(16383, 32767), 1.0);
  EXPECT_EQ(only_message(), "Failed to allocate 2147483648 bytes of memory.");
  EXPECT_EQ(distance(200000, 200000), 1.0);
  EXPECT_EQ(only_message(), "Failed to allocate 160001600004 bytes of memory.");
}

TEST_F(Limits, OfBuildersDecideHowTheyGrow) {
  Plugin probe(KZV_PROBE);
  memory.last_request = 0;
  EXPECT_EQ(probe.call("AddName", 0, address_of("amp"), 3.0), ascii("&amp;"));
  EXPECT_EQ(memory.last_request, 4106U);
  EXPECT_EQ(probe.call("AddUnits", 8, 1), utf8("x"));
  EXPECT_EQ(memory.last_request, 4107U);
  EXPECT_EQ(probe.call("AddUnits", 8, 3000), utf8(repeated("x", 3000)));
  EXPECT_EQ(memory.last_request, 8205U);
  const std::string bytes = repeated("y", 5000);
  EXPECT_EQ(plugin_.call("RemoveHTMLTagsWithKZV", utf8("<x>"), utf8(bytes)), utf8(bytes));
  EXPECT_EQ(memory.last_request, 14100U);
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
  expect_limit("subject", taking(tabs, kSubject, kEncodingBytes), 2147483635, 2147483647, kNoText);
  expect_limit("text", taking(tabs, "EncodingToQuotedPrintableKZV", kEncodingUTF8, 2147483647), 2147483645,
               2147483645, kNoText);
}
#endif

}  // namespace
}  // namespace kzv::host
