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

// Marks the quotes and the words that begin like a keyword.
class KeywordMarker {
 public:
  void operator()(const cpu::Piece &piece, cpu::Masks &marks) {
    static constexpr cpu::ByteSet kDelimiters(is_delimiter);
    static constexpr cpu::ByteSet kQuotes(is_quote);
    static constexpr cpu::ByteSet kFirstLetters = cpu::bytes_in("tTfF");
    cpu::Masks delimiters;
    cpu::Masks letters;
    find(piece, kDelimiters, delimiters);
    find(piece, kQuotes, marks);
    find(piece, kFirstLetters, letters);
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      const std::uint64_t behind_delimiters = delimiters[i] << 1 | std::uint64_t{behind_delimiter_};
      behind_delimiter_ = delimiters[i] >> 63 != 0;
      marks[i] |= letters[i] & behind_delimiters;
    }
  }

 private:
  static void find(const cpu::Piece &piece, const cpu::ByteSet &set, cpu::Masks &masks) {
    cpu::level().find(piece.text.data(), piece.blocks, set, masks.data());
  }

  bool behind_delimiter_ = true;  // a word may begin at the start of the text
};

}  // namespace

std::size_t decode_mysql(ByteView input, ByteBuffer output) {
  static constexpr cpu::ByteSet kBackslash = cpu::bytes_in("\\");
  const auto replace = [&](std::size_t at) {
    const std::int16_t unescaped = at + 1 < input.size() ? kUnescaped[input[at + 1]] : kNoEscape;
    if (unescaped == kNoEscape) return cpu::replaced_by('\\', at + 1);
    return cpu::replaced_by(static_cast<std::uint8_t>(unescaped), at + 2);
  };
  return cpu::replace_in_set(input, kBackslash, replace, output);
}

std::size_t replace_booleans(ByteView sql, ByteBuffer output) {
  std::uint8_t open_quote = 0;
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
  return cpu::replace_marked(sql, KeywordMarker(), replace, output);
}

}  // namespace kzv::sql
