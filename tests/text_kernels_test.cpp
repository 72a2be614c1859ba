#include <array>
#include <gtest/gtest.h>
#include <map>

#include "markup/classification.h"
#include "markup/sql.h"
#include "markup/tags.h"
#include "support/kernels.h"
#include "support/twins.h"
#include "transfer/hex.h"
#include "transfer/mail_subject.h"
#include "transfer/yenc.h"

namespace kzv {
namespace {

using namespace std::string_literals;
using namespace classification;
using Rewriting = std::string (*)(std::string_view);

constexpr std::uint64_t same_room(std::size_t byte_count) { return byte_count; }
template <std::size_t (*kernel)(ByteView, ByteBuffer), std::uint64_t (*room)(std::size_t) = same_room>
std::string run(std::string_view text) {
  return run_kernel(text, room(text.size()), kernel);
}
constexpr Rewriting to_hex = run<hex::encode, hex::encode_bound>;
constexpr Rewriting from_hex = run<hex::decode, hex::decode_bound>;
std::string subject(std::string_view text) {
  Guarded guarded(text);
  if (!mail_subject::needs_encoding(guarded.bytes())) return "as it is";
  EXPECT_LE(mail_subject::encoded_size(guarded.bytes()), mail_subject::encode_bound(text.size()));
  return run_kernel(text, mail_subject::encoded_size(guarded.bytes()), mail_subject::encode);
}
std::string tags_replaced(std::string_view text) {
  return run_kernel(text, text.size(),
                    [](ByteView in, ByteBuffer out) { return tags::replace(in, '*', out); });
}
std::string dotted(std::string_view text) {
  return run_kernel(text, text.size(),
                    [](ByteView in, ByteBuffer out) { return replace_non_printable(in, '.', out); });
}

TEST(TextKernels, Tables) {
  const auto rows = std::to_array<std::tuple<Rewriting, std::string, std::string>>({
      {from_hex, "4a4A1GG10A 0B", "\x4A\x4A\x10\x01\x0A\0"s},  // a space shifts the pairs, the end is odd
      {subject, "", "as it is"},
      {subject, " =?~\x7F_", "as it is"},
      {subject, "plain\0\xC3\xA9"s, "as it is"},  // the zero byte ends the text
      {subject, "a_b=c ?\t\x7F\xC3\xA9\0\xC3"s, "=?utf-8?Q?a=5Fb=3Dc_?\t\x7F=C3=A9?="},
      {subject, "\xFF\xFF\xFF", "=?utf-8?Q?=FF=FF=FF?="},  // fills its room
      {run<yenc::decode>, "\x72\x8F\x96\x96\x99*)\r\n", "Hello\x00\xFF\xE3\xE0"s},
      {run<yenc::decode>, "=@=J=M=}==*=", "\xD6\xE0\xE3\x13\xD3\x00\x96"s},  // the last "=" stands alone
      {run<sql::decode_mysql>, R"(It\'s\q\n\N\z\)", "It's\\q\n\\N\\z\\"},
      {run<sql::replace_booleans>, "(true,false);tRuE\xC3True\0fALSE"s, "(1,0);1\xC3\x31\0\x30"s},
      {run<sql::replace_booleans>, "'true', \"false\" 'it' true", "'true', \"false\" 'it' 1"},
      {run<sql::replace_booleans>, "trueness is_true a=true tru", "trueness is_true a=true tru"},
      {tags_replaced, "a<x<y>z>b<c", "a***b*"},
      {tags_replaced, "x > y <b>z", "x ***b*"},  // the stray ">" turns kept and dropped round
  });
  for (const auto &[rewriting, input, output] : rows) EXPECT_EQ(rewriting(input), output) << input;
}

TEST(TextKernels, EveryByte) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const std::string one(1, static_cast<char>(byte));
    EXPECT_EQ(to_hex(one), (std::string{"0123456789ABCDEF"[byte / 16], "0123456789ABCDEF"[byte % 16]}));
    const int value = isxdigit(static_cast<int>(byte)) != 0 ? std::stoi(one, nullptr, 16) : 0;
    EXPECT_EQ(from_hex("2" + one), std::string(1, static_cast<char>(32 + value))) << byte;
    const bool high = byte >= 128 || byte == '=' || byte == '_';
    const std::string escaped = high ? "=" + to_hex(one) : byte == ' ' ? "_" : one.c_str();
    EXPECT_EQ(subject("\t" + one), "=?utf-8?Q?\t" + escaped + "?=") << byte;
    EXPECT_EQ(run<sql::decode_mysql>("\\" + one), sql::slow_decode_mysql("\\" + one)) << byte;
    EXPECT_EQ(run<sql::replace_booleans>("true" + one), sql::slow_replace_booleans("true" + one)) << byte;
    Guarded bytes(one);
    EXPECT_EQ(is_ascii(bytes.bytes(), 0), byte < 128) << byte;
    EXPECT_EQ(is_ascii(bytes.bytes(), 1), byte >= 32 && byte < 128) << byte;
    EXPECT_EQ(is_ascii(bytes.bytes(), 2), byte >= 32) << byte;
    EXPECT_EQ(dotted(one), byte >= 32 && byte < 128 ? one : ".") << byte;
    EXPECT_FALSE(is_ascii(bytes.bytes(), -1) || is_ascii(bytes.bytes(), 3) || is_ascii({}));
  }
}

// Lengths around the widths of vectors and blocks, the special byte at every position.
TEST(TextKernels, SpecialByteAnywhere) {
  for (const std::size_t length : {1U, 15U, 16U, 17U, 97U, 255U, 256U, 257U, 513U}) {
    std::string text(length, '\x7F');
    for (std::size_t at = 0; at < length; ++at) {
      text[at] = "\x1F\x80"[at % 2];
      Guarded bytes(text);
      ASSERT_EQ(is_ascii(bytes.bytes()), at % 2 == 0) << length << ' ' << at;
      ASSERT_EQ(dotted(text), std::string(text).replace(at, 1, "."));
      text[at] = '\x7F';
    }
  }
}

TEST(TextKernels, Markers) {
  const std::map<int, std::string> marks = {
      {1, "\xEF\xBB\xBF"},  {2, "\xFF\xFE"},      {3, "\xFE\xFF"},      {4, "\xFF\xFE"}, {-1, ""}, {0, ""},
      {5, "\xFF\xFE\0\0"s}, {6, "\0\0\xFE\xFF"s}, {7, "\xFF\xFE\0\0"s}, {8, ""}};
  for (const auto &[kind, mark] : marks) {
    const ByteView found = marker_bytes(kind);
    EXPECT_EQ(std::string(found.begin(), found.end()), mark) << kind;
    for (std::size_t length = 0; length <= mark.size() + 1; ++length) {
      const std::string text = (mark + "A").substr(0, length);
      int longest = 0;
      for (const int other : {3, 4, 1, 6, 7}) longest = text.starts_with(marks.at(other)) ? other : longest;
      EXPECT_EQ(detect_marker(Guarded(text).bytes()), longest) << kind << ' ' << length;
    }
  }
}

}  // namespace
}  // namespace kzv
