#include "encodings.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cctype>
#include <cerrno>
#include <iconv.h>
#include <map>
#include <stdexcept>
#include <strings.h>
#include <utility>

namespace kzv::host {
namespace {

constexpr bool kLittleEndian = std::endian::native == std::endian::little;
constexpr const char *kUTF16 = kLittleEndian ? "UTF-16LE" : "UTF-16BE";
constexpr const char *kUTF32 = kLittleEndian ? "UTF-32LE" : "UTF-32BE";

constexpr std::array<Encoding, 8> kEncodings = {{
    {kEncodingUTF8, "UTF-8", "UTF-8", 1},
    {kEncodingUTF16, "UTF-16", kUTF16, 2},
    {kEncodingUTF32, "UTF-32", kUTF32, 4},
    {kEncodingASCII, "ASCII", "US-ASCII", 1},
    {kEncodingISO8859_1, "ISO-8859-1", "ISO-8859-1", 1},
    {kEncodingWindows1252, "Windows-1252", "WINDOWS-1252", 1},
    {kEncodingMacRoman, "MacRoman", "MACINTOSH", 1},
    {kEncodingBytes, "bytes", nullptr, 1},
}};

// One direction of iconv. Opening it costs more than most conversions, so each thread keeps those it opened.
class Converter {
 public:
  Converter(const char *to, const char *from) : handle_(iconv_open(to, from)) {
    if (handle_ ==
        reinterpret_cast<iconv_t>(-1)) {  // NOLINT(performance-no-int-to-ptr): iconv's own sign of failure
      throw std::runtime_error(std::string("iconv cannot convert ") + from + " to " + to);
    }
  }
  Converter(const Converter &) = delete;
  Converter &operator=(const Converter &) = delete;
  ~Converter() { iconv_close(handle_); }

  // Converts `text`. Each `unit` bytes that iconv rejects become `substitute`; without a substitute there is
  // then nothing to return.
  std::optional<std::string> run(std::string_view text, std::size_t unit,
                                 std::optional<std::string_view> substitute) {
    std::string output;
    auto *input = const_cast<char *>(text.data());
    std::size_t left = text.size();
    iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    while (left > 0) {
      const int error = step(input, left, output);
      if (error != EILSEQ && error != EINVAL) continue;
      if (!substitute) return std::nullopt;
      output += *substitute;
      const std::size_t skipped = std::min(unit, left);
      input += skipped;
      left -= skipped;
    }
    return output;
  }

 private:
  // Converts up to one chunk; returns the error at which iconv stopped, or 0.
  int step(char *&input, std::size_t &left, std::string &output) {
    std::array<char, 4096> chunk;
    char *next = chunk.data();
    std::size_t space = chunk.size();
    const bool failed = iconv(handle_, &input, &left, &next, &space) == static_cast<std::size_t>(-1);
    const int error = failed ? errno : 0;
    output.append(chunk.data(), next);
    return error;
  }

  iconv_t handle_;
};

Converter &converter(const char *to, const char *from) {
  thread_local std::map<std::pair<const char *, const char *>, Converter> converters;
  return converters.try_emplace({to, from}, to, from).first->second;
}

// "utf8" and "UTF-8" are one name.
std::string letters_and_digits(std::string_view name) {
  std::string letters;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) != 0) letters += static_cast<char>(std::tolower(byte));
  }
  return letters;
}

constexpr char32_t kReplacementCharacter = 0xFFFD;

// iconv maps two characters of Mac OS Roman as older revisions of that set did.
struct Revised {
  char32_t iconvs;
  char32_t actual;
};
constexpr std::array<Revised, 2> kRevisedMacRoman = {{{0x394, 0x2206}, {0xE01E, 0xF8FF}}};

// iconv drops tag characters in a conversion to an 8-bit set.
constexpr bool is_tag(char32_t character) { return character >= 0xE0000 && character <= 0xE007F; }

// Prepares characters for iconv, so that it writes `target` correctly: a revised character becomes the one
// that iconv knows, and one that the target cannot represent becomes U+FFFD.
void prepare_for(const Encoding &target, std::u32string &characters) {
  for (char32_t &character : characters) {
    if (target.unit == 1 && target.number != kEncodingUTF8 && is_tag(character))
      character = kReplacementCharacter;
    if (target.number != kEncodingMacRoman) continue;
    for (const Revised &revised : kRevisedMacRoman) {
      if (character == revised.actual) {
        character = revised.iconvs;
      } else if (character == revised.iconvs) {
        character = kReplacementCharacter;
      }
    }
  }
}

// Corrects characters that iconv has read from `source`.
void correct_from(const Encoding &source, std::u32string &characters) {
  if (source.number != kEncodingMacRoman) return;
  for (char32_t &character : characters) {
    for (const Revised &revised : kRevisedMacRoman) {
      if (character == revised.iconvs) character = revised.actual;
    }
  }
}

bool is_unicode(const Encoding &encoding) {
  return encoding.number == kEncodingUTF8 || encoding.number == kEncodingUTF16 ||
         encoding.number == kEncodingUTF32;
}

}  // namespace

std::span<const Encoding> encodings() { return kEncodings; }

const Encoding *find_encoding(REALencoding number) {
  for (const Encoding &encoding : kEncodings) {
    if (encoding.number == number) return &encoding;
  }
  return nullptr;
}

const Encoding *find_encoding(std::string_view name) {
  const auto *const found =
      std::ranges::find(kEncodings, letters_and_digits(name),
                        [](const Encoding &encoding) { return letters_and_digits(encoding.name); });
  return found == kEncodings.end() ? nullptr : found;
}

std::optional<std::string> convert(std::string_view text, REALencoding from, REALencoding to) {
  const Encoding *const source = find_encoding(from);
  const Encoding *const target = find_encoding(to);
  if (source == nullptr || target == nullptr) return std::nullopt;
  if (from == to || source->charset == nullptr || target->charset == nullptr) return std::string(text);
  // Most text needs neither corrections nor substitutes.
  if (is_unicode(*target) && source->number != kEncodingMacRoman) {
    auto direct = converter(target->charset, source->charset).run(text, source->unit, std::nullopt);
    if (direct) return direct;
  }
  // By way of UTF-32, which separates malformed input from characters that the target cannot represent.
  const std::string_view replacement(reinterpret_cast<const char *>(&kReplacementCharacter),
                                     sizeof kReplacementCharacter);
  const auto read = converter(kUTF32, source->charset).run(text, source->unit, replacement);
  std::u32string characters(read->size() / sizeof(char32_t), U'\0');
  read->copy(reinterpret_cast<char *>(characters.data()), read->size());
  correct_from(*source, characters);
  prepare_for(*target, characters);
  return converter(target->charset, kUTF32)
      .run({reinterpret_cast<const char *>(characters.data()), characters.size() * sizeof(char32_t)},
           sizeof(char32_t), "?");
}

}  // namespace kzv::host
