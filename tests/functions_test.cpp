// All registered functions, through hosts of every generation and hosts that let them down.
#include <algorithm>
#include <array>
#include <clocale>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <unistd.h>

#include "support/guarded.h"
#include "support/memory.h"
#include "support/samples.h"
#include "support/shell.h"

namespace kzv::host {
namespace {

using std::string_literals::operator""s;
using std::string_view_literals::operator""sv;

constexpr REALencoding kUnknownEncoding = 0x1234;

// On each side of every threshold.
const std::optional<double> kVersions[] = {std::nullopt, 2011.5, 2012.0, 2012.5, 2013.0, 2013.01, 2013.03};

TEST(Functions, AreRegisteredInTheOrderOfTheSamples) {
  const Plugin plugin(KZV_PLUGIN);
  std::vector<std::string> registered;
  for (const Method &method : plugin.host.methods()) {
    registered.push_back(method.declaration);
    EXPECT_EQ(method.flags, 4U);
  }
  std::vector<std::string> called;
  for (const Sample &sample : samples()) {
    if (called.empty() || called.back() != sample.declaration) called.push_back(sample.declaration);
  }
  EXPECT_EQ(registered, called);
  EXPECT_EQ(registered.size(), 47U);
}

TEST(Functions, GiveTheSameOnEveryHost) {
  for (const auto &host_version : kVersions) {
    for (const bool copying : {false, true}) {
      Plugin plugin(KZV_PLUGIN, version(host_version));
      if (copying) plugin.host.settings.withheld = {"PluginGetStringData"};
      for (const Sample &sample : samples()) {
        EXPECT_EQ(sample.call(plugin), sample.expected) << sample.declaration;
        EXPECT_TRUE(plugin.host.take_raised().empty()) << sample.declaration;
        ASSERT_EQ(plugin.host.ledger.report(), "") << sample.declaration;
      }
    }
  }
}

constexpr char kToHTML[] = "EncodingToHTMLKZV(s as string, options as integer = 0) as string";
constexpr char kFromHTML[] = "DecodingFromHTMLKZV(s as string) as string";
constexpr char kRemoveTags[] = "RemoveHTMLTagsKZV(AsciiTextWithTags as string) as string";
constexpr char kSubject[] = "EncodeEmailSubjectKZV(s as string) as string";
constexpr char kToISO[] = "EncodingToISO8859KZV(s as string) as string";
constexpr char kToCP1252[] = "EncodingToCP1252KZV(s as string) as string";
constexpr char kFromHex[] = "DecodingFromHexKZV(s as string) as string";
constexpr char kSQL[] = "SQLReplaceBooleanKZV(SQL as string) as string";

// Calls a function of one string; a number that it gives is shown as text.
Text call(Plugin &plugin, std::string_view declaration, const String &s) {
  if (declaration == kToHTML) return plugin.call(declaration, s, 0);
  if (declaration.ends_with(" as integer") || declaration.ends_with(" as boolean")) {
    auto *const function = plugin.function<std::int32_t(REALstringStruct *)>(declaration);
    return ascii(std::to_string(plugin.host.call(function, s.get())));
  }
  return plugin.call(declaration, s);
}

TEST(Text, IsTheSameInEveryEncoding) {
  const REALencoding encodings[] = {kEncodingUTF8,      kEncodingUTF16,       kEncodingUTF32,
                                    kEncodingISO8859_1, kEncodingWindows1252, kEncodingMacRoman,
                                    kEncodingBytes};
  const struct {
    const char *declaration;
    std::string text;
    Text result;
  } rows[] = {
      {kToHTML, "Tom & <é>", ascii("Tom &amp; &lt;&eacute;&gt;")},
      {kFromHTML, "&lt;é&gt;&#x41", utf8("<é>A")},
      {kRemoveTags, "<p>é</p>", utf8("é")},
      {kSubject, "é?",
       ascii("=?utf-8?Q?=C3=A9?"
             "?=")},
      {kToISO, "Tom é", raw("Tom \xE9")},
      {kToCP1252, "Tom é", raw("Tom \xE9")},
      {kFromHex, "41é142",
       ascii("A\x01"
             "B")},  // the é is one character that is no digit
      {kSQL, "(é,true)", utf8("(?,1)")},
  };
  for (const auto &host_version : kVersions) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    for (const auto &row : rows) {
      for (const REALencoding encoding : encodings) {
        // Bytes without an encoding are taken for Mac OS Roman.
        const REALencoding stored = encoding == kEncodingBytes ? kEncodingMacRoman : encoding;
        const String s = new_string(*convert(row.text, kEncodingUTF8, stored), encoding);
        EXPECT_EQ(call(plugin, row.declaration, s), row.result) << row.declaration << std::hex << encoding;
      }
      EXPECT_EQ(call(plugin, row.declaration, new_string("41", kUnknownEncoding)), kNil) << row.declaration;
      EXPECT_EQ(call(plugin, row.declaration, nullptr), kNil) << row.declaration;
    }
    EXPECT_EQ(plugin.host.ledger.report(), "");
  }
}

TEST(Text, IsConvertedOrDeliveredAsTheVersionSays) {
  const struct {
    double version;
    const char *declaration;
    bool delivered;
  } rows[] = {{2011.5, kRemoveTags, false}, {2012.0, kRemoveTags, true}, {2012.5, kToISO, false},
              {2013.0, kToISO, true},       {2011.5, kFromHex, false},   {2012.0, kFromHex, true}};
  for (const auto &row : rows) {
    Plugin plugin(KZV_PLUGIN, version(row.version));
    plugin.call(row.declaration, new_string("41", kEncodingISO8859_1));
    EXPECT_EQ(plugin.host.times_asked_for("PluginGetStringData"), row.delivered ? 1 : 0) << row.version;
    EXPECT_EQ(plugin.host.times_asked_for("REALConvertString"), row.delivered ? 0 : 1) << row.version;
  }
}

TEST(Text, LosesAByteOrderMarkAtItsStartOnly) {
  for (const auto &host_version : kVersions) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    const auto to_html = [&](const char16_t *units, std::size_t count) {
      const std::string_view bytes(reinterpret_cast<const char *>(units), count * 2);
      return plugin.call(kToHTML, new_string(bytes, kEncodingUTF16), 0);
    };
    EXPECT_EQ(to_html(u"\uFEFFa\uFEFF", 3), ascii("a&#65279;"));
    EXPECT_EQ(to_html(u"\uFEFF\uFFFEa", 3), ascii("a"));
    EXPECT_EQ(to_html(u"\uFFFE\uFEFFa", 3), ascii("a"));  // the view drops one, the encoder the other
    EXPECT_EQ(to_html(u"\uFEFF", 1), kNil);
    EXPECT_EQ(plugin.call(kToISO, new_string("\xFF\xFE\xFE\xFF"
                                             "a\0b"s,
                                             kEncodingUTF16)),
              ascii("a"));
  }
}

