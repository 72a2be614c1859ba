#include "transfer/quoted_printable.h"

#include <array>
#include <cassert>
#include <cstring>

#include "scan/escaping.h"

namespace kzv::quoted_printable {
namespace {

constexpr bool is_text(std::uint8_t byte) {
  return (byte >= ' ' && byte <= '~' && byte != '=') || byte == '\t';
}
constexpr bool is_line_break(std::uint8_t byte) { return byte == '\r' || byte == '\n'; }
constexpr bool is_white_space(std::uint8_t byte) { return byte == ' ' || byte == '\t'; }

constexpr bool is_hex_digit(std::uint8_t byte) { return byte == '0' || kDigitValues[byte] != 0; }

// Position behind the line break at `at`: CR LF and LF CR are one break, CR CR and LF LF are two.
std::size_t behind_line_break(ByteView input, std::size_t at) {
  const std::uint8_t other = input[at] == '\r' ? '\n' : '\r';
  return at + 1 < input.size() && input[at + 1] == other ? at + 2 : at + 1;
}

// Bytes that may be read behind what a piece becomes.
constexpr std::size_t kCopied = cpu::kBlock + 16;
static_assert(scan::kReadBehindEscaped >= kCopied);

// Where the encoder's output goes: into a buffer, or nowhere while its size is found out.
class Writer {
 public:
  explicit Writer(ByteBuffer output) : output_(output) {}
  void append(const void *bytes, std::size_t byte_count) {
    assert(byte_count <= output_.size() - size_);
    std::memcpy(output_.data() + size_, bytes, byte_count);
    size_ += byte_count;
  }
  // A copy of fixed size is fastest for what lines consist of.
  void append_escaped(const std::uint8_t *text, std::size_t byte_count) {
    if (byte_count > kCopied || output_.size() - size_ < kCopied) return append(text, byte_count);
    std::memcpy(output_.data() + size_, text, kCopied);
    size_ += byte_count;
  }
  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  ByteBuffer output_;
  std::size_t size_ = 0;
};

class Counter {
 public:
  void append(const void *, std::size_t byte_count) { size_ += byte_count; }
  void append_escaped(const std::uint8_t *, std::size_t byte_count) { size_ += byte_count; }
  [[nodiscard]] std::uint64_t size() const { return size_; }

 private:
  std::uint64_t size_ = 0;
};

// How much of a text of characters and escapes fits into `room` without splitting an escape.
std::size_t fitting(ByteView text, std::size_t room) {
  if (text.size() <= room) return text.size();
  if (room >= 1 && text[room - 1] == '=') return room - 1;
  if (room >= 2 && text[room - 2] == '=') return room - 2;
  return room;
}

// One encoding in progress: what was written, and how full its last line is.
template <typename Output>
class EncodeData {
 public:
  EncodeData(std::int32_t line_length, Output output) : output_(output), room_(line_room(line_length)) {}

  // Piece by piece: first escapes are written, with line breaks left as they are, then lines are made of
  // that.
  auto encode(ByteView input) {
    std::array<std::uint8_t, scan::kEscapedBound> escaped;
    scan::Piece piece;
    for (std::size_t at = 0; at < input.size(); at += piece.size) {
      piece.load(input, at, nullptr);
      bool has_line_breaks = false;
      const ByteView text = ByteView(escaped).first(escape(piece, escaped, has_line_breaks));
      if (has_line_breaks) {
        make_lines(text);
      } else {
        fill_lines(text);
      }
    }
    if (has_line_breaks_ && column_ > 0) output_soft_break();
    return output_.size();
  }

 private:
  static constexpr cpu::ByteSet kEscaped{
      [](std::uint8_t byte) { return !is_text(byte) && !is_line_break(byte); }};
  static constexpr cpu::ByteSet kLineBreaks{is_line_break};
  static constexpr cpu::ByteSet kWhiteSpace{is_white_space};

  static std::size_t escape(const scan::Piece &piece, std::array<std::uint8_t, scan::kEscapedBound> &escaped,
                            bool &has_line_breaks) {
    scan::Masks marks;
    scan::Masks white_space;
    const scan::MarksAhead line_breaks(piece, kLineBreaks);
    scan::find(piece, kEscaped, marks);
    scan::find(piece, kWhiteSpace, white_space);
    // White space at the end of a line could get lost in transport, so it is escaped there.
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      marks[i] |= white_space[i] & line_breaks.ahead(i, 1);
      has_line_breaks |= line_breaks[i] != 0;
    }
    return scan::escape(piece, marks, '=', escaped);
  }

