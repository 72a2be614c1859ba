// What the kernels are compared with: the rules applied element by element, regardless of speed.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "markup/entities.h"
#include "support/kernels.h"
#include "transfer/hex_dump.h"

namespace kzv {

inline std::string slow_tags_replaced(std::string_view text, std::string_view replacement) {
  std::string result;
  for (int count = 0; const char c : text) {
    count += c == '<' ? 1 : c == '>' ? -1 : 0;
    if (c != '<' && c != '>') result += count == 0 ? std::string_view(&c, 1) : replacement;
  }
  return result;
}

inline std::string hex_pair(char c) {
  return {"0123456789ABCDEF"[(c >> 4) & 15], "0123456789ABCDEF"[c & 15]};
}

// Escapes what is not `kept`, as an introducer and two hex digits; a space becomes `space`.
template <typename Kept>
std::string slowly_escaped(std::string_view text, char introducer, char space, Kept kept) {
  std::string result;
  for (const char c : text) {
    const bool other_space = c == ' ' && space != ' ';
    result += other_space ? std::string(1, space) : kept(c) ? std::string(1, c) : introducer + hex_pair(c);
  }
  return result;
}

// Undoes escapes of two hex digits after an introducer. Any other byte, or a missing one, is the digit 0;
// `space` becomes a space.
inline std::string slowly_unescaped(std::string_view text, char introducer, char space) {
  const auto digit_at = [=](std::size_t at) {
    const auto digit =
        at < text.size() ? std::string_view("0123456789abcdef0123456789ABCDEF").find(text[at]) : 0;
    return digit < 32 ? digit % 16 : 0;
  };
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool escaped = text[i] == introducer;
    const char kept = text[i] == space ? ' ' : text[i];
    result += escaped ? static_cast<char>(digit_at(i + 1) * 16 + digit_at(i + 2)) : kept;
    i += escaped ? 2 : 0;
  }
  return result;
}

inline bool delimits(std::string_view text, std::size_t at) {
  return at >= text.size() || static_cast<signed char>(text[at]) <= ' ' ||
         std::string_view("(),;").find(text[at]) < 4;
}

inline std::string slow_replace_booleans(std::string_view text) {
  std::string result;
  char quote = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\'' || text[i] == '"') quote = quote == text[i] ? '\0' : quote == 0 ? text[i] : quote;
    const bool begins = quote == 0 && (i == 0 || delimits(text, i - 1));
    std::string lower(text.substr(i, 5));
    for (char &c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    const std::size_t word = lower == "false" ? 5 : lower.starts_with("true") ? 4 : 0;
    const bool replaced = begins && word > 0 && delimits(text, i + word);
    result += !replaced ? text[i] : word == 4 ? '1' : '0';
    if (replaced) i += word - 1;
  }
  return result;
}

// The encoded text, and what decoding should make of it.
inline std::pair<std::string, std::string> slow_printable(const std::string &text, std::int64_t limit) {
  const auto breaks = [](char c) { return c == '\r' || c == '\n'; };
  std::string out;
  std::string lines;
  std::int64_t column = 0;
  for (const char *c = text.c_str(); c < text.c_str() + text.size(); ++c) {
    const bool kept = *c == ' ' || *c == '\t' ? !breaks(c[1]) : *c > 32 && *c < 127 && *c != '=';
    std::string token = kept ? std::string(1, *c) : '=' + hex_pair(*c);
    if (breaks(*c)) token = "\r\n";
    const bool full = !breaks(*c) && column + std::ssize(token) >= (limit < 2 ? 72 : limit) - 1;
    column = breaks(*c) ? 0 : (full ? 0 : column) + std::ssize(token);
    out += full ? "=\r\n" + token : token;
    lines += breaks(*c) ? '\n' : *c;
    if (breaks(*c) && breaks(c[1]) && *c != c[1]) ++c;
  }
  return {lines.find('\n') < lines.size() && column > 0 ? out + "=\r\n" : out, lines};
}

// RFC 2045, section 6.7: escapes, soft line breaks with all that comes before the line's end, and lines. An
// "=" that begins neither goes, and two bytes with it.
inline std::string slow_from_printable(std::string_view text) {
  const auto is = [=](std::size_t at, std::string_view set) {
    return at < text.size() && set.find(text[at]) < set.size();
  };
  constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool soft = text[i] == '=' && is(i + 1, " \t\r\n");
    if (text[i] == '=' && !soft) {
      if (is(i + 1, kDigits) && is(i + 2, kDigits)) result += slowly_unescaped(text.substr(i, 3), '=', ' ');
      i += 2;
      continue;
    }
    while (soft && i < text.size() && !is(i, "\r\n")) ++i;
    if (!soft) result += is(i, "\r\n") ? '\n' : text[i];
    if (is(i, "\r\n") && is(i + 1, text[i] == '\r' ? "\n" : "\r")) ++i;
  }
  return result;
}

