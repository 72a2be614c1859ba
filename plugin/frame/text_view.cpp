#include "frame/text_view.h"

#include <algorithm>

#include "frame/byte_view.h"
#include "frame/results.h"
#include "scan/ascii.h"

namespace kzv {
namespace {

constexpr std::uint32_t EmptyBufferUInt32[1] = {};

// From these versions on, hosts deliver the text in a record.
constexpr double kFirstVersionWithNarrowRecords = 2012.0;
constexpr double kFirstVersionWithUTF16Records = 2013.0;

// Makes sure that a zero unit follows the text, by a copy if need be; if that fails the text is empty.
bool Terminate(std::size_t unit_size, ByteView &text, HeapBuffer &copy) {
  constexpr std::uint64_t kTerminator = 4;
  if (text.empty()) return true;
  const std::uint8_t *const next = text.data() + text.size();
  if (std::all_of(next, next + unit_size, [](std::uint8_t byte) { return byte == 0; })) return true;
  const bool copied = text.size() + kTerminator <= kMaxByteCount && CopyTerminated(text, copy);
  text = {copy.data(), copied ? text.size() : 0};
  return copied;
}

CodeUnitView UnitsOf(ByteView text) {
  return {reinterpret_cast<const CodeUnit *>(text.data()), text.size() / sizeof(CodeUnit)};
}

CodeUnitView WithoutLeading(std::uint16_t unit, CodeUnitView units) {
  return !units.empty() && units[0].value == unit ? units.subspan(1) : units;
}

}  // namespace

rbText::rbText(REALstringStruct *s) {
  if (s == nullptr) return;
  if (REALGetStringEncoding(s) == kEncodingBytes) {
    HoldBytes(s);
  } else {
    Hold(s);
  }
}

void rbText::release() {
  lockedString.release();
  for (Converted *const view : {&ascii_, &utf8_, &utf16_}) {
    view->string.release();
    view->data.release();
  }
}

void rbText::Hold(REALstringStruct *s) {
  if (REALLockString(s)) lockedString.reset(s);
  str = s;
}

void rbText::HoldBytes(REALstringStruct *s) {
  constexpr std::uint64_t kTerminator = 3;
  rbData stored(s);
  const ByteView bytes = stored.bytes();
  if (is_all_ascii(bytes)) {
    Hold(s);
    rawAscii = true;
  } else if (bytes.size() + kTerminator < kMaxByteCount) {
    HoldAsMacRoman(bytes);
  }
  stored.release();
}

void rbText::HoldAsMacRoman(ByteView bytes) {
  lockedString.reset(
      REALBuildUnicodeString(bytes.data(), static_cast<std::int64_t>(bytes.size()), kEncodingMacRoman));
  str = lockedString.get();
}

void rbText::Deliver(REALencoding encoding, bool as_record, Converted &view) const {
  if (as_record) {
    view.delivered = view.data.take(str, encoding);
    if (view.delivered) view.text = view.data.bytes();
  } else {
    view.string.reset(REALConvertString(str, encoding));
    view.delivered = static_cast<bool>(view.string);
    if (view.delivered) view.text = StoredBytes(view.string.get());
  }
}

ByteView rbText::ConvertNarrow(REALencoding encoding, Converted &view) {
  view.converted = true;
  if (str == nullptr) return {};
  const bool as_record = rbversion() >= kFirstVersionWithNarrowRecords;
  if (!rawAscii) {
    Deliver(encoding, as_record, view);
    view.delivered = Terminate(sizeof(std::uint8_t), view.text, view.copy) && view.delivered;
  } else if (as_record) {
    Deliver(kEncodingBytes, as_record, view);
  } else {
    view.text = StoredBytes(str);
    view.delivered = true;
  }
  return view.text;
}

CodeUnitView rbText::ConvertUTF16() {
  utf16_.converted = true;
  if (rawAscii) {  // hosts convert no string without an encoding
    rbData stored(str);
    HoldAsMacRoman(stored.bytes());
    rawAscii = false;
    stored.release();
  }
  if (str == nullptr) return {};
  Deliver(kEncodingUTF16, rbversion() >= kFirstVersionWithUTF16Records, utf16_);
  // An odd last byte is not a unit.
  utf16_.text = utf16_.text.first(utf16_.text.size() / sizeof(CodeUnit) * sizeof(CodeUnit));
  Terminate(sizeof(CodeUnit), utf16_.text, utf16_.copy);
  utf16Text = WithoutLeading(0xFFFE, WithoutLeading(0xFEFF, UnitsOf(utf16_.text)));
  return utf16Text;
}

void rbText::ConvertWChar() {
  constexpr std::uint64_t kTerminator = 16;
  wcharText = EmptyBufferUInt32;
  const CodeUnitView units = utf16();
  const std::uint64_t byte_count = std::uint64_t{units.size()} * sizeof(std::uint32_t) + kTerminator;
  if (units.empty() || byte_count > kMaxByteCount || !wcharCopy.allocate(byte_count)) return;
  auto *const wide = reinterpret_cast<std::uint32_t *>(wcharCopy.data());
  std::ranges::transform(units, wide, [](CodeUnit unit) { return std::uint32_t{unit.value}; });
  std::fill_n(wide + units.size(), kTerminator / sizeof(std::uint32_t), 0);
  wcharText = wide;
  wcharLength = units.size();
}

const std::uint32_t *rbText::GetWChar() {
  if (wcharText == nullptr) ConvertWChar();
  return wcharText;
}

std::size_t rbText::LengthWChar() {
  if (wcharText == nullptr) ConvertWChar();
  return wcharLength;
}

}  // namespace kzv
