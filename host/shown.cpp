#include "shown.h"

#include <algorithm>

namespace kzv::host {
namespace {

constexpr std::size_t kMostShown = 300;
constexpr std::size_t kShownOfEachEnd = 100;

unsigned char byte_at(std::string_view text, std::size_t i) { return static_cast<unsigned char>(text[i]); }

// How many bytes the first character of the text has; 0 when it is malformed or a control character.
std::size_t length_of_shown(std::string_view text) {
  const unsigned char lead = byte_at(text, 0);
  if (lead < 0x80) return lead >= 0x20 && lead != 0x7F ? 1 : 0;
  std::size_t length = 0;
  if (lead >= 0xC2 && lead <= 0xDF) length = 2;
  if (lead >= 0xE0 && lead <= 0xEF) length = 3;
  if (lead >= 0xF0 && lead <= 0xF4) length = 4;
  if (length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte_at(text, i) & 0xC0) != 0x80) return 0;
  }
  const bool control = lead == 0xC2 && byte_at(text, 1) < 0xA0;
  return control ? 0 : length;
}

std::string escaped(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  while (!text.empty()) {
    const std::size_t length = length_of_shown(text);
    if (length == 0) {
      const unsigned char byte = byte_at(text, 0);
      result += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(std::max(length, std::size_t{1}));
  }
  return result;
}

}  // namespace

std::string shown(std::string_view text) {
  if (text.size() <= kMostShown) return escaped(text);
  return escaped(text.substr(0, kShownOfEachEnd)) + "[...]" +
         escaped(text.substr(text.size() - kShownOfEachEnd)) + " (" + std::to_string(text.size()) + " bytes)";
}

}  // namespace kzv::host
