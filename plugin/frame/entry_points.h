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

// Address of a host service; null when the host lacks it.
inline void *ResolveEntryPoint(const char *name) { return gResolver == nullptr ? nullptr : gResolver(name); }

template <typename Signature>
class EntryPoint;

// The slot of one host service. A found address is kept for good; a missing service is asked for again at its
// next use, for hosts that offer it later. Two threads may fill a slot at once: both store the same address.
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

inline void REALRegisterMethod(const REALmethodDefinition *method) {
  static constinit EntryPoint<void(const REALmethodDefinition *)> pRegisterMethod("PluginRegisterMethod");
  pRegisterMethod(method);
}

inline bool REALinRuntime() {
  static constinit EntryPoint<REALboolean()> pInRuntime("REALinRuntime");
  return IsTrue(pInRuntime());
}

// The services that take something back. Whatever is to be given back later has its service looked up before
// it is taken: a look-up that fails with an exception afterwards would leave nobody to give it back.
inline EntryPoint<void(REALstringData *)> &DisposeStringDataService() {
  static constinit EntryPoint<void(REALstringData *)> pDisposeStringData("PluginDisposeStringData");
  return pDisposeStringData;
}
inline EntryPoint<void(REALstringStruct *)> &UnlockStringService() {
  static constinit EntryPoint<void(REALstringStruct *)> pUnlockString("REALUnlockString");
  return pUnlockString;
}
inline EntryPoint<void(REALobjectStruct *)> &UnlockObjectService() {
  static constinit EntryPoint<void(REALobjectStruct *)> pUnlockObject("REALUnlockObject");
  return pUnlockObject;
}

inline void REALUnlockString(REALstringStruct *s) { UnlockStringService()(s); }
inline void REALUnlockObject(REALobjectStruct *object) { UnlockObjectService()(object); }

inline REALencoding REALGetStringEncoding(REALstringStruct *s) {
  static constinit EntryPoint<REALencoding(REALstringStruct *)> pGetStringEncoding("REALGetStringEncoding");
  return pGetStringEncoding(s);
}

// A new string with the same text in `encoding`, owned by the caller; null when it cannot be converted.
inline REALstringStruct *REALConvertString(REALstringStruct *s, REALencoding encoding) {
  static constinit EntryPoint<REALstringStruct *(REALstringStruct *, REALencoding)> pConvertString(
      "REALConvertString");
  UnlockStringService().address();
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
  UnlockStringService().address();
  return pBuildString(bytes, length);
}

// Takes a reference that keeps the string's bytes in place; false when the host has no such service, and so
// nothing was taken.
inline bool REALLockString(REALstringStruct *s) {
  static constinit EntryPoint<void(REALstringStruct *)> pLockString("REALLockString");
  UnlockStringService().address();
  auto *const lock = pLockString.address();
  if (lock != nullptr) lock(s);
  return lock != nullptr;
}

// As REALLockString, for objects and memory blocks.
inline bool REALLockObject(REALobjectStruct *object) {
  static constinit EntryPoint<void(REALobjectStruct *)> pLockObject("REALLockObject");
  UnlockObjectService().address();
  auto *const lock = pLockObject.address();
  if (lock != nullptr) lock(object);
  return lock != nullptr;
}

// A new instance of a host class, owned by the caller; null when there is no such class.
inline REALobjectStruct *REALnewInstance(const char *class_name) {
  static constinit EntryPoint<REALobjectStruct *(const char *)> pNewInstance("PluginNewInstance");
  UnlockObjectService().address();
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
  UnlockObjectService().address();
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
