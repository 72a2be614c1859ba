// An argument's text, converted by the host to the encoding that a function works in.
#pragma once

#include "base/buffer.h"
#include "base/bytes.h"
#include "frame/host_reference.h"
#include "frame/string_data.h"

namespace kzv {

// Holds one string for the duration of one call and provides its text, in each encoding from its first use. A
// null argument, and text that the host does not provide, is empty. Bytes without an encoding are ASCII when
// all of them are below 0x80, else Mac OS Roman.
//
// Text is followed by a zero unit, except that of bytes without an encoding which are all below 0x80; nothing
// relies on the terminator. After text that the host delivers one unit is looked at: hosts promise that it
// can be read, not that it is zero.
class rbText {
 public:
  explicit rbText(REALstringStruct *s);
  rbText(const rbText &) = delete;
  rbText &operator=(const rbText &) = delete;

  // US-ASCII and UTF-8, in bytes.
  ByteView ascii() { return ascii_.converted ? ascii_.text : ConvertNarrow(kEncodingASCII, ascii_); }
  ByteView utf8() { return utf8_.converted ? utf8_.text : ConvertNarrow(kEncodingUTF8, utf8_); }

  // Whether there is UTF-8 text, even if empty: false when the host did not provide it.
  bool has_utf8() const { return utf8_.delivered; }

  // UTF-16 without a byte-order mark at its start, in units that may be at odd addresses.
  CodeUnitView utf16() { return utf16_.converted ? utf16Text : ConvertUTF16(); }

  // The UTF-16 units widened to 32 bits one for one, surrogates as well, and their number.
  const std::uint32_t *GetWChar();
  std::size_t LengthWChar();

  // Releases what the view holds: its text may be gone then. What the host throws here passes on.
  void release();

 private:
  // Text in one encoding and what keeps it in place.
  struct Converted {
    bool converted = false;
    bool delivered = false;
    ByteView text;
    HostString string;  // older hosts: a string of its own
    StringData data;    // newer hosts: what was delivered
    HeapBuffer copy;    // with a terminator, where the host put none
  };

  ByteView ConvertNarrow(REALencoding encoding, Converted &view);
  CodeUnitView ConvertUTF16();
  void ConvertWChar();

  void Hold(REALstringStruct *s);
  void HoldBytes(REALstringStruct *s);
  void HoldAsMacRoman(ByteView bytes);
  void Deliver(REALencoding encoding, bool as_record, Converted &view) const;

  REALstringStruct *str = nullptr;
  HostString lockedString;  // the reference to `str`, if one was taken
  bool rawAscii = false;    // `str` is the argument itself, bytes without an encoding and below 0x80
  Converted ascii_;
  Converted utf8_;
  Converted utf16_;
  CodeUnitView utf16Text;
  const std::uint32_t *wcharText = nullptr;  // null before it is converted
  std::size_t wcharLength = 0;
  HeapBuffer wcharCopy;
};

}  // namespace kzv
