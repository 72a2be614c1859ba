// What holds for the kernels, whatever they are given. Fuzzing and tests bring the arguments:
//
//   url, hex   decode(encode(x)) is x; decode agrees with its slow twin
//   printable  encode agrees with its slow twin and writes as many bytes as announced; decode gives the text
//              back with every line break as LF, also a text that decode itself wrote
//   subject    is encoded if need be, into as many bytes as announced; decoded, it is the text up to its zero
//   charset    decode and encode agree with the table, byte by byte
//   html       encode agrees with its slow twin for every room; decode agrees with its slow twin and gives
//              back what was encoded
//   yenc, sql  agree with their slow twins
//   tags       removed and replaced as the slow twin does
//   dump       agrees with its slow twin; there is none beyond the limit
//   order      agrees with std::string and is antisymmetric; counting agrees with a search one by one
//   distances  agree with their slow twins; the edit distance is symmetric, and 0 for equal texts alone
//
// A kernel that writes does the same at every vector level, writes no more than its documented bound and
// leaves its input as it was.
#pragma once

#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>

#include "compare/distance.h"
#include "compare/ordering.h"
#include "cpu/level.h"
#include "markup/charsets.h"
#include "markup/html.h"
#include "markup/sql.h"
#include "markup/tags.h"
#include "support/twins.h"
#include "transfer/hex.h"
#include "transfer/mail_subject.h"
#include "transfer/quoted_printable.h"
#include "transfer/url.h"
#include "transfer/yenc.h"

namespace kzv {

// Where arguments come from.
class Source {
 public:
  Source() = default;
  Source(const Source &) = delete;
  Source &operator=(const Source &) = delete;
  virtual ~Source() = default;

  virtual std::int64_t number(std::int64_t least, std::int64_t greatest) = 0;
  virtual std::string text(std::size_t longest) = 0;

  std::string text() { return text(5000); }
  bool flag() { return number(0, 1) == 1; }
  std::size_t size(std::size_t least, std::size_t greatest) {
    return static_cast<std::size_t>(
        number(static_cast<std::int64_t>(least), static_cast<std::int64_t>(greatest)));
  }
  // Any number, or as often one of a few.
  std::int32_t number_or(std::int32_t least, std::int32_t greatest) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(flag() ? number(Limits::min(), Limits::max()) : number(least, greatest));
  }
  // Bytes as units: one a unit, or two.
  std::u16string units(std::size_t longest) {
    const std::string bytes = text(longest);
    const std::size_t width = flag() ? 2 : 1;
    std::u16string units(bytes.size() / width, u'\0');
    for (std::size_t i = 0; i < units.size() * width; ++i) {
      units[i / width] |= static_cast<char16_t>(static_cast<std::uint8_t>(bytes[i]) << i % width * 8);
    }
    return units;
  }
};

// An Area is memory of exactly so many bytes, or with a text in it, which nobody oversteps unnoticed.
template <typename Area>
class Relations {
 public:
  explicit Relations(Source &source, std::span<const cpu::Level *const> levels)
      : in_(source), levels_(levels) {}

  void url() {
    const auto options = static_cast<std::uint32_t>(in_.number_or(0, 3));
    const std::string text = in_.text();
    const auto decoded = [this](const std::string &encoded, bool plus) {
      return run(encoded, encoded.size(),
                 [=](ByteView from, ByteBuffer to) { return url::decode(from, plus ? 1 : 0, to); });
    };
    const std::string encoded = run(text, url::encode_bound(text.size()), [=](ByteView from, ByteBuffer to) {
      return url::encode(from, options, to);
    });
    expect(decoded(encoded, (options & 3) == url::kSpaceIsPlus) == text, "URL decode(encode(x)) == x");
    for (const bool plus : {false, true}) {
      expect(decoded(text, plus) == slowly_unescaped(text, '%', plus ? '+' : ' '), "URL decode");
    }
  }

