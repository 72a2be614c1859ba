#include "cases.h"

#include <algorithm>
#include <cstring>
#include <gmime/gmime.h>

#include "compare/bitwise.h"
#include "compare/distance.h"
#include "compare/numbers.h"
#include "compare/ordering.h"
#include "encodings.h"
#include "markup/charsets.h"
#include "markup/classification.h"
#include "markup/html.h"
#include "markup/sql.h"
#include "markup/tags.h"
#include "transfer/hex.h"
#include "transfer/hex_dump.h"
#include "transfer/mail_subject.h"
#include "transfer/quoted_printable.h"
#include "transfer/url.h"
#include "transfer/yenc.h"

namespace kzv::bench {
namespace {

using S = REALstringStruct *;
using I = std::int32_t;
using Pair = std::pair<std::string, std::string>;

const std::vector<std::size_t> kSizes = {24, 1024, 65536, 1048576};
const std::vector<std::size_t> kLetterCounts = {24, 1000, 16000};
const std::vector<std::size_t> kNumber = {sizeof(double)};

// Kinds of one text, drawn from pieces or made otherwise, with further arguments after it.
Kind made(const char *name, REALencoding encoding, const std::function<std::string(std::size_t)> &make,
          const Arguments &further = {}, std::vector<std::string> unfit = {}) {
  const auto arguments = [=](std::size_t size) {
    Arguments all = {Text{make(size), encoding}};
    all.insert(all.end(), further.begin(), further.end());
    return all;
  };
  return {name, arguments, std::move(unfit)};
}

Kind of(const char *name, REALencoding encoding, const Pieces &pieces, const Arguments &further = {},
        std::vector<std::string> unfit = {}) {
  return made(
      name, encoding, [pieces](std::size_t size) { return drawn(pieces, size); }, further, std::move(unfit));
}

// Makes a drawn text and replaces its byte at `at(size)`.
auto with_byte(const Pieces &pieces, char byte, std::size_t (*at)(std::size_t size)) {
  return [=](std::size_t size) {
    std::string text = drawn(pieces, size);
    text[at(size)] = byte;
    return text;
  };
}
constexpr auto kFirst = [](std::size_t) { return std::size_t{0}; };
constexpr auto kMiddle = [](std::size_t size) { return size / 2; };
constexpr auto kLast = [](std::size_t size) { return size - 1; };

Kind pair(const char *name, const std::function<Pair(std::size_t)> &make,
          REALencoding encoding = kEncodingUTF8) {
  return {name, [=](std::size_t size) {
            const auto [a, b] = make(size);
            return Arguments{in_encoding({a}, encoding), in_encoding({b}, encoding)};
          }};
}

Text ascii(std::string bytes) { return {std::move(bytes), kEncodingASCII}; }

const Pieces kLetters = single_bytes('a', 'z');
const Pieces kHighBytes = single_bytes(0x80, 0xFF);
const Pieces kLatin1Letters = single_bytes(0xA0, 0xFF);
const Pieces kReferences = {"&amp;", "&lt;", "&gt;", "&quot;", "&#39;", "&#8364;", "&#x20AC;"};
const Pieces kNamedReferences = {"&eacute;", "&ccedil;", "&euro;", "&alpha;", "&nbsp;", "&hellip;"};
const Pieces kSql = {"SELECT ", "name, ",  "(true), ", "FROM t ", "WHERE x = ", "'it is true' ",
                     "\"a\" ",  "false; ", "from a ",  "table ",  "= 12 ",      "OR "};
const Pieces kEscapesMySql = {"\\n", "\\'", "\\\"", "\\\\", "\\0", "\\%", "\\Z"};
const Pieces kEscapesUrl = {"%20", "%C3", "%A9", "%2F", "%3F", "%E2"};
const Pieces kEscapesQuoted = {"=C3", "=A9", "=3D", "=20", "=E2"};
const Pieces kEscapesYenc = {"=}", "=M", "=@", "=n"};
// An encoder meets something to do in every few bytes.
const Pieces kDense = {"a\u00e9", "b & ", "\u00fc\u00e0", "so=", "\u0434", "x\u20ac"};
const Pieces kDenseTags = {"<b>", "word ", "</b>", "an ", "<i>", "x", "</i>"};
const Pieces kIrregular = {"=",  "=4",   "=3D",  "=\r\n", "= \n", "=c3=Zz", "\r",
                           "\n", "\r\n", "\n\r", "a",     " ",    "\t",     "word"};
// Libraries of character sets take a character that is not in the set for an error.
const std::vector<std::string> kConverters = {"Qt", "ICU", "iconv", "GLib"};

std::string hex_digits(std::size_t size, std::string_view digits) {
  Pieces pieces;
  for (std::size_t i = 0; i < digits.size(); ++i) pieces.push_back(digits.substr(i, 1));
  return drawn(pieces, size / 2 * 2 - 1) + "0";
}

// Random data as yEnc has it: every escape whole.
std::string yenc_data(std::size_t size) {
  std::string data = random_bytes(size);
  data.back() = 'x';
  return data;
}

std::vector<Kind> masks(bool with_offset) {
  std::vector<Kind> kinds;
  for (const auto &[name, length] :
       {std::pair{"mask 1", 1}, {"mask 3", 3}, {"mask 8", 8}, {"mask 1000", 1000}}) {
    Arguments further = {Text{random_bytes(static_cast<std::size_t>(length), 1), kEncodingBytes}};
    if (with_offset) further.emplace_back(0);
    kinds.push_back(made(
        name, kEncodingBytes, [](std::size_t size) { return random_bytes(size); }, further));
  }
  return kinds;
}

std::vector<Kind> ascii_kinds(std::int32_t mode, char wrong) {
  return {of("typical", kEncodingBytes, kWords, {mode}),
          made("worst", kEncodingBytes, with_byte(kWords, wrong, kLast), {mode}),
          made("best", kEncodingBytes, with_byte(kWords, wrong, kFirst), {mode})};
}

Kind differing(const char *name, std::size_t (*at)(std::size_t size)) {
  return pair(name, [at](std::size_t size) {
    return Pair{drawn(kWords, size), with_byte(kWords, '~', at)(size)};
  });
}

// A text and an edited copy of it; two texts without a common letter; the same text twice.
std::vector<Kind> distance_kinds() {
  const auto words = [](std::size_t size) { return drawn(kWords, size); };
  return {pair(
              "typical",
              [=](std::size_t size) {
                return Pair{words(size), edited(words(size))};
              },
              kEncodingUTF16),
          pair(
              "worst",
              [](std::size_t size) {
                return Pair{drawn(single_bytes('a', 'm'), size), drawn(single_bytes('n', 'z'), size)};
              },
              kEncodingUTF16),
          pair(
              "best",
              [=](std::size_t size) {
                return Pair{words(size), words(size)};
              },
              kEncodingUTF16)};
}

// So many edits, far enough from each other that swaps bring nothing. What fills whole rows of a matrix takes
// as long as on the texts above.
Kind few_edits(const char *name, std::size_t letter_count, std::size_t edit_count) {
  Kind kind = pair(
      name,
      [edit_count](std::size_t size) {
        const std::string words = drawn(kWords, size);
        return Pair{words, edited_evenly(words, edit_count)};
      },
      kEncodingUTF16);
  kind.unfit_rivals = {"matrix", "threerows"};
  kind.sizes = {letter_count};
  return kind;
}

std::vector<Kind> edit_distance_kinds() {
  std::vector<Kind> kinds = distance_kinds();
  kinds[0].unfit_rivals = {"edlib"};
  kinds.push_back(few_edits("46 edits", 16000, 46));
  kinds.push_back(few_edits("468 edits", 16000, 468));
  kinds.push_back(few_edits("1638 edits", 16000, 1638));
  kinds.push_back(few_edits("13 edits", 4000, 13));
  return kinds;
}

std::vector<Kind> number_kinds(const Arguments &further) {
  std::vector<Kind> kinds;
  for (const auto &[name, number] : {std::pair{"typical", 1234.56},
                                     {"worst", 0.12345678901234568},
                                     {"best", 5.0},
                                     {"large", 9007199254740991.0},
                                     {"small", -0.00123}}) {
    Arguments all = {number};
    all.insert(all.end(), further.begin(), further.end());
    kinds.push_back({name, [all](std::size_t) { return all; }});
  }
  return kinds;
}

Arguments dump_shape(std::int32_t hexlen, std::int32_t linelen, const char *lineend) {
  return {hexlen, linelen, ascii(""), ascii(lineend), ascii(" "), ascii(".")};
}

Kind six_parts(const char *name) {
  return {name, [](std::size_t size) {
            const std::string all = random_bytes(size);
            Arguments parts;
            for (std::size_t i = 0; i < 6; ++i) {
              parts.emplace_back(
                  Text{all.substr(size * i / 6, size * (i + 1) / 6 - size * i / 6), kEncodingBytes});
            }
            return parts;
          }};
}

Kind one_long_part() {
  return {"one long", [](std::size_t size) {
            Arguments parts(6, Text{"x", kEncodingBytes});
            parts[2] = Text{random_bytes(size - 5), kEncodingBytes};
            return parts;
          }};
}

Kind dump_in_one_line() {
  return {"one line", [](std::size_t size) {
            Arguments arguments = dump_shape(2, static_cast<std::int32_t>(size), "");
            arguments.insert(arguments.begin(), Text{random_bytes(size), kEncodingBytes});
            return arguments;
          }};
}

std::string upper_case(const std::string &text) {
  std::string upper = text;
  for (char &c : upper) c = c >= 'a' && c <= 'f' ? static_cast<char>(c - 32) : c;
  return upper;
}

std::string without_carriage_returns(const std::string &text) {
  std::string without = text;
  std::erase(without, '\r');
  return without;
}

std::string decoded(GMimeContentEncoding encoding, const std::string &text) {
  std::string bytes(text.size(), '\0');
  GMimeEncoding state;
  g_mime_encoding_init_decode(&state, encoding);
  bytes.resize(g_mime_encoding_flush(&state, text.data(), text.size(), bytes.data()));
  return bytes;
}

// GMime's own decoder loses what follows padding in base64, and expects whole characters in each word.
std::string decoded_word(std::string payload, bool base64) {
  std::ranges::replace(payload, '_', ' ');
  return decoded(base64 ? GMIME_CONTENT_ENCODING_BASE64 : GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE, payload);
}

// Encoders are free in where they break lines and which spaces they escape; Poco loses those before a line
// break.
std::string decoded_lines(const std::string &text) {
  std::string lines;
  for (const char c :
       without_carriage_returns(decoded(GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE, text)) + '\n') {
    if (c == '\n') lines.resize(lines.find_last_not_of(' ') + 1);
    lines += c;
  }
  return lines;
}

// White space between two encoded words does not count.
std::string decoded_subject(const std::string &text) {
  std::string subject;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t word = std::min(text.find("=?", at), text.size());
    const std::string between = text.substr(at, word - at);
    if (at == 0 || between.find_first_not_of(" \r\n\t") != std::string::npos) subject += between;
    if (word == text.size()) break;
    const std::size_t payload = text.find('?', word + 2) + 3;
    const std::size_t end = text.find("?=", payload);
    subject += decoded_word(text.substr(payload, end - payload), (text[payload - 2] | 0x20) == 'b');
    at = end + 2;
  }
  return subject;
}

std::size_t decode_html(const KernelInput &in, ByteBuffer out) {
  return 2 * html::decode(in.units, {reinterpret_cast<CodeUnit *>(out.data()), out.size() / 2});
}

template <const charsets::Charset &kSet>
std::size_t decode_charset(const KernelInput &in, ByteBuffer out) {
  return 2 * charsets::decode(in.texts[0], kSet,
                              {reinterpret_cast<std::uint16_t *>(out.data()), in.texts[0].size()});
}

std::size_t remove_tags(const KernelInput &in, ByteBuffer out) { return tags::remove(in.texts[0], out); }

std::size_t replace_tags(const KernelInput &in, ByteBuffer out) {
  if (in.texts[1].size() == 1) return tags::replace(in.texts[0], in.texts[1].front(), out);
  return tags::Replacer(in.texts[0], in.texts[1]).write(out);
}

std::size_t dump(const KernelInput &in, ByteBuffer out) {
  const hex_dump::Shape shape = {in.integers[0], in.integers[1], in.texts[1],
                                 in.texts[2],    in.texts[3],    in.texts[4]};
  return hex_dump::dump(in.texts[0], shape, out);
}

std::size_t concat(const KernelInput &in, ByteBuffer out) {
  std::uint8_t *next = out.data();
  for (const ByteView text : in.texts) next = std::ranges::copy(text, next).out;
  return static_cast<std::size_t>(next - out.data());
}

// Stores a result that is a number, so that the compiler cannot leave out its computation.
template <typename Number>
std::size_t number_out(Number number, ByteBuffer out) {
  std::memcpy(out.data(), &number, sizeof number);
  return sizeof number;
}

std::size_t count(const KernelInput &in, ByteBuffer out) {
  return number_out(ordering::count(in.texts[0], in.texts[1]), out);
}

std::size_t ascii_test(const KernelInput &in, ByteBuffer out) {
  return number_out(classification::is_ascii(in.texts[0], in.integers[0]), out);
}

template <std::size_t kSize>
std::span<char, kSize> chars_of(ByteBuffer out) {
  return std::span<char, kSize>(reinterpret_cast<char *>(out.data()), kSize);
}

// By default, rivals are found by the function's name without "KZV", and sizes are kSizes, in bytes.
Function row(const char *name, const std::string &declaration, Prepare prepare, Kernel kernel,
             std::vector<Kind> kinds, Comparable comparable = nullptr) {
  const std::size_t begin = declaration.starts_with('_') ? 1 : 0;
  const std::string job = declaration.substr(begin, declaration.find("KZV(") - begin);
  return {name, declaration, job, prepare, kernel, kSizes, std::move(kinds), comparable};
}

Function rivalled_as(const char *job, Function function) {
  function.job = job;
  return function;
}

Function viewing(const char *view, Function function) {
  function.view = view;
  return function;
}

Function reading_utf16(Function function) {
  function.reads = kEncodingUTF16;
  return viewing("Utf16", std::move(function));
}

Function in_sizes(const std::vector<std::size_t> &sizes, Function function) {
  function.sizes = sizes;
  return function;
}

std::vector<Function> make_functions() {
  constexpr REALencoding kBytes = kEncodingBytes;
  constexpr REALencoding kAscii = kEncodingASCII;
  constexpr REALencoding kUtf8 = kEncodingUTF8;
  const auto random = [](std::size_t size) { return random_bytes(size); };
  const auto one_letter = [](const char *digits) {
    return [=](std::size_t size) { return hex_digits(size, digits); };
  };
  const Pieces accents = kWords + kWords + kFrench;
  return {
      row("URL encode", "EncodingToURLKZV(s as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) { return url::encode(in.texts[0], 0, out); },
          {of("typical", kUtf8, accents), of("worst", kBytes, kHighBytes), of("best", kAscii, kLetters),
           of("scripts", kUtf8, kScripts), of("dense", kUtf8, kDense)}),
      row("URL decode", "DecodingFromURLKZV(s as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) { return url::decode(in.texts[0], 0, out); },
          {of("typical", kAscii,
              Pieces{"the%20", "house%2C", "river", "a%20", "%C3%A9t%C3%A9", "which%20", "1995"}),
           of("worst", kAscii, kEscapesUrl), of("best", kAscii, kLetters)}),
      rivalled_as("DecodingFromURLForm",
                  row("URL decode form", "DecodingFromURLKZV(s as string, options as integer) as string",
                      prepare<S, S, I>,
                      [](const KernelInput &in, ByteBuffer out) { return url::decode(in.texts[0], 1, out); },
                      {of("typical", kAscii,
                          Pieces{"the+", "house%2C", "river", "a+", "%C3%A9t%C3%A9", "which+", "1995"}, {1}),
                       of("worst", kAscii, kEscapesUrl + Pieces{"+"}, {1}),
                       of("best", kAscii, kLetters, {1}), of("blanks", kAscii, {"+"}, {1})})),
      row(
          "hex encode", "EncodingToHexKZV(s as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) { return hex::encode(in.texts[0], out); },
          {made("typical", kBytes, random), of("worst", kBytes, single_bytes(0xAA, 0xFF)),
           of("best", kBytes, {"0"})},
          upper_case),
      viewing("Ascii", row("hex decode", "DecodingFromHexKZV(s as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) { return hex::decode(in.texts[0], out); },
          {made("typical", kAscii, one_letter("0123456789ABCDEF")),
           made("worst", kAscii, one_letter("0123456789ABCDEFabcdef")),
           made("best", kAscii, one_letter("0123456789"))})),
      reading_utf16(row("HTML encode", "EncodingToHTMLKZV(s as string, options as integer = 0) as string", prepare<S, S, I>,
          [](const KernelInput &in, ByteBuffer out) { return html::encode(in.units, false, out).written; },
          {of("typical", kUtf8, kWords + kWords + kMarkup, {0}),
           of("worst", kUtf8, {"<", ">", "&", "\""}, {0}), of("best", kUtf8, kWords, {0}),
           of("accents", kUtf8, accents + kRussian, {0}, {"GLib", "Qt", "libxml2special"}),
           of("scripts", kUtf8, kScripts, {0}, {"GLib", "Qt", "libxml2special"}),
           of("dense", kUtf8, kDense, {0}, {"GLib", "Qt", "libxml2special"}),
           of("astral", kUtf8, kAstral, {0}, {"GLib", "Qt", "libxml2special", "libxml2"})})),
      reading_utf16(rivalled_as(
          "EncodingLettersToHTML",
          row("HTML encode letters", "EncodingToHTMLKZV(s as string, options as integer = 0) as string",
              prepare<S, S, I>,
              [](const KernelInput &in, ByteBuffer out) { return html::encode(in.units, true, out).written; },
              {of("typical", kUtf8, kWords + kMarkup + kRussian, {1}), of("worst", kUtf8, kRussian, {1}),
               of("best", kUtf8, kWords, {1}), of("accents", kUtf8, kFrench, {1}, {"ICU"}),
               of("scripts", kUtf8, kScripts, {1}, {"ICU"}),
               of("astral", kUtf8, kAstral, {1}, {"ICU", "libxml2"})}))),
      reading_utf16(row("HTML decode", "DecodingFromHTMLKZV(s as string) as string", prepare<S, S>, decode_html,
          {of("typical", kUtf8, kWords + kReferences), of("worst", kUtf8, kReferences),
           of("best", kUtf8, kWords), of("accents", kUtf8, kWords + kNamedReferences, {}, {"GLib", "Qt"})})),
      reading_utf16(row("ISO-8859-1 encode", "EncodingToISO8859KZV(s as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) {
            return charsets::encode(in.units, charsets::kIso8859, out);
          },
          {of("typical", kUtf8, accents), of("worst", kUtf8, {"\u00e9", "\u00fc", "\u00a9"}),
           of("best", kUtf8, kWords), of("scripts", kUtf8, kScripts, {}, kConverters)})),
      reading_utf16(row("CP1252 encode", "EncodingToCP1252KZV(s as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) {
            return charsets::encode(in.units, charsets::kCp1252, out);
          },
          {of("typical", kUtf8, accents + Pieces{"\u20ac 5 ", "\u201cso\u201d ", "\u2013 "}),
           of("worst", kUtf8, {"\u20ac", "\u201c", "\u00e9", "\u2122"}), of("best", kUtf8, kWords),
           of("scripts", kUtf8, kScripts, {}, kConverters)})),
      row("ISO-8859-1 decode", "DecodingFromISO8859KZV(s as string) as string", prepare<S, S>,
          decode_charset<charsets::kIso8859>,
          {of("typical", kBytes, kWords + Pieces{"\xE9t\xE9 ", "gar\xE7on "}),
           of("worst", kBytes, kLatin1Letters), of("best", kBytes, kWords)}),
      row("CP1252 decode", "DecodingFromCP1252KZV(s as string) as string", prepare<S, S>,
          decode_charset<charsets::kCp1252>,
          {of("typical", kBytes, kWords + Pieces{"\xE9t\xE9 ", "\x80 5 ", "\x93so\x94 "}),
           of("worst", kBytes, {"\x80", "\x93", "\x99", "\xE9"}), of("best", kBytes, kWords)}),
      viewing("Utf8", row("tag removal", "RemoveHTMLTagsKZV(AsciiTextWithTags as string) as string", prepare<S, S>,
          remove_tags,
          {of("typical", kUtf8, kWords + kMarkup), of("worst", kUtf8, {"<b>x</b>", "<i>", "y</i>"}),
           of("best", kUtf8, kWords), of("dense", kUtf8, kDenseTags)})),
      viewing("Utf8", row("tag replacement",
          "RemoveHTMLTagsWithKZV(AsciiTextWithTags as string, Replacement as string) as string",
          prepare<S, S, S>, replace_tags,
          {of("typical", kUtf8, kWords + kMarkup, {ascii(" ")}),
           of("worst", kUtf8, {"<b>x</b>", "<i>", "y</i>"}, {ascii("--")}),
           of("best", kUtf8, kWords, {ascii(" ")}),
           of("dense", kUtf8, kDenseTags, {ascii("--")}), of("dense 1", kUtf8, kDenseTags, {ascii(" ")})})),
      viewing("Ascii", row("SQL rewriting", "SQLReplaceBooleanKZV(SQL as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) { return sql::replace_booleans(in.texts[0], out); },
          {of("typical", kAscii, kSql), of("worst", kAscii, {"true,", "false,", "trust,", "''"}),
           of("best", kAscii, {"SELECT ", "name, ", "= 12 ", "(x) "}),
           of("booleans", kAscii, {"true,", "false,"})})),
      row("MySQL unescape", "DecodingFromMySQLKZV(s as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) { return sql::decode_mysql(in.texts[0], out); },
          {of("typical", kUtf8, kWords + Pieces{"it\\'s ", "\\n"}), of("worst", kUtf8, kEscapesMySql),
           of("best", kUtf8, kWords), of("backslashes", kUtf8, {"\\"})}),
      row(
          "quoted-printable encode",
          "EncodingToQuotedPrintableKZV(s as string, LineLen as integer = 72) as string", prepare<S, S, I>,
          [](const KernelInput &in, ByteBuffer out) {
            return quoted_printable::encode(in.texts[0], 72, out);
          },
          {of("typical", kUtf8, kLines + kLines + kFrench, {72}), of("worst", kBytes, kHighBytes, {72}),
           of("best", kUtf8, kLines, {72}), of("dense", kUtf8, kDense, {72})},
          decoded_lines),
      row(
          "quoted-printable decode", "DecodingFromQuotedPrintableKZV(s as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) { return quoted_printable::decode(in.texts[0], out); },
          {of("typical", kAscii, kQuoted), of("worst", kAscii, kEscapesQuoted), of("best", kAscii, kLines),
           of("irregular", kAscii, kIrregular, {}, {"GMime", "Poco"})},
          without_carriage_returns),
      viewing("Utf8", row(
          "mail subject", "EncodeEmailSubjectKZV(s as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) {
            return mail_subject::needs_encoding(in.texts[0]) ? mail_subject::encode(in.texts[0], out) : 0;
          },
          {of("typical", kUtf8, accents), of("worst", kUtf8, {"\u00e9", "\u0434", "\u20ac"}),
           of("best", kAscii, kLetters), of("scripts", kUtf8, kScripts)},
          decoded_subject)),
      row("yEnc decode", "_yDecodeStringKZV(data as string) as string", prepare<S, S>,
          [](const KernelInput &in, ByteBuffer out) { return yenc::decode(in.texts[0], out); },
          {made("typical", kBytes, yenc_data), of("worst", kBytes, kEscapesYenc),
           of("best", kBytes, kLetters)}),
      row("hex dump",
          "HexstringKZV(input as string, hexlen as integer, linelen as integer, linestart as string, lineend "
          "as string, spacer as string,filler as string) as string",
          prepare<S, S, I, I, S, S, S, S>, dump,
          {made("typical", kBytes, random, dump_shape(2, 16, "\n")),
           made("worst", kBytes, random, dump_shape(1, 3, "\r\n")),
           made("best", kBytes, random, dump_shape(64, 1, "\n")), dump_in_one_line()}),
      row(
          "AND", "StringANDKZV(a as string,b as string) as string", prepare<S, S, S>,
          [](const KernelInput &in, ByteBuffer out) {
            return bitwise::and_bytes(in.texts[0], in.texts[1], out);
          },
          masks(false)),
      row(
          "OR", "StringORKZV(a as string,b as string) as string", prepare<S, S, S>,
          [](const KernelInput &in, ByteBuffer out) {
            return bitwise::or_bytes(in.texts[0], in.texts[1], out);
          },
          masks(false)),
      row(
          "XOR", "StringXORKZV(data as string, XorMask as string, MaskOffset as integer = 0) as string",
          prepare<S, S, S, I>,
          [](const KernelInput &in, ByteBuffer out) {
            return bitwise::xor_bytes(in.texts[0], in.texts[1], 0, out);
          },
          masks(true)),
      row("ASCII test 0", "IsASCIIStringKZV(s as string, mode as integer) as boolean",
          prepare<REALboolean, S, I>, ascii_test, ascii_kinds(0, '\xE9')),
      row("ASCII test 1", "IsASCIIStringKZV(s as string, mode as integer) as boolean",
          prepare<REALboolean, S, I>, ascii_test, ascii_kinds(1, '\x01')),
      row("ASCII test 2", "IsASCIIStringKZV(s as string, mode as integer) as boolean",
          prepare<REALboolean, S, I>, ascii_test, ascii_kinds(2, '\x01')),
      row("replace non-printables",
          "ReplaceNonPrintableCharactersKZV(s as string, replacevalue as integer=46) as string",
          prepare<S, S, I>,
          [](const KernelInput &in, ByteBuffer out) {
            return classification::replace_non_printable(in.texts[0], '.', out);
          },
          {of("typical", kUtf8, kLines + kFrench, {46}), of("worst", kBytes, kHighBytes, {46}),
           of("best", kAscii, kLetters, {46})}),
      row("HTML ready", "StringIsHTMLreadyKZV(s as string) as boolean", prepare<REALboolean, S>,
          [](const KernelInput &in, ByteBuffer out) {
            return number_out(html::is_html_ready(in.texts[0]), out);
          },
          {of("typical", kUtf8, kWords), made("worst", kUtf8, with_byte(kWords, '<', kLast)),
           made("best", kUtf8, with_byte(kWords, '<', kFirst))}),
      row("compare bytes", "StrCompBytesKZV(a as string, b as string) as integer", prepare<I, S, S>,
          [](const KernelInput &in, ByteBuffer out) {
            return number_out(ordering::compare(in.texts[0], in.texts[1]), out);
          },
          {differing("typical", kMiddle), differing("worst", kLast), differing("best", kFirst),
           pair("equal", [](std::size_t size) { return Pair{drawn(kWords, size), drawn(kWords, size)}; })}),
      rivalled_as("CountLetter",
                  row("count letter", "CountOccurancesKZV(s as string, find as string) as integer",
                      prepare<I, S, S>, count,
                      {of("typical", kUtf8, kWords, {ascii("e")}), of("worst", kUtf8, {"a"}, {ascii("a")}),
                       of("best", kUtf8, kWords, {ascii("~")}),
                       of("one byte", kUtf8, {"a"}, {ascii("b")})})),
      row("count word", "CountOccurancesKZV(s as string, find as string) as integer", prepare<I, S, S>, count,
          {of("typical", kUtf8, kWords, {ascii("the ")}), of("worst", kUtf8, {"a"}, {ascii("aaaaaaab")}),
           of("best", kUtf8, kWords, {ascii("~~~~")}), of("absent", kUtf8, kWords, {ascii("thz ")})}),
      in_sizes(kLetterCounts,
               viewing("Utf16", row(
                   "Jaro-Winkler", "JaroWinklerDistanceKZV(a as string, b as string) as double",
                   prepare<double, S, S>,
                   [](const KernelInput &in, ByteBuffer out) {
                     return number_out(*distance::jaro_winkler(in.wide[0], in.wide[1]), out);
                   },
                   distance_kinds()))),
      in_sizes(kLetterCounts,
               viewing("Utf16", row(
                   "edit distance", "LevenshteinDistanceKZV(a as string, b as string) as double",
                   prepare<double, S, S>,
                   [](const KernelInput &in, ByteBuffer out) {
                     return number_out(*distance::edit_distance(in.wide[0], in.wide[1]), out);
                   },
                   edit_distance_kinds()))),
      in_sizes(kNumber, row(
                            "number", "StrKZV(d as double) as string", prepare<S, double>,
                            [](const KernelInput &in, ByteBuffer out) {
                              return numbers::fixed(in.real, chars_of<numbers::kFixedBound>(out));
                            },
                            number_kinds({}))),
      in_sizes(kNumber, row(
                            "scientific number", "ScientificStrKZV(d as double, digits as integer) as string",
                            prepare<S, double, I>,
                            [](const KernelInput &in, ByteBuffer out) {
                              return numbers::scientific(in.real, in.integers[0],
                                                         chars_of<numbers::kScientificBound>(out));
                            },
                            number_kinds({6}))),
      row("concatenation",
          "ConcatBinaryStringsKZV(a as string, b as string, c as string, d as string, e as string, f as "
          "string) as string",
          prepare<S, S, S, S, S, S, S>, concat, {six_parts("typical"), one_long_part()}),
  };
}

}  // namespace

