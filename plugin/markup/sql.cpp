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

namespace {

class BooleanReplacer {
 public:
  explicit BooleanReplacer(ByteView sql) : sql_(sql) {}

  void operator()(cpu::Piece &piece, cpu::Masks &kept) {
    const cpu::MarksAhead t(piece, kT);
    const cpu::MarksAhead r(piece, kR);
    const cpu::MarksAhead f(piece, kF);
    const cpu::MarksAhead a(piece, kA);
    cpu::Masks delimiters;
    cpu::Masks single;
    cpu::Masks twofold;
    cpu::find(piece, kDelimiters, delimiters);
    cpu::find(piece, kSingleQuote, single);
    cpu::find(piece, kDoubleQuote, twofold);
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      const std::uint64_t behind_delimiters = delimiters[i] << 1 | cpu::lowest_bit(behind_delimiter_);
      behind_delimiter_ = delimiters[i] >> 63 != 0;
      const std::uint64_t words = behind_delimiters & ((t[i] & r.ahead(i, 1)) | (f[i] & a.ahead(i, 1)));
      if (single[i] == 0 && open_quote_ != '\'') {
        kept[i] = replace_outside(piece, i, words, twofold[i], '"');
      } else if (twofold[i] == 0 && open_quote_ != '"') {
        kept[i] = replace_outside(piece, i, words, single[i], '\'');
      } else {
        const auto replace = [this](std::size_t at) { return with_quotes(at); };
        kept[i] = cpu::replace_in_block(piece, i, words | single[i] | twofold[i], resume_, replace);
      }
    }
  }

 private:
  static constexpr cpu::ByteSet kDelimiters{is_delimiter};
  static constexpr cpu::ByteSet kSingleQuote = cpu::bytes_in("'");
  static constexpr cpu::ByteSet kDoubleQuote = cpu::bytes_in("\"");
  static constexpr cpu::ByteSet kT = cpu::bytes_in("tT");
  static constexpr cpu::ByteSet kR = cpu::bytes_in("rR");
  static constexpr cpu::ByteSet kF = cpu::bytes_in("fF");
  static constexpr cpu::ByteSet kA = cpu::bytes_in("aA");

  // A block with quotes of one kind only: each changes sides.
  std::uint64_t replace_outside(cpu::Piece &piece, std::size_t block, std::uint64_t words,
                                std::uint64_t quotes, std::uint8_t quote) {
    const std::uint64_t quoted = cpu::parity_up_to_each(quotes) ^ (open_quote_ != 0 ? ~std::uint64_t{0} : 0);
    open_quote_ = quoted >> 63 != 0 ? quote : std::uint8_t{0};
    const auto replace = [this](std::size_t at) { return replaced(at); };
    return cpu::replace_in_block(piece, block, words & ~quoted, resume_, replace);
  }

  [[nodiscard]] cpu::Replacement replaced(std::size_t at) const {
    const ByteView rest = sql_.subspan(at);
    if (begins_with_word(rest, "true")) return cpu::replaced_by('1', at + 4);
    if (begins_with_word(rest, "false")) return cpu::replaced_by('0', at + 5);
    return cpu::replaced_by(rest.front(), at + 1);
  }

  cpu::Replacement with_quotes(std::size_t at) {
    const std::uint8_t byte = sql_[at];
    const bool is_quote = byte == '"' || byte == '\'';
    if (!is_quote && open_quote_ == 0) return replaced(at);
    if (is_quote && open_quote_ == 0) {
      open_quote_ = byte;
    } else if (open_quote_ == byte) {
      open_quote_ = 0;
    }
    return cpu::replaced_by(byte, at + 1);
  }

  ByteView sql_;
  bool behind_delimiter_ = true;  // a word may begin at the start of the text
  std::uint8_t open_quote_ = 0;   // the quote that has to come, if any
  std::size_t resume_ = 0;        // what stands before has been dealt with
};

}  // namespace

std::size_t replace_booleans(ByteView sql, ByteBuffer output) {
  return cpu::keep(sql, BooleanReplacer(sql), output);
}

}  // namespace kzv::sql
