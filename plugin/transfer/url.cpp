#include "transfer/url.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <string_view>
#include <utility>

#include "scan/chunk.h"
#include "scan/escape_writer.h"
#include "scan/find_byte.h"

namespace kzv::url {
namespace {

constexpr bool is_kept(std::uint8_t byte) {
  constexpr std::string_view kKept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!*-._@";
  return kKept.find(static_cast<char>(byte)) != std::string_view::npos;
}

consteval scan::EscapeRules make_rules(bool space_is_plus, bool escape_plus) {
  const auto is_escaped = [=](std::uint8_t byte) {
    if (byte == ' ') return !space_is_plus;
    if (byte == '+') return escape_plus;
    return !is_kept(byte);
  };
  constexpr std::uint8_t kAnyKept = 'A';
  const std::uint8_t from = space_is_plus ? std::uint8_t{' '} : kAnyKept;
  const std::uint8_t to = space_is_plus ? std::uint8_t{'+'} : kAnyKept;
  return {'%', is_escaped, from, to};
}

// One for each value of the two option bits.
constexpr std::array<scan::EscapeRules, 4> kRules = {make_rules(false, false), make_rules(true, true),
                                                     make_rules(false, true), make_rules(false, false)};

}  // namespace

std::size_t encode(ByteView input, std::uint32_t options, ByteBuffer output) {
  assert(output.size() >= encode_bound(input.size()));
  return scan::write_escaped(input, kRules[options & (kSpaceIsPlus | kEscapePlus)], output);
}

namespace {

// Which "%" of a block begin an escape: those that are not one of the two digits of an escape before.
//
//   block             %  4  %  %  2  0  a  %
//   escapes           1  .  .  1  .  .  .  1
//   digits            .  1  1  .  1  1  .  .     and in the next block the first two bytes: the carry
std::uint64_t find_escapes(std::uint64_t percent_signs, std::uint64_t &digits_carry) {
  std::uint64_t escapes = percent_signs & ~digits_carry;
  const bool any_is_digit = (escapes & (escapes << 1 | escapes << 2)) != 0;
  if (any_is_digit) {
    std::uint64_t remaining = std::exchange(escapes, 0);
    while (remaining != 0) {
      const std::uint64_t first = scan::lowest_bit(remaining);
      escapes |= first;
      remaining &= ~(first | first << 1 | first << 2);
    }
  }
  digits_carry = escapes >> 63 | escapes >> 62;
  return escapes;
}

}  // namespace

std::size_t decode(ByteView input, std::uint32_t options, ByteBuffer output) {
  static constexpr cpu::ByteSet kPercent = cpu::bytes_in("%");
  static constexpr cpu::ByteSet kPlus = cpu::bytes_in("+");
  constexpr std::uint8_t kFromPlusToSpace = 256 + ' ' - '+';
  if (lacks(input, '%')) {
    const bool replaces = (options & kSpaceIsPlus) != 0;
    std::ranges::replace_copy(input, output.begin(), '+', replaces ? ' ' : '+');
    return input.size();
  }
  std::uint64_t digits_carry = 0;
  const auto choose = [&](scan::Chunk &chunk, scan::Masks &kept) {
    scan::Masks masks;
    if ((options & kSpaceIsPlus) != 0) {
      chunk.find(kPlus, masks);
      chunk.add(masks, 0, kFromPlusToSpace);
    }
    chunk.find(kPercent, masks);
    std::uint64_t any_escape = 0;
    for (std::size_t i = 0; i < chunk.blocks(); ++i) {
      const std::uint64_t digits_before = digits_carry;
      const std::uint64_t escapes = find_escapes(masks[i], digits_carry);
      kept[i] = ~(escapes << 1 | escapes << 2 | digits_before);
      masks[i] = escapes;
      any_escape |= escapes;
    }
    if (any_escape != 0) chunk.decode_escapes(masks);
  };
  return scan::keep(input, choose, output);
}

bool is_unchanged(ByteView input, std::uint32_t options) {
  return lacks(input, '%') && ((options & kSpaceIsPlus) == 0 || lacks(input, '+'));
}

}  // namespace kzv::url
