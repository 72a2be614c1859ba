#include "compare/functions.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "compare/bitwise.h"
#include "compare/distance.h"
#include "compare/numbers.h"
#include "compare/ordering.h"
#include "frame/exceptions.h"
#include "frame/transform.h"

namespace kzv {
namespace {

distance::WideView WideTextOf(rbText &text) { return {text.GetWChar(), text.LengthWChar()}; }

void RaiseNoMemoryFor(std::uint64_t byte_count) {
  char message[100];
  std::snprintf(message, sizeof message, "Failed to allocate %lld bytes of memory.",
                static_cast<long long>(byte_count));
  RaiseException(kOutOfMemory, message);
}

// Has `kernel(data, mask, output) -> bytes written` combine two arguments.
template <typename Kernel>
REALstringStruct *Combine(REALstringStruct *data, REALstringStruct *mask, Kernel kernel) {
  constexpr std::uint64_t kMargin = 5;  // a string of the greatest lengths has no room for it: nil
  if (data == nullptr || mask == nullptr) return nullptr;
  WorkBuffer output;
  std::size_t written = 0;
  {
    const rbData first(data);
    const rbData second(mask);
    if (!output.allocate(first.bytes().size() + kMargin)) return nullptr;
    written = kernel(first.bytes(), second.bytes(), output.bytes());
  }
  return REALBuildUnicodeString(output.data(), static_cast<std::int64_t>(written), kEncodingBytes);
}

std::uint8_t *Append(ByteView bytes, std::uint8_t *next) {
  if (!bytes.empty()) std::memcpy(next, bytes.data(), bytes.size());
  return next + bytes.size();
}

}  // namespace

std::int32_t StrCompBytes(REALstringStruct *a, REALstringStruct *b) {
  const rbData first(a);
  const rbData second(b);
  if (!first.present()) return -1;
  if (!second.present()) return 1;
  return ordering::compare(first.bytes(), second.bytes());
}

std::int32_t StrCompCharacters(REALstringStruct *a, REALstringStruct *b) {
  const REALencoding encoding_of_a = REALGetStringEncoding(a);
  if (encoding_of_a == REALGetStringEncoding(b)) {
    const rbData first(a);
    const rbData second(b);
    if (!first.present() || !second.present()) return -1;
    return ordering::compare(first.bytes(), second.bytes());
  }
  // The byte order of UTF-8 is the order of the characters.
  rbText first(a);
  rbText second(b);
  const ByteView text_of_a = first.utf8();
  return ordering::compare(text_of_a, second.utf8());
}

std::int32_t CountOccurances(REALstringStruct *s, REALstringStruct *find) {
  if (find == nullptr) return 0;
  const rbData needle(find);
  const rbData text(s);
  return ordering::count(text.bytes(), needle.bytes());
}

double JaroWinklerDistance(REALstringStruct *a, REALstringStruct *b) {
  std::size_t flags = 0;
  {
    rbText first(a);
    rbText second(b);
    const distance::WideView text_of_a = WideTextOf(first);
    const std::optional<double> result = distance::jaro_winkler(text_of_a, WideTextOf(second));
    if (result) return *result;
    flags = text_of_a.size();
  }
  RaiseNoMemoryFor(flags);
  return 0.0;
}

double LevenshteinDistance(REALstringStruct *a, REALstringStruct *b) {
  std::uint64_t matrix = 0;
  {
    rbText first(a);
    rbText second(b);
    const distance::WideView text_of_a = WideTextOf(first);
    const distance::WideView text_of_b = WideTextOf(second);
    if (text_of_a.empty() || text_of_b.empty()) return 1.0;
    // No matrix is made, but the texts that may be compared are those that one would fit.
    matrix = distance::matrix_byte_count(text_of_a.size(), text_of_b.size());
    if (matrix <= kMaxByteCount) {
      const std::optional<double> result = distance::edit_distance(text_of_a, text_of_b);
      if (result) return *result;
    }
  }
  RaiseNoMemoryFor(matrix);
  return 1.0;
}

REALstringStruct *StringAND(REALstringStruct *a, REALstringStruct *b) {
  return Combine(a, b, bitwise::and_bytes);
}

REALstringStruct *StringOR(REALstringStruct *a, REALstringStruct *b) {
  return Combine(a, b, bitwise::or_bytes);
}

REALstringStruct *StringXOR(REALstringStruct *data, REALstringStruct *mask, std::int32_t offset) {
  return Combine(data, mask, [offset](ByteView in, ByteView mask_bytes, ByteBuffer out) {
    return bitwise::xor_bytes(in, mask_bytes, offset, out);
  });
}

REALstringStruct *StringXOR2(REALstringStruct *data, REALstringStruct *mask, std::int32_t offset) {
  return Combine(data, mask, [offset](ByteView in, ByteView mask_bytes, ByteBuffer out) {
    return bitwise::xor_bytes_and_positions(in, mask_bytes, offset, out);
  });
}

REALstringStruct *ConcatBinaryStrings2(REALstringStruct *a, REALstringStruct *b) {
  return ConcatBinaryStrings6(a, b, nullptr, nullptr, nullptr, nullptr);
}

REALstringStruct *ConcatBinaryStrings3(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c) {
  return ConcatBinaryStrings6(a, b, c, nullptr, nullptr, nullptr);
}

REALstringStruct *ConcatBinaryStrings4(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c,
                                       REALstringStruct *d) {
  return ConcatBinaryStrings6(a, b, c, d, nullptr, nullptr);
}

REALstringStruct *ConcatBinaryStrings5(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c,
                                       REALstringStruct *d, REALstringStruct *e) {
  return ConcatBinaryStrings6(a, b, c, d, e, nullptr);
}

REALstringStruct *ConcatBinaryStrings6(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c,
                                       REALstringStruct *d, REALstringStruct *e, REALstringStruct *f) {
  constexpr std::uint64_t kMargin = 10;  // a total of the greatest lengths has no room for it: nil
  WorkBuffer output;
  std::size_t total = 0;
  {
    const std::array<rbData, 6> arguments = {rbData(a), rbData(b), rbData(c),
                                             rbData(d), rbData(e), rbData(f)};
    std::uint64_t sum = 0;
    for (const rbData &argument : arguments) sum += argument.bytes().size();
    if (!output.allocate(sum + kMargin)) return nullptr;
    std::uint8_t *next = output.data();
    for (const rbData &argument : arguments) next = Append(argument.bytes(), next);
    total = static_cast<std::size_t>(sum);
  }
  return REALBuildUnicodeString(output.data(), static_cast<std::int64_t>(total), kEncodingBytes);
}

REALstringStruct *RandomBytesString(std::int32_t length, REALboolean ascii) {
  constexpr int kFirstPrintable = 32;
  constexpr int kPrintable = 96;
  WorkBuffer output;
  if (length < 1 || !output.allocate(static_cast<std::uint64_t>(length))) return nullptr;
  for (std::uint8_t &byte : output.bytes()) {
    const int drawn =
        std::rand();  // NOLINT(concurrency-mt-unsafe): the program's own generator is what is wanted
    byte = static_cast<std::uint8_t>(IsTrue(ascii) ? kFirstPrintable + drawn % kPrintable : drawn & 0xFF);
  }
  return REALBuildUnicodeString(output.data(), length, IsTrue(ascii) ? kEncodingASCII : kEncodingBytes);
}

REALstringStruct *Str(double d) {
  std::array<char, numbers::kFixedRoom> text;
  const std::size_t length = numbers::fixed(d, text);
  return REALBuildUnicodeString(text.data(), static_cast<std::int64_t>(length), kEncodingASCII);
}

REALstringStruct *ScientificStr(double d, std::int32_t digits) {
  std::array<char, numbers::kScientificRoom> text;
  const std::size_t length = numbers::scientific(d, digits, text);
  return REALBuildUnicodeString(text.data(), static_cast<std::int64_t>(length), kEncodingASCII);
}

}  // namespace kzv
