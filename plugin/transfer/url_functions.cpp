#include "frame/transform.h"
#include "functions.h"
#include "transfer/url.h"

namespace kzv {

REALstringStruct *EncodingToURL1(REALstringStruct *s) { return EncodingToURL2(s, 0); }

REALstringStruct *EncodingToURL2(REALstringStruct *s, std::int32_t options) {
  return TransformBytes(s, kEncodingASCII, url::encode_bound, [options](ByteView in, ByteBuffer out) {
    return url::encode(in, static_cast<std::uint32_t>(options), out);
  });
}

REALstringStruct *DecodingToURL1(REALstringStruct *s) { return DecodingToURL2(s, 0); }

REALstringStruct *DecodingToURL2(REALstringStruct *s, std::int32_t options) {
  const auto bits = static_cast<std::uint32_t>(options);
  return TransformBytes(
      s, kEncodingBytes, kOneByteEach,
      [bits](ByteView in, ByteBuffer out) { return url::decode(in, bits, out); },
      [bits](ByteView in) { return url::is_unchanged(in, bits); });
}

}  // namespace kzv
