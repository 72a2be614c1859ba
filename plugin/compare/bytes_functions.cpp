#include "compare/bytes_functions.h"

#include <array>
#include <cstdlib>
#include <cstring>

#include "compare/bitwise.h"
#include "frame/transform.h"

namespace kzv {
namespace {

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

}  // namespace kzv
