#include "sql.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <string_view>

namespace kzv::sql {
namespace {

// Where `wanted` first stands in `text` from `at` on, or the end of the text.
std::size_t find(std::uint8_t wanted, ByteView text, std::size_t at) {
  if (at >= text.size()) return text.size();
  const void *const found = std::memchr(text.data() + at, wanted, text.size() - at);
  if (found == nullptr) return text.size();
  return static_cast<std::size_t>(static_cast<const std::uint8_t *>(found) - text.data());
}

std::uint8_t *append(ByteView run, std::uint8_t *next) {
  if (!run.empty()) std::memcpy(next, run.data(), run.size());
  return next + run.size();
}

constexpr std::int16_t kNoEscape = -1;

// The byte for the character behind a backslash.
consteval std::array<std::int16_t, 256> make_unescaped() {
  std::array<std::int16_t, 256> table{};
  table.fill(kNoEscape);
  table['\''] = '\'';
  table['"'] = '"';
  table['\\'] = '\\';
  table['%'] = '%';
  table['_'] = '_';
  table['0'] = 0x00;
  table['b'] = 0x08;
  table['n'] = 0x0A;
  table['r'] = 0x0D;
  table['t'] = 0x09;
  table['Z'] = 0x1A;
  return table;
}
constexpr std::array<std::int16_t, 256> kUnescaped = make_unescaped();

enum class Kind : std::uint8_t { kWord, kDelimiter, kQuote };

consteval std::array<Kind, 256> make_kinds() {
  std::array<Kind, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    if (byte <= 0x20 || byte >= 0x80) table[byte] = Kind::kDelimiter;
  }
  table['('] = table[')'] = table[','] = table[';'] = Kind::kDelimiter;
  table['\''] = table['"'] = Kind::kQuote;
  return table;
}
constexpr std::array<Kind, 256> kKinds = make_kinds();

// Whether `text` begins with `word`, in letters of either case, and a delimiter or its end behind them.
bool begins_with_word(ByteView text, std::string_view word) {
  if (text.size() < word.size()) return false;
  const bool same = std::equal(word.begin(), word.end(), text.begin(), [](char letter, std::uint8_t byte) {
    return static_cast<std::uint8_t>(letter) == (byte | 0x20);  // the bit that lower case adds
  });
  return same && (text.size() == word.size() || kKinds[text[word.size()]] == Kind::kDelimiter);
}

// The place behind the next delimiter outside quotes, where a word can begin; the end if there is none.
std::size_t next_word(ByteView sql, std::size_t at) {
  for (; at < sql.size(); ++at) {
    const Kind kind = kKinds[sql[at]];
    if (kind == Kind::kDelimiter) return at + 1;
    if (kind == Kind::kQuote) at = find(sql[at], sql, at + 1);
  }
  return sql.size();
}

}  // namespace

std::size_t decode_mysql(ByteView input, ByteBuffer output) {
  assert(output.size() >= input.size());
  std::uint8_t *next = output.data();
  for (std::size_t at = 0; at < input.size();) {
    const std::size_t backslash = find('\\', input, at);
    next = append(input.subspan(at, backslash - at), next);
    // At the end of the text there is only one byte left, or none.
    const ByteView pair = input.subspan(backslash, std::min<std::size_t>(2, input.size() - backslash));
    const std::int16_t unescaped = pair.size() == 2 ? kUnescaped[pair[1]] : kNoEscape;
    if (unescaped != kNoEscape) {
      *next++ = static_cast<std::uint8_t>(unescaped);
    } else {
      next = append(pair, next);
    }
    at = backslash + pair.size();
  }
  return static_cast<std::size_t>(next - output.data());
}

std::size_t replace_booleans(ByteView sql, ByteBuffer output) {
  assert(output.size() >= sql.size());
  std::uint8_t *next = output.data();
  std::size_t copied = 0;  // what stands before is in the output already
  for (std::size_t at = 0; at < sql.size(); at = next_word(sql, at)) {
    const ByteView rest = sql.subspan(at);
    const bool is_true = begins_with_word(rest, "true");
    if (!is_true && !begins_with_word(rest, "false")) continue;
    next = append(sql.subspan(copied, at - copied), next);
    *next++ = is_true ? '1' : '0';
    at += is_true ? 4 : 5;
    copied = at;
  }
  next = append(sql.subspan(copied), next);
  return static_cast<std::size_t>(next - output.data());
}

}  // namespace kzv::sql
