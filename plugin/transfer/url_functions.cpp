#include "transfer/url_functions.h"

#include "frame/transform.h"
#include "transfer/url.h"

namespace kzv {
namespace {

REALstringStruct *EncodeURL(REALstringStruct *s, std::int32_t options) {
  return TransformBytes(s, kEncodingASCII, url::encode_bound, [options](ByteView in, ByteBuffer out) {
    return url::encode(in, static_cast<std::uint32_t>(options), out);
  });
}

REALstringStruct *DecodeURL(REALstringStruct *s, std::int32_t options) {
  return TransformBytes(s, kEncodingBytes, kOneByteEach, [options](ByteView in, ByteBuffer out) {
    return url::decode(in, static_cast<std::uint32_t>(options), out);
  });
}

}  // namespace

REALstringStruct *EncodingToURL1(REALstringStruct *s) { return EncodeURL(s, 0); }

REALstringStruct *EncodingToURL2(REALstringStruct *s, std::int32_t options) { return EncodeURL(s, options); }

REALstringStruct *DecodingToURL1(REALstringStruct *s) { return DecodeURL(s, 0); }

REALstringStruct *DecodingToURL2(REALstringStruct *s, std::int32_t options) { return DecodeURL(s, options); }

}  // namespace kzv
