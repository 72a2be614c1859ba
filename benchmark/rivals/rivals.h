// Rivals: other libraries' ways to do our functions' jobs, each in the body of a registered function, as a
// plugin around that library would have it. A rival's name is its library's, "_" and the job's, by which the
// benchmark finds it; its parameters are those of our function.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "declaration.h"
#include "frame/byte_view.h"
#include "frame/results.h"
#include "frame/text_view.h"

namespace kzv::rivals {

// The declaration comes first, for the function may be a template with commas.
#define RIVAL(declaration, ...)                                                                      \
  {                                                                                                  \
    reinterpret_cast<void *>(&(__VA_ARGS__)), nullptr, declares<decltype(__VA_ARGS__)>(declaration), \
        kMethodFlags, {}                                                                             \
  }

using Methods = std::span<const REALmethodDefinition>;
Methods url_and_hex();
Methods markup();
Methods charsets();
Methods mail();
Methods numbers();
Methods bytes();
Methods distances();
Methods text_loops();
Methods round_trips();

// Text that a C library made, with the library's way to free it.
class LibraryText {
 public:
  using Release = void (*)(void *);

  LibraryText(void *text, Release release, std::size_t byte_count)
      : text_(text, release), size_(byte_count) {}
  LibraryText(void *text, Release release)
      : LibraryText(text, release, std::char_traits<char>::length(static_cast<const char *>(text))) {}
  const char *data() const { return static_cast<const char *>(text_.get()); }
  std::size_t size() const { return size_; }

 private:
  std::unique_ptr<void, Release> text_;
  std::size_t size_;
};

inline std::string_view chars(ByteView bytes) {
  return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

inline const unsigned char *unsigned_chars(std::string_view text) {
  return reinterpret_cast<const unsigned char *>(text.data());
}

// Converts the argument's bytes and makes a string of the result.
template <typename Convert>
REALstringStruct *FromBytes(REALstringStruct *s, REALencoding encoding, Convert convert) {
  const rbData argument(s);
  const auto result = convert(chars(argument.bytes()));
  return REALBuildUnicodeString(result.data(), static_cast<std::int64_t>(result.size()), encoding);
}

// The same with the argument as UTF-8 text, after which the host puts a zero byte.
template <typename Convert>
REALstringStruct *FromUtf8(REALstringStruct *s, REALencoding encoding, Convert convert) {
  rbText argument(s);
  const auto result = convert(chars(argument.utf8()));
  return REALBuildUnicodeString(result.data(), static_cast<std::int64_t>(result.size()), encoding);
}

// Text in memory that nothing fills beforehand.
class WrittenText {
 public:
  explicit WrittenText(std::size_t capacity) : text_(std::make_unique_for_overwrite<char[]>(capacity)) {}
  char *data() const { return text_.get(); }
  std::size_t size() const { return size_; }
  void set_size(std::size_t byte_count) { size_ = byte_count; }

 private:
  std::unique_ptr<char[]> text_;
  std::size_t size_ = 0;
};

// Text of at most `capacity` bytes, which `write(out) -> bytes written` provides.
template <typename Write>
WrittenText written(std::size_t capacity, Write write) {
  WrittenText text(capacity);
  text.set_size(static_cast<std::size_t>(write(text.data())));
  return text;
}

}  // namespace kzv::rivals
