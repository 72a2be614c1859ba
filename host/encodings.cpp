#include "encodings.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace kzv::host {
namespace {

constexpr std::array<Encoding, 8> kEncodings = {{
    {kEncodingUTF8, "UTF-8"},
    {kEncodingUTF16, "UTF-16"},
    {kEncodingUTF32, "UTF-32"},
    {kEncodingASCII, "ASCII"},
    {kEncodingISO8859_1, "ISO-8859-1"},
    {kEncodingWindows1252, "Windows-1252"},
    {kEncodingMacRoman, "MacRoman"},
    {kEncodingBytes, "bytes"},
}};

// "utf8" and "UTF-8" are one name.
std::string letters_and_digits(std::string_view name) {
  std::string letters;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) != 0) letters += static_cast<char>(std::tolower(byte));
  }
  return letters;
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

}  // namespace kzv::host
