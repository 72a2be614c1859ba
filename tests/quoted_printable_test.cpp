#include "transfer/quoted_printable.h"

#include <gtest/gtest.h>

#include "support/kernels.h"

namespace kzv::quoted_printable {
namespace {

// Encodes into exactly as many bytes as were announced.
std::string encoded(const std::string &text, std::int32_t line_length = 72) {
  const std::uint64_t size = encoded_size(Guarded(text).bytes(), line_length);
  EXPECT_LE(size, encode_bound(text.size(), line_length)) << line_length;
  return run_kernel(text, size, [&](ByteView in, ByteBuffer out) {
    EXPECT_EQ(encode(in, line_length, out), size) << line_length;
    return out.size();
  });
}
std::string decoded(const std::string &text) { return run_kernel(text, text.size(), decode); }

TEST(QuotedPrintable, ByHand) {
  EXPECT_EQ(encoded("a  \r\n\n!~\x7F\x1F\xFF"), "a =20\r\n\r\n!~=7F=1F=FF=\r\n");
  EXPECT_EQ(encoded("a=", 2), "=\r\na=\r\n=3D");  // no line is wide enough, not even the first
  EXPECT_EQ(encoded(std::string(80, 'a')), std::string(70, 'a') + "=\r\n" + std::string(10, 'a'));
  EXPECT_EQ(encode_bound(0x7FFFFFFF, 2), 12'884'901'885U);
  EXPECT_EQ(decoded("=41=3d=fF|=G5|=5G1|===41|=A\r\n\v\f\x80"), "A=\xFF||1|41|\n\v\f\x80");
  EXPECT_EQ(decoded("a=\r\nb= \t\r\nc= xy\r\nd=\n\ne= \r\n\nX"), "abcd\ne\nX");
  EXPECT_EQ(decoded("a\r\n\r\nb\n\rc\r\rd  \r\n"), "a\n\nb\nc\n\nd  \n");
  for (const char *cut : {"a=", "a=4", "a=G", "a=\r", "a=\t x"}) EXPECT_EQ(decoded(cut), "a") << cut;
}

}  // namespace
}  // namespace kzv::quoted_printable
