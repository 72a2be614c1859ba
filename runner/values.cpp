#include "values.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>
#include <system_error>

#include "encodings.h"
#include "shown.h"

namespace kzv::runner {
namespace {

std::string in_quotes(std::string_view word) { return "\"" + host::shown(word) + "\""; }

[[noreturn]] void refuse(const Parameter &parameter, std::string_view word, const std::string &why) {
  throw UsageError("argument " + parameter.name + ": " + in_quotes(word) + " " + why);
}

// Reads `file` to its end; `word` is the argument that names it.
std::string read_all(const Parameter &parameter, const std::string &word, std::FILE *file) {
  std::string bytes;
  std::array<char, 65536> chunk{};
  for (std::size_t read = 0; (read = std::fread(chunk.data(), 1, chunk.size(), file)) > 0;) {
    bytes.append(chunk.data(), read);
    if (bytes.size() > kMaxByteCount) refuse(parameter, word, "is longer than 2147483647 bytes");
  }
  if (std::ferror(file) != 0)
    refuse(parameter, word, "cannot be read: " + std::generic_category().message(errno));
  return bytes;
}

std::string read_file(const Parameter &parameter, const std::string &word, const std::string &path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (file == nullptr) refuse(parameter, word, "cannot be read: " + std::generic_category().message(errno));
  return read_all(parameter, word, file.get());
}

int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string read_hex(const Parameter &parameter, std::string_view digits) {
  std::string bytes;
  if (digits.size() % 2 != 0) refuse(parameter, "hex:" + std::string(digits), "has an odd number of digits");
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const int high = hex_digit(digits[i]);
    const int low = hex_digit(digits[i + 1]);
    if (high < 0 || low < 0)
      refuse(parameter, "hex:" + std::string(digits), "has a character that is not a hex digit");
    bytes += static_cast<char>(high * 16 + low);
  }
  return bytes;
}

// The bytes of a string or memory block; nothing for nil. Only what is read
// from a file or standard input can be too long: the system limits the length of words.
std::optional<std::string> read_bytes(const Parameter &parameter, const std::string &word,
                                      REALencoding label) {
  constexpr std::string_view kFile = "file:";
  constexpr std::string_view kHex = "hex:";
  constexpr std::string_view kText = "text:";
  if (word == "nil") return std::nullopt;
  if (word == "-") return read_all(parameter, word, stdin);
  if (word.starts_with(kFile)) return read_file(parameter, word, word.substr(kFile.size()));
  if (word.starts_with(kHex)) return read_hex(parameter, std::string_view(word).substr(kHex.size()));
  const std::string text = word.starts_with(kText) ? word.substr(kText.size()) : word;
  return host::convert(text, kEncodingUTF8, label);
}

// Reads the whole of `text` with std::from_chars; nothing when it is not a number alone.
template <typename Number, typename... Format>
std::optional<Number> parse_number(std::string_view text, std::errc &error, Format... format) {
  Number number{};
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number, format...);
  error = code;
  if (code == std::errc::invalid_argument || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::int32_t read_integer(const Parameter &parameter, const std::string &word) {
  std::string_view digits = word;
  const bool negative = digits.starts_with('-');
  if (negative || digits.starts_with('+')) digits.remove_prefix(1);
  const bool hex = digits.starts_with("0x") || digits.starts_with("0X");
  if (hex) digits.remove_prefix(2);
  std::errc error{};
  const auto magnitude = parse_number<std::uint64_t>(digits, error, hex ? 16 : 10);
  if (!magnitude) refuse(parameter, word, "is not an integer (such as 42, -7 or 0x2A)");
  constexpr std::uint64_t kLargest = 0x7FFFFFFF;
  if (error == std::errc::result_out_of_range || *magnitude > kLargest + (negative ? 1 : 0)) {
    refuse(parameter, word, "is out of range: integers go from -2147483648 to 2147483647");
  }
  const auto value = static_cast<std::int64_t>(*magnitude);
  return static_cast<std::int32_t>(negative ? -value : value);
}

double read_double(const Parameter &parameter, const std::string &word) {
  std::string_view digits = word;
  if (digits.starts_with('+')) digits.remove_prefix(1);
  std::errc error{};
  const auto number = parse_number<double>(digits, error);
  if (!number) refuse(parameter, word, "is not a number (such as 1.5, -2e10, inf or nan)");
  if (error == std::errc::result_out_of_range) refuse(parameter, word, "is out of range for a double");
  return *number;
}

bool read_boolean(const Parameter &parameter, const std::string &word) {
  std::string lower = word;
  std::ranges::transform(lower, lower.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (lower == "true" || lower == "yes" || lower == "1") return true;
  if (lower == "false" || lower == "no" || lower == "0") return false;
  refuse(parameter, word, "is not a boolean: give true or false");
}

}  // namespace

Value read_argument(const Parameter &parameter, const std::string &word, REALencoding label) {
  switch (parameter.type) {
    case Type::kString: {
      const std::optional<std::string> bytes = read_bytes(parameter, word, label);
      return bytes ? host::new_string(*bytes, label) : nullptr;
    }
    case Type::kMemoryBlock: {
      const std::optional<std::string> bytes = read_bytes(parameter, word, kEncodingUTF8);
      return bytes ? host::new_memory_block(*bytes) : nullptr;
    }
    case Type::kInteger:
      return read_integer(parameter, word);
    case Type::kDouble:
      return read_double(parameter, word);
    case Type::kBoolean:
      break;
  }
  return read_boolean(parameter, word);
}

Value read_default(const Parameter &parameter) {
  return read_argument(parameter, parameter.default_value.value(), kEncodingUTF8);
}

std::string to_hex(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string digits;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    digits += kDigits[byte >> 4];
    digits += kDigits[byte & 15];
  }
  return digits;
}

}  // namespace kzv::runner
