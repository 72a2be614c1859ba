// A plugin that registers the frame's own tools, so that tests reach them as a host reaches any function.
#include "cpu/level.h"
#include "declaration.h"
#include "frame/byte_view.h"
#include "frame/results.h"
#include "frame/string_builders.h"
#include "frame/text_view.h"

namespace kzv {
namespace {

// Bytes at an address of the test's: declarations have no pointers.
const char *bytes_at(double address) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  return reinterpret_cast<const char *>(static_cast<std::uintptr_t>(address));
}

KZV_CALLED_BY_HOST REALstringStruct *Build(double address, double length, std::int32_t encoding) {
  return REALBuildUnicodeString(bytes_at(address), static_cast<std::int64_t>(length),
                                static_cast<REALencoding>(encoding));
}

KZV_CALLED_BY_HOST std::int32_t UnitAfter(REALstringStruct *s, std::int32_t bits_per_unit) {
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

KZV_CALLED_BY_HOST std::int32_t Raise(REALboolean) {
  RaiseException(kOutOfMemory, "It is full.");
  return 0;
}

KZV_CALLED_BY_HOST REALstringStruct *AddName(std::int32_t capacity, double address, double length) {
  AsciiStringHandle builder(kEncodingASCII);
  builder.Create(static_cast<std::uint64_t>(capacity));
  Add(builder, {bytes_at(address), static_cast<std::size_t>(length)});
  AddBinary(builder, "ignored", 0);
  AddBinary(builder, "ignored", -1);
  return builder.Finish();
}

KZV_CALLED_BY_HOST REALstringStruct *AddUnits(std::int32_t capacity, std::int32_t count) {
  UnicodeStringHandle builder;
  builder.Create(static_cast<std::uint64_t>(capacity));
  while (count-- > 0) Add(builder, u'x');
  return builder.Finish();
}

KZV_CALLED_BY_HOST REALboolean LevelIsFastest(REALboolean) {
  return ToREALboolean(&cpu::level() == cpu::levels().back());
}

const REALmethodDefinition kMethods[] = {
    KZV_METHOD(Build, "Build(address as double, length as double, encoding as integer) as string"),
    KZV_METHOD(UnitAfter, "UnitAfter(s as string, bitsPerUnit as integer) as integer"),
    KZV_METHOD(CopyBlock, "CopyBlock(block as memoryblock) as memoryblock"),
    KZV_METHOD(Raise, "Raise(unused as boolean) as integer"),
    KZV_METHOD(AddName, "AddName(capacity as integer, address as double, length as double) as string"),
    KZV_METHOD(AddUnits, "AddUnits(capacity as integer, count as integer) as string"),
    KZV_METHOD(LevelIsFastest, "LevelIsFastest(unused as boolean) as boolean"),
};

}  // namespace

const std::span<const REALmethodDefinition> globalMethods{kMethods};

}  // namespace kzv
