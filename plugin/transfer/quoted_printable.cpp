#include "transfer/quoted_printable.h"

#include <cstring>
#include <string_view>

#include "scan/cursor.h"
#include "scan/escape_writer.h"
#include "scan/masks_ahead.h"
#include "scan/replace.h"

namespace kzv::quoted_printable {
namespace {

constexpr bool is_text(std::uint8_t byte) {
  return (byte >= ' ' && byte <= '~' && byte != '=') || byte == '\t';
}
constexpr bool is_line_break(std::uint8_t byte) { return byte == '\r' || byte == '\n'; }
constexpr bool is_white_space(std::uint8_t byte) { return byte == ' ' || byte == '\t'; }

// The position after the line break at `at`. CR LF and LF CR count as one.
std::size_t after_line_break(ByteView input, std::size_t at) {
  const std::uint8_t other = input[at] == '\r' ? '\n' : '\r';
  return at + 1 < input.size() && input[at + 1] == other ? at + 2 : at + 1;
}

// Most lines fit into one copy of this size, which needs no call. It may read past a chunk's escaped text.
constexpr std::size_t kLineCopy = cpu::kBlock + 16;
static_assert(scan::kWriteAfterEscaped >= kLineCopy);

// The encoder's output. What does not fit into the buffer is counted, so that an empty one gives the size.
class Writer {
 public:
  explicit Writer(ByteBuffer output) : output_(output) {}
  void append(const void *bytes, std::size_t byte_count) {
    if (size_ + byte_count <= output_.size()) std::memcpy(output_.data() + size_, bytes, byte_count);
    size_ += byte_count;
  }
  // `text` is a part of an EscapedChunk.
  void append_from_chunk(const std::uint8_t *text, std::size_t byte_count) {
    if (byte_count > kLineCopy || size_ + kLineCopy > output_.size()) return append(text, byte_count);
    std::memcpy(output_.data() + size_, text, kLineCopy);
    size_ += byte_count;
  }
  [[nodiscard]] std::uint64_t size() const { return size_; }

 private:
  ByteBuffer output_;
  std::uint64_t size_ = 0;
};

constexpr std::string_view kSoftBreak = "=\r\n";

// How many of the first `limit` bytes of a text with escapes can be written without splitting an escape.
std::size_t fitting(ByteView text, std::size_t limit) {
  if (text.size() <= limit) return text.size();
  if (limit >= 1 && text[limit - 1] == '=') return limit - 1;
  if (limit >= 2 && text[limit - 2] == '=') return limit - 2;
  return limit;
}

// One encoding in progress: its output so far and the column in its last line.
class EncodeData {
 public:
  EncodeData(std::int32_t line_length, ByteBuffer output)
      : output_(output), capacity_(line_capacity(line_length)) {}

  // Chunk by chunk, bytes become escapes, and then the escaped text is broken into lines.
  std::uint64_t encode(ByteView input) {
    scan::EscapedChunk escaped;
    for (std::size_t at = 0; at < input.size();) {
      const scan::Chunk chunk(input, at);
      bool has_line_breaks = false;
      const ByteView text = ByteView(escaped).first(escape(chunk, escaped, has_line_breaks));
      if (has_line_breaks) {
        make_lines(text);
      } else {
        fill_lines(text);
      }
      at += chunk.size();
    }
    if (has_line_breaks_ && column_ > 0) end_line(kSoftBreak);
    return output_.size();
  }

 private:
  static constexpr cpu::ByteSet kEscaped{
      [](std::uint8_t byte) { return !is_text(byte) && !is_line_break(byte); }};
  static constexpr cpu::ByteSet kLineBreaks{is_line_break};
  static constexpr cpu::ByteSet kWhiteSpace{is_white_space};

