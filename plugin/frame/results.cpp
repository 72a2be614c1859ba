#include "frame/results.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "base/buffer.h"
#include "frame/host_reference.h"
#include "scan/ascii.h"

namespace kzv {
namespace {

HostString Labelled(ByteView bytes, REALencoding encoding) {
  HostString result(originalREALBuildString(bytes.data(), static_cast<std::int32_t>(bytes.size())));
  if (result) REALSetStringEncoding(result.get(), encoding);
  return result;
}

HostString ConvertedToUTF8(HostString text) {
  HostString result(REALConvertString(text.get(), kEncodingUTF8));
  text.release();
  return result;
}

HostString BuildUTF16(ByteView bytes) {
  HostString text = Labelled(bytes, kEncodingUTF16);
  return text ? ConvertedToUTF8(std::move(text)) : HostString();
}

HostString BuildUTF32(ByteView bytes) {
  const std::size_t unit_count = bytes.size() / sizeof(std::uint32_t);
  Buffer<512> narrowed;
  if (!narrowed.allocate(std::uint64_t{unit_count} * sizeof(std::uint16_t))) return {};
  for (std::size_t i = 0; i < unit_count; ++i) {
    std::uint32_t unit = 0;
    std::memcpy(&unit, bytes.data() + i * sizeof unit, sizeof unit);
    const auto low = static_cast<std::uint16_t>(unit);
    std::memcpy(narrowed.data() + i * sizeof low, &low, sizeof low);
  }
  // Without an intermediate string the host is still asked: it decides what the conversion of nothing is.
  return ConvertedToUTF8(Labelled(narrowed.bytes(), kEncodingUTF16));
}

HostString Build(ByteView bytes, REALencoding encoding) {
  switch (encoding) {
    case kEncodingUTF32:
      return BuildUTF32(bytes);
    case kEncodingUTF16:
      return BuildUTF16(bytes);
    case kEncodingMacRoman:
    case kEncodingWindows1252:
    case kEncodingBytes:
      return Labelled(bytes, is_all_ascii(bytes) ? kEncodingASCII : encoding);
    default:
      return Labelled(bytes, encoding);
  }
}

REALstringStruct *BuildOrRaise(HostString (*build)(ByteView, REALencoding), ByteView bytes,
                               REALencoding encoding) {
  try {
    return build(bytes, encoding).hand_over();
  } catch (const std::bad_alloc &) {
    // Reported once it is no longer handled: raising calls the host, which may throw again.
  }
  RaiseException(kOutOfMemory, kNoMemoryForString);
  return nullptr;
}

// Without memory there is no message: an exception about that would need a message again.
HostString BuildMessage(const char *message) {
  if (message == nullptr) return {};
  try {
    return Labelled({reinterpret_cast<const std::uint8_t *>(message), std::strlen(message)}, kEncodingASCII);
  } catch (const std::bad_alloc &) {
    return {};
  }
}

}  // namespace

REALstringStruct *REALBuildUnicodeString(const void *bytes, std::int64_t length, REALencoding encoding) {
  if (bytes == nullptr || length <= 0 || length > static_cast<std::int64_t>(kMaxByteCount)) return nullptr;
  return BuildOrRaise(Build, {static_cast<const std::uint8_t *>(bytes), static_cast<std::size_t>(length)},
                      encoding);
}

REALstringStruct *BuildStoredString(ByteView bytes, REALencoding encoding) {
  return bytes.empty() ? nullptr : BuildOrRaise(Labelled, bytes, encoding);
}

REALmemoryBlockStruct *BuildMemoryBlock(ByteView bytes) {
  try {
    REALmemoryBlockStruct *const made = REALNewMemoryBlockOriginal(static_cast<std::int32_t>(bytes.size()));
    HostObject block(reinterpret_cast<REALobjectStruct *>(made));
    void *const data = block ? REALMemoryBlockGetPtr(made) : nullptr;
    if (data != nullptr) {
      std::ranges::copy(bytes, static_cast<std::uint8_t *>(data));
      static_cast<void>(block.hand_over());
      return made;
    }
    block.release();
  } catch (const std::bad_alloc &) {
    // Reported below, like a block that could not be made.
  }
  char message[200];
  std::snprintf(message, sizeof message, "Failed to allocate a memoryblock with %lld bytes in size.",
                static_cast<long long>(bytes.size()));
  RaiseException(kOutOfMemory, message);
  return nullptr;
}

void RaiseException(const char *class_name, const char *message) {
  HostString text = BuildMessage(message);
  HostObject exception(REALnewInstance(class_name));
  if (!exception) exception.reset(REALnewInstance("RuntimeException"));
  if (exception) {
    REALSetPropValueString(exception.get(), "Message", text.get());
    REALSetPropValueInt32(exception.get(), "ErrorNumber", 0);
    REALRaiseException(exception.get());
  }
  exception.release();
  text.release();
}

}  // namespace kzv
