#include "frame/host_strings.h"

#include <cstring>

#include "base/buffer.h"
#include "frame/host_reference.h"
#include "scan/ascii.h"

namespace kzv {
namespace {

HostString Labelled(ByteView bytes, REALencoding encoding) {
  HostString result(originalREALBuildString(bytes.data(), static_cast<std::int32_t>(bytes.size())));
  if (result) REALSetStringEncoding(result.get(), encoding);
  return result;
}

REALstringStruct *ConvertedToUTF8(HostString text) {
  HostString result(REALConvertString(text.get(), kEncodingUTF8));
  text.release();  // before the result is handed over: when the host throws here, the result is released
  return result.hand_over();
}

REALstringStruct *BuildUTF16(ByteView bytes) {
  HostString text = Labelled(bytes, kEncodingUTF16);
  return text ? ConvertedToUTF8(std::move(text)) : nullptr;
}

REALstringStruct *BuildUTF32(ByteView bytes) {
  const std::size_t unit_count = bytes.size() / sizeof(std::uint32_t);
  Buffer<512> narrowed;
  if (!narrowed.allocate(std::uint64_t{unit_count} * sizeof(std::uint16_t))) return nullptr;
  for (std::size_t i = 0; i < unit_count; ++i) {
    std::uint32_t unit = 0;
    std::memcpy(&unit, bytes.data() + i * sizeof unit, sizeof unit);
    const auto low = static_cast<std::uint16_t>(unit);
    std::memcpy(narrowed.data() + i * sizeof low, &low, sizeof low);
  }
  // Without an intermediate string the host is still asked: it decides what the conversion of nothing is.
  return ConvertedToUTF8(Labelled(narrowed.bytes(), kEncodingUTF16));
}

}  // namespace

REALstringStruct *BuildLabelledString(ByteView bytes, REALencoding encoding) {
  return Labelled(bytes, encoding).hand_over();
}

REALstringStruct *BuildHostString(ByteView bytes, REALencoding encoding) {
  switch (encoding) {
    case kEncodingUTF32:
      return BuildUTF32(bytes);
    case kEncodingUTF16:
      return BuildUTF16(bytes);
    case kEncodingMacRoman:
    case kEncodingWindows1252:
    case kEncodingBytes:
      return BuildLabelledString(bytes, is_all_ascii(bytes) ? kEncodingASCII : encoding);
    default:
      return BuildLabelledString(bytes, encoding);
  }
}

}  // namespace kzv
