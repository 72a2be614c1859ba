// Calls a kernel on memory of exactly the size that it is given: input and output end where their area does.
#pragma once

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "support/guarded.h"

namespace kzv {

// A heap block of its own: cheaper than a guard page, and the address sanitizer notices each step beyond it.
class Exact {
 public:
  explicit Exact(std::size_t size) : block_(new std::uint8_t[skew + size]), size_(size) {}
  explicit Exact(std::string_view text) : Exact(text.size()) { std::ranges::copy(text, bytes().begin()); }
  ByteBuffer bytes() { return {block_.get() + skew, size_}; }

  static inline std::size_t skew = 0;  // a multiple of 4; how far after an aligned address all bytes begin

 private:
  std::unique_ptr<std::uint8_t[]> block_;
  std::size_t size_;
};

inline void expect(bool holds, const char *relation) {
  if (!holds) throw std::logic_error(std::string("does not hold: ") + relation);
}

// Runs `kernel(input, output) -> bytes written` with an output of exactly `bound` bytes.
template <typename Area = Guarded, typename Kernel>
std::string run_kernel(std::string_view input, std::uint64_t bound, Kernel kernel) {
  Area in(input);
  Area out(static_cast<std::size_t>(bound));
  const std::size_t written = kernel(ByteView(in.bytes()), ByteBuffer(out.bytes()));
  expect(written <= bound, "a kernel writes no more than its bound");
  expect(std::ranges::equal(in.bytes(), input, {}, {}, [](char c) { return static_cast<std::uint8_t>(c); }),
         "a kernel leaves its input as it was");
  return {reinterpret_cast<const char *>(out.bytes().data()), written};
}

inline std::string_view bytes_of(std::u16string_view text) {
  return {reinterpret_cast<const char *>(text.data()), text.size() * 2};
}
inline CodeUnitView units_of(ByteView bytes) {
  return {reinterpret_cast<const CodeUnit *>(bytes.data()), bytes.size() / sizeof(CodeUnit)};
}

// Runs a kernel from code units to code units, with an output of as many as the input has.
template <typename Area = Guarded, typename Kernel>
std::u16string run_on_units(std::u16string_view text, Kernel kernel) {
  const std::string bytes =
      run_kernel<Area>(bytes_of(text), text.size() * 2, [=](ByteView in, ByteBuffer out) {
        return 2 * kernel(units_of(in), std::span(reinterpret_cast<CodeUnit *>(out.data()), out.size() / 2));
      });
  std::u16string units(bytes.size() / 2, u'\0');
  std::ranges::copy(bytes, reinterpret_cast<char *>(units.data()));
  return units;
}

}  // namespace kzv