TEST(Text, ThatNeedsNoEncodingComesBackAsTheSameObject) {
  for (const auto &host_version : kVersions) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    auto *const subject = plugin.function<REALstringStruct *(REALstringStruct *)>(kSubject);
    for (const Text &text : {utf16("Hello ~\x7F"), utf8(""), raw("plain"), utf8("a\0\x01"s)}) {
      const String s = owned(text);
      EXPECT_EQ(plugin.host.call(subject, s.get()).get(), s.get());
    }
    EXPECT_EQ(plugin.call(kSubject, new_string("a\t\0\xC3"s, kEncodingUTF8)), ascii("=?utf-8?Q?a\t?="));
    EXPECT_EQ(plugin.host.ledger.report(), "");
  }
}

// Areas at whose ends, to the byte, memory begins that cannot be touched.
class Placement {
 public:
  // A string whose bytes end where its area does, with `margin` behind them, or begin where it begins, or a
  // byte behind that, which is an odd address.
  enum class At : std::uint8_t { kStart, kBehindStart, kEnd };

  String operator()(const Text &text, std::size_t index, At at, std::string_view margin) {
    const std::string bytes = text.bytes + std::string(margin);
    const std::size_t from = at == At::kEnd ? kArea - bytes.size() : at == At::kStart ? 0 : 1;
    std::uint8_t *const start = areas_.at(index).data() + from;
    std::ranges::copy(bytes, start);
    return String(make_string_of_lent({reinterpret_cast<char *>(start), text.bytes.size()}, text.encoding));
  }

 private:
  static constexpr std::size_t kArea = 4096;
  std::array<Guarded, 7> areas_{Guarded(kArea), Guarded(kArea), Guarded(kArea), Guarded(kArea),
                                Guarded(kArea), Guarded(kArea), Guarded(kArea)};
};

// Functions that read text, which has a readable unit behind it. What stands there must not matter.
bool reads_text(std::string_view declaration) {
  constexpr std::string_view kNames[] = {"ToHTML",   "FromHTML",   "HTMLTags",      "Subject",
                                         "ToISO",    "ToCP1252",   "FromHex",       "SQL",
                                         "Distance", "Characters", "UnicodeString", "NativeString"};
  return std::ranges::any_of(
      kNames, [=](std::string_view name) { return declaration.find(name) != std::string_view::npos; });
}

