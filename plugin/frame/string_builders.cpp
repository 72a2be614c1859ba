#include "frame/string_builders.h"

#include <cstring>

#include "frame/results.h"

namespace kzv {
namespace {

// What a builder that grows provides beyond the append, for those to come.
constexpr std::int64_t kSpare = 4096;

}  // namespace

void StringBuilder::Create(std::uint64_t byte_count) {
  if (byte_count > kMaxByteCount) return;
  handle = NewHandle(memory_, static_cast<std::int32_t>(byte_count));
  if (handle != nullptr) capacity = static_cast<std::int32_t>(byte_count);
}

bool StringBuilder::Reserve(std::int64_t more, std::int64_t spare) {
  constexpr std::int64_t kMaxCapacity = 0x7FFFFFF0;
  if (handle == nullptr) return false;
  const std::int64_t need = length + more;
  if (need <= capacity) return true;
  if (need + spare <= kMaxCapacity) {
    SetHandleSize(handle, static_cast<std::int32_t>(need + spare));
    capacity = GetHandleSize(handle);
    if (need <= capacity) return true;
  }
  Drop();
  return false;
}

REALstringStruct *StringBuilder::Finish() {
  if (handle == nullptr) return nullptr;
  REALstringStruct *const result = REALBuildUnicodeString(HLock(handle), length, encoding);
  HUnlock(handle);
  Drop();
  return result;
}

void StringBuilder::Drop() {
  DisposeHandle(handle);
  handle = nullptr;
  length = 0;
  capacity = 0;
}

void Add(AsciiStringHandle &builder, std::string_view name) {
  const auto size = static_cast<std::int64_t>(name.size());
  if (!builder.Reserve(size + 4, size + kSpare)) return;
  builder.AddInPlace([name](ByteBuffer output) {
    output[0] = '&';
    std::memcpy(&output[1], name.data(), name.size());
    output[name.size() + 1] = ';';
    return name.size() + 2;
  });
}

void AddBinary(AsciiStringHandle &builder, const void *bytes, std::int32_t count) {
  if (count <= 0 || !builder.Reserve(std::int64_t{count} + 4, count + kSpare)) return;
  builder.AddInPlace([=](ByteBuffer output) {
    std::memcpy(output.data(), bytes, static_cast<std::size_t>(count));
    return static_cast<std::size_t>(count);
  });
}

void Add(UnicodeStringHandle &builder, std::uint16_t unit) {
  if (!builder.Reserve(10, kSpare + 1)) return;
  builder.AddInPlace<CodeUnit>([unit](std::span<CodeUnit> output) {
    output[0] = {unit};
    return std::size_t{1};
  });
}

}  // namespace kzv
