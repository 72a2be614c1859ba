#include "tags.h"

#include "find_byte.h"

namespace kzv::tags {
namespace {

const std::uint8_t *find(std::uint8_t wanted, const std::uint8_t *begin, const std::uint8_t *end) {
  return begin + find_byte({begin, end}, wanted);
}

}  // namespace

TagScanner::TagScanner(ByteView text)
    : at_(text.data()),
      end_(at_ + text.size()),
      next_open_(find('<', at_, end_)),
      next_close_(find('>', at_, end_)) {}

bool TagScanner::next() {
  if (at_ == end_) return false;
  const std::uint8_t *bracket = next_bracket();
  kept_ = {at_, bracket};
  dropped_ = 0;
  at_ = bracket;

  // A step ends where the nesting is back at zero. It may well go below zero: unsigned, because only zero
  // matters and unsigned numbers may wrap.
  std::uint32_t nesting = 0;
  while (bracket != end_) {
    at_ = bracket + 1;
    if (bracket == next_open_) {
      ++nesting;
      next_open_ = find('<', at_, end_);
    } else {
      --nesting;
      next_close_ = find('>', at_, end_);
    }
    if (nesting == 0) break;
    bracket = next_bracket();
    dropped_ += static_cast<std::size_t>(bracket - at_);
    at_ = bracket;
  }
  return true;
}

ByteView replacement_of(ByteView text) { return until_zero(text); }

}  // namespace kzv::tags
