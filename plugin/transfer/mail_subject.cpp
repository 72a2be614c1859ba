#include "mail_subject.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <string_view>

#include "hex_digits.h"

namespace kzv::mail_subject {
namespace {

constexpr std::string_view kOpening = "=?utf-8?Q?";
constexpr std::string_view kClosing = "?=";

consteval EscapeTable make_escapes() {
  EscapeTable table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    const bool kept = byte < 128 && byte != '=' && byte != '_';
    table[byte] = kept ? as_it_is(byte) : hex_escape('=', byte);
  }
  table[' '] = as_it_is('_');
  return table;
}
constexpr EscapeTable kEscapes = make_escapes();

std::uint8_t *append(std::string_view text, std::uint8_t *next) {
  std::memcpy(next, text.data(), text.size());
  return next + text.size();
}

}  // namespace

bool needs_encoding(ByteView utf8) {
  // The zero byte that ends the text is itself such a byte, so one scan finds whichever comes first.
  const auto first = std::find_if(utf8.begin(), utf8.end(), [](std::uint8_t b) { return b < 32 || b > 127; });
  return first != utf8.end() && *first != 0;
}

std::size_t encode(ByteView utf8, ByteBuffer output) {
  assert(output.size() >= encode_room(utf8.size()));
  std::uint8_t *next = append(kOpening, output.data());
  for (const std::uint8_t byte : utf8) {
    if (byte == 0) break;
    // One byte more than the longest escape is written; the room for the closing takes it.
    std::memcpy(next, &kEscapes[byte], sizeof(Escape));
    next += kEscapes[byte].length;
  }
  next = append(kClosing, next);
  return static_cast<std::size_t>(next - output.data());
}

}  // namespace kzv::mail_subject
