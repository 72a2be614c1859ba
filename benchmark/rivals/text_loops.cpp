// Loops on text as a skilled user writes them, by table where a table is natural, else by blocks that need
// nothing done. All of them write into a buffer of the frame, as our functions do.
#include <array>
#include <vector>

#include "base/hex_digits.h"
#include "compiled.h"
#include "frame/transform.h"
#include "markup/charsets.h"
#include "markup/html.h"
#include "rivals.h"

namespace kzv::rivals {
namespace {

// What a byte or code unit becomes, and in the last byte how long that is.
template <std::size_t kSize>
using Entry = std::array<std::uint8_t, kSize>;
using ByteTable = std::array<Entry<4>, 256>;
using UnitTable = std::vector<Entry<16>>;

std::size_t index_of(std::uint8_t byte) { return byte; }
std::size_t index_of(CodeUnit unit) { return unit.value; }

// Writes an entry whole: the next one overwrites what is too much of it.
template <typename Table>
void add_entry(const Table &table, std::size_t index, std::uint8_t *&next) {
  const auto &entry = table[index];
  std::memcpy(next, entry.data(), entry.size());
  next += entry.back();
}

template <const auto &kTable, typename View>
std::size_t by_table(View in, ByteBuffer out) {
  std::uint8_t *next = out.data();
  for (const auto element : in) add_entry(kTable, index_of(element), next);
  return static_cast<std::size_t>(next - out.data());
}

// The output has space for an entry more than the text becomes.
template <std::size_t kEach>
constexpr auto kUpTo = [](std::size_t count) { return std::uint64_t{count} * kEach + 16; };

template <auto kLoop, REALencoding kEncoding, std::size_t kEach = 1>
REALstringStruct *OfBytes(REALstringStruct *s) {
  return TransformBytes(s, kEncoding, kUpTo<kEach>, Compiled<kLoop>::call);
}

template <auto kLoop, REALencoding kEncoding, std::size_t kEach = 1>
REALstringStruct *OfUnits(REALstringStruct *s) {
  return Transform<rbText>(s, &rbText::utf16, kEncoding, kUpTo<kEach>, Compiled<kLoop>::call);
}

template <auto kLoop, REALencoding kEncoding, std::size_t kEach = 1>
REALstringStruct *OfUnitsWithOptions(REALstringStruct *s, std::int32_t) {
  return OfUnits<kLoop, kEncoding, kEach>(s);
}

template <auto kLoop, REALencoding kFrom, REALencoding kTo>
REALstringStruct *OfText(REALstringStruct *s) {
  constexpr auto kRead = kFrom == kEncodingASCII ? &rbText::ascii : &rbText::utf8;
  return Transform<rbText>(s, kRead, kTo, kUpTo<1>, Compiled<kLoop>::call);
}

constexpr auto kAsItIs = [](auto byte) { return byte; };

constexpr Entry<4> escape(char mark, std::uint8_t byte) {
  return {static_cast<std::uint8_t>(mark), static_cast<std::uint8_t>(kHexPairs[byte][0]),
          static_cast<std::uint8_t>(kHexPairs[byte][1]), 3};
}

// URLs

constexpr bool stays_in_url(std::uint8_t byte) {
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
         std::string_view("!*+-._@").find(static_cast<char>(byte)) != std::string_view::npos;
}

constexpr ByteTable kUrlTable = [] {
  ByteTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    const auto byte = static_cast<std::uint8_t>(i);
    table[i] = stays_in_url(byte) ? Entry<4>{byte, 0, 0, 1} : escape('%', byte);
  }
  return table;
}();

std::size_t url_encode(ByteView in, ByteBuffer out) {
  std::uint8_t *next = out.data();
  for (const std::uint8_t byte : in) {
    if (kUrlTable[byte].back() == 1) {
      *next++ = byte;
    } else {
      add_entry(kUrlTable, byte, next);
    }
  }
  return static_cast<std::size_t>(next - out.data());
}

template <bool kForm>
std::size_t url_decode(ByteView in, ByteBuffer out) {
  const auto plain = [](std::uint8_t byte) -> std::uint8_t { return kForm && byte == '+' ? ' ' : byte; };
  const auto digit = [in](std::size_t at) { return at < in.size() ? kDigitValues[in[at]] : 0; };
  return by_blocks(
      in, out, [](std::uint8_t byte) { return byte == '%'; }, plain,
      [=](std::size_t &at, std::uint8_t *&next) {
        const bool escaped = in[at] == '%';
        *next++ = escaped ? static_cast<std::uint8_t>(digit(at + 1) * 16 + digit(at + 2)) : plain(in[at]);
        at += escaped ? 3 : 1;
      });
}

REALstringStruct *DecodeForm(REALstringStruct *s, std::int32_t) {
  return OfBytes<url_decode<true>, kEncodingBytes>(s);
}

// Hex

constexpr std::uint8_t digit_of(unsigned value) {
  return static_cast<std::uint8_t>(value + '0' + (value > 9 ? 'A' - '0' - 10 : 0));
}

std::size_t to_hex(ByteView in, ByteBuffer out) {
  std::uint8_t *__restrict const digits = out.data();
  for (std::size_t i = 0; i < in.size(); ++i) {
    digits[2 * i] = digit_of(in[i] >> 4);
    digits[2 * i + 1] = digit_of(in[i] & 15);
  }
  return in.size() * 2;
}

std::size_t to_hex_by_pairs(ByteView in, ByteBuffer out) {
  for (std::size_t i = 0; i < in.size(); ++i) std::memcpy(out.data() + 2 * i, &kHexPairs[in[i]], 2);
  return in.size() * 2;
}

constexpr std::uint8_t value_of(std::uint8_t digit) {
  const std::uint8_t upper = digit & 0xDF;
  if (digit >= '0' && digit <= '9') return digit - '0';
  return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : 0;
}

std::size_t from_hex(ByteView in, ByteBuffer out) {
  std::uint8_t *__restrict const bytes = out.data();
  for (std::size_t i = 0; i < in.size() / 2; ++i) {
    bytes[i] = static_cast<std::uint8_t>(value_of(in[2 * i]) << 4 | value_of(in[2 * i + 1]));
  }
  return in.size() / 2;
}

std::size_t from_hex_by_table(ByteView in, ByteBuffer out) {
  for (std::size_t i = 0; i < in.size() / 2; ++i) {
    out[i] = static_cast<std::uint8_t>(kDigitValues[in[2 * i]] << 4 | kDigitValues[in[2 * i + 1]]);
  }
  return in.size() / 2;
}

// HTML and character sets

// The references of all 65,536 code units, made by our own function.
template <bool kKeepAscii>
const UnitTable kReferences = [] {
  UnitTable table(0x10000);
  for (std::size_t i = 0; i < table.size(); ++i) {
    const CodeUnit unit{static_cast<std::uint16_t>(i)};
    table[i].back() = static_cast<std::uint8_t>(html::encode({&unit, 1}, kKeepAscii, table[i]).written);
  }
  return table;
}();

template <bool kKeepAscii>
std::size_t html_encode(CodeUnitView in, ByteBuffer out) {
  const auto is_special = [](CodeUnit unit) {
    const std::uint16_t c = unit.value;
    if constexpr (kKeepAscii) return count_of(c >= 0x80);
    return count_of(c >= 0x80, c == '"', c == '&', c == '\'', c == '<', c == '>');
  };
  return by_blocks(
      in, out, is_special, [](CodeUnit unit) { return unit.value; },
      [&](std::size_t &at, std::uint8_t *&next) {
        const CodeUnit unit = in[at++];
        if (is_special(unit) > 0) {
          add_entry(kReferences<kKeepAscii>, unit.value, next);
        } else {
          *next++ = static_cast<std::uint8_t>(unit.value);
        }
      });
}

// The byte of each code unit, made by our own function, or none.
template <const charsets::Charset &kSet>
const std::vector<Entry<2>> kBytesOfUnits = [] {
  std::vector<Entry<2>> table(0x10000);
  for (std::size_t i = 0; i < table.size(); ++i) {
    const CodeUnit unit{static_cast<std::uint16_t>(i)};
    table[i].back() = static_cast<std::uint8_t>(charsets::encode({&unit, 1}, kSet, table[i]));
  }
  return table;
}();

// Below `kEnd` bytes and code units are equal.
template <const charsets::Charset &kSet, std::uint16_t kEnd>
std::size_t charset_encode(CodeUnitView in, ByteBuffer out) {
  return by_blocks(
      in, out, [](CodeUnit unit) { return unit.value >= kEnd; }, [](CodeUnit unit) { return unit.value; },
      [&](std::size_t &at, std::uint8_t *&next) { add_entry(kBytesOfUnits<kSet>, in[at++].value, next); });
}

// UTF-8 at once, with no need to have the host convert UTF-16.
template <const charsets::Charset &kSet>
const ByteTable kUtf8OfBytes = [] {
  ByteTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    const unsigned unit = kSet.unit_of[i];
    const auto last = static_cast<std::uint8_t>(0x80 | (unit & 0x3F));
    const auto middle = static_cast<std::uint8_t>(0x80 | (unit >> 6 & 0x3F));
    if (unit < 0x80) {
      table[i] = {static_cast<std::uint8_t>(unit), 0, 0, 1};
    } else if (unit < 0x800) {
      table[i] = {static_cast<std::uint8_t>(0xC0 | unit >> 6), last, 0, 2};
    } else {
      table[i] = {static_cast<std::uint8_t>(0xE0 | unit >> 12), middle, last, 3};
    }
  }
  return table;
}();

