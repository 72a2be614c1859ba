#include "transfer/transfer_functions.h"

#include "frame/exceptions.h"
#include "frame/transform.h"
#include "transfer/hex.h"
#include "transfer/hex_dump.h"
#include "transfer/mail_subject.h"
#include "transfer/quoted_printable.h"
#include "transfer/yenc.h"

namespace kzv {
namespace {

// What an encoder left in its buffer, or why there is nothing.
struct Encoded {
  WorkBuffer buffer;
  std::size_t length = 0;
  bool no_memory = false;

  // Has `encode(output) -> bytes written` fill as many bytes as the worst case takes or, where there is no
  // memory for that, as `exact_room()` finds necessary. More than a string can hold is no text at all.
  template <typename ExactRoom, typename Encode>
  void fill(std::uint64_t worst_room, ExactRoom exact_room, Encode encode) {
    if (!buffer.allocate(worst_room)) {
      const std::uint64_t room = exact_room();
      if (room > kMaxByteCount) return;
      no_memory = !buffer.allocate(room);
    }
    if (!no_memory) length = encode(buffer.bytes());
  }

  REALstringStruct *finish() {
    if (no_memory) RaiseException(kOutOfMemory, kNoMemoryForString);
    return REALBuildUnicodeString(buffer.data(), static_cast<std::int64_t>(length), kEncodingASCII);
  }
};

}  // namespace

REALstringStruct *EncodingToQuotedPrintable(REALstringStruct *s, std::int32_t line_length) {
  Encoded encoded;
  {
    const rbData argument(s);
    const ByteView text = argument.bytes();
    if (text.empty()) return nullptr;
    encoded.fill(
        quoted_printable::encode_bound(text.size(), line_length),
        [=] { return quoted_printable::encoded_size(text, line_length); },
        [=](ByteBuffer output) { return quoted_printable::encode(text, line_length, output); });
  }
  return encoded.finish();
}

REALstringStruct *DecodingFromQuotedPrintable(REALstringStruct *s) {
  Encoded decoded;
  {
    const rbData argument(s);
    const ByteView text = argument.bytes();
    if (text.empty()) return nullptr;
    decoded.fill(
        text.size(), [=] { return std::uint64_t{text.size()}; },
        [=](ByteBuffer output) { return quoted_printable::decode(text, output); });
  }
  return decoded.finish();
}

REALstringStruct *EncodeEmailSubject(REALstringStruct *s) {
  if (s == nullptr) return nullptr;
  Encoded encoded;
  bool needed = false;
  {
    rbText argument(s);
    const ByteView text = argument.utf8();
    if (!argument.has_utf8()) return nullptr;
    needed = mail_subject::needs_encoding(text);
    if (needed) {
      encoded.fill(
          mail_subject::encode_bound(text.size()), [=] { return mail_subject::encoded_size(text); },
          [=](ByteBuffer output) { return mail_subject::encode(text, output); });
    }
  }
  if (needed) return encoded.finish();
  REALLockString(s);
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
  if (input == nullptr) return nullptr;
  WorkBuffer output;
  std::size_t written = 0;
  {
    const rbData bytes(input);
    const rbData start(linestart);
    const rbData end(lineend);
    const rbData between(spacer);
    const rbData padding(filler);
    const hex_dump::Shape shape = {hexlen,      linelen,         start.bytes(),
                                   end.bytes(), between.bytes(), padding.bytes()};
    const std::optional<std::uint64_t> size = hex_dump::dump_bound(bytes.bytes().size(), shape);
    if (!size || !output.allocate(*size)) return nullptr;
    written = hex_dump::dump(bytes.bytes(), shape, output.bytes());
  }
  return REALBuildUnicodeString(output.data(), static_cast<std::int64_t>(written), kEncodingASCII);
}

REALmemoryBlockStruct *yDecodeMemory(REALmemoryBlockStruct *data) {
  WorkBuffer output;
  std::size_t written = 0;
  {
    const rbData block(data);
    const ByteView encoded = block.bytes();
    if (encoded.empty() || !output.allocate(encoded.size())) return nullptr;
    written = yenc::decode(encoded, output.bytes());
  }
  return BuildMemoryBlock(output.bytes().first(written));
}

REALstringStruct *yDecodeString(REALstringStruct *data) {
  return TransformBytes(data, kEncodingBytes, kOneByteEach, yenc::decode);
}

}  // namespace kzv
