// What holds for the kernels, whatever they are given: most relations compare with a slow twin.
#pragma once

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

#include "compare/bitwise.h"
#include "compare/distance.h"
#include "compare/numbers.h"
#include "compare/ordering.h"
#include "markup/charsets.h"
#include "markup/classification.h"
#include "markup/html.h"
#include "markup/sql.h"
#include "markup/tags.h"
#include "scan/find_byte.h"
#include "support/kernels.h"
#include "support/twins.h"
#include "transfer/hex.h"
#include "transfer/mail_subject.h"
#include "transfer/quoted_printable.h"
#include "transfer/url.h"
#include "transfer/yenc.h"

namespace kzv {

class Source {
 public:
  virtual ~Source() = default;

  virtual std::int64_t number(std::int64_t least, std::int64_t greatest) = 0;
  virtual std::string text(std::size_t longest) = 0;

  std::string text() { return text(5000); }
  bool flag() { return number(0, 1) == 1; }
  std::uint8_t byte() { return static_cast<std::uint8_t>(number(0, 255)); }
  std::size_t size(std::size_t least, std::size_t greatest) {
    return static_cast<std::size_t>(
        number(static_cast<std::int64_t>(least), static_cast<std::int64_t>(greatest)));
  }
  // Any number, or as often one of a few.
  std::int32_t number_or(std::int32_t least, std::int32_t greatest) {
    return static_cast<std::int32_t>(flag() ? number(INT32_MIN, INT32_MAX) : number(least, greatest));
  }
  // Bytes as code units: one a unit, or two.
  std::u16string units(std::size_t longest) {
    const std::string bytes = text(longest);
    const std::size_t width = flag() ? 2 : 1;
    std::u16string units(bytes.size() / width, u'\0');
    for (std::size_t i = 0; i < units.size() * width; ++i)
      units[i / width] |= static_cast<char16_t>(static_cast<std::uint8_t>(bytes[i]) << i % width * 8);
    return units;
  }
  std::string copies(const std::string &piece, std::size_t most) {
    std::string all;
    for (std::size_t i = size(0, most); i > 0; --i) all += piece;
    return all;
  }
};

template <typename Unit>
std::string_view bytes_of(const Unit &units) {
  return {reinterpret_cast<const char *>(units.data()), units.size() * sizeof(units[0])};
}
inline CodeUnitView units_of(ByteView bytes) {
  return {reinterpret_cast<const CodeUnit *>(bytes.data()), bytes.size() / sizeof(CodeUnit)};
}

namespace relations {

inline void url(const std::string &text, std::uint32_t options) {
  const auto encode = [=](auto from, auto to) { return url::encode(from, options, to); };
  const auto decode = [=](auto from, auto to) { return url::decode(from, options, to); };
  const std::string encoded = run_kernel(text, url::encode_bound(text.size()), encode);
  constexpr std::string_view kKept = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!*-._@";
  const bool keeps_plus = options % 4 == 0 || options % 4 == 3;
  const auto kept = [=](char c) { return c == '+' ? keeps_plus : kKept.find(c) < kKept.size(); };
  expect(encoded == slowly_escaped(text, '%', options % 4 == 1 ? '+' : ' ', kept), "URL encode");
  expect(options % 4 == 3 || run_kernel(encoded, encoded.size(), decode) == text,
         "URL decode(encode(x)) == x");
  expect(run_kernel(text, text.size(), decode) == slowly_unescaped(text, '%', options % 2 == 1 ? '+' : ' '),
         "URL decode");
}

inline void hex(const std::string &text) {
  std::string encoded;
  for (const char c : text) encoded += hex_pair(c);
  expect(run_kernel(text, hex::encode_bound(text.size()), hex::encode) == encoded, "hex encode");
  std::string escaped;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) escaped += '%' + text.substr(i, 2);
  expect(run_kernel(text, hex::decode_bound(text.size()), hex::decode) == slowly_unescaped(escaped, '%', ' '),
         "hex decode");
}

inline void printable(const std::string &text, std::int32_t limit) {
  using namespace quoted_printable;
  const auto encode_lines = [=](ByteView from, ByteBuffer to) { return encode(from, limit, to); };
  const std::string decoded = run_kernel(text, text.size(), decode);
  expect(decoded == slow_from_printable(text), "quoted-printable decode");
  for (const std::string &lines : {text, decoded}) {
    const auto [expected, plain] = slow_printable(lines, limit);
    const std::uint64_t size = encoded_size(Guarded(lines).bytes(), limit);
    expect(size == expected.size() && size <= encode_bound(lines.size(), limit), "quoted-printable size");
    expect(run_kernel(lines, size, encode_lines) == expected, "quoted-printable encode");
    expect(run_kernel(expected, expected.size(), decode) == plain, "quoted-printable decode(encode(x)) == x");
  }
}

inline void subject(const std::string &text) {
  using namespace mail_subject;
  const std::string shown = text.substr(0, text.find('\0'));
  const bool needed = std::ranges::any_of(shown, [](std::uint8_t byte) { return byte < 32 || byte > 127; });
  expect(needs_encoding(Guarded(text).bytes()) == needed, "a subject with other bytes needs encoding");
  const auto kept = [](char c) { return static_cast<std::uint8_t>(c) < 128 && c != '=' && c != '_'; };
  const std::string word = "=?utf-8?Q?" + slowly_escaped(shown, '=', '_', kept) + "?=";
  const std::uint64_t size = encoded_size(Guarded(text).bytes());
  expect(size == word.size() && size <= encode_bound(text.size()), "subject size");
  expect(run_kernel(text, size, encode) == word, "subject encode");
}

// An undefined byte of Windows-1252 has the code unit U+0000.
inline void charset(const std::string &bytes, const std::u16string &text, bool windows) {
  const charsets::Charset &set = windows ? charsets::kCp1252 : charsets::kIso8859;
  constexpr std::u16string_view kFrom80(
      u"\u20AC\0\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\0\u017D\0"
      u"\0\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\0\u017E\u0178",
      32);
  std::u16string table;
  for (char16_t byte = 0; byte < 256; ++byte) table += byte;
  if (windows) table.replace(0x80, 32, kFrom80);
  const auto decode = [&](ByteView from, ByteBuffer to) {
    return 2 * charsets::decode(from, set, {reinterpret_cast<std::uint16_t *>(to.data()), from.size()});
  };
  const auto encode = [&](ByteView from, ByteBuffer to) { return charsets::encode(units_of(from), set, to); };
  std::u16string units;
  for (const char c : bytes) units += table[static_cast<std::uint8_t>(c)];
  expect(run_kernel(bytes, bytes.size() * 2, decode) == bytes_of(units), "charset decode");
  for (const std::u16string &each : {units, text}) {
    std::string slowly;
    for (const char16_t unit : each)
      if (const auto at = table.find(unit); at < table.size()) slowly += static_cast<char>(at);
    expect(run_kernel(bytes_of(each), each.size(), encode) == slowly, "charset encode");
  }
}

// Encodes into pieces of `bound` bytes.
inline void html(const std::u16string &text, bool keep_ascii, std::size_t bound) {
  const auto decode = [](const std::u16string &units) {
    return run_kernel(bytes_of(units), units.size() * 2, [](ByteView from, ByteBuffer to) {
      return 2 * html::decode(units_of(from), {reinterpret_cast<CodeUnit *>(to.data()), to.size() / 2});
    });
  };
  std::string encoded;
  for (std::u16string_view rest = text; !rest.empty();) {
    html::Progress progress{};
    encoded += run_kernel(bytes_of(rest), bound, [&](ByteView from, ByteBuffer to) {
      progress = html::encode(units_of(from), keep_ascii, to);
      return progress.written;
    });
    expect(progress.consumed > 0, "HTML encode goes on when one reference fits");
    rest.remove_prefix(progress.consumed);
  }
  std::string expected;
  for (const char16_t unit : text) {
    const auto *entity = std::ranges::find(html::escapecodes, unit, &html::Entity::code_point);
    const bool known = entity != html::escapecodes.end();
    const std::string name = known && unit != '\'' ? std::string(entity->name()) : "#" + std::to_string(unit);
    const bool plain = unit < 0x80 && (keep_ascii || !known);
    expected += plain ? std::string(1, static_cast<char>(unit)) : "&" + name + ";";
  }
  expect(encoded == expected, "HTML encode");
  expect(keep_ascii || decode(std::u16string(encoded.begin(), encoded.end())) == bytes_of(text),
         "HTML decode(encode(x)) == x");
  expect(decode(text) == bytes_of(slow_from_html(text)), "HTML decode");
}

inline void yenc(const std::string &text) {
  std::string expected;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int byte = text[i] != '=' ? text[i] : (++i < text.size() ? text[i] : 0) - 64;
    expected += static_cast<char>(byte - 42);
  }
  expect(run_kernel(text, text.size(), yenc::decode) == expected, "yEnc decode");
}

