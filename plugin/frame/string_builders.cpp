#include "frame/string_builders.h"

#include <cstring>

#include "frame/results.h"

namespace kzv {
namespace {

// A builder that grows has as much left for the appends to come.
constexpr std::int64_t kSpare = 4096;

}  // namespace

void StringBuilder::Create(std::uint64_t byte_count) {
  if (byte_count > kMaxByteCount) return;
  handle = NewHandle(memory_, static_cast<std::int32_t>(byte_count));
  if (handle != nullptr) capacity = static_cast<std::int32_t>(byte_count);
}

bool StringBuilder::Reserve(std::int64_t need, std::int64_t new_size) {
  constexpr std::int64_t kLargestBlock = 0x7FFFFFF0;
  if (handle == nullptr) return false;
  if (need <= capacity) return true;
  if (new_size <= kLargestBlock) {
    SetHandleSize(handle, static_cast<std::int32_t>(new_size));
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
  const std::int64_t need = size + builder.byte_count() + 4;
  if (!builder.Reserve(need, size + need + kSpare)) return;
  builder.AddInPlace([name](ByteBuffer output) {
    output[0] = '&';
    std::memcpy(&output[1], name.data(), name.size());
    output[name.size() + 1] = ';';
    return name.size() + 2;
  });
}

void AddBinary(AsciiStringHandle &builder, const void *bytes, std::int32_t count) {
  if (count <= 0) return;
  const std::int64_t need = count + builder.byte_count() + 4;
  if (!builder.Reserve(need, count + need + kSpare)) return;
  builder.AddInPlace([=](ByteBuffer output) {
    std::memcpy(output.data(), bytes, static_cast<std::size_t>(count));
    return static_cast<std::size_t>(count);
  });
}

void Add(UnicodeStringHandle &builder, std::uint16_t unit) {
  const std::int64_t need = builder.byte_count() + 10;
  if (!builder.Reserve(need, need + kSpare + 1)) return;
  builder.AddInPlace([unit](std::span<CodeUnit> output) {
    output[0] = {unit};
    return std::size_t{1};
  });
}

}  // namespace kzv
