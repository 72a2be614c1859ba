#include "transfer/hex.h"

#include <cassert>

#include "cpu/level.h"

namespace kzv::hex {

std::size_t encode(ByteView input, ByteBuffer output) {
  assert(output.size() >= encode_bound(input.size()));
  cpu::level().to_hex(input.data(), input.size(), output.data());
  return input.size() * 2;
}

std::size_t decode(ByteView input, ByteBuffer output) {
  assert(output.size() >= decode_bound(input.size()));
  const std::size_t count = input.size() / 2;
  cpu::level().from_hex(input.data(), count, output.data());
  return count;
}

}  // namespace kzv::hex