template <const charsets::Charset &kSet>
std::size_t charset_decode(ByteView in, ByteBuffer out) {
  return by_blocks(
      in, out, [](std::uint8_t byte) { return byte >= 0x80; }, kAsItIs,
      [&](std::size_t &at, std::uint8_t *&next) { add_entry(kUtf8OfBytes<kSet>, in[at++], next); });
}

// Tags

int is_bracket(std::uint8_t byte) { return count_of(byte == '<', byte == '>'); }

std::size_t remove_tags(ByteView in, ByteBuffer out) {
  std::uint8_t *next = out.data();
  int depth = 0;
  for (std::size_t at = 0; at < in.size();) {
    const bool whole = in.size() - at >= kLoopBlock && !any_in_block(in.data() + at, is_bracket);
    if (whole) {
      if (depth == 0) next = std::copy_n(in.data() + at, kLoopBlock, next);
      at += kLoopBlock;
      continue;
    }
    for (const std::size_t end = std::min(at + kLoopBlock, in.size()); at < end; ++at) {
      depth += count_of(in[at] == '<') - count_of(in[at] == '>');
      *next = in[at];
      next += depth == 0 && is_bracket(in[at]) == 0 ? 1 : 0;
    }
  }
  return static_cast<std::size_t>(next - out.data());
}

