#include "host.h"

#include <algorithm>
#include <new>
#include <sys/single_threaded.h>

namespace kzv::host {

thread_local constinit Host *Host::current_ = nullptr;

String new_string(std::string_view bytes, REALencoding encoding) {
  return String(make_string(bytes, encoding));
}

MemoryBlock new_memory_block(std::string_view bytes) {
  MemoryBlock block(new REALmemoryBlockStruct(std::string(bytes)));
  block->references.take_for_host();
  return block;
}

void Host::start(void (*plugin_main)(REALresolver), REALresolver resolver) {
  const Scope scope(*this);
  plugin_main(resolver);
}

String Host::accept(REALstringStruct *result) {
  if (result == nullptr || result->references.pass_to_host(ledger.strings)) return String(result);
  // A plugin that cannot lock strings returns its argument without a reference: not a fault of the plugin.
  if (!keeps_strings() && !withholds("REALLockString")) {
    ledger.add_fault("the plugin returned a string it did not hold");
  }
  result->references.take_for_host();
  return String(result);
}

MemoryBlock Host::accept(REALmemoryBlockStruct *result) {
  if (result == nullptr || result->references.pass_to_host(ledger.objects)) return MemoryBlock(result);
  if (!keeps_objects()) ledger.add_fault("the plugin returned a memory block it did not hold");
  result->references.take_for_host();
  return MemoryBlock(result);
}

void Host::show_if_held(REALstringStruct *s) {
  if (s == nullptr) return;
  std::unique_lock lock(mutex_, std::defer_lock);
  if (__libc_single_threaded == 0) lock.lock();
  const bool shown = s->references.held_by_plugin() || keeps_strings() || withholds("REALLockString");
  if (shown != s->is_shown()) shown ? s->show() : s->hide();
}

int Host::times_asked_for(std::string_view service) const {
  const std::lock_guard lock(mutex_);
  const auto found = asked_for_.find(service);
  return found == asked_for_.end() ? 0 : found->second;
}

std::vector<RaisedException> Host::take_raised() {
  const std::lock_guard lock(mutex_);
  return std::exchange(raised_, {});
}

std::optional<Misbehaviour::Kind> Host::misbehaves_now(const char *service, Kinds able) {
  Misbehaviour &misbehaviour = *settings.misbehaviour;
  if (!misbehaviour.service.empty() && misbehaviour.service != service) return std::nullopt;
  const Misbehaviour::Kind kind = misbehaviour.kind;
  const bool throws = kind == Misbehaviour::Kind::kThrowBadAlloc || kind == Misbehaviour::Kind::kThrowOther;
  if (!throws && std::ranges::find(able, kind) == able.end()) return std::nullopt;
  --misbehaviour.calls_left;
  if (misbehaviour.calls_left > 0 || (misbehaviour.calls_left < 0 && !misbehaviour.for_good))
    return std::nullopt;
  if (kind == Misbehaviour::Kind::kThrowBadAlloc) throw std::bad_alloc();
  if (kind == Misbehaviour::Kind::kThrowOther) throw HostFailure{service};
  return kind;
}

}  // namespace kzv::host
