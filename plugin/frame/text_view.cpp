#include "frame/text_view.h"

#include <algorithm>
#include <cstring>

#include "frame/byte_view.h"
#include "frame/results.h"
#include "scan/ascii.h"

namespace kzv {
namespace {

constexpr std::uint32_t kEmptyBufferUInt32[1] = {};

// From these versions on, hosts deliver the text in a record.
constexpr double kFirstVersionWithNarrowRecords = 2012.0;
constexpr double kFirstVersionWithUTF16Records = 2013.0;

HeapBytes AllocateWithinLimit(std::uint64_t byte_count) {
  return byte_count <= kMaxByteCount ? allocate_bytes(static_cast<std::size_t>(byte_count)) : nullptr;
}

// Makes sure that a zero unit follows the text, by a copy if need be; without memory for one the text is
// empty.
bool Terminate(std::size_t unit_size, ByteView &text, HeapBytes &copy) {
  constexpr std::size_t kTerminator = 4;
  if (text.empty()) return true;
  const std::uint8_t *const behind = text.data() + text.size();
  if (std::all_of(behind, behind + unit_size, [](std::uint8_t byte) { return byte == 0; })) return true;
  copy = AllocateWithinLimit(std::uint64_t{text.size()} + kTerminator);
  if (copy != nullptr) {
    std::memcpy(copy.get(), text.data(), text.size());
    std::memset(copy.get() + text.size(), 0, kTerminator);
  }
  text = {copy.get(), copy != nullptr ? text.size() : 0};
  return copy != nullptr;
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

void rbText::Hold(REALstringStruct *s) {
  if (REALLockString(s)) lockedString.reset(s);
  str = s;
}

void rbText::HoldBytes(REALstringStruct *s) {
  constexpr std::uint64_t kTerminator = 3;
  const rbData stored(s);
  const ByteView bytes = stored.bytes();
  if (is_all_ascii(bytes)) {
    Hold(s);
    rawAscii = true;
  } else if (bytes.size() + kTerminator < kMaxByteCount) {
    lockedString.reset(
        REALBuildUnicodeString(bytes.data(), static_cast<std::int64_t>(bytes.size()), kEncodingMacRoman));
    str = lockedString.get();
  }
}

// Hosts convert no string without an encoding, so the plain bytes become a string that has one.
void rbText::RebuildRawAscii() {
  const rbData stored(str);
  const ByteView bytes = stored.bytes();
  HostString rebuilt(
      REALBuildUnicodeString(bytes.data(), static_cast<std::int64_t>(bytes.size()), kEncodingMacRoman));
  rawAscii = false;
  str = rebuilt.get();
  lockedString.reset(rebuilt.hand_over());
}

void rbText::Deliver(REALencoding encoding, bool as_record, View &view) const {
  if (as_record) {
    view.delivered = view.data.take(str, encoding);
    if (view.delivered) view.text = view.data.bytes();
  } else {
    view.string.reset(REALConvertString(str, encoding));
    view.delivered = static_cast<bool>(view.string);
    if (view.delivered) view.text = StoredBytes(view.string.get());
  }
}

ByteView rbText::ConvertNarrow(REALencoding encoding, View &view) {
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
  utf16View.converted = true;
  if (str != nullptr && rawAscii) RebuildRawAscii();
  if (str == nullptr) return {};
  Deliver(kEncodingUTF16, rbversion() >= kFirstVersionWithUTF16Records, utf16View);
  // An odd last byte is no unit.
  utf16View.text = utf16View.text.first(utf16View.text.size() / sizeof(CodeUnit) * sizeof(CodeUnit));
  Terminate(sizeof(CodeUnit), utf16View.text, utf16View.copy);
  utf16Text = WithoutLeading(0xFFFE, WithoutLeading(0xFEFF, UnitsOf(utf16View.text)));
  return utf16Text;
}

void rbText::ConvertWChar() {
  constexpr std::uint64_t kTerminator = 16;
  wcharConverted = true;
  const CodeUnitView units = utf16();
  if (units.empty()) return;
  wcharCopy = AllocateWithinLimit(units.size() * sizeof(std::uint32_t) + kTerminator);
  if (wcharCopy == nullptr) return;
  auto *const wide = reinterpret_cast<std::uint32_t *>(wcharCopy.get());
  std::ranges::transform(units, wide, [](CodeUnit unit) { return std::uint32_t{unit.value}; });
  std::fill_n(wide + units.size(), kTerminator / sizeof(std::uint32_t), 0);
  wcharLength = units.size();
}

const std::uint32_t *rbText::GetWChar() {
  if (!wcharConverted) ConvertWChar();
  return wcharCopy != nullptr ? reinterpret_cast<const std::uint32_t *>(wcharCopy.get()) : kEmptyBufferUInt32;
}

std::size_t rbText::LengthWChar() {
  if (!wcharConverted) ConvertWChar();
  return wcharLength;
}

}  // namespace kzv
