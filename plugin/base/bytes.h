// The vocabulary of the kernels: views of bytes and of UTF-16 text, and the buffers they fill.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kzv {

using ByteView = std::span<const std::uint8_t>;
using ByteBuffer = std::span<std::uint8_t>;

// A UTF-16 code unit at any address: older hosts keep their text at odd ones.
struct [[gnu::packed, gnu::may_alias]] CodeUnit {
  std::uint16_t value;
};
using CodeUnitView = std::span<const CodeUnit>;

}  // namespace kzv
