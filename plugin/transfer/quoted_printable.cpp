#include "quoted_printable.h"

#include <array>
#include <cassert>
#include <cstring>

#include "hex_digits.h"
#include "marks.h"

namespace kzv::quoted_printable {
namespace {

constexpr bool is_text(std::uint8_t byte) {
  return (byte >= ' ' && byte <= '~' && byte != '=') || byte == '\t';
}
constexpr bool is_no_text(std::uint8_t byte) { return !is_text(byte); }
constexpr bool is_line_break(std::uint8_t byte) { return byte == '\r' || byte == '\n'; }
constexpr bool is_white_space(std::uint8_t byte) { return byte == ' ' || byte == '\t'; }

// How each byte is written, line breaks excepted.
consteval EscapeTable make_escapes() {
  EscapeTable escapes{};
  for (std::size_t value = 0; value < escapes.size(); ++value) {
    escapes[value] = is_text(static_cast<std::uint8_t>(value)) ? as_it_is(value) : hex_escape('=', value);
  }
  return escapes;
}
constexpr EscapeTable kEscapes = make_escapes();

constexpr bool is_hex_digit(std::uint8_t byte) { return byte == '0' || kDigitValues[byte] != 0; }

// Position behind the line break at `at`: CR LF and LF CR are one break, CR CR and LF LF are two.
std::size_t behind_line_break(ByteView input, std::size_t at) {
  const std::uint8_t other = input[at] == '\r' ? '\n' : '\r';
  return at + 1 < input.size() && input[at + 1] == other ? at + 2 : at + 1;
}

// Where the encoder's output goes: into a buffer, or nowhere while its size is found out.
class Writer {
 public:
  explicit Writer(ByteBuffer output) : output_(output) {}
  void append(const void *bytes, std::size_t byte_count) {
    assert(byte_count <= output_.size() - size_);
    std::memcpy(output_.data() + size_, bytes, byte_count);
    size_ += byte_count;
  }
  // Returns the number of characters written.
  std::size_t append_escaped(ByteView bytes) {
    std::uint8_t *const start = output_.data() + size_;
    std::uint8_t *next = start;
    // A store of fixed size is fastest; the last ones might reach behind the output.
    const bool roomy = output_.size() - size_ >= bytes.size() * 3 + 1;
    for (const std::uint8_t byte : bytes) {
      const Escape escape = kEscapes[byte];
      std::memcpy(next, &escape, roomy ? sizeof escape : escape.length);
      next += escape.length;
    }
    size_ += static_cast<std::size_t>(next - start);
    return static_cast<std::size_t>(next - start);
  }
  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  ByteBuffer output_;
  std::size_t size_ = 0;
};

class Counter {
 public:
  void append(const void *, std::size_t byte_count) { size_ += byte_count; }
  std::size_t append_escaped(ByteView bytes) {
    std::size_t added = 0;
    for (const std::uint8_t byte : bytes) added += kEscapes[byte].length;
    size_ += added;
    return added;
  }
  [[nodiscard]] std::uint64_t size() const { return size_; }

 private:
  std::uint64_t size_ = 0;
};

// One encoding in progress: what was written, and how full its last line is.
template <typename Output>
class EncodeData {
 public:
  EncodeData(ByteView input, std::int32_t line_length, Output output)
      : output_(output), input_(input), escaped_(input, kEscaped), room_(line_room(line_length)) {}

  auto encode() {
    cpu::MarkCursor line_breaks(input_, kLineBreaks);
    bool has_line_breaks = false;
    while (position_ < input_.size()) {
      const std::size_t end = line_breaks.next(position_);
      const bool broken = end < input_.size();
      // White space at the end of a line could get lost in transport, so it is escaped there.
      const bool escape_last = broken && end > position_ && is_white_space(input_[end - 1]);
      encode_to(escape_last ? end - 1 : end);
      if (escape_last) emit_hex_encoded(input_[position_++]);
      if (!broken) break;
      output_line_break();
      position_ = behind_line_break(input_, position_);
      has_line_breaks = true;
    }
    if (has_line_breaks && column_ > 0) output_soft_break();
    return output_.size();
  }

 private:
  static constexpr cpu::ByteSet kEscaped{is_no_text};
  static constexpr cpu::ByteSet kLineBreaks = cpu::bytes_in("\r\n");

  // Text without line breaks. Long runs of literal characters are copied, everything else goes by the table:
  // as many bytes at once as fit into the line even if all are escaped.
  void encode_to(std::size_t end) {
    constexpr std::size_t kLongRun = 16;
    while (position_ < end) {
      const std::size_t run = std::min(escaped_.next(position_), end) - position_;
      const std::size_t fitting = room_ > column_ ? (room_ - column_) / 3 : 0;
      if (run >= kLongRun) {
        emit_literally(input_.subspan(position_, run));
        position_ += run;
      } else if (fitting > 0) {
        const std::size_t count = std::min(end - position_, fitting);
        column_ += output_.append_escaped(input_.subspan(position_, count));
        position_ += count;
      } else if (run > 0) {
        emit_literally(input_.subspan(position_++, 1));
      } else {
        emit_hex_encoded(input_[position_++]);
      }
    }
  }

  void emit_literally(ByteView text) {
    while (!text.empty()) {
      if (column_ + 1 > room_) output_soft_break();
      // Without any room at all, each character stands alone on its line.
      const std::size_t fitting = std::min(text.size(), std::max(room_ - column_, std::size_t{1}));
      column_ += fitting;
      output_.append(text.data(), fitting);
      text = text.subspan(fitting);
    }
  }

