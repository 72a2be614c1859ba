#include "inputs.h"

#include <array>
#include <random>

namespace kzv::bench {

const Pieces kWords = {"the ", "quick ", "letter ", "of ",    "and ", "to ",     "house, ", "river ",
                       "a ",   "in ",    "which ",  "from ",  "an ",  "answer",  ". ",      "1995 ",
                       "is ",  "water ", "before ", "people", "for ", "state; ", "number "};
const Pieces kMarkup = {
    "<p>", "</p>",   "<b>", "</b>", "<a href=\"page\">", "</a>", "<br />", "<div class=\"x\">",
    " & ", "</div>", "\n"};
const Pieces kFrench = {"\u00e9t\u00e9 ", "gar\u00e7on ", "o\u00f9 ",    "\u00e0 ",
                        "\u00cele ",      "na\u00efve ",  "Stra\u00dfe "};
const Pieces kRussian = {"\u0440\u0435\u043a\u0430 ",
                         "\u0434\u043e\u043c, ",
                         "\u0438 ",
                         "\u0441\u043b\u043e\u0432\u043e ",
                         "\u0133 ",
                         "za\u017cal\u0119 "};

// Initialised after the lists above, which only the same source file guarantees.
const Pieces kLines = kWords + Pieces{"\r\n", "out\r\n"};

const Pieces kQuoted = kWords + kWords + Pieces{"out=20\r\n", "=C3=A9t=C3=A9", "end.\r\n", "and=\r\n"};

std::string drawn(const Pieces &pieces, std::size_t byte_count) {
  std::mt19937 random(1);
  std::string text;
  text.reserve(byte_count);
  while (true) {
    const std::string_view piece = pieces[random() % pieces.size()];
    if (text.size() + piece.size() > byte_count) break;
    text += piece;
  }
  text.resize(byte_count, 'x');
  return text;
}

std::string random_bytes(std::size_t byte_count, unsigned lowest) {
  std::mt19937 random(2);
  std::string bytes(byte_count, '\0');
  for (char &byte : bytes) byte = static_cast<char>(lowest + random() % (256 - lowest));
  return bytes;
}

std::string edited(std::string text) {
  std::mt19937 random(3);
  for (std::size_t at = 0; at + 1 < text.size(); at += 1 + random() % 40) {
    switch (random() % 3) {
      case 0:
        text[at] = 'z';
        break;
      case 1:
        std::swap(text[at], text[at + 1]);
        break;
      default:
        text.erase(at, 1);
        break;
    }
  }
  return text;
}

Pieces operator+(Pieces a, const Pieces &b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Pieces single_bytes(unsigned char first, unsigned char last) {
  static const std::array<char, 256> all = [] {
    std::array<char, 256> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i);
    return bytes;
  }();
  Pieces pieces;
  for (std::size_t byte = first; byte <= last; ++byte) pieces.emplace_back(&all[byte], 1);
  return pieces;
}

}  // namespace kzv::bench
