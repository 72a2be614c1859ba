// An argument's bytes exactly as stored, held for the duration of one call.
#pragma once

#include "base/bytes.h"
#include "frame/host_reference.h"
#include "frame/string_data.h"

namespace kzv {

// Of a host string: on hosts up to version 2013.0 the bytes in the string object itself, kept in place by a
// lock; on newer ones what the host delivers. Of a memory block: its bytes, locked. A null argument, and one
// whose bytes the host does not provide, is empty. Nothing is ever written through the view.
class rbData {
 public:
  explicit rbData(REALstringStruct *s);
  explicit rbData(REALmemoryBlockStruct *block);

  ByteView bytes() const { return bytes_; }

  // Whether there are bytes, even if their number is 0: false for null and for bytes that the host does not
  // provide.
  bool present() const { return present_; }

  // Releases what the view holds: its bytes may be gone then. What the host throws here passes on.
  void release() {
    lockedString.release();
    lockedObject.release();
    stringData.release();
  }

 private:
  // At most one of these holds something.
  HostString lockedString;
  HostObject lockedObject;
  StringData stringData;
  ByteView bytes_;
  bool present_ = false;
};

// The bytes in the string object of an older host, without taking anything. The object must be locked if the
// host can lock it.
ByteView StoredBytes(const REALstringStruct *s);

}  // namespace kzv
