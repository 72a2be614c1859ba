#include "markup/sql.h"

#include <array>
#include <cstring>

#include "scan/marks.h"

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

// A word to look for and what takes its place.
struct Word {
  std::uint64_t letters;  // in lower case, the first one in the low byte
  std::size_t length;
  std::uint8_t replacement;
};
constexpr Word kTrue = {0x65757274, 4, '1'};
constexpr Word kFalse = {0x65736C6166, 5, '0'};

// Whether `rest` begins with the word, in letters of either case, and the word ends there.
bool begins_with_word(ByteView rest, const Word &word) {
  if (rest.size() < word.length) return false;
  std::uint64_t text = 0;
  if (rest.size() >= sizeof text) {
    std::memcpy(&text, rest.data(), sizeof text);
  } else {
    std::memcpy(&text, rest.data(), word.length);
  }
  // The bit that lower case adds makes other bytes others that are no letters.
  constexpr std::uint64_t kLower = 0x2020202020202020;
  const std::uint64_t differing = (text | kLower) ^ word.letters;
  const bool same = (differing & scan::bits_below(word.length * 8)) == 0;
  return same && (rest.size() == word.length || is_delimiter(rest[word.length]));
}

}  // namespace

std::size_t decode_mysql(ByteView input, ByteBuffer output) {
  static constexpr cpu::ByteSet kBackslash = cpu::bytes_in("\\");
  const auto replace = [&](std::size_t at) {
    const std::int16_t unescaped = at + 1 < input.size() ? kUnescaped[input[at + 1]] : kNoEscape;
    if (unescaped == kNoEscape) return scan::replaced_by('\\', at + 1);
    return scan::replaced_by(static_cast<std::uint8_t>(unescaped), at + 2);
  };
  return scan::replace_marked(input, kBackslash, replace, output);
}

namespace {

class BooleanReplacer {
 public:
  explicit BooleanReplacer(ByteView sql) : sql_(sql) {}

  void operator()(scan::Piece &piece, scan::Masks &kept) {
    const scan::MarksAhead t(piece, kT);
    const scan::MarksAhead r(piece, kR);
    const scan::MarksAhead f(piece, kF);
    const scan::MarksAhead a(piece, kA);
    scan::Masks delimiters;
    scan::Masks single;
    scan::Masks twofold;
    scan::find(piece, kDelimiters, delimiters);
    scan::find(piece, kSingleQuote, single);
    scan::find(piece, kDoubleQuote, twofold);
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      const std::uint64_t behind_delimiters = delimiters[i] << 1 | scan::lowest_bit(behind_delimiter_);
      behind_delimiter_ = delimiters[i] >> 63 != 0;
      const std::uint64_t words = behind_delimiters & ((t[i] & r.ahead(i, 1)) | (f[i] & a.ahead(i, 1)));
      const auto replace = [this](std::size_t at) { return replaced(at); };
      kept[i] = scan::replace_in_block(piece, i, words & ~quoted_in(single[i], twofold[i]), resume_, replace);
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

  // What of a block stands between quotes, given its quotes of both kinds.
  std::uint64_t quoted_in(std::uint64_t single, std::uint64_t twofold) {
    if (single == 0 && open_quote_ != '\'') return quoted_by(twofold, '"');
    if (twofold == 0 && open_quote_ != '"') return quoted_by(single, '\'');
    std::uint64_t quoted = 0;
    for (std::uint64_t ahead = ~std::uint64_t{0};;) {
      if (open_quote_ == 0) {
        const std::uint64_t quotes = (single | twofold) & ahead;
        if (quotes == 0) return quoted;
        open_quote_ = (single & scan::up_to_lowest(quotes) & quotes) != 0 ? '\'' : '"';
        ahead = ~scan::up_to_lowest(quotes);
      }
      const std::uint64_t closing = (open_quote_ == '"' ? twofold : single) & ahead;
      if (closing == 0) return quoted | ahead;
      quoted |= ahead & scan::up_to_lowest(closing);
      ahead = ~scan::up_to_lowest(closing);
      open_quote_ = 0;
    }
  }

  // The same where there are quotes of one kind only: each changes sides.
  std::uint64_t quoted_by(std::uint64_t quotes, std::uint8_t quote) {
    const std::uint64_t quoted = scan::parity_up_to_each(quotes) ^ (open_quote_ != 0 ? ~std::uint64_t{0} : 0);
    open_quote_ = quoted >> 63 != 0 ? quote : std::uint8_t{0};
    return quoted;
  }

  [[nodiscard]] scan::Replacement replaced(std::size_t at) const {
    const ByteView rest = sql_.subspan(at);
    const Word &word = (rest.front() | 0x20) == 't' ? kTrue : kFalse;
    if (!begins_with_word(rest, word)) return scan::replaced_by(rest.front(), at + 1);
    return scan::replaced_by(word.replacement, at + word.length);
  }

  ByteView sql_;
  bool behind_delimiter_ = true;  // a word may begin at the start of the text
  std::uint8_t open_quote_ = 0;   // the quote that has to come, if any
  std::size_t resume_ = 0;        // what stands before has been dealt with
};

}  // namespace

std::size_t replace_booleans(ByteView sql, ByteBuffer output) {
  return scan::keep(sql, BooleanReplacer(sql), output);
}

}  // namespace kzv::sql