Text in_encoding(const Text &text, REALencoding encoding) {
  if (text.encoding == encoding || text.encoding == kEncodingBytes) return text;
  return {host::convert(text.bytes, text.encoding, encoding).value(), encoding};
}

KernelInput::KernelInput(const Arguments &arguments) {
  for (const Value &value : arguments) {
    if (const Text *const text = std::get_if<Text>(&value)) {
      texts.emplace_back(reinterpret_cast<const std::uint8_t *>(text->bytes.data()), text->bytes.size());
      const std::string units_of =
          host::convert(text->bytes, text->encoding, kEncodingUTF16).value_or(std::string());
      if (texts.size() == 1) utf16 = units_of;
      const CodeUnitView view(reinterpret_cast<const CodeUnit *>(units_of.data()), units_of.size() / 2);
      std::vector<std::uint32_t> &letters = wide.emplace_back();
      for (const CodeUnit unit : view) letters.push_back(unit.value);
    } else if (const std::int32_t *const integer = std::get_if<std::int32_t>(&value)) {
      integers.push_back(*integer);
    } else {
      real = std::get<double>(value);
    }
  }
  units = {reinterpret_cast<const CodeUnit *>(utf16.data()), utf16.size() / 2};
}

const std::vector<Function> &functions() {
  static const std::vector<Function> all = make_functions();
  return all;
}

}  // namespace kzv::bench