// Of every length up to three of the widest vectors and one more, so that starts and ends stand anywhere.
// What stands behind a text is sometimes the zero that a view needs, and sometimes not.
TEST(Arguments, AreReadWithinTheirBounds) {
  using enum Placement::At;
  Placement placement;
  for (const double host_version : {2011.5, 2013.03}) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    for (const Sample &sample : samples()) {
      const bool text_alone = reads_text(sample.declaration);
      for (std::size_t window = 0; window <= 3 * 64 + 1; ++window) {
        const Answer expected = sample.call(plugin, {.window = window});
        for (const Placement::At at : {kStart, kBehindStart, kEnd}) {
          for (const std::string_view margin : {"&&"sv, "\0\0"sv}) {
            const Place place = [&](const Text &text, std::size_t index) {
              const std::size_t unit = text.encoding == kEncodingUTF16 ? 2 : 1;
              return placement(text, index, at, margin.substr(0, text_alone ? unit : 0));
            };
            ASSERT_EQ(sample.call(plugin, {.window = window, .place = place}), expected)
                << sample.declaration << " at " << window;
            if (!text_alone) break;
          }
        }
      }
    }
    EXPECT_EQ(plugin.host.ledger.report(), "");
  }
}

// An older host's string object shows its text only while it is locked.
class Veil {
 public:
  static String hide(const Text &text) {
    String s = owned(text);
    hidden()[s.get()] = {s->head, 0};
    cover(s.get());
    return s;
  }

  static void *resolve(const char *name) {
    void *const service = Services::resolve(name);
    if (std::string_view(name) == "REALLockString") {
      lock = reinterpret_cast<Service>(service);
      return reinterpret_cast<void *>(&lock_and_show);
    }
    if (std::string_view(name) == "REALUnlockString") {
      unlock = reinterpret_cast<Service>(service);
      return reinterpret_cast<void *>(&hide_and_unlock);
    }
    return service;
  }

  static void forget() { hidden().clear(); }

 private:
  using Service = void (*)(REALstringStruct *);
  struct Hidden {
    StringHead head;
    int locks;
  };

  static std::map<REALstringStruct *, Hidden> &hidden() {
    static std::map<REALstringStruct *, Hidden> strings;
    return strings;
  }
  static void cover(REALstringStruct *s) {
    s->head.buffer = nullptr;
    s->head.length = -1;
  }
  static void lock_and_show(REALstringStruct *s) {
    lock(s);
    const auto found = hidden().find(s);
    if (found == hidden().end()) return;
    ++found->second.locks;
    s->head = found->second.head;
  }
  static void hide_and_unlock(REALstringStruct *s) {
    const auto found = hidden().find(s);
    if (found != hidden().end() && --found->second.locks == 0) cover(s);
    unlock(s);
  }

  inline static Service lock = nullptr;
  inline static Service unlock = nullptr;
};

TEST(Arguments, OfOlderHostsAreReadWhileTheyAreLockedAlone) {
  Plugin plugin(KZV_PLUGIN, version(2011.5), Veil::resolve);
  for (const Sample &sample : samples()) {
    // What goes to the host as it is, the host looks at itself.
    if (sample.declaration.starts_with("UnicodeString") || sample.declaration.starts_with("NativeString"))
      continue;
    const Place hide = [](const Text &text, std::size_t) { return Veil::hide(text); };
    EXPECT_EQ(sample.call(plugin, {.place = hide}), sample.expected) << sample.declaration;
    Veil::forget();
  }
  EXPECT_EQ(plugin.host.ledger.report(), "");
}

TEST(RandomBytes, AreDrawnFromTheRuntimeLibraryInOrder) {
  constexpr char kRandom[] = "RandomBytesStringKZV(Length as integer, ASCII as boolean=false) as string";
  Plugin plugin(KZV_PLUGIN);
  auto *const random = plugin.function<REALstringStruct *(std::int32_t, REALboolean)>(kRandom);
  for (const bool printable : {false, true}) {
    std::string expected;
    std::srand(7);
    for (int i = 0; i < 1000; ++i) {
      const int drawn = std::rand();
      expected += static_cast<char>(printable ? 32 + drawn % 96 : drawn & 0xFF);
    }
    std::srand(7);
    const String result = plugin.host.call(random, 1000, ToREALboolean(printable));
    EXPECT_EQ(text_of(result), (printable ? ascii(expected) : raw(expected)));
  }
}

