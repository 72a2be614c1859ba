#include "markup/sql.h"

#include <array>
#include <string_view>

#include "base/byte_words.h"
#include "scan/escaping.h"
#include "scan/find_byte.h"
#include "scan/masks_ahead.h"

namespace kzv::sql {
namespace {

constexpr std::int16_t kNoEscape = -1;

// The byte that a backslash and the given byte make.
consteval std::array<std::int16_t, 256> make_unescaped() {
  std::array<std::int16_t, 256> table{};
  table.fill(kNoEscape);
  constexpr std::string_view kWritten = "'\"\\%_0bnrtZ";
  constexpr std::string_view kMeant("'\"\\%_\0\b\n\r\t\x1A", kWritten.size());
  for (std::size_t i = 0; i < kWritten.size(); ++i) table[static_cast<std::uint8_t>(kWritten[i])] = kMeant[i];
  return table;
}
constexpr std::array<std::int16_t, 256> kUnescaped = make_unescaped();

// What a backslash may escape: bytes that mean themselves then, and those that mean another one.
constexpr bool means_itself(std::uint8_t byte) { return kUnescaped[byte] == byte; }
constexpr bool means_another(std::uint8_t byte) {
  return kUnescaped[byte] != kNoEscape && !means_itself(byte);
}
constexpr cpu::ByteSet kSame(means_itself);
constexpr cpu::ByteSet kOther(means_another);

constexpr bool is_delimiter(std::uint8_t byte) {
  return byte <= 0x20 || byte >= 0x80 || byte == '(' || byte == ')' || byte == ',' || byte == ';';
}

consteval std::array<bool, 256> make_delimits() {
  std::array<bool, 256> table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = is_delimiter(static_cast<std::uint8_t>(i));
  return table;
}
constexpr std::array<bool, 256> kDelimits = make_delimits();

// The words "true" and "false", the first letter in the low byte.
constexpr std::uint64_t kTrue = 0x65757274;
constexpr std::uint64_t kFalse = 0x65736C6166;

// For a text that begins with "t" or "f", in either case, and has `word` as its first eight bytes: 1 if it
// begins with the whole word and a delimiter or the end of the text, else 0. Without a branch, because the
// processor could not predict it.
std::uint64_t begins_with_boolean(std::uint64_t word) {
  const bool is_true = (word & 0x10) != 0;  // "t" is 74 or 54, "f" 66 or 46
  const unsigned bits = is_true ? 32 : 40;
  // Setting bit 5 makes letters lower case and makes no other byte a letter.
  const std::uint64_t differing = (word | in_each_byte(0x20)) ^ (is_true ? kTrue : kFalse);
  return scan::bit_if(differing << (64 - bits) == 0) & scan::bit_if(kDelimits[word >> bits & 0xFF]);
}

// The bytes of `candidates`, in the block that begins `rest`, at which a word begins.
std::uint64_t find_booleans(ByteView rest, std::uint64_t candidates) {
  std::uint64_t found = 0;
  for (; candidates != 0; candidates = scan::without_lowest(candidates)) {
    const std::size_t at = scan::lowest_position(candidates);
    found |= begins_with_boolean(load_word(rest.subspan(at))) << at;
  }
  return found;
}

// The letters after the first of each word. `carry` has those of the next block, and of the one before.
std::uint64_t find_other_letters(std::uint64_t trues, std::uint64_t falses, std::uint64_t &carry) {
  const std::uint64_t words = trues | falses;
  const std::uint64_t letters = words << 1 | words << 2 | words << 3 | falses << 4 | carry;
  carry = words >> 63 | words >> 62 | words >> 61 | falses >> 60;
  return letters;
}

}  // namespace

// A backslash goes if the byte that it escapes is one of the known ones; those that mean another byte, such
// as "n", are overwritten with it:
//
//   block        a  \  n  b  \  \  n  \  x
//   escaping     .  1  .  .  1  .  .  1  .      the third backslash is escaped itself
//   kept         1  .  1  1  .  1  1  1  1      "x" means nothing: its backslash stays
//   written      a     LF b     \  n  \  x
std::size_t decode_mysql(ByteView input, ByteBuffer output) {
  static constexpr cpu::ByteSet kBackslash = cpu::bytes_in("\\");
  std::uint64_t carry = 0;
  const auto choose = [&](scan::Chunk &chunk, scan::Masks &kept) {
    scan::Masks backslashes;
    chunk.find(kBackslash, backslashes);
    kept.fill(scan::kAllBits);
    std::uint64_t any = carry;
    for (std::size_t i = 0; i < chunk.blocks(); ++i) any |= backslashes[i];
    if (any == 0) return;
    const scan::MasksAhead same(chunk, kSame);
    const scan::MasksAhead other(chunk, kOther);
    for (std::size_t i = 0; i < chunk.blocks(); ++i) {
      const std::uint64_t first_is_escaped = carry;
      const std::uint64_t escaping = scan::find_escaping(backslashes[i], carry);
      kept[i] = ~(escaping & (same.ahead(i, 1) | other.ahead(i, 1)));
      std::uint64_t overwritten = (escaping << 1 | first_is_escaped) & other[i];
      if (overwritten == 0) continue;
      std::uint8_t *const block = chunk.writable_block(i);
      for (; overwritten != 0; overwritten = scan::without_lowest(overwritten)) {
        std::uint8_t &byte = block[scan::lowest_position(overwritten)];
        byte = static_cast<std::uint8_t>(kUnescaped[byte]);
      }
    }
  };
  return scan::keep(input, choose, output);
}

bool is_unchanged(ByteView input) { return lacks(input, '\\'); }

namespace {

// Finds the quoted parts of a text, block by block.
class QuoteFinder {
 public:
  // Which bytes of a block are quoted, given its quotes of both kinds. The quotes themselves may or may not
  // be among them: no word begins with one.
  std::uint64_t find(std::uint64_t single_quotes, std::uint64_t double_quotes) {
    if (single_quotes == 0 && open_quote_ != '\'') return find_one_kind(double_quotes, '"');
    if (double_quotes == 0 && open_quote_ != '"') return find_one_kind(single_quotes, '\'');
    return find_both_kinds(single_quotes, double_quotes);
  }