  static std::size_t escape(const scan::Chunk &chunk, scan::EscapedChunk &output, bool &has_line_breaks) {
    scan::Masks escaped;
    scan::Masks white_space;
    const scan::MasksAhead line_breaks(chunk, kLineBreaks);
    chunk.find(kEscaped, escaped);
    chunk.find(kWhiteSpace, white_space);
    // White space at the end of a line could get lost in transport, so it is escaped there.
    for (std::size_t i = 0; i < chunk.blocks(); ++i) {
      escaped[i] |= white_space[i] & line_breaks.ahead(i, 1);
      has_line_breaks |= line_breaks[i] != 0;
    }
    return chunk.write_escaped(escaped, '=', output.data());
  }

  void make_lines(ByteView text) {
    scan::Cursor line_breaks(text, kLineBreaks);
    for (std::size_t at = 0; at < text.size(); ++at) {
      const std::size_t end = line_breaks.next(at);
      if (end > at) fill_lines(text.subspan(at, end - at));
      at = end;
      if (at < text.size()) take_line_break(text[at]);
    }
  }

  // Writes text without line breaks.
  void fill_lines(ByteView text) {
    first_of_pair_ = 0;
    while (!text.empty()) {
      std::size_t size = fitting(text, capacity_ > column_ ? capacity_ - column_ : 0);
      if (size == 0) {
        end_line(kSoftBreak);
        // What does not fit even into an empty line gets a line of its own.
        size = std::max(fitting(text, capacity_), std::size_t{text.front() == '=' ? 3U : 1U});
      }
      output_.append_from_chunk(text.data(), size);
      column_ += size;
      text = text.subspan(size);
    }
  }

  void take_line_break(std::uint8_t byte) {
    has_line_breaks_ = true;
    const bool is_second = first_of_pair_ != 0 && first_of_pair_ != byte;
    if (!is_second) end_line("\r\n");
    first_of_pair_ = is_second ? std::uint8_t{0} : byte;
  }

  void end_line(std::string_view line_break) {
    output_.append(line_break.data(), line_break.size());
    column_ = 0;
  }

  Writer output_;
  std::size_t capacity_;            // of a line
  std::size_t column_ = 0;          // at most the capacity or, if that is less than an escape, 3
  std::uint8_t first_of_pair_ = 0;  // the line break just written, which the next byte may complete
  bool has_line_breaks_ = false;
};

// The one caller of EncodeData, which is inlined here and keeps its state in registers.
std::uint64_t encode_lines(ByteView input, std::int32_t line_length, ByteBuffer output) {
  return EncodeData(line_length, output).encode(input);
}

}  // namespace

std::uint64_t encoded_size(ByteView input, std::int32_t line_length) {
  return encode_lines(input, line_length, {});
}

std::size_t encode(ByteView input, std::int32_t line_length, ByteBuffer output) {
  return static_cast<std::size_t>(encode_lines(input, line_length, output));
}

namespace {

class Decoder {
 public:
  explicit Decoder(ByteView input) : input_(input) {}

  void operator()(scan::Chunk &chunk, scan::Masks &kept) {
    if (decode_regular(chunk, kept)) return;
    const auto replace = [this](std::size_t at) { return replaced(at); };
    scan::Masks starts;
    chunk.find(kStarts, starts);
    for (std::size_t i = 0; i < chunk.blocks(); ++i) {
      kept[i] = scan::replace_in_block(chunk, i, starts[i], done_, replace);
    }
  }

 private:
  static constexpr cpu::ByteSet kEquals = cpu::bytes_in("=");
  static constexpr cpu::ByteSet kReturn = cpu::bytes_in("\r");
  static constexpr cpu::ByteSet kFeed = cpu::bytes_in("\n");
  static constexpr cpu::ByteSet kStarts = cpu::bytes_in("=\r\n");
  static constexpr cpu::ByteSet kDigits{is_hex_digit};

