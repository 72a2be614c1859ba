#include "transfer/yenc.h"

#include <algorithm>

#include "scan/chunk.h"
#include "scan/escaping.h"

namespace kzv::yenc {
namespace {

constexpr std::uint8_t kOffset = 42;
constexpr std::uint8_t kEscapedOffset = 64;  // on top of the other

// Whether the last byte of the input escapes a byte that is missing: the "=" at the end are odd in number.
bool ends_in_escape(ByteView input) {
  const auto run_end =
      std::find_if(input.rbegin(), input.rend(), [](std::uint8_t byte) { return byte != '='; });
  return (run_end - input.rbegin()) % 2 != 0;
}

}  // namespace

std::size_t decode(ByteView input, ByteBuffer output) {
  static constexpr cpu::ByteSet kSign = cpu::bytes_in("=");
  std::uint64_t carry = 0;
  const auto choose = [&](scan::Chunk &chunk, scan::Masks &kept) {
    scan::Masks signs;
    scan::Masks escaped;
    chunk.find(kSign, signs);
    for (std::size_t i = 0; i < chunk.blocks(); ++i) {
      const std::uint64_t first_is_escaped = carry;
      const std::uint64_t escapes = scan::find_escaping(signs[i], carry);
      escaped[i] = escapes << 1 | first_is_escaped;
      kept[i] = ~escapes;
    }
    chunk.add(escaped, 256 - kOffset, 256 - kEscapedOffset);
  };
  std::size_t written = scan::keep(input, choose, output);
  if (ends_in_escape(input)) output[written++] = static_cast<std::uint8_t>(0 - kOffset - kEscapedOffset);
  return written;
}

}  // namespace kzv::yenc
