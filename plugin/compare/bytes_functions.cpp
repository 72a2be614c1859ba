#include <algorithm>
#include <cstdlib>

#include "compare/bitwise.h"
#include "frame/transform.h"
#include "functions.h"

namespace kzv {
namespace {

// Results must stay this far below the limit of 2,147,483,647 bytes: longer ones are nil.
constexpr std::uint64_t kCombineMargin = 5;
constexpr std::uint64_t kConcatMargin = 10;

// Has `kernel(data, mask, output) -> bytes written` combine two arguments.
template <typename Kernel>
REALstringStruct *Combine(REALstringStruct *data, REALstringStruct *mask, Kernel kernel) {
  if (data == nullptr || mask == nullptr) return nullptr;
  Output combined;
  Read<rbData>({data, mask}, [&](const rbData &first, const rbData &second) {
    combined.Fill(first.bytes().size() + kCombineMargin,
                  [&](ByteBuffer output) { return kernel(first.bytes(), second.bytes(), output); });
  });
  return combined.Finish(kEncodingBytes);
}

template <typename... Strings>
REALstringStruct *Concat(Strings *...strings) {
  Output joined;
  Read<rbData>({strings...}, [&](const auto &...argument) {
    const std::uint64_t total = (std::uint64_t{argument.bytes().size()} + ...);
    joined.Fill(total + kConcatMargin, [&](ByteBuffer output) {
      std::uint8_t *next = output.data();
      ((next = std::ranges::copy(argument.bytes(), next).out), ...);
      return static_cast<std::size_t>(total);
    });
  });
  return joined.Finish(kEncodingBytes);
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

REALstringStruct *ConcatBinaryStrings2(REALstringStruct *a, REALstringStruct *b) { return Concat(a, b); }

REALstringStruct *ConcatBinaryStrings3(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c) {
  return Concat(a, b, c);
}

REALstringStruct *ConcatBinaryStrings4(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c,
                                       REALstringStruct *d) {
  return Concat(a, b, c, d);
}

REALstringStruct *ConcatBinaryStrings5(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c,
                                       REALstringStruct *d, REALstringStruct *e) {
  return Concat(a, b, c, d, e);
}

REALstringStruct *ConcatBinaryStrings6(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c,
                                       REALstringStruct *d, REALstringStruct *e, REALstringStruct *f) {
  return Concat(a, b, c, d, e, f);
}

REALstringStruct *RandomBytesString(std::int32_t length, REALboolean ascii) {
  constexpr int kFirstPrintable = 32;
  constexpr int kPrintable = 96;
  if (length < 1) return nullptr;
  Output drawn;
  drawn.Fill(static_cast<std::uint64_t>(length), [ascii](ByteBuffer output) {
    std::ranges::generate(output, [ascii] {
      const int number = std::rand();  // NOLINT(concurrency-mt-unsafe): programs seed this generator
      return static_cast<std::uint8_t>(IsTrue(ascii) ? kFirstPrintable + number % kPrintable : number & 0xFF);
    });
    return output.size();
  });
  return drawn.Finish(IsTrue(ascii) ? kEncodingASCII : kEncodingBytes);
}

}  // namespace kzv
