// An argument's text, converted by the host to the encoding that a function works in.
#pragma once

#include "base/bytes.h"
#include "base/heap_bytes.h"
#include "frame/host_reference.h"
#include "frame/string_data.h"

namespace kzv {

// Holds one string for the duration of one call and hands out its text, each view converted at its first use.
// A null argument, and a view that cannot be had, is empty. Bytes without an encoding are ASCII when all of
// them are below 0x80, else Mac OS Roman.
//
// Every view is followed by a zero unit, except the ASCII and UTF-8 views of such plain bytes; all work goes
// by length. Behind text that the host delivers one unit is looked at: hosts promise that it can be read, not
// that it is zero.
class rbText {
 public:
  explicit rbText(REALstringStruct *s);
  rbText(const rbText &) = delete;
  rbText &operator=(const rbText &) = delete;

  // US-ASCII and UTF-8, in bytes.
  ByteView ascii() { return asciiView.converted ? asciiView.text : ConvertASCII(); }
  ByteView utf8() { return utf8View.converted ? utf8View.text : ConvertUTF8(); }

  // Whether there is UTF-8 text, be it empty: false when it could not be had.
  bool has_utf8() const { return utf8View.delivered; }

  // UTF-16 without a byte-order mark at its start, in units that may stand at odd addresses.
  CodeUnitView utf16() { return utf16View.converted ? utf16Text : ConvertUTF16(); }

  // The UTF-16 units widened to 32 bits one for one, surrogates as well, and their number.
  const std::uint32_t *GetWChar();
  std::size_t LengthWChar();

 private:
  // Text in one encoding and what keeps it in place.
  struct View {
    bool converted = false;
    bool delivered = false;
    ByteView text;
    HostString string;  // older hosts: a string of its own
    StringData data;    // newer hosts: what was delivered
    HeapBytes copy;     // with a terminator, where the host put none
  };

  ByteView ConvertASCII() { return ConvertNarrow(kEncodingASCII, asciiView); }
  ByteView ConvertUTF8() { return ConvertNarrow(kEncodingUTF8, utf8View); }
  ByteView ConvertNarrow(REALencoding encoding, View &view);
  CodeUnitView ConvertUTF16();
  void ConvertWChar();

  void Hold(REALstringStruct *s);
  void HoldBytes(REALstringStruct *s);
  void RebuildRawAscii();
  void Deliver(REALencoding encoding, bool as_record, View &view) const;

  REALstringStruct *str = nullptr;
  HostString lockedString;  // the reference to `str`, if one was taken
  bool rawAscii = false;    // `str` is the argument itself, bytes without an encoding and below 0x80
  View asciiView;
  View utf8View;
  View utf16View;
  CodeUnitView utf16Text;
  bool wcharConverted = false;
  HeapBytes wcharCopy;
  std::size_t wcharLength = 0;
};

}  // namespace kzv
