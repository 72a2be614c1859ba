#include "frame/results.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "frame/exceptions.h"
#include "frame/host_reference.h"
#include "frame/work_buffer.h"
#include "scan/ascii.h"

namespace kzv {
namespace {

// Runs `build`; memory that the host runs out of meanwhile becomes an exception of the host.
template <typename Build>
REALstringStruct *ReportingExhaustion(Build build) {
  try {
    return build();
  } catch (const std::bad_alloc &) {
    RaiseException(kOutOfMemory, kNoMemoryForString);
    return nullptr;
  }
}

REALstringStruct *BuildLabelled(const std::uint8_t *bytes, std::size_t byte_count, REALencoding encoding) {
  HostString result(originalREALBuildString(bytes, static_cast<std::int32_t>(byte_count)));
  if (!result) return nullptr;
  REALSetStringEncoding(result.get(), encoding);
  return result.hand_over();
}

REALstringStruct *BuildUTF16(const void *bytes, std::int32_t length) {
  HostString text(originalREALBuildString(bytes, length));
  if (!text) return nullptr;
  REALSetStringEncoding(text.get(), kEncodingUTF16);
  HostString result(REALConvertString(text.get(), kEncodingUTF8));
  text.reset();  // before the result passes on: should the host throw here, it is released
  return result.hand_over();
}

REALstringStruct *BuildUTF32(const std::uint8_t *bytes, std::size_t length) {
  const std::size_t units = length / 4;
  WorkBuffer narrowed;
  if (!narrowed.allocate(std::uint64_t{units} * 2)) return nullptr;
  for (std::size_t i = 0; i < units; ++i) {
    std::uint32_t unit = 0;
    std::memcpy(&unit, bytes + i * 4, sizeof unit);
    const auto low = static_cast<std::uint16_t>(unit);
    std::memcpy(narrowed.data() + i * 2, &low, sizeof low);
  }
  HostString text(originalREALBuildString(narrowed.data(), static_cast<std::int32_t>(units * 2)));
  // Without an intermediate string the host is still asked: it decides what the conversion of nothing is.
  if (text) REALSetStringEncoding(text.get(), kEncodingUTF16);
  HostString result(REALConvertString(text.get(), kEncodingUTF8));
  text.reset();
  return result.hand_over();
}

}  // namespace

REALstringStruct *BuildHostString(const void *bytes, std::int64_t length, REALencoding encoding) {
  if (bytes == nullptr || length <= 0 || length > static_cast<std::int64_t>(kMaxByteCount)) return nullptr;
  const auto byte_count = static_cast<std::size_t>(length);
  const auto *const data = static_cast<const std::uint8_t *>(bytes);
  switch (encoding) {
    case kEncodingUTF32:
      return BuildUTF32(data, byte_count);
    case kEncodingUTF16:
      return BuildUTF16(data, static_cast<std::int32_t>(length));
    case kEncodingMacRoman:
    case kEncodingWindows1252:
    case kEncodingBytes:
      if (is_all_ascii({data, byte_count})) encoding = kEncodingASCII;
      break;
    default:
      break;
  }
  return BuildLabelled(data, byte_count, encoding);
}

REALstringStruct *REALBuildUnicodeString(const void *bytes, std::int64_t length, REALencoding encoding) {
  return ReportingExhaustion([=] { return BuildHostString(bytes, length, encoding); });
}

REALstringStruct *BuildStoredString(ByteView bytes, REALencoding encoding) {
  if (bytes.empty()) return nullptr;
  return ReportingExhaustion([=] { return BuildLabelled(bytes.data(), bytes.size(), encoding); });
}

REALmemoryBlockStruct *BuildMemoryBlock(ByteView bytes) {
  const auto byte_count = static_cast<long long>(bytes.size());
  try {
    HostObject block(reinterpret_cast<REALobjectStruct *>(
        REALNewMemoryBlockOriginal(static_cast<std::int32_t>(byte_count))));
    auto *const made = reinterpret_cast<REALmemoryBlockStruct *>(block.get());
    void *const data = made != nullptr ? REALMemoryBlockGetPtr(made) : nullptr;
    if (data != nullptr) {
      if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
      return reinterpret_cast<REALmemoryBlockStruct *>(block.hand_over());
    }
  } catch (const std::bad_alloc &) {
    // Reported below, like a block that could not be made.
  }
  char message[200];
  std::snprintf(message, sizeof message, "Failed to allocate a memoryblock with %lld bytes in size.",
                byte_count);
  RaiseException(kOutOfMemory, message);
  return nullptr;
}

}  // namespace kzv
