#include "sql.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <string_view>

#include "find_byte.h"

namespace kzv::sql {
namespace {

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

constexpr bool is_delimiter(std::uint8_t byte) {
  return byte <= 0x20 || byte >= 0x80 || byte == '(' || byte == ')' || byte == ',' || byte == ';';
}

constexpr bool is_quote(std::uint8_t byte) { return byte == '"' || byte == '\''; }

// The letter that `byte` is in lower case. Other bytes become others that are no letters.
constexpr std::uint8_t lower(std::uint8_t byte) { return byte | 0x20; }

// 1 if `bytes` begin with four letters in either case, else 0. Without branches and all in bytes, as
// `is_stop`, so that many places are looked at together.
constexpr std::uint8_t begins_with(const std::uint8_t *bytes, const char (&letters)[5]) {
  std::uint8_t differing = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    differing |= static_cast<std::uint8_t>(lower(bytes[i]) ^ static_cast<std::uint8_t>(letters[i]));
  }
  return differing == 0 ? 1 : 0;
}

// 1 if the scan stops at `bytes`: at a quote or at the first four letters of a keyword.
constexpr std::uint8_t is_stop(const std::uint8_t *bytes) {
  const std::uint8_t quote = is_quote(bytes[0]) ? 1 : 0;
  return static_cast<std::uint8_t>(quote | begins_with(bytes, "true") | begins_with(bytes, "fals"));
}

// Where the first quote or the first four letters of a keyword stand from `at` on, or the end. Whether the
// letters begin a word is for the caller to find out.
std::size_t next_stop(ByteView sql, std::size_t at) {
  constexpr std::size_t kBlock = 32;
  constexpr std::size_t kAhead = 3;  // bytes behind a place that are looked at
  for (; sql.size() - at >= kBlock + kAhead; at += kBlock) {
    const std::uint8_t *const block = sql.data() + at;
    std::uint8_t stops = 0;
    for (std::size_t i = 0; i < kBlock; ++i) stops |= is_stop(block + i);
    if (stops != 0) break;
  }
  while (at < sql.size() && (sql.size() - at > kAhead ? is_stop(&sql[at]) == 0 : !is_quote(sql[at]))) ++at;
  return at;
}

// Whether the word at `at` is `word`, in letters of either case, between delimiters or the ends of the text.
bool is_word(ByteView sql, std::size_t at, std::string_view word) {
  const ByteView rest = sql.subspan(at);
  if (rest.size() < word.size() || (at > 0 && !is_delimiter(sql[at - 1]))) return false;
  const bool same = std::equal(word.begin(), word.end(), rest.begin(), [](char letter, std::uint8_t byte) {
    return static_cast<std::uint8_t>(letter) == lower(byte);
  });
  return same && (rest.size() == word.size() || is_delimiter(rest[word.size()]));
}

}  // namespace

std::size_t decode_mysql(ByteView input, ByteBuffer output) {
  assert(output.size() >= input.size());
  std::uint8_t *next = output.data();
  for (std::size_t at = 0; at < input.size();) {
    const std::size_t backslash = find_byte(input, '\\', at);
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
  const auto replace = [&](std::size_t at, std::size_t length, std::uint8_t digit) {
    next = append(sql.subspan(copied, at - copied), next);
    *next++ = digit;
    copied = at + length;
    return copied;
  };
  for (std::size_t at = next_stop(sql, 0); at < sql.size(); at = next_stop(sql, at)) {
    if (is_quote(sql[at])) {
      at = std::min(find_byte(sql, sql[at], at + 1) + 1, sql.size());
    } else if (is_word(sql, at, "true")) {
      at = replace(at, 4, '1');
    } else if (is_word(sql, at, "false")) {
      at = replace(at, 5, '0');
    } else {
      ++at;
    }
  }
  next = append(sql.subspan(copied), next);
  return static_cast<std::size_t>(next - output.data());
}

}  // namespace kzv::sql
