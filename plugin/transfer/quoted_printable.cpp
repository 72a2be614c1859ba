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

enum class Class : std::uint8_t { kText, kLineBreak, kEscaped };

consteval std::array<Class, 256> make_classes() {
  std::array<Class, 256> classes{};
  for (std::size_t value = 0; value < classes.size(); ++value) {
    const auto byte = static_cast<std::uint8_t>(value);
    classes[value] = is_line_break(byte) ? Class::kLineBreak : is_text(byte) ? Class::kText : Class::kEscaped;
  }
  return classes;
}
constexpr std::array<Class, 256> kClasses = make_classes();

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
  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  ByteBuffer output_;
  std::size_t size_ = 0;
};

class Counter {
 public:
  void append(const void *, std::size_t byte_count) { size_ += byte_count; }
  [[nodiscard]] std::uint64_t size() const { return size_; }

 private:
  std::uint64_t size_ = 0;
};

// One encoding in progress: what was written, and how full its last line is.
template <typename Output>
class EncodeData {
 public:
  EncodeData(ByteView input, std::int32_t line_length, Output output)
      : output_(output), input_(input), ends_of_text_(input, kNoText), room_(line_room(line_length)) {}

  auto encode() {
    bool has_line_breaks = false;
    while (position_ < input_.size()) {
      const std::uint8_t byte = input_[position_];
      switch (kClasses[byte]) {
        case Class::kText:
          encode_text();
          break;
        case Class::kLineBreak:
          output_line_break();
          position_ = behind_line_break(input_, position_);
          has_line_breaks = true;
          break;
        case Class::kEscaped:
          emit_hex_encoded(byte);
          ++position_;
          break;
      }
    }
    if (has_line_breaks && column_ > 0) output_soft_break();
    return output_.size();
  }

 private:
  // White space at the end of a line could get lost in transport, so it is escaped there.
  void encode_text() {
    const std::size_t end = ends_of_text_.next(position_);
    const ByteView text = input_.subspan(position_, end - position_);
    position_ = end;
    const bool at_line_end = position_ < input_.size() && is_line_break(input_[position_]);
    if (at_line_end && is_white_space(text.back())) {
      emit_literally(text.first(text.size() - 1));
      emit_hex_encoded(text.back());
    } else {
      emit_literally(text);
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

  static constexpr cpu::ByteSet kNoText{is_no_text};

  Output output_;
  ByteView input_;
  cpu::MarkCursor ends_of_text_;
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

std::size_t decode(ByteView input, ByteBuffer output) {
  assert(output.size() >= input.size());
  static constexpr cpu::ByteSet kMarked = cpu::bytes_in("=\r\n");
  const auto replace = [&](std::size_t at) {
    if (input[at] != '=') return cpu::replaced_by('\n', behind_line_break(input, at));
    if (input.size() - at < 3) return cpu::dropped(input.size());  // nothing there could give a byte
    const std::uint8_t high = input[at + 1];
    const std::uint8_t low = input[at + 2];
    if (is_line_break(high) || is_white_space(high)) return cpu::dropped(behind_soft_break(input, at + 1));
    if (!is_hex_digit(high) || !is_hex_digit(low)) return cpu::dropped(at + 3);
    return cpu::replaced_by(static_cast<std::uint8_t>(kDigitValues[high] << 4 | kDigitValues[low]), at + 3);
  };
  return cpu::replace_marked(input, kMarked, replace, output);
}

}  // namespace kzv::quoted_printable
