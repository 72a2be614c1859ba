// Services of the host, each fetched by name at its first use: the library links to nothing of the host.
// Those that deliver a string's data are in string_data.cpp, those of the start in main.cpp.
//
// A service that the host does not have is not called: the call yields zero, null or nothing.
#pragma once

#include <atomic>

#include "abi.h"

namespace kzv {

// Both are written once, at load, before any registered function can run.
inline constinit REALresolver gResolver = nullptr;
inline constinit double rbversion_rbversion = 0.0;

// The host's version number, such as 2013.03; 0.0 when the host does not report one.
inline double rbversion() { return rbversion_rbversion; }

// Address of a host service; null when the host does not have it.
inline void *ResolveEntryPoint(const char *name) { return gResolver == nullptr ? nullptr : gResolver(name); }

template <typename Signature>
class EntryPoint;

// One host service. An address that was found is kept for good; a missing service is looked up again at its
// next use, for hosts that offer it later. Two threads may look up at once: both store the same address.
template <typename Result, typename... Arguments>
class EntryPoint<Result(Arguments...)> {
 public:
  using Function = Result(Arguments...);
  using Find = void *(*)(const char *name);

  explicit constexpr EntryPoint(const char *name, Find find = ResolveEntryPoint) : name_(name), find_(find) {}

  Function *address() {
    Function *const known = address_.load(std::memory_order_relaxed);
    return known != nullptr ? known : look_up();
  }

  Result operator()(Arguments... arguments) {
    Function *const function = address();
    return function != nullptr ? function(arguments...) : Result();
  }

 private:
  [[gnu::cold, gnu::noinline]] Function *look_up() {
    auto *const found = reinterpret_cast<Function *>(find_(name_));
    if (found != nullptr) address_.store(found, std::memory_order_relaxed);
    return found;
  }

  const char *name_;
  Find find_;
  std::atomic<Function *> address_{nullptr};
};

inline constinit EntryPoint<void(const REALmethodDefinition *)> REALRegisterMethod("PluginRegisterMethod");
inline constinit EntryPoint<REALboolean()> REALinRuntime("REALinRuntime");

// The services that release something. Looking one up calls the host, which may throw: so each is looked up
// before anything is taken; before REALConvertString its callers have locked or built a string.
inline constinit EntryPoint<void(REALstringStruct *)> REALUnlockString("REALUnlockString");
inline constinit EntryPoint<void(REALobjectStruct *)> REALUnlockObject("REALUnlockObject");

inline constinit EntryPoint<REALencoding(REALstringStruct *)> REALGetStringEncoding("REALGetStringEncoding");

// A new string with the same text in `encoding`, owned by the caller; null when it cannot be converted.
inline constinit EntryPoint<REALstringStruct *(REALstringStruct *, REALencoding)> REALConvertString(
    "REALConvertString");

// Labels the stored bytes, without converting them.
inline constinit EntryPoint<void(REALstringStruct *, REALencoding)> REALSetStringEncoding(
    "REALSetStringEncoding");

// A new string with a copy of the bytes, owned by the caller; null on failure.
inline REALstringStruct *originalREALBuildString(const void *bytes, std::int32_t length) {
  static constinit EntryPoint<REALstringStruct *(const void *, std::int32_t)> pBuildString("REALBuildString");
  REALUnlockString.address();
  return pBuildString(bytes, length);
}

// Takes a reference that keeps the string's bytes in place; false when the host does not have the service, so
// that there is nothing to release.
inline bool REALLockString(REALstringStruct *s) {
  static constinit EntryPoint<void(REALstringStruct *)> pLockString("REALLockString");
  REALUnlockString.address();
  auto *const lock = pLockString.address();
  if (lock != nullptr) lock(s);
  return lock != nullptr;
}

// As REALLockString, for objects and memory blocks.
inline bool REALLockObject(REALobjectStruct *object) {
  static constinit EntryPoint<void(REALobjectStruct *)> pLockObject("REALLockObject");
  REALUnlockObject.address();
  auto *const lock = pLockObject.address();
  if (lock != nullptr) lock(object);
  return lock != nullptr;
}

// A new instance of a host class, owned by the caller; null when the host does not have the class.
inline REALobjectStruct *REALnewInstance(const char *class_name) {
  static constinit EntryPoint<REALobjectStruct *(const char *)> pNewInstance("PluginNewInstance");
  REALUnlockObject.address();
  return pNewInstance(class_name);
}

inline constinit EntryPoint<void(REALobjectStruct *, const char *property, REALstringStruct *)>
    REALSetPropValueString("REALSetPropValueString");
inline constinit EntryPoint<void(REALobjectStruct *, const char *property, std::int32_t)>
    REALSetPropValueInt32("REALSetPropValueInt");

// Raises the object as a host exception and returns: the library then finishes its function as usual.
inline constinit EntryPoint<void(REALobjectStruct *)> REALRaiseException("RuntimeRaiseException");

// A new memory block, owned by the caller; null on failure.
inline REALmemoryBlockStruct *REALNewMemoryBlockOriginal(std::int32_t byte_count) {
  static constinit EntryPoint<REALmemoryBlockStruct *(std::int32_t)> pNewMemoryBlock("newMemoryBlock");
  REALUnlockObject.address();
  return pNewMemoryBlock(byte_count);
}

inline constinit EntryPoint<void *(REALmemoryBlockStruct *)> REALMemoryBlockGetPtr("memoryBlockGetPtr");
inline constinit EntryPoint<std::int32_t(REALmemoryBlockStruct *)> REALMemoryBlockGetSize(
    "memoryBlockGetSize");

}  // namespace kzv
