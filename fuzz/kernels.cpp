// Fuzzes the kernels. An input chooses one of these relations and brings the arguments for it:
//
//   url, hex   decode(encode(x)) is x; decode agrees with its slow twin
//   printable  encode agrees with its slow twin and writes as many bytes as announced; decode gives the text
//              back with every line break as LF, also a text that decode itself wrote
//   subject    is encoded if need be, into as many bytes as announced; decoded, it is the text up to its zero
//   charset    decode and encode agree with the table, byte by byte
//   html       encode agrees with its slow twin for every room; decode agrees with its slow twin and gives
//              back what was encoded
//   rewritten  yEnc, SQL and tags agree with their slow twins
//   kinds      of bytes agree with the definitions
//   dump       agrees with its slow twin; there is none beyond the limit
//   masks      agree with single bytes; AND and OR are dual (De Morgan); XOR twice gives the data back
//   order      agrees with std::string and is antisymmetric; counting agrees with a search one by one
//   distances  agree with their slow twins; the edit distance is symmetric, and 0 for equal texts alone
//   numbers    read back as the same double; scientific ones are what printf writes
//
// A kernel that writes does the same at every vector level, writes no more than its documented bound and
// leaves its input as it was. What it is given stands in heap blocks of exactly the size needed, so that the
// address sanitizer sees every step beyond.
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>
#include <memory>
#include <optional>

#include "compare/bitwise.h"
#include "compare/distance.h"
#include "compare/numbers.h"
#include "compare/ordering.h"
#include "level.h"
#include "markup/charsets.h"
#include "markup/classification.h"
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
namespace {

using Input = FuzzedDataProvider;
using std::string_literals::operator""s;

void expect(bool holds, const char *relation) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", relation);
  std::abort();
}

// Bytes that end where their heap block does.
class Exact {
 public:
  explicit Exact(std::size_t size) : block_(new std::uint8_t[skew + size]), size_(size) {}
  explicit Exact(std::string_view text) : Exact(text.size()) {
    if (!text.empty()) std::memcpy(bytes().data(), text.data(), text.size());
  }
  ByteBuffer bytes() { return {block_.get() + skew, size_}; }
  UnitView units() { return {reinterpret_cast<const Unit *>(bytes().data()), size_ / sizeof(Unit)}; }
  std::string_view text() { return {reinterpret_cast<const char *>(bytes().data()), size_}; }

  static inline std::size_t skew = 0;  // how far behind an aligned address all of an input's blocks begin

 private:
  std::unique_ptr<std::uint8_t[]> block_;
  std::size_t size_;
};

// Runs `kernel(input, output) -> bytes written` at every level.
template <typename Kernel>
std::string run(std::string_view input, std::uint64_t room, Kernel kernel) {
  std::optional<std::string> result;
  for (const cpu::Level *const level : cpu::levels()) {
    cpu::choose(*level);
    Exact in(input);
    Exact out(static_cast<std::size_t>(room));
    const std::size_t written = kernel(in, out.bytes());
    expect(written <= room, "a kernel writes no more than its bound");
    expect(in.text() == input, "a kernel leaves its input as it was");
    if (!result) result = out.text().substr(0, written);
    expect(out.text().substr(0, written) == *result, "a kernel does the same at every level");
  }
  return *result;
}

template <std::size_t (*kernel)(ByteView, ByteBuffer)>
std::string run(std::string_view input, std::uint64_t room) {
  return run(input, room, [](Exact &in, ByteBuffer out) { return kernel(in.bytes(), out); });
}

std::string repeated(const std::string &piece, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) all += piece;
  return all;
}

// Often a piece that repeats: it meets every place in a block.
std::string text_from(Input &in, std::size_t longest = 1000) {
  const std::string piece = in.ConsumeRandomLengthString(longest);
  const auto most = std::max(longest / (piece.size() + 1), std::size_t{1});
  return repeated(piece, in.ConsumeBool() ? in.ConsumeIntegralInRange<std::size_t>(1, most) : 1);
}

std::string_view bytes_of(std::u16string_view text) {
  return {reinterpret_cast<const char *>(text.data()), text.size() * 2};
}

