// References to host objects that the library holds for a while, and how anything is given back.
#pragma once

#include <exception>
#include <utility>

#include "frame/entry_points.h"

namespace kzv {

// Runs `give_back` at the end of a scope. What the host throws then goes on to the caller of the registered
// function, except when an exception is already leaving the scope: a second one would end the process. That
// is so when there are more than `exceptions_before`, when the scope began; a host may call while it is
// itself unwinding.
template <typename Action>
void GiveBack(int exceptions_before, Action give_back) {
  try {
    give_back();
  } catch (...) {
    if (std::uncaught_exceptions() <= exceptions_before) throw;
  }
}

// Owns one reference. Its destructor can throw: see GiveBack.
template <typename Object, void (*Unlock)(Object *)>
class HostReference {
 public:
  HostReference() = default;
  explicit HostReference(Object *owned) { reset(owned); }
  HostReference(const HostReference &) = delete;
  HostReference &operator=(const HostReference &) = delete;
  ~HostReference() noexcept(false) { reset(); }

  explicit operator bool() const { return object_ != nullptr; }
  Object *get() const { return object_; }

  // Gives back what it owns, then owns `owned`.
  void reset(Object *owned = nullptr) {
    Object *const old = std::exchange(object_, owned);
    const int before = exceptions_before_;
    if (owned != nullptr) exceptions_before_ = std::uncaught_exceptions();
    if (old != nullptr) GiveBack(before, [old] { Unlock(old); });
  }

  // Ownership passes to the caller.
  Object *hand_over() { return std::exchange(object_, nullptr); }

 private:
  Object *object_ = nullptr;
  int exceptions_before_ = 0;
};

using HostString = HostReference<REALstringStruct, REALUnlockString>;
using HostObject = HostReference<REALobjectStruct, REALUnlockObject>;

}  // namespace kzv
