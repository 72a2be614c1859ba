// All functions, on hosts of every generation, with texts in every encoding and at the edges of memory.
#include <algorithm>
#include <gtest/gtest.h>
#include <list>

#include "support/guarded.h"
#include "support/samples.h"

namespace kzv::host {
namespace {

// On each side of every threshold.
const std::optional<double> kVersions[] = {std::nullopt, 2011.5, 2012.0, 2012.5, 2013.0, 2013.01, 2013.03};

TEST(Functions, AreRegisteredInTheOrderOfTheSamples) {
  const Plugin plugin(KZV_PLUGIN);
  auto next = samples().begin();
  for (const auto &[declaration, function, flags] : plugin.host.methods()) {
    const auto first = next;
    const auto parameters = std::ranges::count(declaration, ',') + 1;
    while (next != samples().end() && declaration.starts_with(next->name + '(') &&
           next->parameters == parameters)
      ++next;
    EXPECT_NE(next, first) << "no sample of " << declaration;
    EXPECT_EQ(flags, 4U);
  }
  EXPECT_EQ(next, samples().end());
}

// On the stack and beyond it: results that fill their memory to the last byte.
TEST(Functions, GiveResultsOfEverySize) {
  Plugin plugin(KZV_PLUGIN);
  for (const Sample &sample : samples()) {
    for (std::size_t times = 1; sample.repeats && times <= 260; ++times) {
      ASSERT_EQ(sample.call(plugin, times), repeated(sample.expected, times)) << sample.name << times;
    }
  }
}

TEST(Functions, ReadTextInEveryEncodingAndBytesUnderEveryLabel) {
  int encoded = 0;
  for (const auto &host_version : kVersions) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    for (const Sample &sample : samples()) {
      EXPECT_EQ(sample.call(plugin), sample.expected) << sample.name;
      const bool returns_argument = sample.expected == Value(raw("plain"));
      const bool compares_labels = sample.name == "StringIsHTMLreadyKZV" ||
                                   (sample.name == "StrCompCharactersKZV" && sample.expected != Value(0));
      const bool is_conversion = sample.name.find("eStringKZV") != std::string::npos;
      if (returns_argument || compares_labels) continue;
      for (const Encoding &encoding : encodings()) {
        // The host converts no string that has no encoding.
        if (is_conversion && encoding.number == kEncodingBytes) continue;
        const Place place = [&](const Text &text) {
          if (!reads_text(sample)) return new_string(text.bytes, encoding.number);
          // Bytes without an encoding that are not ASCII are taken for Mac OS Roman.
          const auto from = text.encoding == kEncodingBytes ? kEncodingMacRoman : text.encoding;
          const auto to = encoding.number == kEncodingBytes ? kEncodingMacRoman : encoding.number;
          const std::string bytes = *convert(text.bytes, from, to);
          if (convert(bytes, to, from) != text.bytes) return owned(text);
          ++encoded;
          return new_string(bytes, encoding.number);
        };
        EXPECT_EQ(sample.call(plugin, place), sample.expected) << sample.name << " " << encoding.name;
      }
      if (!reads_text(sample) || !std::holds_alternative<Text>(sample.expected)) continue;
      const Place unknown = [](const Text &text) { return new_string(text.bytes, 0x1234); };
      EXPECT_EQ(sample.call(plugin, unknown), Value(kNil)) << sample.name;
    }
  }
  EXPECT_GT(encoded, 1000);
}

TEST(Text, ThatNeedsNoEncodingComesBackAsTheSameObject) {
  Plugin plugin(KZV_PLUGIN);
  for (const Text &text : {utf16("Hello ~\x7F"), utf8(""), raw("plain"), utf8("a\0\1"s)}) {
    const String s = owned(text);
    EXPECT_EQ(plugin.call<String>("EncodeEmailSubjectKZV", s).get(), s.get());
  }
}

// So many bytes as if the text began again and again, from another place in it each time.
std::string window(const Text &text, std::size_t size) {
  std::string bytes(text.bytes.empty() ? 0 : size, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = text.bytes[(size + i) % text.bytes.size()];
  return bytes;
}

// Texts of up to a block and some more end where memory cannot be touched: every other one is at an odd
// address. One unit after a text can be read, of which nothing is promised; after bytes none.
TEST(Arguments, AreReadWithinTheirBounds) {
  for (const double host_version : {2011.5, 2013.03}) {
    Plugin plugin(KZV_PLUGIN, version(host_version));
    for (const Sample &sample : samples()) {
      for (std::size_t size = 0; size <= 70; ++size) {
        const Place anywhere = [&](const Text &text) {
          return new_string(window(text, size), text.encoding);
        };
        const Value expected = sample.call(plugin, anywhere);
        for (const std::string &margin : {"&&"s, "\0\0"s}) {
          std::list<Guarded> areas;
          const Place at_end = [&](const Text &text) {
            const std::string bytes = window(text, size);
            const std::size_t unit = text.encoding == kEncodingUTF16 ? 2 : 1;
            Guarded &area = areas.emplace_back(bytes + margin.substr(0, reads_text(sample) ? unit : 0));
            const std::string_view lent(reinterpret_cast<char *>(area.data()), bytes.size());
            return String(make_string_of_lent(lent, text.encoding));
          };
          ASSERT_EQ(sample.call(plugin, at_end), expected) << sample.name << " of " << size;
        }
      }
    }
  }
}

// Any bit of the low byte makes a boolean true, those above none.
TEST(Booleans, AreReadFromTheirLowByte) {
  Plugin plugin(KZV_PLUGIN);
  for (unsigned bit = 1; bit != 0; bit *= 2) {
    const Text result = plugin.call("RandomBytesStringKZV", 100, static_cast<REALboolean>(bit));
    EXPECT_EQ(result.encoding, bit < 0x100 ? kEncodingASCII : kEncodingBytes) << bit;
  }
}

// U+0061 and U+0161: as UTF-16 only the very last byte differs.
TEST(Distances, SeeADifferenceInTheLastByte) {
  EXPECT_GT(Plugin(KZV_PLUGIN).call<double>("JaroWinklerDistanceKZV", utf8("Mila"), utf8("Milš")), 0.0);
}

}  // namespace
}  // namespace kzv::host