  void make_lines(ByteView text) {
    scan::MarkCursor line_breaks(text, kLineBreaks);
    for (std::size_t at = 0; at < text.size(); ++at) {
      const std::size_t end = line_breaks.next(at);
      if (end > at) fill_lines(text.subspan(at, end - at));
      at = end;
      if (at < text.size()) take_line_break(text[at]);
    }
  }

  // Text without line breaks.
  void fill_lines(ByteView text) {
    first_of_pair_ = 0;
    while (!text.empty()) {
      std::size_t size = fitting(text, room_ > column_ ? room_ - column_ : 0);
      if (size == 0) {
        output_soft_break();
        // What is wider than a line stands alone on its own.
        size = std::max(fitting(text, room_), std::size_t{text.front() == '=' ? 3U : 1U});
      }
      output_.append_escaped(text.data(), size);
      column_ += size;
      text = text.subspan(size);
    }
  }

  // CR LF and LF CR are one line break, CR CR and LF LF are two.
  void take_line_break(std::uint8_t byte) {
    has_line_breaks_ = true;
    const bool is_second = first_of_pair_ != 0 && first_of_pair_ != byte;
    if (!is_second) output_line_break();
    first_of_pair_ = is_second ? std::uint8_t{0} : byte;
  }

  void output_line_break() {
    output_.append("\r\n", 2);
    column_ = 0;
  }

  void output_soft_break() {
    output_.append("=\r\n", 3);
    column_ = 0;
  }

  Output output_;
  std::size_t room_;
  std::size_t column_ = 0;          // at most the room or, on a line that is too short, one escape
  std::uint8_t first_of_pair_ = 0;  // the line break that the next byte may belong to
  bool has_line_breaks_ = false;
};

// Position behind a soft break whose "=" is followed, at `at`, by white space or the line break itself.
std::size_t behind_soft_break(ByteView input, std::size_t at) {
  while (at < input.size() && !is_line_break(input[at])) ++at;
  return at < input.size() ? behind_line_break(input, at) : at;
}

}  // namespace

std::uint64_t encoded_size(ByteView input, std::int32_t line_length) {
  return EncodeData(line_length, Counter()).encode(input);
}

std::size_t encode(ByteView input, std::int32_t line_length, ByteBuffer output) {
  return EncodeData(line_length, Writer(output)).encode(input);
}

namespace {

class Decoder {
 public:
  explicit Decoder(ByteView input) : input_(input) {}

  void operator()(scan::Piece &piece, scan::Masks &kept) {
    if (decode_regular(piece, kept)) return;
    const auto replace = [this](std::size_t at) { return replaced(at); };
    scan::Masks marks;
    scan::find(piece, kMarked, marks);
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      kept[i] = scan::replace_in_block(piece, i, marks[i], resume_, replace);
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
  bool decode_regular(scan::Piece &piece, scan::Masks &kept) {
    const scan::MarksAhead equals(piece, kEquals);
    const scan::MarksAhead returns(piece, kReturn);
    const scan::MarksAhead feeds(piece, kFeed);
    const scan::MarksAhead digits(piece, kDigits);
    scan::Masks escapes;
    std::uint64_t any_escape = 0;
    std::uint64_t taken = 0;  // of the next block, by an escape or a soft break at the end of this one
    std::uint64_t behind_return = 0;  // whether the next block begins behind a CR
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      const std::size_t base = piece.start + i * cpu::kBlock;
      const std::uint64_t open = resume_ > base ? ~scan::bits_below(resume_ - base) : ~std::uint64_t{0};
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
    cpu::level().decode_escapes(piece.text, piece.blocks, escapes.data(), piece.place);
    piece.text = piece.place;
    return true;
  }

  [[nodiscard]] scan::Replacement replaced(std::size_t at) const {
    if (input_[at] != '=') return scan::replaced_by('\n', behind_line_break(input_, at));
    if (input_.size() - at < 3) return scan::dropped(input_.size());  // nothing there could give a byte
    const std::uint8_t high = input_[at + 1];
    const std::uint8_t low = input_[at + 2];
    if (is_line_break(high) || is_white_space(high)) return scan::dropped(behind_soft_break(input_, at + 1));
    if (!is_hex_digit(high) || !is_hex_digit(low)) return scan::dropped(at + 3);
    return scan::replaced_by(static_cast<std::uint8_t>(kDigitValues[high] << 4 | kDigitValues[low]), at + 3);
  }

  ByteView input_;
  std::size_t resume_ = 0;  // what stands before has been dealt with
};

}  // namespace

std::size_t decode(ByteView input, ByteBuffer output) { return scan::keep(input, Decoder(input), output); }

}  // namespace kzv::quoted_printable