std::size_t replace_tags(ByteView in, ByteView instead, ByteBuffer out) {
  std::uint8_t *next = out.data();
  int depth = 0;
  for (const std::uint8_t byte : in) {
    if (is_bracket(byte) > 0) {
      depth += byte == '<' ? 1 : -1;
    } else if (depth == 0) {
      *next++ = byte;
    } else {
      for (const std::uint8_t added : instead) *next++ = added;
    }
  }
  return static_cast<std::size_t>(next - out.data());
}

REALstringStruct *ReplaceTags(REALstringStruct *s, REALstringStruct *replacement) {
  Output output;
  Read<rbText>({s, replacement}, [&](rbText &page, rbText &substitute) {
    const ByteView text = page.utf8();
    const ByteView instead = substitute.utf8();
    output.Fill(text.size() * std::max(instead.size(), std::size_t{1}),
                [&](ByteBuffer out) { return Compiled<replace_tags>::call(text, instead, out); });
  });
  return output.Finish(kEncodingUTF8);
}

// SQL

constexpr std::array<bool, 256> kDelimiters = [] {
  std::array<bool, 256> table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    table[i] = i <= ' ' || i >= 0x80 || i == '(' || i == ')' || i == ',' || i == ';';
  }
  return table;
}();

bool is_word(ByteView rest, std::string_view word) {
  if (rest.size() < word.size() || (rest.size() > word.size() && !kDelimiters[rest[word.size()]]))
    return false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if ((rest[i] | 0x20) != word[i]) return false;
  }
  return true;
}

std::size_t replace_booleans(ByteView in, ByteBuffer out) {
  std::uint8_t *next = out.data();
  std::uint8_t quote = 0;
  bool at_start = true;
  for (std::size_t at = 0; at < in.size(); ++at) {
    const std::uint8_t byte = in[at];
    if (at_start && quote == 0) {
      const bool is_true = is_word(in.subspan(at), "true");
      if (is_true || is_word(in.subspan(at), "false")) {
        *next++ = is_true ? '1' : '0';
        at += is_true ? 3 : 4;
        at_start = false;
        continue;
      }
    }
    if (byte == '\'' || byte == '"') quote = quote == 0 ? byte : quote == byte ? std::uint8_t{0} : quote;
    at_start = kDelimiters[byte];
    *next++ = byte;
  }
  return static_cast<std::size_t>(next - out.data());
}

constexpr std::array<std::int16_t, 256> kUnescaped = [] {
  std::array<std::int16_t, 256> table{};
  table.fill(-1);
  constexpr std::string_view kWritten = "'\"\\%_bnrtZ0";
  constexpr std::string_view kMeant = "'\"\\%_\b\n\r\t\x1A";
  for (std::size_t i = 0; i < kWritten.size(); ++i) {
    table[static_cast<std::uint8_t>(kWritten[i])] =
        static_cast<std::int16_t>(i < kMeant.size() ? kMeant[i] : '\0');
  }
  return table;
}();

std::size_t unescape_mysql(ByteView in, ByteBuffer out) {
  return by_blocks(
      in, out, [](std::uint8_t byte) { return byte == '\\'; }, kAsItIs,
      [in](std::size_t &at, std::uint8_t *&next) {
        const std::int16_t meant =
            in[at] == '\\' && at + 1 < in.size() ? kUnescaped[in[at + 1]] : std::int16_t{-1};
        *next++ = meant < 0 ? in[at] : static_cast<std::uint8_t>(meant);
        at += meant < 0 ? 1 : 2;
      });
}

