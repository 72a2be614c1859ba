#include "transfer/url.h"

#include <array>
#include <cassert>
#include <string_view>
#include <utility>

#include "scan/escaping.h"

namespace kzv::url {
namespace {

constexpr bool is_kept(std::uint8_t byte) {
  constexpr std::string_view kKept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!*-._@";
  return kKept.find(static_cast<char>(byte)) != std::string_view::npos;
}

consteval scan::Escaping make_escaping(bool space_is_plus, bool escape_plus) {
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
constexpr std::array<scan::Escaping, 4> kEscapings = {make_escaping(false, false), make_escaping(true, true),
                                                      make_escaping(false, true),
                                                      make_escaping(false, false)};

}  // namespace

std::size_t encode(ByteView input, std::uint32_t options, ByteBuffer output) {
  assert(output.size() >= encode_bound(input.size()));
  return scan::write_escaped(input, kEscapings[options & (kSpaceIsPlus | kEscapePlus)], output);
}

namespace {

// Of the "%" of a block, those that begin an escape: not those that another one takes for a digit. `taken`
// are the first bytes that the block before took, and in the end those that this one takes of the next.
std::uint64_t beginning(std::uint64_t percent_signs, std::uint64_t &taken) {
  std::uint64_t escapes = percent_signs & ~taken;
  if ((escapes & (escapes << 1 | escapes << 2)) != 0) {
    std::uint64_t left = std::exchange(escapes, 0);
    while (left != 0) {
      const std::uint64_t first = left & (0 - left);
      escapes |= first;
      left &= ~(first | first << 1 | first << 2);
    }
  }
  taken = escapes >> 63 | escapes >> 62;
  return escapes;
}

}  // namespace

std::size_t decode(ByteView input, std::uint32_t options, ByteBuffer output) {
  static constexpr cpu::ByteSet kPercent = cpu::bytes_in("%");
  static constexpr cpu::ByteSet kPlus = cpu::bytes_in("+");
  constexpr std::uint8_t kFromPlusToSpace = 256 + ' ' - '+';
  std::uint64_t taken = 0;
  const auto choose = [&](scan::Piece &piece, scan::Masks &kept) {
    scan::Masks marks;
    if ((options & kSpaceIsPlus) != 0) {
      scan::find(piece, kPlus, marks);
      cpu::level().add(piece.text, piece.blocks, marks.data(), 0, kFromPlusToSpace, piece.own());
    }
    scan::find(piece, kPercent, marks);
    std::uint64_t any = 0;
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      const std::uint64_t taken_before = taken;
      marks[i] = beginning(marks[i], taken);
      kept[i] = ~(marks[i] << 1 | marks[i] << 2 | taken_before);
      any |= marks[i];
    }
    if (any == 0) return;
    cpu::level().decode_escapes(piece.text, piece.blocks, marks.data(), piece.place);
    piece.text = piece.place;
  };
  return scan::keep(input, choose, output);
}

}  // namespace kzv::url