 private:
  // Where there is one kind of quotes, each changes sides:
  //
  //   block           a  '  b  '  c  '  d ...
  //   prefix_xor      .  1  1  .  .  1  1      and inverted if the block begins within quotes
  std::uint64_t find_one_kind(std::uint64_t quotes, std::uint8_t quote) {
    const std::uint64_t quoted = scan::prefix_xor(quotes) ^ (open_quote_ != 0 ? scan::kAllBits : 0);
    open_quote_ = quoted >> 63 != 0 ? quote : std::uint8_t{0};
    return quoted;
  }

  // Quotes of the other kind count as text, so each is looked at in turn; `remaining` are the bytes
  // after the last:
  //
  //   block           '  "  '  a  "  '  "  b
  //   quoted          .  1  1  .  .  1  1  .
  std::uint64_t find_both_kinds(std::uint64_t single_quotes, std::uint64_t double_quotes) {
    std::uint64_t quoted = 0;
    for (std::uint64_t remaining = scan::kAllBits;;) {
      if (open_quote_ == 0) {
        const std::uint64_t quotes = (single_quotes | double_quotes) & remaining;
        if (quotes == 0) return quoted;
        open_quote_ = (single_quotes & scan::lowest_bit(quotes)) != 0 ? '\'' : '"';
        remaining = ~scan::up_to_lowest(quotes);
      }
      const std::uint64_t closing = (open_quote_ == '"' ? double_quotes : single_quotes) & remaining;
      if (closing == 0) return quoted | remaining;
      quoted |= remaining & scan::up_to_lowest(closing);
      remaining = ~scan::up_to_lowest(closing);
      open_quote_ = 0;
    }
  }

  std::uint8_t open_quote_ = 0;  // the carry: the quote that is still open, or 0
};

}  // namespace

// A word may begin where a delimiter is followed by its first two letters; few places are left to look at.
// Its first letter becomes the digit, the others go:
//
//   block           =  t  r  u  e  ,  f  a  l  s  e  ;
//   trues           .  1  .  .  .  .  .  .  .  .  .  .
//   falses          .  .  .  .  .  .  1  .  .  .  .  .
//   kept            1  1  .  .  .  1  1  .  .  .  .  1      = 1 , 0 ;
std::size_t replace_booleans(ByteView sql, ByteBuffer output) {
  static constexpr cpu::ByteSet kDelimiters{is_delimiter};
  static constexpr cpu::ByteSet kSingleQuote = cpu::bytes_in("'");
  static constexpr cpu::ByteSet kDoubleQuote = cpu::bytes_in("\"");
  static constexpr cpu::ByteSet kT = cpu::bytes_in("tT");
  static constexpr cpu::ByteSet kR = cpu::bytes_in("rR");
  static constexpr cpu::ByteSet kF = cpu::bytes_in("fF");
  static constexpr cpu::ByteSet kA = cpu::bytes_in("aA");
  QuoteFinder quotes;
  std::uint64_t delimiter_carry = 1;  // a word may begin at the start of the text
  std::uint64_t letters_carry = 0;
  const auto choose = [&](scan::Chunk &chunk, scan::Masks &kept) {
    const scan::MasksAhead t(chunk, kT);
    const scan::MasksAhead r(chunk, kR);
    const scan::MasksAhead f(chunk, kF);
    const scan::MasksAhead a(chunk, kA);
    scan::Masks delimiters;
    scan::Masks single_quotes;
    scan::Masks double_quotes;
    chunk.find(kDelimiters, delimiters);
    chunk.find(kSingleQuote, single_quotes);
    chunk.find(kDoubleQuote, double_quotes);
    scan::Masks trues;
    scan::Masks falses;
    std::uint64_t any = 0;
    for (std::size_t i = 0; i < chunk.blocks(); ++i) {
      const std::uint64_t first_two = (t[i] & r.ahead(i, 1)) | (f[i] & a.ahead(i, 1));
      const std::uint64_t words = scan::follows(delimiters[i], delimiter_carry) & first_two;
      const std::uint64_t quoted = quotes.find(single_quotes[i], double_quotes[i]);
      const std::uint64_t found = find_booleans(sql.subspan(chunk.block_start(i)), words & ~quoted);
      trues[i] = found & t[i];
      falses[i] = found & f[i];
      kept[i] = ~find_other_letters(trues[i], falses[i], letters_carry);
      any |= found;
    }
    if (any == 0) return;
    chunk.fill(trues, '1');
    chunk.fill(falses, '0');
  };
  return scan::keep(sql, choose, output);
}

}  // namespace kzv::sql
