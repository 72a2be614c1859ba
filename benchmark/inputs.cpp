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
const Pieces kScripts = {"\u0440\u0435\u043a\u0430 ",
                         "\u0441\u043b\u043e\u0432\u043e",
                         "\u03c0\u03bf\u03c4\u03ac\u03bc\u03b9",
                         "\u03bb\u03cc\u03b3\u03bf\u03c2 ",
                         "\u6cb3\u6d41",
                         "\u8bcd\u8bed\u3002",
                         "\u0646\u0647\u0631 ",
                         "\u0643\u0644\u0645\u0629"};
const Pieces kAstral = {"\U0001F600", "\U0001F30D", "\U00020000\U00020001", "\U0001D49C ", "word "};

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

std::string edited_evenly(const std::string &text, std::size_t edit_count) {
  std::string result;
  std::size_t from = 0;
  for (std::size_t edit = 0; edit < edit_count; ++edit) {
    const std::size_t at = text.size() * edit / edit_count;
    result.append(text, from, at - from);
    if (edit % 3 < 2) result += '~';  // replaces or inserts
    from = edit % 3 == 1 ? at : at + 1;
  }
  return result.append(text, from);
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