inline void sql(const std::string &text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool pair = text[i] == '\\' && i + 1 < text.size();
    const std::size_t at = pair ? std::string_view(R"(0'"bnrtZ\%_)").find(text[++i]) : std::string::npos;
    if (pair && at == std::string::npos) decoded += '\\';
    decoded += at != std::string::npos ? "\0'\"\b\n\r\t\x1A\\%_"[at] : text[i];
  }
  expect(run_kernel(text, text.size(), sql::decode_mysql) == decoded, "MySQL escapes");
  expect(run_kernel(text, text.size(), sql::replace_booleans) == slow_replace_booleans(text), "SQL booleans");
}

inline void tags(const std::string &text, const std::string &given, std::uint8_t byte) {
  const std::string shown = given.substr(0, given.find('\0'));
  const auto replace = [=](auto from, auto to) { return tags::replace(from, byte, to); };
  expect(run_kernel(text, text.size(), tags::remove) == slow_tags_replaced(text, ""), "tags removed");
  const std::string replaced = slow_tags_replaced(text, std::string(1, static_cast<char>(byte)));
  expect(run_kernel(text, text.size(), replace) == replaced, "tags replaced by a byte");
  expect(text_of(until_zero(Guarded(given).bytes())) == shown, "a replacement ends before a zero");
  if (shown.empty()) return;
  Guarded page(text);
  Guarded instead(shown);
  tags::Replacer replacer(page.bytes(), instead.bytes());
  std::string result;
  for (ByteView piece = page.bytes(); !piece.empty(); result += text_of(piece)) {
    result += run_kernel("", byte * std::size_t{8}, [&](auto, auto to) { return replacer.write(to); });
    piece = replacer.take();
  }
  expect(result == slow_tags_replaced(text, shown), "tags replaced");
}

