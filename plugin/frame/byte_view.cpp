#include "frame/byte_view.h"

#include <cstring>

namespace kzv {
namespace {

constexpr double kLastVersionReadDirectly = 2013.0;

// The fields of the object may be unaligned.
template <typename Field>
Field ReadField(const REALstringStruct *s, std::size_t offset) {
  Field field;
  std::memcpy(&field, reinterpret_cast<const std::uint8_t *>(s) + offset, sizeof field);
  return field;
}

}  // namespace

ByteView StoredBytes(const REALstringStruct *s) {
  const auto *const buffer = ReadField<const std::uint8_t *>(s, kStringBufferOffset);
  const auto length = ReadField<std::int32_t>(s, kStringLengthOffset);
  if (buffer == nullptr || length <= 0) return {};
  return {buffer + kStringTextOffset, static_cast<std::size_t>(length)};
}

rbData::rbData(REALstringStruct *s) {
  if (s == nullptr) return;
  if (rbversion() > kLastVersionReadDirectly) {
    present_ = stringData.take(s, kEncodingBytes);
    if (present_) bytes_ = stringData.bytes();
    return;
  }
  if (REALLockString(s)) lockedString.reset(s);
  bytes_ = StoredBytes(s);
  present_ = true;
}

rbData::rbData(REALmemoryBlockStruct *block) {
  if (block == nullptr) return;
  auto *const object = reinterpret_cast<REALobjectStruct *>(block);
  if (REALLockObject(object)) lockedObject.reset(object);
  const std::int32_t size = REALMemoryBlockGetSize(block);
  const auto *const data = static_cast<const std::uint8_t *>(REALMemoryBlockGetPtr(block));
  present_ = data != nullptr;
  if (present_ && size > 0) bytes_ = {data, static_cast<std::size_t>(size)};
}

}  // namespace kzv