// Bytes as units: one a unit, or two.
std::u16string units_from(Input &in, std::size_t most = 1000) {
  const bool wide = in.ConsumeBool();
  std::u16string units;
  for (const char c : text_from(in, most)) units += static_cast<std::uint8_t>(c);
  for (std::size_t i = 0; wide && 2 * i + 1 < units.size(); ++i) {
    units[i] = static_cast<char16_t>(units[2 * i] | units[2 * i + 1] << 8);
  }
  return units.substr(0, wide ? units.size() / 2 : units.size());
}

void check_url(Input &in) {
  const auto options = in.ConsumeIntegral<std::uint32_t>();
  const std::string text = text_from(in);
  const auto decoded = [](const std::string &encoded, bool plus) {
    return run(encoded, encoded.size(),
               [=](Exact &from, ByteBuffer to) { return url::decode(from.bytes(), plus ? 1 : 0, to); });
  };
  const auto encode = [=](Exact &from, ByteBuffer to) { return url::encode(from.bytes(), options, to); };
  const std::string encoded = run(text, url::encode_room(text.size()), encode);
  expect(decoded(encoded, (options & 3) == url::kSpaceIsPlus) == text, "URL decode(encode(x)) == x");
  for (const bool plus : {false, true}) {
    expect(decoded(text, plus) == slowly_unescaped(text, '%', plus ? '+' : ' '), "URL decode");
  }
}

void check_hex(Input &in) {
  const std::string text = text_from(in);
  const std::string encoded = run<hex::encode>(text, hex::encode_room(text.size()));
  expect(run<hex::decode>(encoded, hex::decode_room(encoded.size())) == text, "hex decode(encode(x)) == x");
  std::string escaped;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) escaped += '%' + text.substr(i, 2);
  expect(run<hex::decode>(text, hex::decode_room(text.size())) == slowly_unescaped(escaped, '%', ' '),
         "hex decode");
}

void check_printable(Input &in) {
  using namespace quoted_printable;
  const auto limit =
      in.ConsumeBool() ? in.ConsumeIntegral<std::int32_t>() : in.ConsumeIntegralInRange(-1, 90);
  const std::string text = text_from(in);
  const auto encode_lines = [=](Exact &from, ByteBuffer to) { return encode(from.bytes(), limit, to); };
  for (const std::string &lines : {text, run<decode>(text, text.size())}) {
    const auto [expected, plain] = slowly_encoded(lines, limit);
    const std::uint64_t size = encoded_size(Exact(lines).bytes(), limit);
    expect(size == expected.size() && size <= max_encoded_size(lines.size(), limit), "quoted-printable size");
    const std::string encoded = run(lines, size, encode_lines);
    expect(encoded == expected, "quoted-printable encode");
    expect(run<decode>(encoded, encoded.size()) == plain, "quoted-printable decode(encode(x)) == x");
  }
}

void check_subject(Input &in) {
  using namespace mail_subject;
  const std::string text = text_from(in);
  const std::string shown = text.substr(0, text.find('\0'));
  const bool needed = std::ranges::any_of(shown, [](std::uint8_t byte) { return byte < 32 || byte > 127; });
  expect(needs_encoding(Exact(text).bytes()) == needed, "a subject with other bytes needs encoding");
  const std::uint64_t size = encoded_size(Exact(text).bytes());
  const std::string word = run<encode>(text, size);
  expect(word.size() == size && size <= max_encoded_size(text.size()), "subject size");
  expect(word.starts_with("=?utf-8?Q?") && word.ends_with("?="), "a subject is one encoded word");
  expect(slowly_unescaped(word.substr(10, size - 12), '=', '_') == shown, "subject decode(encode(x)) == x");
}

