#include "frame/string_data.h"

#include <cstring>

#include "base/heap_bytes.h"
#include "frame/host_reference.h"

namespace kzv {
namespace {

using StringLength = std::int32_t(REALstringStruct *);

void *REALLoadFrameworkMethod(const char *declaration) {
  static constinit EntryPoint<void *(void *, const char *)> pLoadGlobalMethod("REALLoadGlobalMethod");
  return pLoadGlobalMethod(nullptr, declaration);
}

// The host language's LenB: a method of the host's framework rather than an entry point, but kept like one.
StringLength *LenB() {
  static constinit EntryPoint<StringLength> pLenB("LenB( s as string ) as integer", REALLoadFrameworkMethod);
  return pLenB.address();
}

// The two services that the copying road needs.
struct CopyServices {
  const void *(*get_c_string)(REALstringStruct *);
  StringLength *length;
};

struct Copy {
  HeapBytes bytes;  // null when they cannot be had
  std::int32_t length = 0;
};

Copy CopyStoredBytes(const CopyServices &host, REALstringStruct *s) {
  constexpr std::size_t kTerminator = 4;  // enough for text of any unit width
  const std::int32_t told = host.length(s);
  const std::size_t length = told > 0 ? static_cast<std::size_t>(told) : 0;
  const void *const stored = host.get_c_string(s);
  if (stored == nullptr && length > 0) return {};
  Copy copy{allocate_bytes(length + kTerminator), static_cast<std::int32_t>(length)};
  if (copy.bytes == nullptr) return {};
  if (length > 0) std::memcpy(copy.bytes.get(), stored, length);
  std::memset(copy.bytes.get() + length, 0, kTerminator);
  return copy;
}

bool CopyBytes(REALstringStruct *s, REALencoding encoding, REALstringData &record) {
  static constinit EntryPoint<const void *(REALstringStruct *)> pGetCString("StringGetCString");
  const CopyServices host = {pGetCString.address(), LenB()};
  if (host.get_c_string == nullptr || host.length == nullptr || s == nullptr) return false;
  HostString converted;
  if (encoding != kEncodingBytes && REALGetStringEncoding(s) != encoding) {
    converted.reset(REALConvertString(s, encoding));
    if (!converted) return false;
  }
  Copy copy = CopyStoredBytes(host, converted ? converted.get() : s);
  converted.reset();  // before the copy passes on: should the host throw here, it is freed
  if (copy.bytes == nullptr) return false;
  record = {copy.bytes.release(), copy.length, encoding, {}};
  return true;
}

void ReleaseStringData(StringDataOwner owner, REALstringData &record) {
  // A host that lends bytes but has no service to take them back leaves them to us, also when it throws at
  // being asked for that service once more.
  HeapBytes ours(const_cast<std::uint8_t *>(record.data));
  if (owner != StringDataOwner::kHost) return;
  auto *const dispose = DisposeStringDataService().address();
  if (dispose == nullptr) return;
  static_cast<void>(ours.release());
  dispose(&record);
}

}  // namespace

StringDataOwner REALGetStringData(REALstringStruct *s, REALencoding encoding, REALstringData &record) {
  using GetStringData = REALboolean(REALstringStruct *, REALencoding, REALstringData *);
  static constinit EntryPoint<GetStringData> pGetStringData("PluginGetStringData");
  if (auto *const get_string_data = pGetStringData.address()) {
    DisposeStringDataService().address();
    const bool filled = IsTrue(get_string_data(s, encoding, &record));
    return filled ? StringDataOwner::kHost : StringDataOwner::kNobody;
  }
  return CopyBytes(s, encoding, record) ? StringDataOwner::kLibrary : StringDataOwner::kNobody;
}

ByteView BytesOf(const REALstringData &record) {
  if (record.data == nullptr || record.length <= 0) return {};
  return {record.data, static_cast<std::size_t>(record.length)};
}

StringData::~StringData() noexcept(false) {
  if (owner_ != StringDataOwner::kNobody) {
    GiveBack(exceptions_before_, [this] { ReleaseStringData(owner_, record_); });
  }
}

}  // namespace kzv
