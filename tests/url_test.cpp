#include "transfer/url.h"

#include <gtest/gtest.h>

#include "support/kernels.h"

namespace kzv::url {
namespace {

using std::string_literals::operator""s;

std::string encoded(std::string_view text, std::uint32_t options = 0) {
  return run_kernel(text, encode_bound(text.size()),
                    [=](ByteView in, ByteBuffer out) { return encode(in, options, out); });
}

std::string decoded(std::string_view text, std::uint32_t options = 0) {
  return run_kernel(text, text.size(), [=](ByteView in, ByteBuffer out) { return decode(in, options, out); });
}

TEST(Url, OptionsChooseSpaceAndPlus) {
  const struct {
    std::uint32_t options;
    std::string encoded;
    std::string decoded;
  } rows[] = {
      {0, "a%20b+c%2Fd%7Ee", "a+b c"},          {1, "a+b%2Bc%2Fd%7Ee", "a b c"},
      {2, "a%20b%2Bc%2Fd%7Ee", "a+b c"},        {3, "a%20b+c%2Fd%7Ee", "a b c"},
      {0xFFFFFFFC, "a%20b+c%2Fd%7Ee", "a+b c"},  // higher bits mean nothing
  };
  for (const auto &row : rows) {
    EXPECT_EQ(encoded("a b+c/d~e", row.options), row.encoded) << row.options;
    EXPECT_EQ(decoded("a+b%20c", row.options), row.decoded) << row.options;
  }
}

TEST(Url, EveryByteIsKeptOrEscaped) {
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    const bool letter_or_digit = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    char escape[4];
    snprintf(escape, sizeof escape, "%%%02X", static_cast<unsigned>(byte));
    const bool kept =
        letter_or_digit || (c != '\0' && std::string_view("!*+-._@").find(c) != std::string::npos);
    EXPECT_EQ(encoded({&c, 1}), kept ? std::string(1, c) : escape);
  }
}

TEST(Url, DecoderTakesWhateverFollowsThePercentSign) {
  const struct {
    std::string input, output;
  } rows[] = {
      {"%41%4a%4A", "AJJ"},
      {"%zz", "\0"s},
      {"%4z", "\x40"},
      {"%z4", "\x04"},
      {"100%ab", "100\xAB"},
      {"%%41",
       "\x04"
       "1"},
      {"%", "\0"s},    // both digits missing
      {"%4", "\x40"},  // one digit missing
      {"a%2", "a\x20"},
      {"%C3%A9", "\xC3\xA9"},
  };
  for (const auto &row : rows) EXPECT_EQ(decoded(row.input), row.output) << row.input;
}

}  // namespace
}  // namespace kzv::url