void check_charset(Input &in) {
  const charsets::Charset &set = in.ConsumeBool() ? charsets::kCp1252 : charsets::kIso8859;
  Exact::skew = Exact::skew / 2 * 2;  // the decoder's output is aligned
  const std::string bytes = text_from(in);
  std::u16string units;
  for (const char c : bytes) units += static_cast<char16_t>(set.unit_of[static_cast<std::uint8_t>(c)]);
  const auto decode = [&](Exact &from, ByteBuffer to) {
    return 2 *
           charsets::decode(from.bytes(), set, {reinterpret_cast<std::uint16_t *>(to.data()), to.size() / 2});
  };
  const auto encode = [&](Exact &from, ByteBuffer to) { return charsets::encode(from.units(), set, to); };
  expect(run(bytes, bytes.size() * 2, decode) == bytes_of(units), "charset decode");
  for (const std::u16string &text : {units, units_from(in)}) {
    std::string slowly;
    for (const char16_t unit : text) {
      const auto *const byte = std::ranges::find(set.unit_of.data(), set.unit_of.data() + 256, unit);
      if (byte < set.unit_of.data() + 256) slowly += static_cast<char>(byte - set.unit_of.data());
    }
    expect(run(bytes_of(text), text.size(), encode) == slowly, "charset encode");
  }
}

std::u16string decoded_html(std::u16string_view text) {
  const std::string bytes = run(bytes_of(text), text.size() * sizeof(Unit), [](Exact &in, ByteBuffer out) {
    return sizeof(Unit) *
           html::decode(in.units(), {reinterpret_cast<Unit *>(out.data()), out.size() / sizeof(Unit)});
  });
  std::u16string units(bytes.size() / 2, u'\0');
  std::memcpy(units.data(), bytes.data(), bytes.size());
  return units;
}

void check_html(Input &in) {
  const bool keep_ascii = in.ConsumeBool();
  const auto room = in.ConsumeIntegralInRange<std::size_t>(html::kLongestReference, 300);
  const std::u16string text = units_from(in);
  std::string encoded;
  for (std::u16string_view rest = text; !rest.empty();) {
    html::Progress progress{};
    encoded += run(bytes_of(rest), room, [&](Exact &from, ByteBuffer to) {
      progress = html::encode(from.units(), keep_ascii, to);
      return progress.written;
    });
    expect(progress.consumed > 0, "HTML encode gets on in the room of one reference");
    rest.remove_prefix(progress.consumed);
  }
  expect(encoded == html::slowly_encoded(text, keep_ascii), "HTML encode");
  const std::u16string widened(encoded.begin(), encoded.end());
  expect(keep_ascii || decoded_html(widened) == text, "HTML decode(encode(x)) == x");
  expect(decoded_html(text) == html::slowly_decoded(text), "HTML decode");
}

void check_rewritten(Input &in) {
  const std::string given = text_from(in, 20);
  const std::string shown = given.substr(0, given.find('\0'));
  const std::string text = text_from(in);
  std::string yenc;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int byte = text[i] != '=' ? text[i] : (++i < text.size() ? text[i] : 0) - 64;
    yenc += static_cast<char>(byte - 42);
  }
  expect(run<yenc::decode>(text, text.size()) == yenc, "yEnc decode");
  expect(run<sql::decode_mysql>(text, text.size()) == sql::slow_decode_mysql(text), "MySQL escapes");
  expect(run<sql::replace_booleans>(text, text.size()) == sql::slow_replace_booleans(text), "SQL booleans");
  expect(run<tags::remove>(text, text.size()) == slow_tags_replaced(text, ""), "tags removed");
  Exact page(text);
  Exact block(given);
  const ByteView replacement = tags::replacement_of(block.bytes());
  std::string result;
  for (tags::TagScanner scanner(page.bytes()); scanner.next();) {
    const auto repeat = [=](Exact &unit, ByteBuffer out) { return tags::repeat(unit.bytes(), out); };
    result.append(scanner.kept().begin(), scanner.kept().end());
    if (!shown.empty()) result += run(shown, shown.size() * scanner.dropped(), repeat);
  }
  expect(std::string(replacement.begin(), replacement.end()) == shown, "a replacement ends before a zero");
  expect(result == slow_tags_replaced(text, shown), "tags replaced");
}

