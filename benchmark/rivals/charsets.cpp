// Between UTF-8 and the two 8-bit sets. All inputs can be converted: what cannot is dropped by us and an
// error to others. Converters that a plugin would keep open are kept open.
#include <QString>
#include <glib.h>
#include <iconv.h>
#include <unicode/ucnv.h>

#include "rivals.h"

namespace kzv::rivals {
namespace {

constexpr char kUtf8[] = "UTF-8";
constexpr char kLatin1[] = "ISO-8859-1";
constexpr char kWestern[] = "WINDOWS-1252";

// A letter of an 8-bit set takes up to 3 bytes of UTF-8.
std::size_t bound_of(std::string_view text) { return text.size() * 3; }

REALstringStruct *QtToLatin1(REALstringStruct *s) {
  return FromUtf8(s, kEncodingBytes, [](std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toLatin1();
  });
}

REALstringStruct *QtFromLatin1(REALstringStruct *s) {
  return FromBytes(s, kEncodingUTF8, [](std::string_view text) {
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size())).toUtf8();
  });
}

template <const char *kFrom, const char *kTo>
WrittenText by_icu(std::string_view text) {
  const auto open = [](const char *name) {
    UErrorCode error = U_ZERO_ERROR;
    return ucnv_open(name, &error);
  };
  thread_local UConverter *const from = open(kFrom);
  thread_local UConverter *const to = open(kTo);
  return written(bound_of(text), [text](char *out) {
    UErrorCode error = U_ZERO_ERROR;
    char *end = out;
    const char *in = text.data();
    ucnv_convertEx(to, from, &end, out + bound_of(text), &in, in + text.size(), nullptr, nullptr, nullptr,
                   nullptr, true, true, &error);
    return end - out;
  });
}

template <const char *kFrom, const char *kTo>
WrittenText by_iconv(std::string_view text) {
  thread_local iconv_t converter = iconv_open(kTo, kFrom);
  return written(bound_of(text), [text](char *out) {
    char *end = out;
    char *in = const_cast<char *>(text.data());
    std::size_t in_left = text.size();
    std::size_t out_left = bound_of(text);
    iconv(converter, &in, &in_left, &end, &out_left);
    return end - out;
  });
}

template <const char *kFrom, const char *kTo>
LibraryText by_glib(std::string_view text) {
  gsize length = 0;
  gchar *const converted =
      g_convert(text.data(), static_cast<gssize>(text.size()), kTo, kFrom, nullptr, &length, nullptr);
  return {converted, g_free, length};
}

template <auto kConvert>
REALstringStruct *Encode(REALstringStruct *s) {
  return FromUtf8(s, kEncodingBytes, kConvert);
}

template <auto kConvert>
REALstringStruct *Decode(REALstringStruct *s) {
  return FromBytes(s, kEncodingUTF8, kConvert);
}

}  // namespace

Methods charsets() {
  static const REALmethodDefinition all[] = {
      RIVAL("Qt_EncodingToISO8859(s as string) as string", QtToLatin1),
      RIVAL("Qt_DecodingFromISO8859(s as string) as string", QtFromLatin1),
      RIVAL("ICU_EncodingToISO8859(s as string) as string", Encode<by_icu<kUtf8, kLatin1>>),
      RIVAL("ICU_EncodingToCP1252(s as string) as string", Encode<by_icu<kUtf8, kWestern>>),
      RIVAL("ICU_DecodingFromISO8859(s as string) as string", Decode<by_icu<kLatin1, kUtf8>>),
      RIVAL("ICU_DecodingFromCP1252(s as string) as string", Decode<by_icu<kWestern, kUtf8>>),
      RIVAL("iconv_EncodingToISO8859(s as string) as string", Encode<by_iconv<kUtf8, kLatin1>>),
      RIVAL("iconv_EncodingToCP1252(s as string) as string", Encode<by_iconv<kUtf8, kWestern>>),
      RIVAL("iconv_DecodingFromISO8859(s as string) as string", Decode<by_iconv<kLatin1, kUtf8>>),
      RIVAL("iconv_DecodingFromCP1252(s as string) as string", Decode<by_iconv<kWestern, kUtf8>>),
      RIVAL("GLib_EncodingToISO8859(s as string) as string", Encode<by_glib<kUtf8, kLatin1>>),
      RIVAL("GLib_EncodingToCP1252(s as string) as string", Encode<by_glib<kUtf8, kWestern>>),
      RIVAL("GLib_DecodingFromISO8859(s as string) as string", Decode<by_glib<kLatin1, kUtf8>>),
      RIVAL("GLib_DecodingFromCP1252(s as string) as string", Decode<by_glib<kWestern, kUtf8>>),
  };
  return all;
}

}  // namespace kzv::rivals
