// What the library holds of the host's for a while.
#pragma once

#include <utility>

#include "frame/entry_points.h"

namespace kzv {

// Owns one reference to a host object, which `unlock` releases. Normally release() is called, and what
// the host throws then reaches the host; the destructor, which finds a reference only while another exception
// is on its way, drops what the host throws.
template <typename Object, auto &unlock>
class HostReference {
 public:
  HostReference() = default;
  explicit HostReference(Object *owned) : object_(owned) {}
  HostReference(HostReference &&other) noexcept : object_(other.hand_over()) {}
  ~HostReference() {
    try {
      release();
    } catch (...) {
      // The exception on its way is the one that the host is to see.
    }
  }

  explicit operator bool() const { return object_ != nullptr; }
  Object *get() const { return object_; }

  // Owns `owned` in place of the object before, which is released.
  void reset(Object *owned) {
    Object *const old = std::exchange(object_, owned);
    if (old != nullptr) unlock(old);
  }
  void release() { reset(nullptr); }

  // Ownership passes to the caller.
  Object *hand_over() { return std::exchange(object_, nullptr); }

 private:
  Object *object_ = nullptr;
};

using HostString = HostReference<REALstringStruct, REALUnlockString>;
using HostObject = HostReference<REALobjectStruct, REALUnlockObject>;

}  // namespace kzv