void check_kinds(Input &in) {
  using namespace classification;
  const auto other = in.ConsumeIntegral<std::uint8_t>();
  const auto mode = in.ConsumeIntegralInRange(-1, 3);
  const std::string text = text_from(in);
  std::string replaced;
  bool of_mode = !text.empty() && mode >= 0 && mode <= 2;
  bool ready = true;
  for (const char c : text) {
    const auto byte = static_cast<std::uint8_t>(c);
    replaced += static_cast<char>(byte >= 32 && byte <= 127 ? byte : other);
    of_mode = of_mode && (mode == 0 || byte >= 32) && (mode == 2 || byte <= 127);
    ready = ready && byte <= 127 && "\0\"&'<>"s.find(c) == std::string::npos;
  }
  const auto replace = [=](Exact &from, ByteBuffer to) {
    return replace_non_printable(from.bytes(), other, to);
  };
  expect(run(text, text.size(), replace) == replaced, "non-printable bytes replaced");
  Exact block(text);
  expect(is_ascii(block.bytes(), mode) == of_mode, "ASCII or printable");
  expect(html::is_html_ready(block.bytes()) == ready, "ready for HTML");
  std::int32_t longest = 0;
  for (const std::int32_t kind : {3, 4, 1, 6, 7}) {
    const ByteView mark = marker_bytes(kind);
    if (text.starts_with(std::string(mark.begin(), mark.end()))) longest = kind;
  }
  expect(detect_marker(block.bytes()) == longest, "the longest mark");
}

