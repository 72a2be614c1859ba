#include "yenc.h"

#include <cassert>

#include "find_byte.h"

namespace kzv::yenc {
namespace {

constexpr std::uint8_t kEscape = '=';
constexpr unsigned kOffset = 42;
constexpr unsigned kEscapedOffset = kOffset + 64;

}  // namespace

std::size_t decode(ByteView input, ByteBuffer output) {
  assert(output.size() >= input.size());
  std::uint8_t *next = output.data();
  while (!input.empty()) {
    const ByteView run = input.first(find_byte(input, kEscape));
    for (std::size_t i = 0; i < run.size(); ++i) next[i] = static_cast<std::uint8_t>(run[i] - kOffset);
    next += run.size();
    input = input.subspan(run.size());
    if (input.empty()) break;
    const std::uint8_t escaped = input.size() > 1 ? input[1] : std::uint8_t{0};
    *next++ = static_cast<std::uint8_t>(escaped - kEscapedOffset);
    input = input.subspan(input.size() > 1 ? 2 : 1);
  }
  return static_cast<std::size_t>(next - output.data());
}

}  // namespace kzv::yenc
