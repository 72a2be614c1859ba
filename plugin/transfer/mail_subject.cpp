#include "mail_subject.h"

#include <cstring>
#include <string_view>

#include "find_byte.h"
#include "hex_digits.h"
#include "marks.h"

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
  // The zero byte that ends the text is itself such a byte, so one search finds whichever comes first.
  static constexpr cpu::ByteSet kNotPlain([](std::uint8_t byte) { return byte < 32 || byte > 127; });
  const std::size_t first = cpu::MarkCursor(utf8, kNotPlain).next(0);
  return first < utf8.size() && utf8[first] != 0;
}

std::uint64_t encoded_size(ByteView utf8) {
  std::uint64_t size = kOpening.size() + kClosing.size();
  for (const std::uint8_t byte : until_zero(utf8)) size += kEscapes[byte].length;
  return size;
}

std::size_t encode(ByteView utf8, ByteBuffer output) {
  const ByteView text = until_zero(utf8);
  std::uint8_t *next = append(kOpening, output.data());
  if (!text.empty()) {
    // One store writes up to 3 bytes too many: the next byte and the closing take their place. The last byte
    // has no next one.
    for (const std::uint8_t byte : text.first(text.size() - 1)) {
      std::memcpy(next, &kEscapes[byte], sizeof(Escape));
      next += kEscapes[byte].length;
    }
    const Escape &last = kEscapes[text.back()];
    next = append({last.text.data(), last.length}, next);
  }
  next = append(kClosing, next);
  return static_cast<std::size_t>(next - output.data());
}

}  // namespace kzv::mail_subject
