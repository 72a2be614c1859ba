#include "compare/bitwise.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

namespace kzv::bitwise {
namespace {

constexpr std::array<std::uint8_t, 1> kZeroMask{};
constexpr std::size_t kBlock = 256;

// Each operation combines a run of bytes that starts at `position` of the data with as many of the mask.
struct And {
  static void run(const std::uint8_t *__restrict data, const std::uint8_t *__restrict mask, std::size_t count,
                  std::uint8_t, std::uint8_t *__restrict output) {
    for (std::size_t k = 0; k < count; ++k) output[k] = data[k] & mask[k];
  }
};
struct Or {
  static void run(const std::uint8_t *__restrict data, const std::uint8_t *__restrict mask, std::size_t count,
                  std::uint8_t, std::uint8_t *__restrict output) {
    for (std::size_t k = 0; k < count; ++k) output[k] = data[k] | mask[k];
  }
};
struct Xor {
  static void run(const std::uint8_t *__restrict data, const std::uint8_t *__restrict mask, std::size_t count,
                  std::uint8_t, std::uint8_t *__restrict output) {
    for (std::size_t k = 0; k < count; ++k) output[k] = data[k] ^ mask[k];
  }
};
struct XorAndPosition {
  static void run(const std::uint8_t *__restrict data, const std::uint8_t *__restrict mask, std::size_t count,
                  std::uint8_t position, std::uint8_t *__restrict output) {
    for (std::size_t k = 0; k < count; ++k) output[k] = data[k] ^ mask[k] ^ position++;
  }
};

// Combines with `mask` from its byte `start` on, beginning again whenever it ends.
template <typename Operation>
void combine(ByteView data, ByteView mask, std::size_t start, ByteBuffer output) {
  for (std::size_t done = 0; done < data.size();) {
    const std::size_t count = std::min(data.size() - done, mask.size() - start);
    Operation::run(data.data() + done, mask.data() + start, count, static_cast<std::uint8_t>(done),
                   output.data() + done);
    done += count;
    start = 0;
  }
}

// Writes `mask` from its byte `start` on into `block` again and again, as often as it fits whole, but no more
// bytes than `needed` asks for. Where the mask is short enough, 16 times or a multiple of that, so that runs
// leave no rest behind a vector. Returns the part of the block that was written.
ByteView repeat(ByteView mask, std::size_t start, std::size_t needed, std::span<std::uint8_t, kBlock> block) {
  std::size_t copies = kBlock / mask.size();
  if (copies >= 16) copies -= copies % 16;
  const std::size_t size = std::min(copies * mask.size(), needed);
  std::ranges::rotate_copy(mask, mask.begin() + static_cast<std::ptrdiff_t>(start), block.begin());
  for (std::size_t filled = mask.size(); filled < size;) {
    const std::size_t more = std::min(filled, size - filled);
    std::memcpy(block.data() + filled, block.data(), more);
    filled += more;
  }
  return block.first(size);
}

template <typename Operation>
std::size_t apply(ByteView data, ByteView mask, std::int32_t offset, ByteBuffer output) {
  assert(output.size() >= data.size());
  if (mask.empty()) mask = kZeroMask;
  const auto length = static_cast<std::int64_t>(mask.size());
  const auto start = static_cast<std::size_t>((offset % length + length) % length);
  if (mask.size() > kBlock / 4 || data.size() <= mask.size()) {
    combine<Operation>(data, mask, start, output);
  } else {
    std::array<std::uint8_t, kBlock> block;
    combine<Operation>(data, repeat(mask, start, data.size(), block), 0, output);
  }
  return data.size();
}

}  // namespace

std::size_t and_bytes(ByteView data, ByteView mask, ByteBuffer output) {
  return apply<And>(data, mask, 0, output);
}

std::size_t or_bytes(ByteView data, ByteView mask, ByteBuffer output) {
  return apply<Or>(data, mask, 0, output);
}

std::size_t xor_bytes(ByteView data, ByteView mask, std::int32_t offset, ByteBuffer output) {
  return apply<Xor>(data, mask, offset, output);
}

std::size_t xor_bytes_and_positions(ByteView data, ByteView mask, std::int32_t offset, ByteBuffer output) {
  return apply<XorAndPosition>(data, mask, offset, output);
}

}  // namespace kzv::bitwise
