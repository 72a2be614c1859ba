// Arguments and results at the limits of 2^31-1 bytes. What a function would need is seen from what it asks
// the allocator for, which grants nothing of that size: so no gigabytes are written.
#include <gtest/gtest.h>

#include "support/memory.h"
#include "support/samples.h"
#include "support/sparse.h"

namespace kzv::host {
namespace {

constexpr char kToQuotedPrintable[] =
    "EncodingToQuotedPrintableKZV(s as string, LineLen as integer = 72) as string";
constexpr char kSubject[] = "EncodeEmailSubjectKZV(s as string) as string";
constexpr char kDump[] =
    "HexstringKZV(input as string, hexlen as integer, linelen as integer, linestart as string, lineend as "
    "string, spacer as string,filler as string) as string";
constexpr char kNoText[] = "Failed to allocate memory for a string.";

// The first `byte_count` bytes of `bytes` as an argument: more than 2^31-1 become a length below zero.
String lent(const Sparse &bytes, std::size_t byte_count, REALencoding encoding) {
  return String(make_string_of_lent(bytes.first(byte_count), encoding));
}

class Limits : public testing::Test {
 protected:
  // What `call` asked the allocator for that was too much, or 0.
  template <typename Call>
  static std::size_t asked_for(Call call) {
    memory().refused_from = 4096;
    memory().last_refused = 0;
    call();
    const std::size_t request = memory().last_refused;
    memory() = {};
    return request;
  }

  std::string only_message() {
    const auto raised = plugin_.host.take_raised();
    EXPECT_LE(raised.size(), 1U);
    return raised.empty() ? "" : raised.front().message;
  }

