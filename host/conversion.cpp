// Conversions between the encodings of encodings.h, by way of characters one at a time.
#include <algorithm>
#include <array>
#include <cstring>

#include "encodings.h"

namespace kzv::host {
namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

constexpr bool is_surrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xE000; }
constexpr bool is_character(char32_t value) { return value < 0x110000 && !is_surrogate(value); }

// The characters of the bytes from `first` on; below, and after the table's end, a byte is its own character.
// A byte without a character has U+FFFD.
template <std::size_t kSize>
struct CharacterTable {
  char32_t first;
  std::array<char16_t, kSize> characters;
};

constexpr CharacterTable<32> kWindows1252 = {
    0x80, {0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
           0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
           0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178}};

constexpr CharacterTable<128> kMacRoman = {
    0x80,
    {0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5,
     0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3, 0x00F2, 0x00F4,
     0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6,
     0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8, 0x221E, 0x00B1, 0x2264, 0x2265,
     0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF,
     0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, 0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5,
     0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044,
     0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1,
     0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9,
     0x0131, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7}};

constexpr CharacterTable<0> kISO8859_1 = {0x100, {}};

constexpr CharacterTable<128> kASCII = [] {
  CharacterTable<128> ascii{0x80, {}};
  ascii.characters.fill(kReplacementCharacter);
  return ascii;
}();

// Each reader gives the characters of a text to `take`, U+FFFD for every unit that is malformed.
template <std::size_t kSize, typename Take>
void read_bytes(const CharacterTable<kSize> &set, std::string_view text, Take take) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const std::size_t at = byte - set.first;  // beyond any table for the bytes below
    take(at < kSize ? char32_t{set.characters[at]} : char32_t{byte});
  }
}

template <typename Take>
void read_utf8(std::string_view text, Take take) {
  const auto byte_at = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  for (std::size_t at = 0; at < text.size();) {
    char32_t value = byte_at(at);
    std::size_t length = 1;
    if (value >= 0xC2 && value < 0xF5) length = value < 0xE0 ? 2 : value < 0xF0 ? 3 : 4;
    bool whole = (value < 0x80 || length > 1) && length <= text.size() - at;
    if (length > 1) value &= 0x7FU >> length;
    for (std::size_t k = 1; k < length && whole; ++k) {
      whole = (byte_at(at + k) & 0xC0) == 0x80;
      value = value << 6 | (byte_at(at + k) & 0x3F);
    }
    constexpr std::array<char32_t, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
    whole = whole && value >= kLeast[length] && is_character(value);
    take(whole ? value : kReplacementCharacter);
    at += whole ? length : 1;
  }
}

// The code units of a text; a last one that is cut short is malformed.
template <typename Unit, typename Take>
void read_units(std::string_view text, Take take) {
  for (; text.size() >= sizeof(Unit); text.remove_prefix(sizeof(Unit))) {
    Unit unit;
    std::memcpy(&unit, text.data(), sizeof unit);
    take(char32_t{unit});
  }
  if (!text.empty()) take(char32_t{0xD800});
}

template <typename Take>
void read_utf16(std::string_view text, Take take) {
  char32_t high = 0;  // a surrogate that waits for the other
  const auto end_high = [&] {
    if (high != 0) take(kReplacementCharacter);
    high = 0;
  };
  read_units<char16_t>(text, [&](char32_t unit) {
    if (high != 0 && unit >= 0xDC00 && unit < 0xE000) {
      take(0x10000 + ((high - 0xD800) << 10 | (unit - 0xDC00)));
      high = 0;
      return;
    }
    end_high();
    if (unit >= 0xD800 && unit < 0xDC00) {
      high = unit;
    } else {
      take(is_surrogate(unit) ? kReplacementCharacter : unit);
    }
  });
  end_high();
}

template <typename Take>
void read(REALencoding encoding, std::string_view text, Take take) {
  switch (encoding) {
    case kEncodingUTF8:
      return read_utf8(text, take);
    case kEncodingUTF16:
      return read_utf16(text, take);
    case kEncodingUTF32:
      return read_units<char32_t>(
          text, [&](char32_t unit) { take(is_character(unit) ? unit : kReplacementCharacter); });
    case kEncodingASCII:
      return read_bytes(kASCII, text, take);
    case kEncodingISO8859_1:
      return read_bytes(kISO8859_1, text, take);
    case kEncodingWindows1252:
      return read_bytes(kWindows1252, text, take);
    default:  // Mac OS Roman
      return read_bytes(kMacRoman, text, take);
  }
}

template <typename Unit>
void append_unit(Unit unit, std::string &output) {
  std::array<char, sizeof unit> bytes;
  std::memcpy(bytes.data(), &unit, sizeof unit);
  output.append(bytes.data(), bytes.size());
}

void append_utf8(char32_t character, std::string &output) {
  const auto continuation = [&](unsigned shift) {
    output += static_cast<char>(0x80 | (character >> shift & 0x3F));
  };
  if (character < 0x80) {
    output += static_cast<char>(character);
  } else if (character < 0x800) {
    output += static_cast<char>(0xC0 | character >> 6);
    continuation(0);
  } else if (character < 0x10000) {
    output += static_cast<char>(0xE0 | character >> 12);
    continuation(6);
    continuation(0);
  } else {
    output += static_cast<char>(0xF0 | character >> 18);
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

void append_utf16(char32_t character, std::string &output) {
  if (character < 0x10000) return append_unit(static_cast<char16_t>(character), output);
  append_unit(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)), output);
  append_unit(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)), output);
}

template <std::size_t kSize>
void append_byte(const CharacterTable<kSize> &set, char32_t character, std::string &output) {
  const bool own_byte = character < set.first || (character >= set.first + kSize && character < 0x100);
  if (own_byte) {
    output += static_cast<char>(character);
  } else {
    const auto found = std::ranges::find(set.characters, character);
    const bool held = character != kReplacementCharacter && found != set.characters.end();
    output +=
        held ? static_cast<char>(set.first + static_cast<char32_t>(found - set.characters.begin())) : '?';
  }
}

}  // namespace

std::optional<std::string> convert(std::string_view text, REALencoding from, REALencoding to) {
  if (find_encoding(from) == nullptr || find_encoding(to) == nullptr) return std::nullopt;
  if (from == to || from == kEncodingBytes || to == kEncodingBytes) return std::string(text);
  std::string output;
  output.reserve(text.size());
  const auto write = [&](auto append) { read(from, text, [&](char32_t each) { append(each, output); }); };
  const auto write_bytes = [&](const auto &set) {
    write([&](char32_t each, std::string &to_end) { append_byte(set, each, to_end); });
  };
  switch (to) {
    case kEncodingUTF8:
      write(append_utf8);
      break;
    case kEncodingUTF16:
      write(append_utf16);
      break;
    case kEncodingUTF32:
      write(append_unit<char32_t>);
      break;
    case kEncodingASCII:
      write_bytes(kASCII);
      break;
    case kEncodingISO8859_1:
      write_bytes(kISO8859_1);
      break;
    case kEncodingWindows1252:
      write_bytes(kWindows1252);
      break;
    default:  // Mac OS Roman
      write_bytes(kMacRoman);
  }
  return output;
}

}  // namespace kzv::host
