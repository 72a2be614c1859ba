#include "markup/entities.h"

#include <algorithm>
#include <functional>

#include "base/hex_digits.h"

namespace kzv::html {
namespace {

// Code points, each followed by its name and by those of the code points after it.
constexpr std::string_view kNamed =
    "0022 quot 0026 amp apos 003C lt 003E gt "
    "00A0 nbsp iexcl cent pound curren yen brvbar sect uml copy ordf laquo not shy reg macr deg plusmn sup2 "
    "sup3 acute micro para middot cedil sup1 ordm raquo frac14 frac12 frac34 iquest "
    "Agrave Aacute Acirc Atilde Auml Aring AElig Ccedil Egrave Eacute Ecirc Euml Igrave Iacute Icirc Iuml "
    "ETH Ntilde Ograve Oacute Ocirc Otilde Ouml times Oslash Ugrave Uacute Ucirc Uuml Yacute THORN szlig "
    "agrave aacute acirc atilde auml aring aelig ccedil egrave eacute ecirc euml igrave iacute icirc iuml "
    "eth ntilde ograve oacute ocirc otilde ouml divide oslash ugrave uacute ucirc uuml yacute thorn yuml "
    "0152 OElig oelig 0160 Scaron scaron 0178 Yuml 0192 fnof 02C6 circ 02DC tilde "
    "0391 Alpha Beta Gamma Delta Epsilon Zeta Eta Theta Iota Kappa Lambda Mu Nu Xi Omicron Pi Rho "
    "03A3 Sigma Tau Upsilon Phi Chi Psi Omega "
    "03B1 alpha beta gamma delta epsilon zeta eta theta iota kappa lambda mu nu xi omicron pi rho sigmaf "
    "sigma tau upsilon phi chi psi omega 03D1 thetasym upsih 03D6 piv "
    "2002 ensp emsp 2009 thinsp 200C zwnj zwj lrm rlm 2013 ndash mdash 2018 lsquo rsquo sbquo 201C ldquo "
    "rdquo bdquo 2020 dagger Dagger bull 2026 hellip 2030 permil 2032 prime Prime 2039 lsaquo rsaquo 203E "
    "oline 2044 frasl 20AC euro 2111 image 2118 weierp 211C real 2122 trade 2135 alefsym "
    "2190 larr uarr rarr darr harr 21B5 crarr 21D0 lArr uArr rArr dArr hArr "
    "2200 forall 2202 part exist 2205 empty 2207 nabla isin notin 220B ni 220F prod 2211 sum minus 2217 "
    "lowast 221A radic 221D prop infin 2220 ang 2227 and or cap cup int 2234 there4 223C sim 2245 cong 2248 "
    "asymp 2260 ne equiv 2264 le ge 2282 sub sup nsub 2286 sube supe 2295 oplus 2297 otimes 22A5 perp 22C5 "
    "sdot 2308 lceil rceil lfloor rfloor 2329 lang rang 25CA loz 2660 spades 2663 clubs 2665 hearts diams";

consteval std::array<Entity, kEntityCount> make_entities() {
  std::array<Entity, kEntityCount> entities{};
  auto *entity = entities.begin();
  unsigned code_point = 0;
  for (std::string_view rest = kNamed; !rest.empty();) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(word.size() + 1, rest.size()));
    if (word.front() <= '9') {
      code_point = 0;
      for (const char digit : word)
        code_point = code_point * 16 + kDigitValues[static_cast<std::uint8_t>(digit)];
    } else {
      entity->code_point = static_cast<std::uint16_t>(code_point++);
      entity->length = static_cast<std::uint8_t>(word.size() + 2);
      entity->reference[0] = '&';
      *std::ranges::copy(word, entity->reference.begin() + 1).out = ';';
      ++entity;
    }
  }
  return entities;
}

}  // namespace

constexpr std::array<Entity, kEntityCount> escapecodes = make_entities();

// This table and the one by name have an entity's index plus one in a byte; 0 is an empty slot.
static_assert(kEntityCount < 0xFF);
constexpr std::array<std::uint8_t, kEntityPlaces> kEntityByUnit = [] {
  std::array<std::uint8_t, kEntityPlaces> table{};
  for (std::size_t i = 0; i < kEntityCount; ++i) {
    table[entity_place(escapecodes[i].code_point)] = static_cast<std::uint8_t>(i + 1);
  }
  return table;
}();

namespace {

struct Name {
  NameKey key = 0;
  std::uint16_t code_point = 0;
  std::uint8_t length = 0;
};

// In the order of the entities, after an empty one.
constexpr auto kNames = [] {
  std::array<Name, kEntityCount + 1> names;
  for (std::size_t i = 0; i < kEntityCount; ++i) {
    const std::string_view name = escapecodes[i].name();
    NameKey key = 0;
    for (std::size_t at = name.size(); at-- > 0;) key = key << 8 | static_cast<std::uint8_t>(name[at]);
    names[i + 1] = {key, escapecodes[i].code_point, static_cast<std::uint8_t>(name.size())};
  }
  return names;
}();

static_assert(std::ranges::adjacent_find(escapecodes, std::ranges::greater_equal(), &Entity::code_point) ==
              escapecodes.end());
static_assert(escapecodes[4].code_point < 0x80 && escapecodes[5].code_point == 0xA0);

// A perfect hash by multiplication: this factor, found by search, gives each name a slot of its own.
constexpr int kSlotBits = 11;
constexpr std::size_t kSlots = std::size_t{1} << kSlotBits;

constexpr std::size_t slot_of(NameKey key) {
  return static_cast<std::size_t>((key * 0x7A793C9BD827215B) >> (64 - kSlotBits));
}

constexpr auto kEntityByName = [] {
  std::array<std::uint8_t, kSlots> table{};
  for (std::size_t i = 0; i < kEntityCount; ++i)
    table[slot_of(kNames[i + 1].key)] = static_cast<std::uint8_t>(i + 1);
  return table;
}();
static_assert(std::ranges::count(kEntityByName, 0) == kSlots - kEntityCount);

}  // namespace

std::uint16_t code_point_of(NameKey name, std::size_t length) {
  const Name &known = kNames[kEntityByName[slot_of(name)]];
  // The length sets a name apart from the same name with zeros after it. Without a branch, which the
  // processor would have to predict.
  const unsigned same = (known.key == name ? 1U : 0U) & (known.length == length ? 1U : 0U);
  return static_cast<std::uint16_t>(known.code_point & (0 - same));
}

}  // namespace kzv::html
