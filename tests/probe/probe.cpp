// A plugin that registers the frame's own tools, so that tests reach them as a host reaches any function.
#include "declaration.h"
#include "frame/byte_view.h"
#include "frame/results.h"
#include "frame/string_builders.h"
#include "frame/text_view.h"
#include "methods.h"

namespace kzv {
namespace {

KZV_CALLED_BY_HOST REALstringStruct *Build(REALstringStruct *s, std::int32_t encoding) {
  const rbData view(s);
  const ByteView bytes = view.bytes();
  return REALBuildUnicodeString(bytes.data(), static_cast<std::int64_t>(bytes.size()),
                                static_cast<REALencoding>(encoding));
}

// Says that there are `length` bytes where one is.
KZV_CALLED_BY_HOST REALstringStruct *BuildOfLength(double length) {
  return REALBuildUnicodeString("x", static_cast<std::int64_t>(length), kEncodingBytes);
}

KZV_CALLED_BY_HOST REALstringStruct *BuildOfNothing(double length) {
  return REALBuildUnicodeString(nullptr, static_cast<std::int64_t>(length), kEncodingBytes);
}

KZV_CALLED_BY_HOST std::int32_t UnitBehind(REALstringStruct *s, std::int32_t bits_per_unit) {
  rbText text(s);
  if (bits_per_unit == 32) return static_cast<std::int32_t>(text.GetWChar()[text.LengthWChar()]);
  if (bits_per_unit == 16) return text.utf16().data()[text.utf16().size()].value;
  const ByteView narrow = bits_per_unit == 8 ? text.utf8() : text.ascii();
  return narrow.data()[narrow.size()];
}

KZV_CALLED_BY_HOST REALmemoryBlockStruct *CopyBlock(REALmemoryBlockStruct *block) {
  const rbData view(block);
  return BuildMemoryBlock(view.bytes());
}

KZV_CALLED_BY_HOST std::int32_t Raise(REALboolean with_message) {
  RaiseException(kOutOfMemory, IsTrue(with_message) ? "It is full." : nullptr);
  return 0;
}

KZV_CALLED_BY_HOST REALstringStruct *AddName(std::int32_t capacity, REALstringStruct *name) {
  const rbData view(name);
  AsciiStringHandle builder(kEncodingASCII);
  builder.Create(static_cast<std::uint64_t>(capacity));
  Add(builder, {reinterpret_cast<const char *>(view.bytes().data()), view.bytes().size()});
  AddBinary(builder, "ignored", 0);
  AddBinary(builder, "ignored", -1);
  return builder.Finish();
}

KZV_CALLED_BY_HOST REALstringStruct *AddUnit(std::int32_t capacity, std::int32_t unit) {
  UnicodeStringHandle builder;
  builder.Create(static_cast<std::uint64_t>(capacity));
  Add(builder, static_cast<std::uint16_t>(unit));
  return builder.Finish();
}

const REALmethodDefinition kMethods[] = {
    KZV_METHOD(Build, "Build(s as string, encoding as integer) as string"),
    KZV_METHOD(BuildOfLength, "BuildOfLength(length as double) as string"),
    KZV_METHOD(BuildOfNothing, "BuildOfNothing(length as double) as string"),
    KZV_METHOD(UnitBehind, "UnitBehind(s as string, bitsPerUnit as integer) as integer"),
    KZV_METHOD(CopyBlock, "CopyBlock(block as memoryblock) as memoryblock"),
    KZV_METHOD(AddName, "AddName(capacity as integer, name as string) as string"),
    KZV_METHOD(AddUnit, "AddUnit(capacity as integer, unit as integer) as string"),
    KZV_METHOD(Raise, "Raise(withMessage as boolean) as integer"),
};

}  // namespace

const std::span<const REALmethodDefinition> globalMethods{kMethods};

}  // namespace kzv