inline void classification(const std::string &text, std::int32_t mode, std::uint8_t replacement) {
  using namespace kzv::classification;
  const auto lie_in = [&](std::uint8_t least, std::uint8_t most) {
    return std::ranges::all_of(text, [=](std::uint8_t byte) { return byte >= least && byte <= most; });
  };
  const bool ascii[] = {lie_in(0, 127), lie_in(32, 127), lie_in(32, 255)};
  Guarded area(text);
  expect(is_ascii(area.bytes(), mode) == (!text.empty() && mode >= 0 && mode < 3 && ascii[mode]), "ASCII");
  const bool special = text.find_first_of(std::string_view("\"&'<>\0", 6)) < text.size();
  expect(html::is_html_ready(area.bytes()) == (ascii[0] && !special), "ready for HTML");
  const auto replace = [=](auto from, auto to) { return replace_non_printable(from, replacement, to); };
  std::string printed = text;
  std::ranges::replace_if(
      printed, [](std::uint8_t byte) { return byte < 32 || byte > 127; }, replacement);
  expect(run_kernel(text, text.size(), replace) == printed, "other than printable bytes replaced");
}

inline void dump(const std::string &text, std::int32_t hexlen, std::int32_t linelen,
                 const std::array<std::string, 4> &texts) {
  std::array<Guarded, 4> areas = {Guarded(texts[0]), Guarded(texts[1]), Guarded(texts[2]), Guarded(texts[3])};
  const hex_dump::Shape shape{hexlen,           linelen,          areas[0].bytes(),
                              areas[1].bytes(), areas[2].bytes(), areas[3].bytes()};
  const std::uint64_t size = hex_dump::dump_bound(text.size(), shape).value_or(0x7FFFFFFE);
  expect(size < 0x7FFFFFFF, "there is no hex dump beyond the limit");
  if (size > 100'000) return;
  const auto dump = [&](ByteView from, ByteBuffer to) { return hex_dump::dump(from, shape, to); };
  const bool none = text.empty() || hexlen < 1 || linelen < 1;
  expect(run_kernel(text, size, dump) == (none ? "" : slow_dump(text, shape)), "hex dump");
}

inline void order(const std::string &text, const std::string &needle) {
  Guarded a(text);
  Guarded b(needle);
  const int sign = (text > needle ? 1 : 0) - (text < needle ? 1 : 0);
  expect(ordering::compare(a.bytes(), b.bytes()) == sign, "compare");
  expect(ordering::compare(b.bytes(), a.bytes()) == -sign, "compare is antisymmetric");
  std::int32_t count = 0;
  for (std::size_t at = 0; !needle.empty() && (at = text.find(needle, at)) < text.size(); at += needle.size())
    ++count;
  expect(ordering::count(a.bytes(), b.bytes()) == count, "count");
}

inline void distances(const std::u16string &first, const std::u16string &second) {
  using namespace distance;
  Guarded x(bytes_of(std::u32string(first.begin(), first.end())));
  Guarded y(bytes_of(std::u32string(second.begin(), second.end())));
  const WideView a(reinterpret_cast<const std::uint32_t *>(x.data()), first.size());
  const WideView b(reinterpret_cast<const std::uint32_t *>(y.data()), second.size());
  const double edit = edit_distance(a, b).value();
  expect(edit == slow_edit_distance(first, second), "edit distance");
  expect(edit == edit_distance(b, a).value(), "the edit distance is symmetric");
  expect(jaro_winkler(a, b).value() == slow_jaro_winkler(first, second), "Jaro-Winkler distance");
}

inline void bitwise(const std::string &data, const std::string &mask, std::int32_t start) {
  using namespace kzv::bitwise;
  Guarded area(mask);
  const ByteView m = area.bytes();
  const std::int64_t n = std::ssize(m);
  const auto at = [&](std::int64_t k) { return n == 0 ? 0 : m[static_cast<std::size_t>((k % n + n) % n)]; };
  std::array<std::string, 4> expected;
  for (std::int64_t k = 0; k < std::ssize(data); ++k) {
    const char byte = data[static_cast<std::size_t>(k)];
    expected[0] += static_cast<char>(byte & at(k));
    expected[1] += static_cast<char>(byte | at(k));
    expected[2] += static_cast<char>(byte ^ at(start + k));
    expected[3] += static_cast<char>(byte ^ at(start + k) ^ k);
  }
  const auto combined = [&](auto kernel) { return run_kernel(data, data.size(), kernel); };
  expect(combined([&](auto in, auto out) { return and_bytes(in, m, out); }) == expected[0], "AND");
  expect(combined([&](auto in, auto out) { return or_bytes(in, m, out); }) == expected[1], "OR");
  expect(combined([&](auto in, auto out) { return xor_bytes(in, m, start, out); }) == expected[2], "XOR");
  const auto with_positions = [&](auto in, auto out) { return xor_bytes_and_positions(in, m, start, out); };
  expect(combined(with_positions) == expected[3], "XOR with positions");
}

// What the standard library writes. Beyond 1200 digits that does not change.
inline void numbers(double value, std::int32_t digits) {
  using namespace kzv::numbers;
  std::array<char, 1300> buffer;
  const auto expected = [&](auto... format) {
    return std::string(buffer.data(),
                       std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format...).ptr);
  };
  std::array<char, kScientificBound> written;
  std::string text = expected(std::chars_format::scientific, digits < 0 ? 6 : std::min(digits, 1200));
  expect(std::string(written.data(), scientific(value, digits, written)) == text.substr(0, 498),
         "scientific");
  text = expected(std::chars_format::fixed);
  const std::size_t point = text.find('.');
  if (point == std::string::npos) {
    text += std::isfinite(value) ? ".0" : "";
  } else if (text.size() - point > 100) {
    text = expected(std::chars_format::fixed, 99);
    text.erase(std::max(text.find_last_not_of('0'), point + 1) + 1);
  }
  expect(std::string(written.data(), fixed(value, std::span(written).first<kFixedBound>())) == text, "fixed");
}