TEST(Numbers, HaveAPointUnderALocaleThatWritesAComma) {
  const std::string folder = testing::TempDir() + "kzv-locale-" + std::to_string(getpid());
  ASSERT_EQ(shell("mkdir " + folder + " && localedef -i de_DE -f UTF-8 " + folder + "/de_DE.UTF-8").exit_code,
            0);
  setenv("LOCPATH", folder.c_str(), 1);
  ASSERT_STREQ(setlocale(LC_ALL, "de_DE.UTF-8"), "de_DE.UTF-8");
  Plugin plugin(KZV_PLUGIN);
  const auto of = [&]<typename... Digits>(const char *declaration, Digits... digits) {
    return text_of(plugin.host.call(plugin.function<REALstringStruct *(double, Digits...)>(declaration), 1.5,
                                    digits...));
  };
  EXPECT_EQ(of("StrKZV(d as double) as string"), ascii("1.5"));
  EXPECT_EQ(of("ScientificStrKZV(d as double, digits as integer) as string", 3), ascii("1.500e+00"));
  EXPECT_STREQ(setlocale(LC_ALL, nullptr), "de_DE.UTF-8");
  EXPECT_STREQ(localeconv()->decimal_point, ",");
  setlocale(LC_ALL, "C");
  unsetenv("LOCPATH");
  std::filesystem::remove_all(folder);
}

TEST(Distances, RefuseTextsWhoseMatrixWouldBeTooLarge) {
  constexpr char kLevenshtein[] = "LevenshteinDistanceKZV(a as string, b as string) as double";
  Plugin plugin(KZV_PLUGIN);
  auto *const distance = plugin.function<double(REALstringStruct *, REALstringStruct *)>(kLevenshtein);
  const auto of_length = [&](std::size_t a, std::size_t b) {
    const String first = new_string(std::string(a, 'x'), kEncodingASCII);
    const String second = new_string(std::string(b, 'y'), kEncodingASCII);
    return plugin.host.call(distance, first.get(), second.get());
  };
  EXPECT_EQ(of_length(23169, 23169), 1.0);
  EXPECT_EQ(of_length(256998, 2088), 1.0 / (2088.0 / 256998.0));  // 2,147,483,644 bytes
  EXPECT_TRUE(plugin.host.take_raised().empty());
  EXPECT_EQ(of_length(16383, 32767), 1.0);
  const auto raised = plugin.host.take_raised();
  ASSERT_EQ(raised.size(), 1U);
  EXPECT_EQ(raised[0].class_name, "OutOfMemoryException");
  EXPECT_EQ(raised[0].message, "Failed to allocate 2147483648 bytes of memory.");
  EXPECT_EQ(of_length(200000, 200000), 1.0);
  EXPECT_EQ(plugin.host.take_raised().at(0).message, "Failed to allocate 160001600004 bytes of memory.");
}

TEST(Builders, GrowByTheirRules) {
  constexpr char kAddName[] = "AddName(capacity as integer, name as string) as string";
  constexpr char kAddUnit[] = "AddUnit(capacity as integer, unit as integer) as string";
  Plugin probe(KZV_PROBE);
  auto *const add_name = probe.function<REALstringStruct *(std::int32_t, REALstringStruct *)>(kAddName);
  auto *const add_unit = probe.function<REALstringStruct *(std::int32_t, std::int32_t)>(kAddUnit);
  EXPECT_EQ(text_of(probe.host.call(add_name, 0, new_string("amp", kEncodingASCII).get())), ascii("&amp;"));
  EXPECT_EQ(memory().last_request, 4106U);
  EXPECT_EQ(text_of(probe.host.call(add_unit, 8, 'x')), utf8("x"));
  EXPECT_EQ(memory().last_request, 4107U);
  EXPECT_TRUE(memory().blocks.empty());

  // Texts that do not fit into the first block, with every kind of unit where it has to grow.
  Plugin plugin(KZV_FAULTY);
  const auto encoded = [&](std::string_view units, std::int32_t options) {
    return plugin.call(kToHTML, owned(utf16(repeated(units, 3000))), options);
  };
  EXPECT_EQ(encoded("'", 0), ascii(repeated("&#39;", 3000)));
  EXPECT_EQ(encoded("\u03D1&", 1), ascii(repeated("&thetasym;&", 3000)));
  EXPECT_EQ(encoded("\u0101&", 0), ascii(repeated("&#257;&amp;", 3000)));
}

}  // namespace
}  // namespace kzv::host
