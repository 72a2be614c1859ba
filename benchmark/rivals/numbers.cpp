// Numbers as text. fmt, Qt and the C library leave ".0" out or write an exponent where we do not: the inputs
// are of common size, and where a point is missing ".0" is added.
#include <QByteArray>
#include <QLocale>
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>

#include "rivals.h"

namespace kzv::rivals {
namespace {

REALstringStruct *Built(std::string_view text) {
  return REALBuildUnicodeString(text.data(), static_cast<std::int64_t>(text.size()), kEncodingASCII);
}

REALstringStruct *FmtStr(double d) {
  fmt::memory_buffer text;
  fmt::format_to(std::back_inserter(text), "{:#}", d);
  return Built({text.data(), text.size()});
}

REALstringStruct *QtStr(double d) {
  QByteArray text = QByteArray::number(d, 'f', QLocale::FloatingPointShortest);
  if (!text.contains('.')) text += ".0";
  return Built({text.data(), static_cast<std::size_t>(text.size())});
}

// The C library has no format for the shortest text, so the digits are increased until it reads back as `d`.
REALstringStruct *GlibcStr(double d) {
  std::array<char, 64> text{};
  int length = 0;
  for (int digits = 15; digits <= 17; ++digits) {
    length = std::snprintf(text.data(), text.size(), "%.*g", digits, d);
    if (std::strtod(text.data(), nullptr) == d) break;
  }
  std::string shortest(text.data(), static_cast<std::size_t>(length));
  if (shortest.find('.') == std::string::npos) shortest += ".0";
  return Built(shortest);
}

// What std::to_chars wrote, with ".0" where a point is missing and may be.
template <typename Write>
REALstringStruct *ByToChars(Write write) {
  std::array<char, 400> text;
  char *end = write(text.data(), text.data() + text.size() - 2).ptr;
  if (std::find(text.data(), end, '.') == end) end = std::copy_n(".0", 2, end);
  return Built({text.data(), static_cast<std::size_t>(end - text.data())});
}

REALstringStruct *StdStr(double d) {
  return ByToChars(
      [d](char *begin, char *end) { return std::to_chars(begin, end, d, std::chars_format::fixed); });
}

REALstringStruct *StdScientific(double d, std::int32_t digits) {
  return ByToChars([=](char *begin, char *end) {
    return std::to_chars(begin, end, d, std::chars_format::scientific, digits);
  });
}

REALstringStruct *FmtScientific(double d, std::int32_t digits) {
  fmt::memory_buffer text;
  fmt::format_to(std::back_inserter(text), "{:.{}e}", d, digits);
  return Built({text.data(), text.size()});
}

REALstringStruct *QtScientific(double d, std::int32_t digits) {
  const QByteArray text = QByteArray::number(d, 'e', digits);
  return Built({text.data(), static_cast<std::size_t>(text.size())});
}

REALstringStruct *GlibcScientific(double d, std::int32_t digits) {
  std::array<char, 64> text{};
  const int length = std::snprintf(text.data(), text.size(), "%.*e", digits, d);
  return Built({text.data(), static_cast<std::size_t>(length)});
}

}  // namespace

Methods numbers() {
  static const REALmethodDefinition all[] = {
      RIVAL("tochars_Str(d as double) as string", StdStr),
      RIVAL("fmt_Str(d as double) as string", FmtStr),
      RIVAL("Qt_Str(d as double) as string", QtStr),
      RIVAL("snprintf_Str(d as double) as string", GlibcStr),
      RIVAL("tochars_ScientificStr(d as double, digits as integer) as string", StdScientific),
      RIVAL("fmt_ScientificStr(d as double, digits as integer) as string", FmtScientific),
      RIVAL("Qt_ScientificStr(d as double, digits as integer) as string", QtScientific),
      RIVAL("snprintf_ScientificStr(d as double, digits as integer) as string", GlibcScientific),
  };
  return all;
}

}  // namespace kzv::rivals
