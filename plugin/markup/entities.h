// The named character references of HTML 4.01 (section 24) and "apos", from unit to name and from name to
// unit.
#pragma once

#include <array>
#include <string_view>

#include "bytes.h"

namespace kzv::html {

inline constexpr std::size_t kEntityCount = 253;
inline constexpr std::size_t kLongestName = 8;                      // thetasym
inline constexpr std::size_t kLongestReference = kLongestName + 2;  // numbers are shorter: "&#65535;"

// A character and its reference, kept ready to be copied in one piece: "&", the name, ";", then zeros.
struct Entity {
  std::uint16_t code_point = 0;
  std::uint8_t length = 0;  // of the reference, in bytes
  std::array<char, kLongestReference> reference{};

  consteval Entity(std::uint16_t character, std::string_view name);
  [[nodiscard]] constexpr std::string_view name() const {
    return {reference.data() + 1, length - std::size_t{2}};
  }
};

// Ascending by code point; every code point and every name occurs once.
extern const std::array<Entity, kEntityCount> escapecodes;

// The entity that stands for `unit`, or null when there is none. One table access.
const Entity *entity_of(std::uint16_t unit);

// The code point that `name` (without "&" and ";") stands for, upper and lower case distinct, or 0 when it is
// no entity's whole name. Takes any units and any length, in constant time.
std::uint16_t code_point_of(UnitView name);

}  // namespace kzv::html
