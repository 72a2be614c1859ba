#include "objects.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace kzv::host {
namespace {

constexpr std::uint32_t kSignature = 0x53545247;

REALstringStruct *place_string(void *memory, const std::uint8_t *text, std::size_t length,
                               REALencoding encoding) {
  auto *const s = new (memory) REALstringStruct{};
  s->content.signature = kSignature;
  s->content.buffer = text - kStringTextOffset;
  s->content.length = static_cast<std::int32_t>(length);
  s->show();
  s->encoding = encoding;
  s->references.take_for_host();
  return s;
}

void *allocate(std::size_t byte_count) {
  void *const memory = std::malloc(byte_count);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void References::take_for_plugin(Ledger::Account &account) {
  all_.add(1);
  of_plugin_.add(1);
  account.taken.add(1);
}

bool References::pass_to_host(Ledger::Account &account) {
  if (of_plugin_.add(-1) < 1) {
    of_plugin_.add(1);
    return false;
  }
  account.released.add(1);
  return true;
}

bool References::drop_for_plugin(Ledger &ledger, Ledger::Account &account) {
  if (!pass_to_host(account)) {
    ledger.add_fault(std::string("the plugin released more ") + account.name + " than it took");
    return false;
  }
  return drop_for_host();
}

REALstringStruct *make_string(std::string_view bytes, REALencoding encoding) {
  constexpr std::size_t kTerminator = 4;  // enough for text of any unit width
  constexpr std::size_t kTextOffset = (sizeof(REALstringStruct) + kStringTextOffset + 15) / 16 * 16;
  auto *const memory = static_cast<std::uint8_t *>(allocate(kTextOffset + bytes.size() + kTerminator));
  std::uint8_t *const text = memory + kTextOffset;
  if (!bytes.empty()) std::memcpy(text, bytes.data(), bytes.size());
  std::memset(text + bytes.size(), 0, kTerminator);
  return place_string(memory, text, bytes.size(), encoding);
}

REALstringStruct *make_string_of_lent(std::string_view lent, REALencoding encoding) {
  return place_string(allocate(sizeof(REALstringStruct)), reinterpret_cast<const std::uint8_t *>(lent.data()),
                      lent.size(), encoding);
}

void destroy(REALstringStruct *s) {
  s->~REALstringStruct();
  std::free(s);
}

void release(REALstringStruct *s) {
  if (s->references.drop_for_host()) destroy(s);
}

void release(REALobjectStruct *object) {
  if (object->references.drop_for_host()) delete object;
}

}  // namespace kzv::host
