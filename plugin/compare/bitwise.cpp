#include "compare/bitwise.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

namespace kzv::bitwise {
namespace {

constexpr std::array<std::uint8_t, 1> kZeroMask{};
constexpr std::size_t kRepeated = 2048;

// Writes operation(byte of data, byte of the mask, position modulo 256) for `count` bytes that begin at
// `position` of the data. The compiler makes vector code of it.
template <typename Operation>
void combine_run(const std::uint8_t *__restrict data, const std::uint8_t *__restrict mask, std::size_t count,
                 std::uint8_t position, std::uint8_t *__restrict output, Operation operation) {
  for (std::size_t k = 0; k < count; ++k) {
    output[k] = static_cast<std::uint8_t>(operation(data[k], mask[k], position++));
  }
}

// Combines with `mask` from its byte `start` on, and from its first byte again whenever it ends.
template <typename Operation>
void combine(ByteView data, ByteView mask, std::size_t start, ByteBuffer output, Operation operation) {
  for (std::size_t done = 0; done < data.size();) {
    const std::size_t count = std::min(data.size() - done, mask.size() - start);
    combine_run(data.data() + done, mask.data() + start, count, static_cast<std::uint8_t>(done),
                output.data() + done, operation);
    done += count;
    start = 0;
  }
}

// Fills `repeated` with whole copies of `mask` from its byte `start` on: as many as make about a sixteenth of
// the `needed` bytes, within 256 bytes and all. Of a short mask there are 16 copies or a multiple of that, so
// that a run is whole vectors without a tail. Returns what was filled.
ByteView repeat(ByteView mask, std::size_t start, std::size_t needed,
                std::span<std::uint8_t, kRepeated> repeated) {
  std::size_t copies = std::clamp(needed / 16, kRepeated / 8, kRepeated) / mask.size();
  if (copies >= 16) copies -= copies % 16;
  const std::size_t size = std::min(copies * mask.size(), needed);
  std::ranges::rotate_copy(mask, mask.begin() + static_cast<std::ptrdiff_t>(start), repeated.begin());
  for (std::size_t filled = mask.size(); filled < size;) {
    const std::size_t more = std::min(filled, size - filled);
    std::memcpy(repeated.data() + filled, repeated.data(), more);
    filled += more;
  }
  return repeated.first(size);
}

template <typename Operation>
std::size_t apply(ByteView data, ByteView mask, std::int32_t offset, ByteBuffer output, Operation operation) {
  assert(output.size() >= data.size());
  if (mask.empty()) mask = kZeroMask;
  const auto length = static_cast<std::int64_t>(mask.size());
  const auto start = static_cast<std::size_t>((offset % length + length) % length);
  if (mask.size() > kRepeated / 32 || data.size() <= mask.size()) {
    combine(data, mask, start, output, operation);
  } else {
    std::array<std::uint8_t, kRepeated> repeated;
    combine(data, repeat(mask, start, data.size(), repeated), 0, output, operation);
  }
  return data.size();
}

}  // namespace

std::size_t and_bytes(ByteView data, ByteView mask, ByteBuffer output) {
  return apply(data, mask, 0, output, [](int byte, int mask_byte, int) { return byte & mask_byte; });
}

std::size_t or_bytes(ByteView data, ByteView mask, ByteBuffer output) {
  return apply(data, mask, 0, output, [](int byte, int mask_byte, int) { return byte | mask_byte; });
}

std::size_t xor_bytes(ByteView data, ByteView mask, std::int32_t offset, ByteBuffer output) {
  return apply(data, mask, offset, output, [](int byte, int mask_byte, int) { return byte ^ mask_byte; });
}

std::size_t xor_bytes_and_positions(ByteView data, ByteView mask, std::int32_t offset, ByteBuffer output) {
  return apply(data, mask, offset, output,
               [](int byte, int mask_byte, int position) { return byte ^ mask_byte ^ position; });
}

}  // namespace kzv::bitwise