// Repeated pieces make needle and text periodic, which is where searches go wrong. After a start where
// every position looks good and fails late, the rest of a text is searched in another way.
inline void draw_order(Source &in) {
  const std::size_t most = in.flag() ? 3 : 100;
  const std::string piece = in.text(most * 2);
  std::string needle = in.text(most + 1) + in.copies(piece, most) + in.text(most);
  if (in.flag()) needle = std::string(20, 'a') + needle + 'b' + needle + std::string(20, 'a');
  std::string text(in.flag() ? 3000 : 0, 'a');
  for (std::size_t i = in.size(0, 12); i > 0; --i) text += in.copies(piece, most) + in.copies(needle, 2);
  order(text + in.text() + needle.substr(0, in.size(0, 300)), needle);
}

// Two texts with a part replaced, neighbours swapped and units left out.
inline void draw_distances(Source &in) {
  const std::size_t longest = in.flag() ? 40 : 500;
  const std::u16string first = in.units(longest);
  const std::size_t from = in.size(0, first.size());
  const std::size_t to = in.size(from, first.size());
  std::u16string second = first.substr(0, from) + in.units(in.size(0, longest)) + first.substr(to);
  for (auto k = in.size(0, 9); k + 1 < second.size(); k += in.size(1, 60))
    std::swap(second[k], second[k + 1]);
  for (auto k = in.size(0, 60); k < second.size(); k += in.size(0, 60)) second.erase(k, 1);
  distances(first, second);
}