  void hex() {
    const std::string text = in_.text();
    const std::string encoded = run(text, hex::encode_bound(text.size()), hex::encode);
    expect(run(encoded, hex::decode_bound(encoded.size()), hex::decode) == text,
           "hex decode(encode(x)) == x");
    std::string escaped;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) escaped += '%' + text.substr(i, 2);
    expect(run(text, hex::decode_bound(text.size()), hex::decode) == slowly_unescaped(escaped, '%', ' '),
           "hex decode");
  }

  void printable() {
    using namespace quoted_printable;
    const std::int32_t limit = in_.number_or(-1, 90);
    const std::string text = in_.text();
    const auto encode_lines = [=](ByteView from, ByteBuffer to) { return encode(from, limit, to); };
    for (const std::string &lines : {text, run(text, text.size(), decode)}) {
      const auto [expected, plain] = slowly_encoded(lines, limit);
      const std::uint64_t size = encoded_size(Area(lines).bytes(), limit);
      expect(size == expected.size() && size <= encode_bound(lines.size(), limit), "quoted-printable size");
      expect(run(lines, size, encode_lines) == expected, "quoted-printable encode");
      expect(run(expected, expected.size(), decode) == plain, "quoted-printable decode(encode(x)) == x");
    }
  }

  void subject() {
    using namespace mail_subject;
    const std::string text = in_.text();
    const std::string shown = text.substr(0, text.find('\0'));
    const bool needed = std::ranges::any_of(shown, [](std::uint8_t byte) { return byte < 32 || byte > 127; });
    expect(needs_encoding(Area(text).bytes()) == needed, "a subject with other bytes needs encoding");
    const std::uint64_t size = encoded_size(Area(text).bytes());
    const std::string word = run(text, size, encode);
    expect(word.size() == size && size <= encode_bound(text.size()), "subject size");
    expect(word.starts_with("=?utf-8?Q?") && word.ends_with("?="), "a subject is one encoded word");
    expect(slowly_unescaped(word.substr(10, word.size() - 12), '=', '_') == shown,
           "subject decode(encode(x)) == x");
  }

  void charset() {
    const charsets::Charset &set = in_.flag() ? charsets::kCp1252 : charsets::kIso8859;
    const std::string bytes = in_.text();
    std::u16string units;
    for (const char c : bytes) units += static_cast<char16_t>(set.unit_of[static_cast<std::uint8_t>(c)]);
    const auto decode = [&](ByteView from, ByteBuffer to) {
      std::vector<std::uint16_t> aligned(from.size());
      const std::size_t size = charsets::decode(from, set, aligned) * sizeof(std::uint16_t);
      if (size > 0) std::memcpy(to.data(), aligned.data(), size);
      return size;
    };
    const auto encode = [&](ByteView from, ByteBuffer to) {
      return charsets::encode(units_of(from), set, to);
    };
    expect(run(bytes, bytes.size() * 2, decode) == bytes_of(units), "charset decode");
    for (const std::u16string &text : {units, in_.units(5000)}) {
      std::string slowly;
      for (const char16_t unit : text) {
        const auto *const byte = std::ranges::find(set.unit_of.data(), set.unit_of.data() + 256, unit);
        if (byte < set.unit_of.data() + 256) slowly += static_cast<char>(byte - set.unit_of.data());
      }
      expect(run(bytes_of(text), text.size(), encode) == slowly, "charset encode");
    }
  }

  void html() {
    const bool keep_ascii = in_.flag();
    const std::size_t room = in_.size(html::kLongestReference, 300) * (in_.flag() ? 1 : 170);
    const std::u16string text = in_.units(5000);
    std::string encoded;
    for (std::u16string_view rest = text; !rest.empty();) {
      html::Progress progress{};
      encoded += run(bytes_of(rest), room, [&](ByteView from, ByteBuffer to) {
        progress = html::encode(units_of(from), keep_ascii, to);
        return progress.written;
      });
      expect(progress.consumed > 0, "HTML encode gets on in the room of one reference");
      rest.remove_prefix(progress.consumed);
    }
    expect(encoded == html::slowly_encoded(text, keep_ascii), "HTML encode");
    expect(keep_ascii || decoded_html(std::u16string(encoded.begin(), encoded.end())) == text,
           "HTML decode(encode(x)) == x");
    expect(decoded_html(text) == html::slowly_decoded(text), "HTML decode");
  }

  void yenc() {
    const std::string text = in_.text();
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
      const int byte = text[i] != '=' ? text[i] : (++i < text.size() ? text[i] : 0) - 64;
      decoded += static_cast<char>(byte - 42);
    }
    expect(run(text, text.size(), yenc::decode) == decoded, "yEnc decode");
  }

  void sql() {
    const std::string text = in_.text();
    expect(run(text, text.size(), sql::decode_mysql) == sql::slow_decode_mysql(text), "MySQL escapes");
    expect(run(text, text.size(), sql::replace_booleans) == sql::slow_replace_booleans(text), "SQL booleans");
  }

  void tags() {
    const std::string given = in_.text(20);
    const std::string shown = given.substr(0, given.find('\0'));
    const auto byte = static_cast<std::uint8_t>(in_.number(0, 255));
    const std::string text = in_.text();
    const auto replace = [=](ByteView from, ByteBuffer to) { return tags::replace(from, byte, to); };
    expect(run(text, text.size(), tags::remove) == slow_tags_replaced(text, ""), "tags removed");
    expect(
        run(text, text.size(), replace) == slow_tags_replaced(text, std::string(1, static_cast<char>(byte))),
        "tags replaced by a byte");
    Area page(text);
    Area block(given);
    const ByteView replacement = tags::replacement_of(block.bytes());
    std::string result;
    for (tags::TagScanner scanner(page.bytes()); scanner.next();) {
      const auto repeat = [](ByteView unit, ByteBuffer out) { return tags::repeat(unit, out); };
      result.append(scanner.kept().begin(), scanner.kept().end());
      if (!shown.empty()) result += run(shown, shown.size() * scanner.dropped(), repeat);
    }
    expect(std::string(replacement.begin(), replacement.end()) == shown, "a replacement ends before a zero");
    expect(result == slow_tags_replaced(text, shown), "tags replaced");
  }

  void dump() {
    const std::int32_t hexlen = in_.number_or(-1, 40);
    const std::int32_t linelen = in_.number_or(-1, 40);
    Area start(in_.text(20));
    Area end(in_.text(20));
    Area spacer(in_.text(20));
    Area filler(in_.text(20));
    const hex_dump::Shape shape{hexlen, linelen, start.bytes(), end.bytes(), spacer.bytes(), filler.bytes()};
    const std::string text = in_.text();
    const std::uint64_t size = hex_dump::dump_bound(text.size(), shape).value_or(0x7FFFFFFE);
    expect(size < 0x7FFFFFFF, "there is no hex dump beyond the limit");
    if (size > 100'000) return;
    const auto dump = [&](ByteView from, ByteBuffer to) { return hex_dump::dump(from, shape, to); };
    const bool none = text.empty() || hexlen < 1 || linelen < 1;
    expect(run(text, size, dump) == (none ? "" : hex_dump::slowly_dumped(text, shape)), "hex dump");
  }

  // Pieces repeated make the needle and the text periodic, which is where searches go wrong.
  void order() {
    const auto repeated = [this](const std::string &piece, std::size_t most) {
      std::string all;
      for (std::size_t i = in_.size(0, most); i > 0; --i) all += piece;
      return all;
    };
    const std::string piece = in_.text(60);
    const std::string needle = in_.text(60) + repeated(piece, 300) + in_.text(200);
    const std::string text = repeated(piece, 300) + repeated(needle, 3) + repeated(piece, 300) + in_.text() +
                             needle.substr(0, in_.size(0, 300));
    Area a(text);
    Area b(needle);
    const int sign = (text > needle ? 1 : 0) - (text < needle ? 1 : 0);
    expect(ordering::compare(a.bytes(), b.bytes()) == sign, "compare");
    expect(ordering::compare(b.bytes(), a.bytes()) == -sign, "compare is antisymmetric");
    std::int32_t count = 0;
    std::size_t at = needle.empty() ? std::string::npos : text.find(needle);
    for (; at < text.size(); at = text.find(needle, at + needle.size())) ++count;
    for (const cpu::Level *const level : levels_) {
      cpu::choose(*level);
      expect(ordering::count(a.bytes(), b.bytes()) == count, "count");
    }
  }

  void distances() {
    using namespace distance;
    constexpr std::size_t kMost = 400;
    const std::u16string first = in_.units(kMost);
    const std::size_t from = in_.size(0, first.size());
    const std::size_t to = in_.size(from, first.size());
    const std::u16string second = first.substr(0, from) + in_.units(kMost) + first.substr(to);
    const Text a(first.begin(), first.end());
    const Text b(second.begin(), second.end());
    const double edit = edit_distance(a, b).value();
    expect(edit == slow_edit_distance(a, b), "edit distance");
    expect(edit == edit_distance(b, a).value(), "the edit distance is symmetric");
    expect((edit == 0.0) == (a == b && !a.empty()), "equal texts alone have no edit distance");
    expect(jaro_winkler(a, b).value() == slow_jaro_winkler(a, b), "Jaro-Winkler distance");
  }

  static constexpr void (Relations::*kAll[])() = {
      &Relations::url,     &Relations::hex,  &Relations::printable, &Relations::subject,
      &Relations::charset, &Relations::html, &Relations::yenc,      &Relations::sql,
      &Relations::tags,    &Relations::dump, &Relations::order,     &Relations::distances};

 private:
  static void expect(bool holds, const char *relation) {
    if (!holds) throw std::logic_error(std::string("does not hold: ") + relation);
  }

  static std::string_view bytes_of(std::u16string_view text) {
    return {reinterpret_cast<const char *>(text.data()), text.size() * 2};
  }
  static CodeUnitView units_of(ByteView bytes) {
    return {reinterpret_cast<const CodeUnit *>(bytes.data()), bytes.size() / sizeof(CodeUnit)};
  }

  // Runs `kernel(input, output) -> bytes written` at every level.
  template <typename Kernel>
  std::string run(std::string_view input, std::uint64_t room, Kernel kernel) {
    std::optional<std::string> result;
    for (const cpu::Level *const level : levels_) {
      cpu::choose(*level);
      Area in(input);
      Area out(static_cast<std::size_t>(room));
      const std::size_t written = kernel(ByteView(in.bytes()), ByteBuffer(out.bytes()));
      expect(written <= room, "a kernel writes no more than its bound");
      expect(
          std::ranges::equal(in.bytes(), input, {}, {}, [](char c) { return static_cast<std::uint8_t>(c); }),
          "a kernel leaves its input as it was");
      const std::string output(out.bytes().begin(),
                               out.bytes().begin() + static_cast<std::ptrdiff_t>(written));
      if (!result) result = output;
      expect(output == *result, "a kernel does the same at every level");
    }
    return *result;
  }

  std::u16string decoded_html(std::u16string_view text) {
    const std::string bytes =
        run(bytes_of(text), text.size() * sizeof(CodeUnit), [](ByteView in, ByteBuffer out) {
          return sizeof(CodeUnit) *
                 html::decode(units_of(in), {reinterpret_cast<CodeUnit *>(out.data()), out.size() / 2});
        });
    std::u16string units(bytes.size() / 2, u'\0');
    std::memcpy(units.data(), bytes.data(), bytes.size());
    return units;
  }

  Source &in_;
  std::span<const cpu::Level *const> levels_;
};

}  // namespace kzv