  // Decodes a chunk in the form that encoders write, without a branch for each "=" and line break:
  //
  //   block          a  =  3  D  =  CR LF b  CR LF c
  //   escapes        .  1  .  .  .  .  .  .  .  .  .     "=" and two hex digits
  //   soft_breaks    .  .  .  .  1  .  .  .  .  .  .     "=" CR LF
  //   pairs          .  .  .  .  .  1  .  .  1  .  .     CR LF
  //   kept           1  1  .  .  .  .  .  1  .  1  1     of an escape its first byte, of a pair the LF
  //
  // False, and nothing is decoded, if there is anything else: a lone CR, LF CR, a "=" that begins neither, or
  // a CR LF across the end of the chunk. The CR of a soft line break is that of a pair, too.
  bool decode_regular(scan::Chunk &chunk, scan::Masks &kept) {
    const scan::MasksAhead equals(chunk, kEquals);
    const scan::MasksAhead returns(chunk, kReturn);
    const scan::MasksAhead feeds(chunk, kFeed);
    const scan::MasksAhead digits(chunk, kDigits);
    scan::Masks escapes;
    std::uint64_t any_escape = 0;
    std::uint64_t taken_carry = 0;  // the next block's first bytes that belong to an escape or soft break
    std::uint64_t pair_carry = 0;   // whether this block's last byte is the CR of a pair
    for (std::size_t i = 0; i < chunk.blocks(); ++i) {
      const std::size_t base = chunk.block_start(i);
      const std::uint64_t remaining = done_ > base ? scan::bits_from(done_ - base) : scan::kAllBits;
      const std::uint64_t signs = equals[i] & remaining;
      escapes[i] = signs & digits.ahead(i, 1) & digits.ahead(i, 2);
      const std::uint64_t soft_breaks = signs & returns.ahead(i, 1) & feeds.ahead(i, 2);
      const std::uint64_t pairs = returns[i] & remaining & feeds.ahead(i, 1);
      const std::uint64_t pair_ends = scan::follows(pairs, pair_carry);
      const std::uint64_t of_three = escapes[i] | soft_breaks;
      const std::uint64_t feed_return = feeds[i] & remaining & ~pair_ends & returns.ahead(i, 1);
      const std::uint64_t irregular = (signs & ~of_three) | (returns[i] & remaining & ~pairs) | feed_return;
      if (irregular != 0) return false;
      kept[i] = remaining & ~(of_three << 1 | of_three << 2 | soft_breaks | pairs | taken_carry);
      taken_carry = of_three >> 63 | of_three >> 62;
      any_escape |= escapes[i];
    }
    if (pair_carry != 0) return false;  // the next chunk would take the LF for the first byte of a line break
    const std::size_t end = chunk.block_start(chunk.blocks());
    done_ = std::max(done_, end + static_cast<std::size_t>(std::bit_width(taken_carry)));
    if (any_escape != 0) chunk.decode_escapes(escapes);
    return true;
  }

  [[nodiscard]] scan::Replacement replaced(std::size_t at) const {
    if (input_[at] != '=') return scan::replaced_by('\n', after_line_break(input_, at));
    if (input_.size() - at < 3) return scan::dropped(input_.size());  // fewer than two bytes follow
    const std::uint8_t high = input_[at + 1];
    const std::uint8_t low = input_[at + 2];
    if (is_line_break(high) || is_white_space(high)) {  // a soft line break
      while (++at < input_.size() && !is_line_break(input_[at])) continue;
      return scan::dropped(at < input_.size() ? after_line_break(input_, at) : at);
    }
    if (!is_hex_digit(high) || !is_hex_digit(low)) return scan::dropped(at + 3);
    return scan::replaced_by(static_cast<std::uint8_t>(kDigitValues[high] << 4 | kDigitValues[low]), at + 3);
  }

  ByteView input_;
  std::size_t done_ = 0;  // the bytes before are decoded
};

}  // namespace

std::size_t decode(ByteView input, ByteBuffer output) { return scan::keep(input, Decoder(input), output); }

}  // namespace kzv::quoted_printable
