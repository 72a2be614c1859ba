#include "frame/transform.h"
#include "functions.h"
#include "transfer/hex.h"
#include "transfer/hex_dump.h"
#include "transfer/mail_subject.h"
#include "transfer/quoted_printable.h"
#include "transfer/yenc.h"

namespace kzv {
namespace {

// ASCII output that is reported when there is no memory for it.
class Encoded {
 public:
  // Has `encode(output) -> bytes written` write into a buffer of `bound` bytes or, without memory for that,
  // of `exact_size()`. The output is empty when a string cannot be that long.
  template <typename ExactSize, typename Encode>
  void Fill(std::uint64_t bound, ExactSize exact_size, Encode encode) {
    if (output_.Fill(bound, encode)) return;
    const std::uint64_t size = exact_size();
    no_memory_ = size <= kMaxByteCount && !output_.Fill(size, encode);
  }

  REALstringStruct *Finish() {
    if (no_memory_) RaiseException(kOutOfMemory, kNoMemoryForString);
    return output_.Finish(kEncodingASCII);
  }

 private:
  Output output_;
  bool no_memory_ = false;
};

}  // namespace

REALstringStruct *EncodingToQuotedPrintable(REALstringStruct *s, std::int32_t line_length) {
  Encoded encoded;
  Read<rbData>({s}, [&](const rbData &argument) {
    const ByteView text = argument.bytes();
    encoded.Fill(
        quoted_printable::encode_bound(text.size(), line_length),
        [=] { return quoted_printable::encoded_size(text, line_length); },
        [=](ByteBuffer output) { return quoted_printable::encode(text, line_length, output); });
  });
  return encoded.Finish();
}

REALstringStruct *DecodingFromQuotedPrintable(REALstringStruct *s) {
  Encoded decoded;
  Read<rbData>({s}, [&](const rbData &argument) {
    const ByteView text = argument.bytes();
    decoded.Fill(
        text.size(), [=] { return std::uint64_t{text.size()}; },
        [=](ByteBuffer output) { return quoted_printable::decode(text, output); });
  });
  return decoded.Finish();
}

REALstringStruct *EncodeEmailSubject(REALstringStruct *s) {
  if (s == nullptr) return nullptr;
  Encoded encoded;
  const bool plain = Read<rbText>({s}, [&](rbText &argument) {
    const ByteView text = argument.utf8();
    if (!argument.has_utf8()) return false;
    if (!mail_subject::needs_encoding(text)) return true;
    encoded.Fill(
        mail_subject::encode_bound(text.size()), [=] { return mail_subject::encoded_size(text); },
        [=](ByteBuffer output) { return mail_subject::encode(text, output); });
    return false;
  });
  if (!plain) return encoded.Finish();
  REALLockString(s);  // for the program, which gets its own string
  return s;
}

REALstringStruct *EncodingToHex(REALstringStruct *s) {
  return TransformBytes(s, kEncodingASCII, hex::encode_bound, hex::encode);
}

REALstringStruct *DecodingFromHex(REALstringStruct *s) {
  return Transform<rbText>(s, &rbText::ascii, kEncodingBytes, hex::decode_bound, hex::decode);
}

REALstringStruct *Hexstring(REALstringStruct *input, std::int32_t hexlen, std::int32_t linelen,
                            REALstringStruct *linestart, REALstringStruct *lineend, REALstringStruct *spacer,
                            REALstringStruct *filler) {
  Output dump;
  Read<rbData>({input, linestart, lineend, spacer, filler}, [&](const rbData &data, const auto &...text) {
    const hex_dump::Shape shape = {hexlen, linelen, text.bytes()...};
    const std::optional<std::uint64_t> bound = hex_dump::dump_bound(data.bytes().size(), shape);
    if (!bound) return;
    dump.Fill(*bound, [&](ByteBuffer output) { return hex_dump::dump(data.bytes(), shape, output); });
  });
  return dump.Finish(kEncodingASCII);
}

REALmemoryBlockStruct *yDecodeMemory(REALmemoryBlockStruct *data) {
  Output decoded;
  const bool filled = Read<rbData>({data}, [&](const rbData &block) {
    const ByteView encoded = block.bytes();
    return !encoded.empty() &&
           decoded.Fill(encoded.size(), [=](ByteBuffer output) { return yenc::decode(encoded, output); });
  });
  return filled ? BuildMemoryBlock(decoded.bytes()) : nullptr;
}

REALstringStruct *yDecodeString(REALstringStruct *data) {
  return TransformBytes(data, kEncodingBytes, kOneByteEach, yenc::decode);
}

}  // namespace kzv
