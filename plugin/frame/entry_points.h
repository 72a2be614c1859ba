// The host's services, fetched by name the first time each is needed: the library links to nothing of the
// host.
//
// A service that the host lacks is not called: the wrapper yields zero, null or nothing, and its caller goes
// on.
#pragma once

#include <atomic>

#include "abi.h"

namespace kzv {

// Both are written once, at load, before any registered function can run.
extern REALresolver gResolver;
extern double rbversion_rbversion;

// The host's version number, such as 2013.03; 0.0 when the host does not tell one.
inline double rbversion() { return rbversion_rbversion; }

// Address of a host service that is used once; null when the host lacks it.
template <typename Signature>
Signature *ResolveEntryPoint(const char *name) {
  return gResolver == nullptr ? nullptr : reinterpret_cast<Signature *>(gResolver(name));
}

template <typename Signature>
class EntryPoint;

// The slot of one host service. A found address is kept for good; a missing service is asked for again at its
// next use, for hosts that offer it later. Two threads may fill a slot at once: both store the same address.
template <typename Result, typename... Arguments>
class EntryPoint<Result(Arguments...)> {
 public:
  using Function = Result(Arguments...);

  explicit constexpr EntryPoint(const char *name) : name_(name) {}

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
    auto *const found = ResolveEntryPoint<Function>(name_);
    if (found != nullptr) address_.store(found, std::memory_order_relaxed);
    return found;
  }

  const char *name_;
  std::atomic<Function *> address_{nullptr};
};

inline void REALRegisterMethod(const REALmethodDefinition *method) {
  static constinit EntryPoint<void(const REALmethodDefinition *)> pRegisterMethod("PluginRegisterMethod");
  pRegisterMethod(method);
}

inline bool REALinRuntime() {
  static constinit EntryPoint<REALboolean()> pInRuntime("REALinRuntime");
  return IsTrue(pInRuntime());
}

// What "PluginGetStringData" put in the record goes back to the host; false when the host takes nothing back.
inline bool REALDisposeStringData(REALstringData *data) {
  static constinit EntryPoint<void(REALstringData *)> pDisposeStringData("PluginDisposeStringData");
  auto *const dispose = pDisposeStringData.address();
  if (dispose != nullptr) dispose(data);
  return dispose != nullptr;
}

inline REALencoding REALGetStringEncoding(REALstringStruct *s) {
  static constinit EntryPoint<REALencoding(REALstringStruct *)> pGetStringEncoding("REALGetStringEncoding");
  return pGetStringEncoding(s);
}

// A new string with the same text in `encoding`, owned by the caller; null when it cannot be converted.
inline REALstringStruct *REALConvertString(REALstringStruct *s, REALencoding encoding) {
  static constinit EntryPoint<REALstringStruct *(REALstringStruct *, REALencoding)> pConvertString(
      "REALConvertString");
  return pConvertString(s, encoding);
}

// Labels the stored bytes, without converting them.
inline void REALSetStringEncoding(REALstringStruct *s, REALencoding encoding) {
  static constinit EntryPoint<void(REALstringStruct *, REALencoding)> pSetStringEncoding(
      "REALSetStringEncoding");
  pSetStringEncoding(s, encoding);
}

// A new string with a copy of the bytes, owned by the caller; null on failure.
inline REALstringStruct *originalREALBuildString(const void *bytes, std::int32_t length) {
  static constinit EntryPoint<REALstringStruct *(const void *, std::int32_t)> pBuildString("REALBuildString");
  return pBuildString(bytes, length);
}

// Takes a reference that keeps the string's bytes in place; false when the host has no such service, and so
// nothing was taken.
inline bool REALLockString(REALstringStruct *s) {
  static constinit EntryPoint<void(REALstringStruct *)> pLockString("REALLockString");
  auto *const lock = pLockString.address();
  if (lock != nullptr) lock(s);
  return lock != nullptr;
}

inline void REALUnlockString(REALstringStruct *s) {
  static constinit EntryPoint<void(REALstringStruct *)> pUnlockString("REALUnlockString");
  pUnlockString(s);
}

// As REALLockString, for objects and memory blocks.
inline bool REALLockObject(REALobjectStruct *object) {
  static constinit EntryPoint<void(REALobjectStruct *)> pLockObject("REALLockObject");
  auto *const lock = pLockObject.address();
  if (lock != nullptr) lock(object);
  return lock != nullptr;
}

inline void REALUnlockObject(REALobjectStruct *object) {
  static constinit EntryPoint<void(REALobjectStruct *)> pUnlockObject("REALUnlockObject");
  pUnlockObject(object);
}

// A new instance of a host class, owned by the caller; null when there is no such class.
inline REALobjectStruct *REALnewInstance(const char *class_name) {
  static constinit EntryPoint<REALobjectStruct *(const char *)> pNewInstance("PluginNewInstance");
  return pNewInstance(class_name);
}

inline void REALSetPropValueString(REALobjectStruct *object, const char *property, REALstringStruct *value) {
  static constinit EntryPoint<void(REALobjectStruct *, const char *, REALstringStruct *)> pSetPropValueString(
      "REALSetPropValueString");
  pSetPropValueString(object, property, value);
}

inline void REALSetPropValueInt32(REALobjectStruct *object, const char *property, std::int32_t value) {
  static constinit EntryPoint<void(REALobjectStruct *, const char *, std::int32_t)> pSetPropValueInt(
      "REALSetPropValueInt");
  pSetPropValueInt(object, property, value);
}

// Raises the object as a host exception and returns: the library then finishes its function as usual.
inline void REALRaiseException(REALobjectStruct *exception) {
  static constinit EntryPoint<void(REALobjectStruct *)> pRaiseException("RuntimeRaiseException");
  pRaiseException(exception);
}

inline REALmemoryBlockStruct *REALNewMemoryBlockOriginal(std::int32_t byte_count) {
  static constinit EntryPoint<REALmemoryBlockStruct *(std::int32_t)> pNewMemoryBlock("newMemoryBlock");
  return pNewMemoryBlock(byte_count);
}

inline void *REALMemoryBlockGetPtr(REALmemoryBlockStruct *block) {
  static constinit EntryPoint<void *(REALmemoryBlockStruct *)> pMemoryBlockGetPtr("memoryBlockGetPtr");
  return pMemoryBlockGetPtr(block);
}

inline std::int32_t REALMemoryBlockGetSize(REALmemoryBlockStruct *block) {
  static constinit EntryPoint<std::int32_t(REALmemoryBlockStruct *)> pMemoryBlockGetSize(
      "memoryBlockGetSize");
  return pMemoryBlockGetSize(block);
}

}  // namespace kzv