  Plugin plugin_{KZV_FAULTY};
};

TEST_F(Limits, OfOneArgumentDecideWhetherMemoryIsAskedFor) {
  const struct {
    const char *declaration;
    REALencoding encoding;
    std::string_view pattern;
    std::size_t unit;
    std::size_t most;     // units that fit; one more does not
    std::size_t request;  // bytes asked for then
  } rows[] = {
      {"EncodingToURLKZV(s as string) as string", kEncodingBytes, "", 1, 715827879, 2147483647},
      {"DecodingFromURLKZV(s as string) as string", kEncodingBytes, "", 1, 2147483647, 2147483647},
      {"EncodingToHexKZV(s as string) as string", kEncodingBytes, "", 1, 1073741823, 2147483646},
      {"DecodingFromHexKZV(s as string) as string", kEncodingASCII, "", 1, 2147483647, 1073741823},
      {"DecodingFromHTMLKZV(s as string) as string", kEncodingUTF16, "", 2, 1073739775, 2147483646},
      {"EncodingToISO8859KZV(s as string) as string", kEncodingUTF16, "", 2, 1073741823, 1073741823},
      {"DecodingFromISO8859KZV(s as string) as string", kEncodingUTF8, "", 1, 1073741823, 2147483646},
      {"DecodingFromCP1252KZV(s as string) as string", kEncodingUTF8, "", 1, 1073741823, 2147483646},
      {"RemoveHTMLTagsKZV(AsciiTextWithTags as string) as string", kEncodingUTF8, "", 1, 2147483637,
       2147483647},
      {"SQLReplaceBooleanKZV(SQL as string) as string", kEncodingASCII, "", 1, 2147483637, 2147483647},
      {"DecodingFromMySQLKZV(s as string) as string", kEncodingUTF8, "", 1, 2147483647, 2147483647},
      {"_yDecodeStringKZV(data as string) as string", kEncodingUTF8, "", 1, 2147483647, 2147483647},
      // Text with something behind it has to be copied, with a terminator.
      {"RemoveHTMLTagsKZV(AsciiTextWithTags as string) as string", kEncodingUTF8, "a", 1, 2147483643,
       2147483647},
      {"EncodingToCP1252KZV(s as string) as string", kEncodingUTF16, "a", 2, 1073741821, 2147483646},
  };
  for (const auto &row : rows) {
    const Sparse bytes(row.pattern);
    const auto call = [&](std::size_t units) {
      const String s = lent(bytes, units * row.unit, row.encoding);
      return asked_for([&] { EXPECT_EQ(plugin_.call(row.declaration, s), kNil); });
    };
    EXPECT_EQ(call(row.most), row.request) << row.declaration;
    EXPECT_EQ(call(row.most + 1), 0U) << row.declaration;
    EXPECT_EQ(only_message(), "") << row.declaration;
    EXPECT_EQ(plugin_.host.ledger.report(), "") << row.declaration;
  }
}

TEST_F(Limits, OfSeveralArgumentsDecideWhetherMemoryIsAskedFor) {
  const Sparse zeros;
  const String none;
  const auto nil = [](const String &result) { EXPECT_EQ(text_of(result), kNil); };
  const auto html = [&](std::size_t units) {
    const String s = lent(zeros, units * 2, kEncodingUTF16);
    constexpr char kDeclaration[] = "EncodingToHTMLKZV(s as string, options as integer = 0) as string";
    EXPECT_EQ(plugin_.call(kDeclaration, s, 0), kNil);
  };
  const auto replaced = [&](std::size_t bytes) {
    constexpr char kDeclaration[] =
        "ReplaceNonPrintableCharactersKZV(s as string, replacevalue as integer=46) as string";
    EXPECT_EQ(plugin_.call(kDeclaration, lent(zeros, bytes, kEncodingBytes), 46), kNil);
  };
  const auto combined = [&](std::size_t bytes) {
    auto *const function = plugin_.function<REALstringStruct *(REALstringStruct *, REALstringStruct *)>(
        "StringORKZV(a as string,b as string) as string");
    const String data = lent(zeros, bytes, kEncodingBytes);
    nil(plugin_.host.call(function, data.get(), data.get()));
  };
  const auto joined = [&](std::size_t bytes) {
    using S = REALstringStruct *;
    auto *const function = plugin_.function<S(S, S, S, S, S, S)>(
        "ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string, e as string, f as "
        "string) "
        "as string");
    const String sixth = lent(zeros, bytes / 6, kEncodingBytes);
    const String rest = lent(zeros, bytes - bytes / 6 * 5, kEncodingBytes);
    S s = sixth.get();
    nil(plugin_.host.call(function, s, s, s, s, s, rest.get()));
  };
  const auto random = [&](std::size_t bytes) {
    auto *const function = plugin_.function<REALstringStruct *(std::int32_t, REALboolean)>(
        "RandomBytesStringKZV(Length as integer, ASCII as boolean=false) as string");
    nil(plugin_.host.call(function, static_cast<std::int32_t>(bytes), ToREALboolean(true)));
  };
  const auto dumped = [&](std::size_t bytes, std::int32_t hexlen, std::int32_t linelen, const String &lineend,
                          const String &filler) {
    using S = REALstringStruct *;
    auto *const function = plugin_.function<S(S, std::int32_t, std::int32_t, S, S, S, S)>(kDump);
    const String input = lent(zeros, bytes, kEncodingBytes);
    nil(plugin_.host.call(function, input.get(), hexlen, linelen, S{}, lineend.get(), S{}, filler.get()));
  };
  const String line_feed = new_string("\n", kEncodingASCII);
  const String long_filler = new_string(std::string(2147, '.'), kEncodingASCII);

  const struct {
    const char *what;
    std::function<void(std::size_t)> call;
    std::size_t most;
    std::size_t request;
  } rows[] = {
      {"HTML", html, 1073739775, 2147483646},
      {"replacing", replaced, 2147483647, 2147483647},
      {"OR", combined, 2147483642, 2147483647},
      {"six arguments", joined, 2147483637, 2147483647},
      {"random bytes", random, 2147483647, 2147483647},
      {"lines of a dump", [&](std::size_t n) { dumped(n, 2, 1, line_feed, none); }, 715827882, 2147483646},
      {"the last line's filler", [&](std::size_t n) { dumped(n, 1000, 1000, none, long_filler); }, 241823,
       1000000},
      {"one long line", [&](std::size_t n) { dumped(n, 429496729, 5, none, none); }, 1, 2147483645},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(asked_for([&] { row.call(row.most); }), row.request) << row.what;
    EXPECT_EQ(asked_for([&] { row.call(row.most + 1); }), 0U) << row.what;
    EXPECT_EQ(only_message(), "") << row.what;
  }
  // Beyond 32 bits, where what is left of the number would be little.
  const String wrapping = lent(zeros, 1431655763, kEncodingBytes);
  EXPECT_EQ(asked_for([&] { plugin_.call("EncodingToURLKZV(s as string) as string", wrapping); }), 0U);
  EXPECT_EQ(asked_for([&] { joined(std::size_t{2147483647} * (sizeof(void *) == 8 ? 6 : 1)); }), 0U);
#if defined(__LP64__)
  joined((std::size_t{1} << 32) + 100);  // whose last 32 bits would be little
#endif
  EXPECT_EQ(asked_for([&] { dumped(1, 2147483647, 2147483647, none, none); }), 0U);
  EXPECT_EQ(plugin_.host.ledger.report(), "");
}

// What has to be copied for a view, which is empty without: the functions then answer as for empty texts.
TEST_F(Limits, OfViewsLeaveThemEmpty) {
  auto zeros = std::make_unique<Sparse>();
  auto *const distance = plugin_.function<double(REALstringStruct *, REALstringStruct *)>(
      "JaroWinklerDistanceKZV(a as string, b as string) as double");
  const String x = new_string("x", kEncodingASCII);
  const auto wide = [&](std::size_t units) {
    const String s = lent(*zeros, units * 2, kEncodingUTF16);
    return asked_for([&] { EXPECT_EQ(plugin_.host.call(distance, s.get(), x.get()), 1.0); });
  };
  EXPECT_EQ(wide(536870907), 2147483644U);
  EXPECT_EQ(wide(536870908), 0U);
  EXPECT_EQ(wide(1073741821), 0U);

  Plugin copying(KZV_FAULTY, version(2013.03, {"PluginGetStringData"}));
  const String all = lent(*zeros, 2147483647, kEncodingASCII);
  EXPECT_EQ(asked_for([&] { EXPECT_EQ(copying.call("EncodingToURLKZV(s as string) as string", all), kNil); }),
            2147483651U);

  // Bytes that are no ASCII are rebuilt as text up to 3 bytes below the limit.
  zeros.reset();  // 32 bits have no room for both
  const Sparse high("\x8E");
  for (const std::size_t bytes : {2147483643U, 2147483644U}) {
    plugin_.host.settings.misbehaviour = {"REALBuildString", Misbehaviour::Kind::kRefuse};
    const String s = lent(high, bytes, kEncodingBytes);
    EXPECT_EQ(plugin_.call("DecodingFromHexKZV(s as string) as string", s), kNil);
    EXPECT_EQ(plugin_.host.settings.misbehaviour->calls_left, bytes == 2147483643U ? 0 : 1);
  }
  EXPECT_EQ(only_message(), "");
}

#if !defined(KZV_SANITIZED)  // a sanitizer looks at no byte of such a mapping, but takes its time
TEST_F(Limits, OfResultsAreTheHosts) {
  const Sparse zeros;
  Plugin probe(KZV_PROBE);
  for (const REALencoding encoding : {kEncodingBytes, kEncodingUTF8, kEncodingUTF16}) {
    probe.host.settings.misbehaviour = {"REALBuildString", Misbehaviour::Kind::kRefuse};
    EXPECT_EQ(probe.call("Build(s as string, encoding as integer) as string",
                         lent(zeros, 2147483647, kEncodingBytes), static_cast<std::int32_t>(encoding)),
              kNil);
    EXPECT_EQ(probe.host.settings.misbehaviour->calls_left, 0);
  }
  // A builder asks for blocks of up to 2,147,483,632 bytes.
  auto *const add = probe.function<REALstringStruct *(std::int32_t, REALstringStruct *)>(
      "AddName(capacity as integer, name as string) as string");
  const auto added = [&](std::size_t name_size) {
    const String name = lent(zeros, name_size, kEncodingBytes);
    return asked_for([&] { EXPECT_EQ(text_of(probe.host.call(add, 0, name.get())), kNil); });
  };
  EXPECT_EQ(added(1073739766), 2147483632U);
  EXPECT_EQ(added(1073739767), 0U);
}

TEST_F(Limits, AreNoneWhereNothingIsWritten) {
  using Count = std::int32_t(REALstringStruct *, REALstringStruct *);
  auto *const count = plugin_.function<Count>("CountOccurancesKZV(s as string, find as string) as integer");
  auto *const compare = plugin_.function<Count>("StrCompBytesKZV(a as string, b as string) as integer");
  auto *const is_ascii =
      plugin_.function<REALboolean(REALstringStruct *)>("IsASCIIStringKZV(s as string) as boolean");
  auto *const is_ready =
      plugin_.function<REALboolean(REALstringStruct *)>("StringIsHTMLreadyKZV(s as string) as boolean");
  const Sparse lines("a line of 64 bytes that is looked for from one end to the other ");
  const String text = lent(lines, 2147483647, kEncodingUTF8);
  const String shorter = lent(lines, 2147483646, kEncodingUTF8);
  const String line = lent(lines, 64, kEncodingUTF8);
  const String letter = new_string("a", kEncodingUTF8);
  EXPECT_EQ(plugin_.host.call(count, text.get(), line.get()), 33554431);
  EXPECT_EQ(plugin_.host.call(count, text.get(), letter.get()), 67108864);
  EXPECT_EQ(plugin_.host.call(compare, text.get(), text.get()), 0);
  EXPECT_EQ(plugin_.host.call(compare, text.get(), shorter.get()), 1);
  EXPECT_TRUE(IsTrue(plugin_.host.call(is_ascii, text.get())));
  EXPECT_TRUE(IsTrue(plugin_.host.call(is_ready, text.get())));
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
    const String s = lent(tabs, row.bytes, kEncodingBytes);
    EXPECT_EQ(asked_for([&] { plugin_.call(kSubject, s); }), row.request) << row.bytes;
    EXPECT_EQ(only_message(), row.message) << row.bytes;
  }
  for (const auto &row : texts) {
    const String s = lent(tabs, row.bytes, kEncodingUTF8);
    EXPECT_EQ(asked_for([&] { plugin_.call(kToQuotedPrintable, s, 2147483647); }), row.request) << row.bytes;
    EXPECT_EQ(only_message(), row.message) << row.bytes;
  }
}
#endif

}  // namespace
}  // namespace kzv::host
