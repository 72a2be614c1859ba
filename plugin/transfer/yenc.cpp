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

// Sets which bytes of the chunk are kept and which of those are escaped. `carry` is whether the first byte
// is, and then whether the one after the chunk is.
void choose(const scan::Chunk &chunk, std::uint64_t &carry, scan::Masks &kept, scan::Masks &escaped) {
  static constexpr cpu::ByteSet kSign = cpu::bytes_in("=");
  scan::Masks signs;
  chunk.find(kSign, signs);
  const auto found = std::span(signs).first(chunk.blocks());
  if (carry == 0 && std::ranges::all_of(found, [](std::uint64_t mask) { return mask == 0; })) {
    kept.fill(scan::kAllBits);
    escaped.fill(0);
    return;
  }
  for (std::size_t i = 0; i < chunk.blocks(); ++i) {
    const std::uint64_t first_is_escaped = carry;
    const std::uint64_t escapes = scan::find_escaping(signs[i], carry);
    escaped[i] = escapes << 1 | first_is_escaped;
    kept[i] = ~escapes;
  }
}

}  // namespace

std::size_t decode(ByteView input, ByteBuffer output) {
  std::uint64_t carry = 0;
  const auto write = [&](scan::Chunk &chunk) {
    scan::Masks kept;
    scan::Masks escaped;
    choose(chunk, carry, kept, escaped);
    return chunk.write_kept_sums(kept, escaped, 256 - kOffset, 256 - kEscapedOffset);
  };
  std::size_t written = scan::write_chunks(input, write, output);
  if (ends_in_escape(input)) output[written++] = static_cast<std::uint8_t>(0 - kOffset - kEscapedOffset);
  return written;
}

}  // namespace kzv::yenc
