#include "sql.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "marks.h"

namespace kzv::sql {
namespace {

constexpr std::int16_t kNoEscape = -1;

// The byte for the character behind a backslash.
consteval std::array<std::int16_t, 256> make_unescaped() {
  std::array<std::int16_t, 256> table{};
  table.fill(kNoEscape);
  table['\''] = '\'';
  table['"'] = '"';
  table['\\'] = '\\';
  table['%'] = '%';
  table['_'] = '_';
  table['0'] = 0x00;
  table['b'] = 0x08;
  table['n'] = 0x0A;
  table['r'] = 0x0D;
  table['t'] = 0x09;
  table['Z'] = 0x1A;
  return table;
}
constexpr std::array<std::int16_t, 256> kUnescaped = make_unescaped();

constexpr bool is_delimiter(std::uint8_t byte) {
  return byte <= 0x20 || byte >= 0x80 || byte == '(' || byte == ')' || byte == ',' || byte == ';';
}

constexpr bool is_quote(std::uint8_t byte) { return byte == '"' || byte == '\''; }

// The letter that `byte` is in lower case. Other bytes become others that are no letters.
constexpr std::uint8_t lower(std::uint8_t byte) { return byte | 0x20; }

// Whether `rest` begins with `word`, in letters of either case, and the word ends there.
bool begins_with_word(ByteView rest, std::string_view word) {
  if (rest.size() < word.size()) return false;
  const bool same = std::equal(word.begin(), word.end(), rest.begin(), [](char letter, std::uint8_t byte) {
    return static_cast<std::uint8_t>(letter) == lower(byte);
  });
  return same && (rest.size() == word.size() || is_delimiter(rest[word.size()]));
}

}  // namespace

std::size_t decode_mysql(ByteView input, ByteBuffer output) {
  static constexpr cpu::ByteSet kBackslash = cpu::bytes_in("\\");
  const auto replace = [&](std::size_t at) {
    const std::int16_t unescaped = at + 1 < input.size() ? kUnescaped[input[at + 1]] : kNoEscape;
    if (unescaped == kNoEscape) return cpu::replaced_by('\\', at + 1);
    return cpu::replaced_by(static_cast<std::uint8_t>(unescaped), at + 2);
  };
  return cpu::replace_marked(input, kBackslash, replace, output);
}

std::size_t replace_booleans(ByteView sql, ByteBuffer output) {
  static constexpr cpu::ByteSet kDelimiters(is_delimiter);
  static constexpr cpu::ByteSet kQuotes(is_quote);
  static constexpr cpu::ByteSet kFirstLetters = cpu::bytes_in("tTfF");
  bool behind_delimiter = true;  // a word may begin at the start of the text
  std::uint8_t open_quote = 0;
  std::size_t resume = 0;
  const auto replace = [&](std::size_t at) {
    const std::uint8_t byte = sql[at];
    if (is_quote(byte)) {
      if (open_quote == 0) {
        open_quote = byte;
      } else if (open_quote == byte) {
        open_quote = 0;
      }
    } else if (open_quote == 0) {
      if (begins_with_word(sql.subspan(at), "true")) return cpu::replaced_by('1', at + 4);
      if (begins_with_word(sql.subspan(at), "false")) return cpu::replaced_by('0', at + 5);
    }
    return cpu::replaced_by(byte, at + 1);
  };
  const auto choose = [&](cpu::Piece &piece, cpu::Masks &kept) {
    cpu::Masks marks;
    cpu::Masks delimiters;
    cpu::Masks letters;
    cpu::find(piece, kDelimiters, delimiters);
    cpu::find(piece, kQuotes, marks);
    cpu::find(piece, kFirstLetters, letters);
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      const std::uint64_t behind_delimiters = delimiters[i] << 1 | std::uint64_t{behind_delimiter};
      behind_delimiter = delimiters[i] >> 63 != 0;
      marks[i] |= letters[i] & behind_delimiters;
    }
    cpu::replace_in_piece(piece, marks, resume, replace, kept);
  };
  return cpu::keep(sql, choose, output);
}

}  // namespace kzv::sql
