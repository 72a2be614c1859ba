// Texts with results worked out by hand, for the kernels that turn bytes into bytes.
#include <array>
#include <gtest/gtest.h>
#include <map>

#include "markup/classification.h"
#include "markup/sql.h"
#include "support/kernels.h"
#include "transfer/quoted_printable.h"
#include "transfer/yenc.h"

namespace kzv {
namespace {

using namespace std::string_literals;
using Rewriting = std::string (*)(const std::string &);

template <std::size_t (*kernel)(ByteView, ByteBuffer)>
std::string run(const std::string &text) {
  return run_kernel(text, text.size(), kernel);
}
template <std::int32_t line_length>
std::string printable(const std::string &text) {
  const std::uint64_t size = quoted_printable::encoded_size(Guarded(text).bytes(), line_length);
  return run_kernel(
      text, size, [](ByteView in, ByteBuffer out) { return quoted_printable::encode(in, line_length, out); });
}
constexpr Rewriting from_printable = run<quoted_printable::decode>;

TEST(TextKernels, KnownResults) {
  const std::string kilo(1023, 'a');
  const std::string tail(70, 'y');
  const auto rows = std::to_array<std::tuple<Rewriting, std::string, std::string>>({
      {run<yenc::decode>, "=@=J=M=}==*=", "\xD6\xE0\xE3\x13\xD3\x00\x96"s},  // the last "=" escapes nothing
      {run<sql::decode_mysql>, R"(It\'s\q\n\N\z\)", "It's\\q\n\\N\\z\\"},
      {run<sql::replace_booleans>, "(true,false);tRuE\xC3True\0fALSE"s, "(1,0);1\xC3\x31\0\x30"s},
      {run<sql::replace_booleans>, "'true', \"false\" 'it' true", "'true', \"false\" 'it' 1"},
      {run<sql::replace_booleans>, "trueness is_true a=true tru", "trueness is_true a=true tru"},
      {printable<72>, "a  \r\n\n!~\x7F\x1F\xFF", "a =20\r\n\r\n!~=7F=1F=FF=\r\n"},
      {printable<2>, "a=", "=\r\na=\r\n=3D"},  // no line is wide enough, not even the first
      {printable<2'000'000>, kilo + " \x8D" + std::string(100, 'b'), kilo + " =8D" + std::string(100, 'b')},
      {from_printable, "=41=3d=fF|=G5|=5G1|===41|=A\r\n\v\f\x80", "A=\xFF||1|41|\n\v\f\x80"},
      {from_printable, "a=\r\nb= \t\r\nc= xy\r\nd=\n\ne= \r\n\nX", "abcd\ne\nX"},
      {from_printable, "a\r\n\r\nb\n\rc\r\rd  \r\n", "a\n\nb\nc\n\nd  \n"},
      {from_printable, kilo + "\n\r" + tail, kilo + "\n" + tail},
      {from_printable, kilo + "\r\n\r" + tail, kilo + "\n\n" + tail},
  });
  for (const auto &[rewriting, input, output] : rows) EXPECT_EQ(rewriting(input), output) << input;
  EXPECT_EQ(quoted_printable::encode_bound(0x7FFFFFFF, 2), 12'884'901'885U);
}

TEST(TextKernels, ByteOrderMarks) {
  const std::map<int, std::string> marks = {
      {1, "\xEF\xBB\xBF"},  {2, "\xFF\xFE"},      {3, "\xFE\xFF"},      {4, "\xFF\xFE"}, {-1, ""}, {0, ""},
      {5, "\xFF\xFE\0\0"s}, {6, "\0\0\xFE\xFF"s}, {7, "\xFF\xFE\0\0"s}, {8, ""}};
  for (const auto &[kind, mark] : marks) {
    const ByteView found = classification::marker_bytes(kind);
    EXPECT_EQ(std::string(found.begin(), found.end()), mark) << kind;
    for (std::size_t length = 0; length <= mark.size() + 1; ++length) {
      const std::string text = (mark + "A").substr(0, length);
      int longest = 0;
      for (const int other : {3, 4, 1, 6, 7}) longest = text.starts_with(marks.at(other)) ? other : longest;
      EXPECT_EQ(classification::detect_marker(Guarded(text).bytes()), longest) << kind << ' ' << length;
    }
  }
}

}  // namespace
}  // namespace kzv
