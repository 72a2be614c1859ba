#include "frame/string_data.h"

#include <algorithm>
#include <memory>

namespace kzv {
namespace {

constinit EntryPoint<REALboolean(REALstringStruct *, REALencoding, REALstringData *)> REALGetStringData(
    "PluginGetStringData");
constinit EntryPoint<void(REALstringData *)> pDisposeStringData("PluginDisposeStringData");
constinit EntryPoint<const void *(REALstringStruct *)> pGetCString("StringGetCString");

void *REALLoadFrameworkMethod(const char *declaration) {
  static constinit EntryPoint<void *(void *, const char *)> pLoadGlobalMethod("REALLoadGlobalMethod");
  return pLoadGlobalMethod(nullptr, declaration);
}

// The host language's LenB: a method of the host's framework rather than an entry point, but kept like one.
constinit EntryPoint<std::int32_t(REALstringStruct *)> pLenB("LenB( s as string ) as integer",
                                                             REALLoadFrameworkMethod);

}  // namespace

void REALDisposeStringData(REALstringData *record) {
  // A host that lends bytes but does not have the service to dispose them leaves them to us, even if the
  // second look-up of that service throws.
  std::unique_ptr<void, decltype(&std::free)> ours(const_cast<std::uint8_t *>(record->data), &std::free);
  auto *const dispose = pDisposeStringData.address();
  if (dispose == nullptr) return;
  static_cast<void>(ours.release());
  dispose(record);
}

bool StringData::take(REALstringStruct *s, REALencoding encoding) {
  if (REALGetStringData.address() == nullptr) return copy(s, encoding);
  pDisposeStringData.address();  // before there is anything to dispose
  if (!IsTrue(REALGetStringData(s, encoding, &record_))) return false;
  ownsStringData.reset(&record_);
  return record_.data != nullptr || record_.length <= 0;
}

bool StringData::copy(REALstringStruct *s, REALencoding encoding) {
  if (pGetCString.address() == nullptr || pLenB.address() == nullptr || s == nullptr) return false;
  if (encoding == kEncodingBytes || REALGetStringEncoding(s) == encoding) return copy_stored(s);
  HostString converted(REALConvertString(s, encoding));
  const bool copied = converted && copy_stored(converted.get());
  converted.release();
  return copied;
}

bool StringData::copy_stored(REALstringStruct *s) {
  const std::int32_t length = std::max(pLenB(s), std::int32_t{0});
  const auto *const stored = static_cast<const std::uint8_t *>(pGetCString(s));
  if (stored == nullptr && length > 0) return false;
  if (!CopyTerminated({stored, static_cast<std::size_t>(length)}, copy_)) return false;
  record_.data = copy_.data();
  record_.length = length;
  return true;
}

bool CopyTerminated(ByteView bytes, HeapBuffer &copy) {
  constexpr std::uint64_t kTerminator = 4;
  if (!copy.allocate(bytes.size() + kTerminator)) return false;
  std::fill_n(std::ranges::copy(bytes, copy.data()).out, kTerminator, std::uint8_t{0});
  return true;
}

}  // namespace kzv