void check_dump(Input &in) {
  const auto measure = [&] {
    return in.ConsumeBool() ? in.ConsumeIntegral<std::int32_t>() : in.ConsumeIntegralInRange(-1, 40);
  };
  Exact start(text_from(in, 20));
  Exact end(text_from(in, 20));
  Exact spacer(text_from(in, 20));
  Exact filler(text_from(in, 20));
  const hex_dump::Shape shape{measure(),   measure(),      start.bytes(),
                              end.bytes(), spacer.bytes(), filler.bytes()};
  const std::string text = text_from(in);
  const std::uint64_t size = hex_dump::dump_size(text.size(), shape).value_or(0x7FFFFFFE);
  expect(size < 0x7FFFFFFF, "there is no hex dump beyond the limit");
  if (size > 100'000) return;
  const auto dump = [&](Exact &from, ByteBuffer to) { return hex_dump::dump(from.bytes(), shape, to); };
  const bool none = text.empty() || shape.hexlen < 1 || shape.linelen < 1;
  expect(run(text, size, dump) == (none ? "" : hex_dump::slowly_dumped(text, shape)), "hex dump");
}

void check_masks(Input &in) {
  const auto offset = in.ConsumeIntegral<std::int32_t>();
  const std::string given = text_from(in);
  const std::string data = text_from(in, 4000);
  const auto combined = [](const std::string &bytes, const std::string &with, auto combine) {
    Exact block(with);
    return run(bytes, bytes.size(),
               [&](Exact &from, ByteBuffer to) { return combine(from.bytes(), block.bytes(), to); });
  };
  const auto xored = [=](auto from, auto by, auto to) { return bitwise::xor_bytes(from, by, offset, to); };
  const auto xored2 = [=](auto from, auto by, auto to) {
    return bitwise::xor_bytes_and_positions(from, by, offset, to);
  };
  const auto complement = [&](const std::string &bytes) { return combined(bytes, "\xFF", xored); };
  const std::string mask = given.empty() ? "\0"s : given;
  const std::string anded = combined(data, given, bitwise::and_bytes);
  const std::string once = combined(data, given, xored);
  const std::string twice = combined(once, given, xored2);  // leaves the positions
  for (std::size_t k = 0; k < data.size(); ++k) {
    const auto place = (offset + static_cast<std::int64_t>(k)) % std::ssize(mask);
    const char moved = mask[static_cast<std::size_t>(place < 0 ? place + std::ssize(mask) : place)];
    expect(anded[k] == static_cast<char>(data[k] & mask[k % mask.size()]), "AND");
    expect(once[k] == static_cast<char>(data[k] ^ moved), "XOR");
    expect(twice[k] == static_cast<char>(data[k] ^ static_cast<char>(k)), "XOR and positions");
  }
  expect(combined(once, given, xored) == data, "XOR twice");
  expect(complement(combined(complement(data), complement(mask), bitwise::or_bytes)) == anded, "De Morgan");
}

void check_order(Input &in) {
  const auto times = [&] { return in.ConsumeIntegralInRange<std::size_t>(0, 300); };
  const std::string piece = text_from(in, 60);
  const std::string needle = text_from(in, 60) + repeated(piece, times()) + text_from(in);
  const std::string text = repeated(piece, times()) + repeated(needle, times() % 4) +
                           repeated(piece, times()) + text_from(in) + needle.substr(0, times());
  Exact a(text);
  Exact b(needle);
  const int sign = (text > needle ? 1 : 0) - (text < needle ? 1 : 0);
  expect(ordering::compare(a.bytes(), b.bytes()) == sign, "compare");
  expect(ordering::compare(b.bytes(), a.bytes()) == -sign, "compare is antisymmetric");
  std::int32_t count = 0;
  std::size_t at = needle.empty() ? std::string::npos : text.find(needle);
  for (; at < text.size(); at = text.find(needle, at + needle.size())) ++count;
  expect(ordering::count(a.bytes(), b.bytes()) == count, "count");
}

void check_distances(Input &in) {
  using namespace distance;
  constexpr std::size_t kMost = 400;
  const std::u16string first = units_from(in, kMost);
  const auto from = in.ConsumeIntegralInRange<std::size_t>(0, first.size());
  const auto to = in.ConsumeIntegralInRange<std::size_t>(from, first.size());
  const std::u16string second = first.substr(0, from) + units_from(in, kMost) + first.substr(to);
  const Text a(first.begin(), first.end());
  const Text b(second.begin(), second.end());
  const double edit = edit_distance(a, b).value();
  expect(edit == slow_edit_distance(a, b), "edit distance");
  expect(edit == edit_distance(b, a).value(), "the edit distance is symmetric");
  expect((edit == 0.0) == (a == b && !a.empty()), "equal texts alone have no edit distance");
  expect(jaro_winkler(a, b).value() == slow_jaro_winkler(a, b), "Jaro-Winkler distance");
}

void check_numbers(Input &in) {
  using namespace numbers;
  const auto value = std::bit_cast<double>(in.ConsumeIntegral<std::uint64_t>());
  const auto digits =
      in.ConsumeBool() ? in.ConsumeIntegral<std::int32_t>() : in.ConsumeIntegralInRange(-1, 30);
  std::array<char, kFixedRoom> plain{};
  const std::string text(plain.data(), fixed(value, plain));
  // Below that, digits behind the 99th would be needed.
  const bool whole = std::isfinite(value) && (std::abs(value) >= 1e-81 || value == 0.0);
  const double read = std::strtod(text.c_str(), nullptr);
  expect(!whole || std::bit_cast<std::uint64_t>(read) == std::bit_cast<std::uint64_t>(value),
         "a number reads back");
  expect(!std::isfinite(value) || text.find('.') + 1 < text.size(), "a number has digits behind a point");
  std::array<char, kScientificRoom> rounded{};
  std::array<char, kScientificRoom + 1> printed{};
  std::snprintf(printed.data(), printed.size(), "%.*e", digits < 0 ? 6 : std::min(digits, 1200), value);
  expect(std::string(rounded.data(), scientific(value, digits, rounded)) == printed.data(),
         "scientific number");
}

constexpr std::array kRelations = {
    check_url,   check_hex,  check_printable, check_subject, check_charset,   check_html,   check_rewritten,
    check_kinds, check_dump, check_masks,     check_order,   check_distances, check_numbers};

}  // namespace
}  // namespace kzv

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  const auto relation = in.ConsumeIntegralInRange<std::size_t>(0, kzv::kRelations.size() - 1);
  kzv::Exact::skew = in.ConsumeIntegralInRange<std::size_t>(0, 15);
  kzv::kRelations[relation](in);
  return 0;
}
