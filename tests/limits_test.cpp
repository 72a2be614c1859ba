// Arguments and results at the limits of 2^31-1 bytes, seen from what a function asks the allocator for.
#include <cstring>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <tuple>
#include <unistd.h>

#include "support/memory.h"
#include "support/samples.h"

namespace kzv::host {
namespace {

// So many bytes of address space without as much memory: a pattern, whose length is a power of two, again and
// again. There is one pattern at a time: 32 bits cannot address more.
std::string_view sparse(std::string_view pattern, std::size_t byte_count) {
  constexpr std::size_t kPiece = 1U << 20;
  constexpr std::size_t kSize = (std::size_t{1} << 31) + kPiece;
  static char *const start = [] {
    const int file = memfd_create("pattern", 0);
    auto *const mapped =
        static_cast<char *>(mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (mapped == MAP_FAILED || ftruncate(file, kPiece) != 0) throw std::bad_alloc();
    for (std::size_t at = 0; at < kSize; at += kPiece) {
      if (mmap(mapped + at, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) == MAP_FAILED)
        throw std::bad_alloc();
    }
    return mapped;
  }();
  for (std::size_t at = 0; at < kPiece; at += pattern.size())
    std::memcpy(start + at, pattern.data(), pattern.size());
  return {start, byte_count};
}

// That as an argument: more than 2^31-1 bytes become a length below zero.
String lent(const Text &pattern, std::size_t byte_count) {
  return String(make_string_of_lent(sparse(pattern.bytes, byte_count), pattern.encoding));
}

// What `call` asked the allocator for that was too much, or 0.
template <typename Call>
std::size_t asked_for(Call call) {
  memory.refused_from = 4096;
  memory.last_refused = 0;
  call();
  return std::exchange(memory, {}).last_refused;
}

constexpr char kNoText[] = "Failed to allocate memory for a string.";
const Text kBytes = raw("\0"s);
const Text kNarrow = utf8("\0"s);
const Text kWide = {"\0"s, kEncodingUTF16};
const Text kASCII = ascii("\0"s);

class Limits : public testing::Test {
 protected:
  std::string only_message() {
    const auto raised = plugin_.host.take_raised();
    EXPECT_LE(raised.size(), 1U);
    return raised.empty() ? "" : raised.front().message;
  }

  // A call that gives nil, with so many units in place of every argument that is `pattern`.
  std::size_t asked_for_by(const Sample &call, std::size_t units, const std::string &pattern = "\0"s) {
    return asked_for([&] {
      const auto place = [&](const Text &text) {
        return text.bytes == pattern ? lent(text, text.encoding == kEncodingUTF16 ? units * 2 : units)
                                     : owned(text);
      };
      EXPECT_EQ(call.call(plugin_, place), Value(kNil)) << call.name;
    });
  }

  // With `most` units the call asks for `request` bytes, with one more for none.
  void expect_limit(const Sample &call, std::size_t most, std::size_t request,
                    const std::string &pattern = "\0"s, const char *message = "") {
    EXPECT_EQ(asked_for_by(call, most, pattern), request) << call.name;
    EXPECT_EQ(only_message(), message) << call.name;
    EXPECT_EQ(asked_for_by(call, most + 1, pattern), 0U) << call.name;
    EXPECT_EQ(only_message(), "") << call.name;
  }

  Plugin plugin_{KZV_FAULTY};
};

TEST_F(Limits, OfArgumentsDecideWhetherMemoryIsAskedFor) {
  const Sample to_url = sample("EncodingToURLKZV", kNil, kBytes);
  const std::tuple<Sample, std::size_t, std::size_t> rows[] = {
      {to_url, 715827879, 2147483647},
      {sample("EncodingToHexKZV", kNil, kBytes), 1073741823, 2147483646},
      {sample("DecodingFromHexKZV", kNil, kASCII), 2147483647, 1073741823},
      {sample("EncodingToHTMLKZV", kNil, kWide, 0), 1073739775, 2147483646},
      {sample("DecodingFromHTMLKZV", kNil, kWide), 1073739775, 2147483646},
      {sample("EncodingToISO8859KZV", kNil, kWide), 1073741823, 1073741823},
      {sample("DecodingFromISO8859KZV", kNil, kNarrow), 1073741823, 2147483646},
      {sample("SQLReplaceBooleanKZV", kNil, kASCII), 2147483637, 2147483647},
      {sample("StringORKZV", kNil, kBytes, kBytes), 2147483642, 2147483647},
      {sample("ConcatBinaryStringsKZV", kNil, raw("a"), raw("b"), raw("c"), raw("d"), raw("e"), kBytes),
       2147483632, 2147483647},
      {sample("HexstringKZV", kNil, kBytes, 2, 1, kNil, ascii("\n"), kNil, kNil), 715827882, 2147483646},
  };
  for (const auto &[call, most, request] : rows) expect_limit(call, most, request);
  EXPECT_EQ(asked_for_by(sample("RandomBytesStringKZV", kNil, 2147483647, true), 0), 2147483647U);
  // Sizes of which 32 bits would keep little.
  EXPECT_EQ(asked_for_by(to_url, 1431655763), 0U);
  const Sample six = sample("ConcatBinaryStringsKZV", kNil, kBytes, kBytes, kBytes, kBytes, kBytes, kBytes);
  EXPECT_EQ(asked_for_by(six, 715827883), 0U);
  // Without work to do these need no memory.
  expect_limit(sample("DecodingFromURLKZV", kNil, utf8("%")), 2147483647, 2147483647, "%");
  const std::string tags = "<\0\0\0"s;
  expect_limit(sample("RemoveHTMLTagsKZV", kNil, utf8(tags)), 2147483637, 2147483647, tags);
  // Text without a terminator has to be copied, with one.
  expect_limit(sample("RemoveHTMLTagsKZV", kNil, utf8("a")), 2147483643, 2147483647, "a");
  expect_limit(sample("EncodingToCP1252KZV", kNil, Text{"a", kEncodingUTF16}), 1073741821, 2147483646, "a");
  expect_limit(sample("EncodeEmailSubjectKZV", kNil, utf8("é")), 2147483643, 2147483647, "é");
}

// What has to be copied for a view, which is empty without: the functions then answer as for empty texts.
TEST_F(Limits, OfViewsLeaveThemEmpty) {
  for (const auto &[units, request] :
       {std::pair(536870907U, 2147483644U), std::pair(536870908U, 0U), std::pair(1073741821U, 0U)}) {
    const String s = lent(kWide, units * std::size_t{2});
    EXPECT_EQ(
        asked_for([&] { EXPECT_EQ(plugin_.call<double>("JaroWinklerDistanceKZV", s, ascii("x")), 1.0); }),
        request);
  }
  Plugin copying(KZV_FAULTY, version(2013.03, {"PluginGetStringData"}));
  const String all = lent(kASCII, 2147483647);
  EXPECT_EQ(asked_for([&] { EXPECT_EQ(copying.call("EncodingToURLKZV", all), kNil); }), 2147483651U);

  // Bytes that are not ASCII are rebuilt as text up to 3 bytes below the limit.
  for (const std::size_t bytes : {2147483643U, 2147483644U}) {
    plugin_.host.settings.misbehaviour = {"REALBuildString", Misbehaviour::Kind::kRefuse};
    EXPECT_EQ(plugin_.call("DecodingFromHexKZV", lent(raw("\x8E"), bytes)), kNil);
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

TEST_F(Limits, OfWhatIsThereDecideWhatIsAskedFor) {
  Plugin probe(KZV_PROBE);
  memory.last_request = 0;
  EXPECT_EQ(probe.call("AddName", 0, address_of("amp"), 3.0), ascii("&amp;"));
  EXPECT_EQ(memory.last_request, 4106U);
  EXPECT_EQ(probe.call("AddUnits", 8, 1), utf8("x"));
  EXPECT_EQ(memory.last_request, 4107U);
  EXPECT_EQ(probe.call("AddUnits", 8, 3000), utf8(repeated("x", 3000)));
  EXPECT_EQ(memory.last_request, 2 * 4107U);
  const std::string bytes = repeated("y", 5000);
  EXPECT_EQ(plugin_.call("RemoveHTMLTagsWithKZV", utf8("<x>"), utf8(bytes)), utf8(bytes));
  EXPECT_EQ(memory.last_request, 14100U);
  EXPECT_EQ(asked_for([&] { plugin_.call("DecodingFromQuotedPrintableKZV", utf8(bytes)); }), 5000U);
  memory.refused_from = 5000;  // enough for the "b" alone
  EXPECT_EQ(plugin_.call("RemoveHTMLTagsWithKZV", utf8("<x>b"), utf8(bytes)), kNil);
  memory = {};
  EXPECT_EQ(only_message(), kNoText);
}

#if !defined(KZV_SANITIZED)  // a sanitizer looks at no byte of such a mapping, but takes its time
TEST_F(Limits, OfResultsAreTheHosts) {
  const double zeros = address_of(sparse(kBytes.bytes, 1));
  Plugin probe(KZV_PROBE);
  for (const REALencoding encoding : {kEncodingBytes, kEncodingUTF8, kEncodingUTF16}) {
    probe.host.settings.misbehaviour = {"REALBuildString", Misbehaviour::Kind::kRefuse};
    EXPECT_EQ(probe.call("Build", zeros, 2147483647.0, static_cast<std::int32_t>(encoding)), kNil);
    EXPECT_EQ(probe.host.settings.misbehaviour->calls_left, 0);
  }
  // A builder asks for memory of up to 2,147,483,632 bytes.
  const auto added = [&](double size) {
    return asked_for([&] { EXPECT_EQ(probe.call("AddName", 0, zeros, size), kNil); });
  };
  EXPECT_EQ(added(1073739766), 2147483632U);
  EXPECT_EQ(added(1073739767), 0U);
}

// Output whose bound is too large is measured first. Text that fits is refused only where there is no memory
// for it, which raises an exception; text that does not fit is nil.
TEST_F(Limits, OfMeasuredOutputAreExact) {
  const std::string tabs = "\taaaaaaaaaaaaaaa";
  expect_limit(sample("EncodeEmailSubjectKZV", kNil, raw(tabs)), 2147483635, 2147483647, tabs, kNoText);
  expect_limit(sample("EncodingToQuotedPrintableKZV", kNil, utf8(tabs), 2147483647), 2147483645, 2147483645,
               tabs, kNoText);
}
#endif

}  // namespace
}  // namespace kzv::host
