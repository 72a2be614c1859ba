#include "transfer/hex_dump.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

#include "base/hex_digits.h"
#include "cpu/level.h"
#include "scan/find_byte.h"

namespace kzv::hex_dump {
namespace {

constexpr std::uint64_t kMaxSize = 2'147'483'647;

std::uint8_t *append(std::uint8_t *to, ByteView text) { return std::copy(text.begin(), text.end(), to); }

ByteView filler_of(const Shape &shape) {
  static constexpr std::uint8_t kZeroDigit = '0';
  return shape.filler.empty() ? ByteView(&kZeroDigit, 1) : shape.filler;
}

// Writes `count` hex digits of the input, `stride` bytes from one to the next, from its digit number `first`
// on. Either end may split a byte.
void write_digits(ByteView input, std::size_t first, std::size_t count, std::size_t stride,
                  std::uint8_t *to) {
  constexpr std::size_t kMany = 32;  // from here on a level's operation is faster
  const std::uint8_t *from = input.data() + first / 2;
  if (first % 2 != 0 && count > 0) {
    *to = static_cast<std::uint8_t>(kHexPairs[*from++][1]);
    to += stride;
    --count;
  }
  if (stride == 1 && count >= kMany) {
    cpu::level().to_hex(from, count / 2, to);
    from += count / 2;
    to += count / 2 * 2;
  } else {
    for (std::size_t left = count / 2; left > 0; --left, to += 2 * stride) {
      const HexPair &digits = kHexPairs[*from++];
      to[0] = static_cast<std::uint8_t>(digits[0]);
      to[stride] = static_cast<std::uint8_t>(digits[1]);
    }
  }
  if (count % 2 != 0) *to = static_cast<std::uint8_t>(kHexPairs[*from][0]);
}

// The measures of a shape whose `dump_bound` has a value, so that none of them overflows.
class Layout {
 public:
  explicit Layout(const Shape &shape)
      : shape_(shape),
        group_digits_(static_cast<std::size_t>(shape.hexlen)),
        groups_(static_cast<std::size_t>(shape.linelen)),
        stride_(group_digits_ + shape.spacer.size()) {}

  [[nodiscard]] std::size_t line_digits() const { return group_digits_ * groups_; }
  [[nodiscard]] std::size_t line_size() const {
    return shape_.linestart.size() + stride_ * groups_ - shape_.spacer.size() + shape_.lineend.size();
  }

  // Writes a line whose groups are still missing.
  void write_template(std::uint8_t *line) const {
    line = append(line, shape_.linestart) + group_digits_;
    if (shape_.spacer.size() == 1) {  // one fill; the digits overwrite what is too much
      std::memset(line, shape_.spacer.front(), stride_ * (groups_ - 1));
      line += stride_ * (groups_ - 1);
    } else {
      for (std::size_t group = 1; group < groups_; ++group) {
        line = append(line, shape_.spacer) + group_digits_;
      }
    }
    append(line, shape_.lineend);
  }

  void write_groups(ByteView input, std::size_t digit, std::uint8_t *line) const {
    std::uint8_t *to = line + shape_.linestart.size();
    if (group_digits_ == 1) {
      write_digits(input, digit, groups_, stride_, to);
    } else if (group_digits_ == 2) {  // most dumps
      const std::uint8_t *from = input.data() + digit / 2;
      for_each_group(to,
                     [&](std::uint8_t *group) { std::memcpy(group, &kHexPairs[*from++], sizeof(HexPair)); });
    } else {
      for_each_group(to, [&](std::uint8_t *group) {
        write_digits(input, digit, group_digits_, 1, group);
        digit += group_digits_;
      });
    }
  }

  // The groups of a line for which the input has too few digits.
  void write_padded_groups(ByteView input, std::size_t digit, std::uint8_t *line) const {
    const ByteView filler = filler_of(shape_);
    std::size_t next_filler = 0;
    for_each_group(line + shape_.linestart.size(), [&](std::uint8_t *to) {
      const std::size_t count = std::min(group_digits_, input.size() * 2 - digit);
      write_digits(input, digit, count, 1, to);
      digit += count;
      for (std::size_t i = count; i < group_digits_; ++i) {
        to[i] = filler[next_filler];
        if (++next_filler == filler.size()) next_filler = 0;
      }
    });
  }

 private:
  template <typename Write>
  void for_each_group(std::uint8_t *to, Write write) const {
    const std::size_t stride = stride_;
    for (std::size_t left = groups_; left > 0; --left, to += stride) write(to);
  }

  const Shape &shape_;
  std::size_t group_digits_;
  std::size_t groups_;
  std::size_t stride_;  // from the start of one group to the start of the next
};

}  // namespace

std::optional<std::uint64_t> dump_bound(std::size_t byte_count, const Shape &shape) {
  if (byte_count == 0 || shape.hexlen < 1 || shape.linelen < 1) return 0;
  // Lengths are capped at one more than the limit, so that no sum or product of two below reaches 2^63.
  const auto length = [](std::size_t size) { return std::min(std::uint64_t{size}, kMaxSize + 1); };
  const auto groups = static_cast<std::uint64_t>(shape.linelen);
  const std::uint64_t line_digits = static_cast<std::uint64_t>(shape.hexlen) * groups;
  if (line_digits > kMaxSize) return std::nullopt;
  const std::uint64_t digits = length(byte_count) * 2;
  if (digits + line_digits * length(filler_of(shape).size()) > kMaxSize) return std::nullopt;

  const std::uint64_t line_size = length(shape.linestart.size()) + line_digits +
                                  (groups - 1) * length(shape.spacer.size()) + length(shape.lineend.size());
  if (line_size > kMaxSize) return std::nullopt;
  const std::uint64_t size = (digits + line_digits - 1) / line_digits * line_size;
  if (size + 1 > kMaxSize) return std::nullopt;
  return size;
}

std::size_t dump(ByteView input, const Shape &shape, ByteBuffer output) {
  assert(dump_bound(input.size(), shape).has_value() && *dump_bound(input.size(), shape) <= output.size());
  if (output.empty()) return 0;
  const Layout layout(shape);
  const std::size_t line_size = layout.line_size();
  const std::size_t line_digits = layout.line_digits();
  const std::size_t digits = input.size() * 2;

  // Later templates are copies of the lines before, as many at once as make a copy worth its call.
  constexpr std::size_t kCopied = 512;
  const std::size_t size = (digits + line_digits - 1) / line_digits * line_size;
  layout.write_template(output.data());
  std::size_t copied = line_size;
  const std::uint8_t *prepared = output.data() + line_size;
  std::uint8_t *line = output.data();
  for (std::size_t digit = 0; digit < digits; digit += line_digits) {
    if (line == prepared) {
      const std::size_t left = size - static_cast<std::size_t>(line - output.data());
      std::memcpy(line, output.data(), std::min(copied, left));
      prepared += std::min(copied, left);
      if (copied < kCopied) copied *= 2;
    }
    if (digits - digit >= line_digits) {
      layout.write_groups(input, digit, line);
    } else {
      layout.write_padded_groups(input, digit, line);
    }
    line += line_size;
  }

  // The first line has all the texts around its groups, and only the last line has the filler.
  const ByteView written(output.data(), line);
  const std::size_t zero = find_byte(written.first(line_size), 0);
  return zero < line_size ? zero : find_byte(written, 0, written.size() - line_size);
}

}  // namespace kzv::hex_dump
