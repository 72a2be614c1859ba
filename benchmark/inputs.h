// What the benchmark's functions work on: the same bytes at every run.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace kzv::bench {

using Pieces = std::vector<std::string_view>;

// Pieces drawn at random, none of them cut; the rest of the `byte_count` bytes is filled with "x".
std::string drawn(const Pieces &pieces, std::size_t byte_count);

// Any bytes from `lowest` to 255.
std::string random_bytes(std::size_t byte_count, unsigned lowest = 0);

// The text with about one letter in 20 changed, left out or swapped with the next.
std::string edited(std::string text);

// The text with so many letters replaced, inserted or left out, at equal distances.
std::string edited_evenly(const std::string &text, std::size_t edit_count);

// One piece list after the other.
Pieces operator+(Pieces a, const Pieces &b);

// Words, and what separates words. `kWords` and `kMarkup` are ASCII, the others UTF-8.
extern const Pieces kWords;
extern const Pieces kMarkup;
extern const Pieces kFrench;   // letters of ISO-8859-1 and with names in HTML
extern const Pieces kRussian;  // letters without a name in HTML
extern const Pieces kScripts;  // letters of several scripts, seldom a blank
extern const Pieces kAstral;   // letters beyond the Basic Multilingual Plane, and words
extern const Pieces kLines;    // words and line breaks
extern const Pieces
    kQuoted;  // lines of mail as an encoder left them: hard and soft breaks, here and there an escape

// Every byte from `first` to `last`, each a piece.
Pieces single_bytes(unsigned char first, unsigned char last);

}  // namespace kzv::bench
