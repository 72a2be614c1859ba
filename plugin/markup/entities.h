// The named character references of HTML 4.01 (section 24) and "apos", by code unit and by name.
#pragma once

#include <array>
#include <string_view>

#include "base/bytes.h"

namespace kzv::html {

inline constexpr std::size_t kEntityCount = 253;
inline constexpr std::size_t kLongestName = 8;                      // thetasym
inline constexpr std::size_t kLongestReference = kLongestName + 2;  // numbers are shorter: "&#65535;"

// A character and its reference in the form in which it is written: "&", the name, ";", then zeros.
struct Entity {
  std::uint16_t code_point = 0;
  std::uint8_t length = 0;  // of the reference, in bytes
  std::array<char, kLongestReference> reference{};
  [[nodiscard]] constexpr std::string_view name() const {
    return {reference.data() + 1, length - std::size_t{2}};
  }
};

// Ascending by code point; every code point and every name occurs once.
extern const std::array<Entity, kEntityCount> escapecodes;

// The five characters " & ' < >, two of them at a time: & and ' differ in bit 0 alone, < and > in bit 1.
constexpr bool is_markup(unsigned character) {
  return character == '"' || (character | 1) == '\'' || (character | 2) == '>';
}

// All entities are below U+0400 or from U+2000 to U+2666: the place of a code unit in a table of both parts,
// which is beyond the table for any other.
inline constexpr std::size_t kEntityPlaces = 0x400 + 0x667;
constexpr std::size_t entity_place(std::uint16_t unit) {
  return unit < 0x400 ? unit : 0x400 + std::size_t{static_cast<std::uint16_t>(unit - 0x2000)};
}

// At each place, the index of the entity plus one, or 0.
extern const std::array<std::uint8_t, kEntityPlaces> kEntityByUnit;

// The entity for a code unit, or null if there is none.
inline const Entity *entity_of(std::uint16_t unit) {
  const std::size_t place = entity_place(unit);
  const std::size_t number = place < kEntityPlaces ? kEntityByUnit[place] : 0;
  return number != 0 ? &escapecodes[number - 1] : nullptr;
}

// A name without "&" and ";" as a word of base/byte_words.h, with zeros after the name.
using NameKey = std::uint64_t;
static_assert(sizeof(NameKey) == kLongestName);

// The code point of the entity with a name of `length` characters, upper and lower case distinct, or 0 if
// there is none. Constant time.
std::uint16_t code_point_of(NameKey name, std::size_t length);

}  // namespace kzv::html
