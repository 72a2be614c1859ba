// A plugin that registers the frame's own tools, so that tests reach them as a host reaches any function.
#include "frame/byte_view.h"
#include "frame/declaration.h"
#include "frame/exceptions.h"
#include "frame/methods.h"
#include "frame/results.h"

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

KZV_CALLED_BY_HOST REALmemoryBlockStruct *CopyBlock(REALmemoryBlockStruct *block) {
  const rbData view(block);
  return BuildMemoryBlock(view.bytes());
}

KZV_CALLED_BY_HOST std::int32_t Raise(REALboolean with_message) {
  RaiseException(kOutOfMemory, IsTrue(with_message) ? "It is full." : nullptr);
  return 0;
}

#define METHOD(function, declaration)                                                                        \
  {                                                                                                          \
    reinterpret_cast<void *>(&(function)), nullptr, declares<decltype(function)>(declaration), kMethodFlags, \
    {}                                                                                                       \
  }

const REALmethodDefinition kMethods[] = {
    METHOD(Build, "Build(s as string, encoding as integer) as string"),
    METHOD(BuildOfLength, "BuildOfLength(length as double) as string"),
    METHOD(BuildOfNothing, "BuildOfNothing(length as double) as string"),
    METHOD(CopyBlock, "CopyBlock(block as memoryblock) as memoryblock"),
    METHOD(Raise, "Raise(withMessage as boolean) as integer"),
};

}  // namespace

const std::span<const REALmethodDefinition> globalMethods{kMethods};

}  // namespace kzv
