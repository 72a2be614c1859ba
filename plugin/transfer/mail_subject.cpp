#include "transfer/mail_subject.h"

#include <cstring>
#include <string_view>

#include "scan/cursor.h"
#include "scan/escape_writer.h"
#include "scan/find_byte.h"

namespace kzv::mail_subject {
namespace {

constexpr std::string_view kOpening = "=?utf-8?Q?";
constexpr std::string_view kClosing = "?=";

constexpr bool is_escaped(std::uint8_t byte) { return byte >= 128 || byte == '=' || byte == '_'; }
constexpr scan::EscapeRules kRules('=', is_escaped, ' ', '_');

std::uint8_t *append(std::string_view text, std::uint8_t *next) {
  std::memcpy(next, text.data(), text.size());
  return next + text.size();
}

}  // namespace

bool needs_encoding(ByteView utf8) {
  // The zero byte that would end the text is in the set, so one search finds whichever comes first.
  static constexpr cpu::ByteSet kNotPlain([](std::uint8_t byte) { return byte < 32 || byte > 127; });
  const std::size_t first = scan::Cursor(utf8, kNotPlain).next(0);
  return first < utf8.size() && utf8[first] != 0;
}

std::uint64_t encoded_size(ByteView utf8) {
  std::uint64_t size = kOpening.size() + kClosing.size();
  for (const std::uint8_t byte : until_zero(utf8)) size += is_escaped(byte) ? 3U : 1U;
  return size;
}

std::size_t encode(ByteView utf8, ByteBuffer output) {
  const ByteView text = until_zero(utf8);
  std::uint8_t *next = append(kOpening, output.data());
  next += scan::write_escaped(text, kRules, output.subspan(kOpening.size()));
  next = append(kClosing, next);
  return static_cast<std::size_t>(next - output.data());
}

}  // namespace kzv::mail_subject