// The whole padded text first, then a character at a time.
inline std::string slow_dump(const std::string &input, const hex_dump::Shape &shape) {
  const auto hexlen = static_cast<std::size_t>(shape.hexlen);
  std::string hex;
  std::string result;
  for (const char c : input) hex += hex_pair(c);
  for (int i = 0; i < shape.hexlen * shape.linelen; ++i)
    hex += shape.filler.empty() ? "0" : text_of(shape.filler);
  for (std::size_t at = 0; at < input.size() * 2; result += text_of(shape.lineend)) {
    result += text_of(shape.linestart);
    for (int group = 0; group < shape.linelen; ++group, at += hexlen)
      result.append(group > 0 ? text_of(shape.spacer) : "").append(hex, at, hexlen);
  }
  return result.substr(0, result.find('\0'));
}

// The character whose name or number comes between "&" and ";", or 0.
inline char32_t slowly_found(std::u16string_view name) {
  if (!name.starts_with(u'#')) {
    const auto *entity = std::ranges::find_if(
        html::escapecodes, [=](const html::Entity &each) { return std::ranges::equal(each.name(), name); });
    return entity == html::escapecodes.end() ? 0 : entity->code_point;
  }
  const int base = name.starts_with(u"#x") ? 16 : 10;
  const std::u16string_view rest = name.substr(base == 16 ? 2 : 1);
  const auto digits =
      rest.substr(0, rest.find_first_not_of(base == 16 ? u"-0123456789abcdefABCDEF" : u"-0123456789"));
  if (name.size() > 6 || digits.find(u'-') < digits.size()) return 0;
  return static_cast<char32_t>(std::stoul("0" + std::string(digits.begin(), digits.end()), nullptr, base));
}

inline std::u16string slow_from_html(std::u16string_view text) {
  std::u16string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::u16string_view rest = text.substr(at + 1);
    const std::u16string_view name = rest.substr(0, rest.substr(0, 9).find(u';'));
    const char32_t found = text[at] == '&' && name.size() < 9 ? slowly_found(name) : 0;
    if (found >= 0x10000) result += static_cast<char16_t>(0xD800 + (found - 0x10000) / 0x400);
    const char32_t last = found >= 0x10000 ? 0xDC00 + found % 0x400 : found;
    result += found != 0 ? static_cast<char16_t>(last) : text[at];
    at += found != 0 ? name.size() + 1 : 0;
  }
  return result;
}

inline double slow_jaro_winkler(std::u16string_view a, std::u16string_view b) {
  if (a.empty() || b.empty()) return a.size() == b.size() ? 0.0 : 1.0;
  const std::size_t w = std::max(std::max(a.size(), b.size()) / 2, std::size_t{1}) - 1;
  std::vector<bool> taken(b.size());
  std::u16string matched;
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t j = i - std::min(i, w);
    while (j < std::min(i + w + 1, b.size()) && (taken[j] || a[i] != b[j])) ++j;
    if (j >= std::min(i + w + 1, b.size())) continue;
    taken[j] = true;
    matched.push_back(a[i]);
  }
  if (matched.empty()) return 1.0;
  std::size_t t = 0;
  for (std::size_t j = 0, k = 0; j < b.size(); ++j) t += taken[j] && matched[k++] != b[j] ? 1U : 0U;
  const auto real = [](std::size_t n) { return static_cast<double>(n); };
  const double m = real(matched.size());
  const double jaro = ((m / real(a.size()) + m / real(b.size())) + (m - real(t / 2)) / m) / 3.0;
  const std::u16string_view start = a.substr(0, 4);
  const auto common = std::ranges::mismatch(start, b).in1 - start.begin();
  const volatile double boost = (1.0 - jaro) * (static_cast<double>(common) * 0.1);
  return 1.0 - (jaro > 0.7 ? jaro + boost : jaro);
}

// The whole matrix, with the swap at the cost of the substitution.
inline double slow_edit_distance(std::u16string_view a, std::u16string_view b) {
  if (a.empty() || b.empty()) return 1.0;
  std::vector<std::vector<int>> cell(b.size() + 1, std::vector<int>(a.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      cell[j][i] = static_cast<int>(i + j);
      if (i == 0 || j == 0) continue;
      const int cost = a[i - 1] == b[j - 1] ? 0 : 1;
      cell[j][i] = std::min({cell[j - 1][i] + 1, cell[j][i - 1] + 1, cell[j - 1][i - 1] + cost});
      if (i >= 2 && j >= 2 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        cell[j][i] = std::min(cell[j][i], cell[j - 2][i - 2] + cost);
    }
  }
  return 1.0 / (static_cast<double>(std::min(a.size(), b.size())) / cell[b.size()][a.size()]);
}

}  // namespace kzv