// yEnc

std::size_t decode_yenc(ByteView in, ByteBuffer out) {
  const auto decoded = [](std::uint8_t byte) { return static_cast<std::uint8_t>(byte - 42); };
  return by_blocks(
      in, out, [](std::uint8_t byte) { return byte == '='; }, decoded,
      [=](std::size_t &at, std::uint8_t *&next) {
        const bool escaped = in[at] == '=' && at + 1 < in.size();
        at += escaped ? 1 : 0;
        *next++ = static_cast<std::uint8_t>(decoded(in[at++]) - (escaped ? 64 : 0));
      });
}

}  // namespace

Methods text_loops() {
  constexpr REALencoding kAscii = kEncodingASCII;
  constexpr REALencoding kBytes = kEncodingBytes;
  constexpr REALencoding kUtf8 = kEncodingUTF8;
  static const REALmethodDefinition all[] = {
      RIVAL("loop_EncodingToURL(s as string) as string", OfBytes<url_encode, kAscii, 3>),
      RIVAL("table_EncodingToURL(s as string) as string", OfBytes<by_table<kUrlTable, ByteView>, kAscii, 3>),
      RIVAL("loop_DecodingFromURL(s as string) as string", OfBytes<url_decode<false>, kBytes>),
      RIVAL("loop_DecodingFromURLForm(s as string, options as integer) as string", DecodeForm),
      RIVAL("loop_EncodingToHex(s as string) as string", OfBytes<to_hex, kAscii, 2>),
      RIVAL("table_EncodingToHex(s as string) as string", OfBytes<to_hex_by_pairs, kAscii, 2>),
      RIVAL("loop_DecodingFromHex(s as string) as string", OfText<from_hex, kAscii, kBytes>),
      RIVAL("table_DecodingFromHex(s as string) as string", OfText<from_hex_by_table, kAscii, kBytes>),
      RIVAL("loop_EncodingToHTML(s as string, options as integer) as string",
            OfUnitsWithOptions<html_encode<false>, kAscii, 10>),
      RIVAL("table_EncodingToHTML(s as string, options as integer) as string",
            OfUnitsWithOptions<by_table<kReferences<false>, CodeUnitView>, kAscii, 10>),
      RIVAL("loop_EncodingLettersToHTML(s as string, options as integer) as string",
            OfUnitsWithOptions<html_encode<true>, kAscii, 10>),
      RIVAL("table_EncodingLettersToHTML(s as string, options as integer) as string",
            OfUnitsWithOptions<by_table<kReferences<true>, CodeUnitView>, kAscii, 10>),
      RIVAL("loop_EncodingToISO8859(s as string) as string",
            OfUnits<charset_encode<charsets::kIso8859, 0x100>, kBytes>),
      RIVAL("table_EncodingToISO8859(s as string) as string",
            OfUnits<by_table<kBytesOfUnits<charsets::kIso8859>, CodeUnitView>, kBytes>),
      RIVAL("loop_EncodingToCP1252(s as string) as string",
            OfUnits<charset_encode<charsets::kCp1252, 0x80>, kBytes>),
      RIVAL("table_EncodingToCP1252(s as string) as string",
            OfUnits<by_table<kBytesOfUnits<charsets::kCp1252>, CodeUnitView>, kBytes>),
      RIVAL("loop_DecodingFromISO8859(s as string) as string",
            OfBytes<charset_decode<charsets::kIso8859>, kUtf8, 3>),
      RIVAL("table_DecodingFromISO8859(s as string) as string",
            OfBytes<by_table<kUtf8OfBytes<charsets::kIso8859>, ByteView>, kUtf8, 3>),
      RIVAL("loop_DecodingFromCP1252(s as string) as string",
            OfBytes<charset_decode<charsets::kCp1252>, kUtf8, 3>),
      RIVAL("table_DecodingFromCP1252(s as string) as string",
            OfBytes<by_table<kUtf8OfBytes<charsets::kCp1252>, ByteView>, kUtf8, 3>),
      RIVAL("loop_RemoveHTMLTags(s as string) as string", OfText<remove_tags, kUtf8, kUtf8>),
      RIVAL("loop_RemoveHTMLTagsWith(s as string, instead as string) as string", ReplaceTags),
      RIVAL("loop_SQLReplaceBoolean(s as string) as string", OfText<replace_booleans, kAscii, kUtf8>),
      RIVAL("loop_DecodingFromMySQL(s as string) as string", OfBytes<unescape_mysql, kBytes>),
      RIVAL("loop_yDecodeString(s as string) as string", OfBytes<decode_yenc, kBytes>),
  };
  return all;
}

}  // namespace kzv::rivals