  void emit_hex_encoded(std::uint8_t byte) {
    if (column_ + 3 > room_) output_soft_break();
    column_ += 3;
    const std::array<char, 3> escape = {'=', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
    output_.append(escape.data(), escape.size());
  }

  void output_line_break() {
    output_.append("\r\n", 2);
    column_ = 0;
  }

  void output_soft_break() {
    output_.append("=", 1);
    output_line_break();
  }

  Output output_;
  ByteView input_;
  cpu::MarkCursor escaped_;
  std::size_t position_ = 0;
  std::size_t room_;
  std::size_t column_ = 0;  // at most the room or, on a line that is too short, one escape
};

// Position behind a soft break whose "=" is followed, at `at`, by white space or the line break itself.
std::size_t behind_soft_break(ByteView input, std::size_t at) {
  while (at < input.size() && !is_line_break(input[at])) ++at;
  return at < input.size() ? behind_line_break(input, at) : at;
}

}  // namespace

std::uint64_t encoded_size(ByteView input, std::int32_t line_length) {
  return EncodeData(input, line_length, Counter()).encode();
}

std::size_t encode(ByteView input, std::int32_t line_length, ByteBuffer output) {
  return EncodeData(input, line_length, Writer(output)).encode();
}

namespace {

class Decoder {
 public:
  explicit Decoder(ByteView input) : input_(input) {}

  void operator()(cpu::Piece &piece, cpu::Masks &kept) {
    if (decode_regular(piece, kept)) return;
    const auto replace = [this](std::size_t at) { return replaced(at); };
    cpu::Masks marks;
    cpu::find(piece, kMarked, marks);
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      kept[i] = cpu::replace_in_block(piece, i, marks[i], resume_, replace);
    }
  }

 private:
  static constexpr cpu::ByteSet kEquals = cpu::bytes_in("=");
  static constexpr cpu::ByteSet kReturn = cpu::bytes_in("\r");
  static constexpr cpu::ByteSet kFeed = cpu::bytes_in("\n");
  static constexpr cpu::ByteSet kMarked = cpu::bytes_in("=\r\n");
  static constexpr cpu::ByteSet kDigits{is_hex_digit};

  // What encoders write, without a branch for each mark: "=" and two digits, "=" CR LF, and CR LF, of which
  // the LF is what is kept. False if there is anything else, such as a lone CR or an escape without digits.
  bool decode_regular(cpu::Piece &piece, cpu::Masks &kept) {
    const cpu::MarksAhead equals(piece, kEquals);
    const cpu::MarksAhead returns(piece, kReturn);
    const cpu::MarksAhead feeds(piece, kFeed);
    const cpu::MarksAhead digits(piece, kDigits);
    cpu::Masks escapes;
    std::uint64_t any_escape = 0;
    std::uint64_t taken = 0;  // of the next block, by an escape or a soft break at the end of this one
    std::uint64_t behind_return = 0;  // whether the next block begins behind a CR
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      const std::size_t base = piece.start + i * cpu::kBlock;
      const std::uint64_t open = resume_ > base ? ~cpu::bits_below(resume_ - base) : ~std::uint64_t{0};
      const std::uint64_t escape = equals[i] & open & digits.ahead(i, 1) & digits.ahead(i, 2);
      const std::uint64_t soft = equals[i] & open & returns.ahead(i, 1) & feeds.ahead(i, 2);
      const std::uint64_t paired = returns[i] & open & feeds.ahead(i, 1);
      const std::uint64_t second = paired << 1 | behind_return;
      const std::uint64_t irregular = (equals[i] & open & ~(escape | soft)) | (returns[i] & open & ~paired) |
                                      (feeds[i] & open & ~second & returns.ahead(i, 1));
      if (irregular != 0) return false;
      kept[i] = open & ~((escape | soft) << 1 | (escape | soft) << 2 | soft | paired | taken);
      taken = (escape | soft) >> 63 | (escape | soft) >> 62;
      behind_return = paired >> 63;
      escapes[i] = escape;
      any_escape |= escape;
    }
    if (behind_return != 0) return false;  // the LF would be taken for the first of a pair
    const std::size_t end = piece.start + piece.blocks * cpu::kBlock;
    resume_ = std::max(resume_, end + static_cast<std::size_t>(std::bit_width(taken)));
    if (any_escape == 0) return true;
    cpu::level().unescape(piece.text, piece.blocks, escapes.data(), piece.place);
    piece.text = piece.place;
    return true;
  }

  [[nodiscard]] cpu::Replacement replaced(std::size_t at) const {
    if (input_[at] != '=') return cpu::replaced_by('\n', behind_line_break(input_, at));
    if (input_.size() - at < 3) return cpu::dropped(input_.size());  // nothing there could give a byte
    const std::uint8_t high = input_[at + 1];
    const std::uint8_t low = input_[at + 2];
    if (is_line_break(high) || is_white_space(high)) return cpu::dropped(behind_soft_break(input_, at + 1));
    if (!is_hex_digit(high) || !is_hex_digit(low)) return cpu::dropped(at + 3);
    return cpu::replaced_by(static_cast<std::uint8_t>(kDigitValues[high] << 4 | kDigitValues[low]), at + 3);
  }

  ByteView input_;
  std::size_t resume_ = 0;  // what stands before has been dealt with
};

}  // namespace

std::size_t decode(ByteView input, ByteBuffer output) { return cpu::keep(input, Decoder(input), output); }

}  // namespace kzv::quoted_printable