inline constexpr void (*kAll[])(Source &) = {
    [](Source &in) { url(in.text(), static_cast<std::uint32_t>(in.number_or(0, 3))); },
    [](Source &in) { hex(in.text()); },
    [](Source &in) { printable(in.text(), in.number_or(-1, 90)); },
    [](Source &in) { subject(in.text()); },
    [](Source &in) { charset(in.text(), in.units(5000), in.flag()); },
    [](Source &in) {
      html(in.units(5000), in.flag(), in.size(html::kLongestReference, 300) * (in.flag() ? 1 : 170));
    },
    [](Source &in) { yenc(in.text()); },
    [](Source &in) { sql(in.text()); },
    [](Source &in) { tags(in.text(), in.text(20), in.byte()); },
    [](Source &in) { classification(in.text(), in.number_or(-1, 3), in.byte()); },
    [](Source &in) {
      dump(in.text(), in.number_or(-1, 40), in.number_or(-1, 40),
           {in.text(20), in.text(20), in.text(20), in.text(20)});
    },
    draw_order,
    draw_distances,
    [](Source &in) { bitwise(in.text(), in.text(in.flag() ? 70 : 520), in.number_or(-9, 9)); },
    [](Source &in) {
      for (int i = 0; i < 50; ++i)
        numbers(std::bit_cast<double>(in.number(INT64_MIN, INT64_MAX)), in.number_or(-1, 500));
    }};

}  // namespace relations

}  // namespace kzv
