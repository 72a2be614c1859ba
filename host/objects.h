// The host's objects: strings, exceptions and memory blocks, counted by who holds them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "abi.h"
#include "counter.h"
#include "ledger.h"

namespace kzv::host {

// The references to one object. Those that the plugin holds are counted apart, so that a plugin which
// releases more than it took is reported, and the object of the host is not freed.
class References {
 public:
  void take_for_host() { all_.add(1); }
  void take_for_plugin(Ledger::Account &account);
  // Both return whether this was the last reference.
  [[nodiscard]] bool drop_for_host() { return all_.add(-1) == 1; }
  [[nodiscard]] bool drop_for_plugin(Ledger &ledger, Ledger::Account &account);
  // The plugin's reference becomes the host's, as when a function returns it; false when the plugin has none.
  [[nodiscard]] bool pass_to_host(Ledger::Account &account);
  bool held_by_plugin() const { return of_plugin_.value() > 0; }

 private:
  Counter all_;
  Counter of_plugin_;
};

}  // namespace kzv::host

// What older plugins read of a string comes first; `buffer` is unaligned on 64-bit builds.
struct [[gnu::packed]] StringHead {
  std::uint32_t signature;
  const std::uint8_t *buffer;
#if !defined(__LP64__)
  std::uint32_t unused;
#endif
  std::int32_t length;
};
static_assert(offsetof(StringHead, buffer) == kStringBufferOffset);
static_assert(offsetof(StringHead, length) == kStringLengthOffset);

struct REALstringStruct {
  StringHead head;     // what plugins read: the content, or nothing
  StringHead content;  // what the host reads
  REALencoding encoding;
  kzv::host::References references;

  // Null where the object has no bytes.
  const std::uint8_t *text() const {
    return content.buffer == nullptr ? nullptr : content.buffer + kStringTextOffset;
  }
  // Empty where the object reports a length that is not possible.
  std::string_view bytes() const {
    if (content.buffer == nullptr || content.length < 0) return {};
    return {reinterpret_cast<const char *>(text()), static_cast<std::size_t>(content.length)};
  }

  bool is_shown() const { return head.buffer == content.buffer; }
  void show() { head = content; }
  void hide() {
    head.buffer = nullptr;
    head.length = -1;
  }
};

struct REALobjectStruct {
  explicit REALobjectStruct(std::string_view name) : class_name(name) {}
  REALobjectStruct(const REALobjectStruct &) = delete;
  REALobjectStruct &operator=(const REALobjectStruct &) = delete;
  virtual ~REALobjectStruct() = default;

  std::string class_name;
  kzv::host::References references;
  std::string message;
  REALencoding message_encoding = 0;
  std::int32_t error_number = -1;
};

// A memory block is an object too, at the same address: plugins lock and unlock it as one.
struct REALmemoryBlockStruct final : REALobjectStruct {
  explicit REALmemoryBlockStruct(std::string content)
      : REALobjectStruct("MemoryBlock"), bytes(std::move(content)) {}

  std::string bytes;
};

namespace kzv::host {

// A string object with one reference of the host's: it holds a copy of the bytes, terminated by four zero
// bytes, or refers to `lent` bytes that must outlive it.
REALstringStruct *make_string(std::string_view bytes, REALencoding encoding);
REALstringStruct *make_string_of_lent(std::string_view lent, REALencoding encoding);

// Drops a reference of the host's.
void release(REALstringStruct *s);
void release(REALobjectStruct *object);

// Frees an object whose last reference is gone.
void destroy(REALstringStruct *s);

}  // namespace kzv::host
