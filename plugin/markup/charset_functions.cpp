#include "frame/transform.h"
#include "functions.h"
#include "markup/charsets.h"
#include "markup/classification.h"

namespace kzv {
namespace {

REALstringStruct *EncodingTo(REALstringStruct *s, const charsets::Charset &charset) {
  return Transform<rbText>(
      s, &rbText::utf16, kEncodingBytes, kOneByteEach,
      [&](CodeUnitView in, ByteBuffer out) { return charsets::encode(in, charset, out); });
}

REALstringStruct *DecodingTo(REALstringStruct *s, const charsets::Charset &charset) {
  const auto bound = [](std::size_t byte_count) { return std::uint64_t{byte_count} * sizeof(std::uint16_t); };
  return TransformBytes(s, kEncodingUTF16, bound, [&](ByteView in, ByteBuffer out) {
    return sizeof(std::uint16_t) *
           charsets::decode(in, charset, {reinterpret_cast<std::uint16_t *>(out.data()), in.size()});
  });
}

REALencoding EncodingOfMarker(std::int32_t kind) {
  if (kind == 1) return kEncodingUTF8;
  return kind <= 4 ? kEncodingUTF16 : kEncodingUTF32;
}

}  // namespace

REALstringStruct *EncodingToISO8859(REALstringStruct *s) { return EncodingTo(s, charsets::kIso8859); }

REALstringStruct *DecodingToISO8859(REALstringStruct *s) { return DecodingTo(s, charsets::kIso8859); }

REALstringStruct *EncodingToCP1252(REALstringStruct *s) { return EncodingTo(s, charsets::kCp1252); }

REALstringStruct *DecodingToCP1252(REALstringStruct *s) { return DecodingTo(s, charsets::kCp1252); }

REALstringStruct *UnicodeString(REALstringStruct *s) { return REALConvertString(s, kEncodingUTF16); }

REALstringStruct *NativeString(REALstringStruct *s) { return REALConvertString(s, kEncodingUTF8); }

std::int32_t DetectUnicodeMarkers(REALstringStruct *s) {
  return Read<rbData>({s},
                      [](const rbData &argument) { return classification::detect_marker(argument.bytes()); });
}

REALstringStruct *GetUnicodeMarkers(std::int32_t kind) {
  return BuildStoredString(classification::marker_bytes(kind), EncodingOfMarker(kind));
}

REALboolean IsASCIIString1(REALstringStruct *s) { return IsASCIIString2(s, 0); }

REALboolean IsASCIIString2(REALstringStruct *s, std::int32_t mode) {
  return Read<rbData>({s}, [mode](const rbData &argument) {
    return ToREALboolean(classification::is_ascii(argument.bytes(), mode));
  });
}

REALstringStruct *ReplaceNonPrintableCharacters(REALstringStruct *s, std::int32_t replacement) {
  return TransformBytes(s, kEncodingASCII, kOneByteEach, [=](ByteView in, ByteBuffer out) {
    return classification::replace_non_printable(in, static_cast<std::uint8_t>(replacement & 0xFF), out);
  });
}

}  // namespace kzv
