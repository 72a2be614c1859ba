// The in-process host: takes the host's part for the runner, the tests and the benchmarks.
#pragma once

#include <cassert>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "abi.h"
#include "ledger.h"
#include "objects.h"

namespace kzv::host {

// What one service does wrong.
struct Misbehaviour {
  enum class Kind : std::uint8_t {
    // Any service can throw; one that releases something does so first.
    kThrowBadAlloc,
    kThrowOther,
    // These are for services that return an answer, a length or bytes.
    kRefuse,          // null, false or 0
    kNegativeLength,  // -1
    kHugeLength,      // -2^31, which is 2^31 to a caller that takes lengths to be unsigned
    kNoBytes,         // a null pointer in place of bytes, with a length
  };

  std::string service;  // empty: any
  Kind kind = Kind::kThrowBadAlloc;
  int calls_left = 1;     // it happens at the call that brings this to 0
  bool for_good = false;  // and at every call after that
};

// What a misbehaving service throws instead of std::bad_alloc: a type that the standard library does not
// know.
struct HostFailure {
  std::string service;
};

struct Settings {
  std::optional<double> version = 2013.03;      // empty: the host does not report its version
  std::set<std::string, std::less<>> withheld;  // services and classes that the host does not have, by name
  std::optional<Misbehaviour> misbehaviour = std::nullopt;
  int silent_look_ups = 0;  // so many look-ups of a service return null, whichever they ask for
  bool in_runtime = false;
};

// One registered function.
struct Method {
  std::string declaration;
  void *function;
  std::uint32_t flags;
};

struct RaisedException {
  std::string class_name;
  std::string message;
  REALencoding message_encoding;
  std::int32_t error_number;
};

struct ReleaseReference {
  template <typename Object>
  void operator()(Object *object) const {
    release(object);
  }
};
// References of the host's own; null is the empty string, or no memory block.
using String = std::unique_ptr<REALstringStruct, ReleaseReference>;
using Object = std::unique_ptr<REALobjectStruct, ReleaseReference>;
using MemoryBlock = std::unique_ptr<REALmemoryBlockStruct, ReleaseReference>;

String new_string(std::string_view bytes, REALencoding encoding);
MemoryBlock new_memory_block(std::string_view bytes);

// The services as a plugin sees them: plain functions, looked up by name. They serve the host whose call runs
// on their thread.
struct Services {
  // The resolver that a plugin receives.
  static void *resolve(const char *name);

  // Every service by name.
  static std::vector<std::string_view> names();

 private:
  struct Functions;
  struct Entry;
  static const Entry kTable[];
};

// Several hosts can live in one process, each with plugin instances of its own.
class Host {
 public:
  explicit Host(Settings initial = {}) : settings(std::move(initial)) {}
  Host(const Host &) = delete;
  Host &operator=(const Host &) = delete;

  // What a host does right after loading a library. The resolver is that of Services, or one that wraps it.
  void start(void (*plugin_main)(REALresolver), REALresolver resolver = Services::resolve);

  // Calls a registered function. A string or memory block is returned as a reference of the host's own.
  template <typename Result, typename... Parameters, typename... Arguments>
  auto call(Result (*function)(Parameters...), Arguments... arguments) {
    const Scope scope(*this);
    (show_if_held(arguments), ...);
    if constexpr (std::is_same_v<Result, REALstringStruct *> ||
                  std::is_same_v<Result, REALmemoryBlockStruct *>) {
      return accept(function(arguments...));
    } else {
      return function(arguments...);
    }
  }

  // Makes this host the one that serves its thread, until it ends.
  class Scope {
   public:
    explicit Scope(Host &host) : outer_(std::exchange(current_, &host)) {}
    Scope(const Scope &) = delete;
    Scope &operator=(const Scope &) = delete;
    ~Scope() { current_ = outer_; }

   private:
    Host *outer_;
  };

  // Turns the reference that a function returned into one of the host's own.
  String accept(REALstringStruct *result);
  MemoryBlock accept(REALmemoryBlockStruct *result);

  // Older plugins read a string object directly. It shows them its text only while they hold the string, as
  // long as this host lets them hold strings at all.
  void show_if_held(REALstringStruct *s);
  template <typename Other>
  void show_if_held(const Other &) {}

  // What the plugin did.
  const std::vector<Method> &methods() const { return methods_; }
  std::optional<std::int32_t> interface_version() const { return interface_version_; }
  int times_asked_for(std::string_view service) const;
  std::vector<RaisedException> take_raised();

  Settings settings;
  Ledger ledger;

 private:
  friend struct Services;

  // The host that serves this thread.
  static Host &serving() {
    assert(current_ != nullptr);
    return *current_;
  }
  // The same, but throws if the named service is to misbehave now by throwing.
  static Host &serving(const char *service) {
    Host &host = serving();
    host.misbehaves(service);
    return host;
  }

  // How a service misbehaves in this call, of those ways that it is `able` to; throws if it is to throw.
  using Kinds = std::initializer_list<Misbehaviour::Kind>;
  std::optional<Misbehaviour::Kind> misbehaves(const char *service, Kinds able = {}) {
    return settings.misbehaviour ? misbehaves_now(service, able) : std::nullopt;
  }
  std::optional<Misbehaviour::Kind> misbehaves_now(const char *service, Kinds able);

  bool withholds(std::string_view service) const {
    return !settings.withheld.empty() && settings.withheld.contains(service);
  }
  // A host without the releasing service owns all that it hands out, until its own end.
  bool keeps_strings() const { return withholds("REALUnlockString"); }
  bool keeps_objects() const { return withholds("REALUnlockObject"); }

  static thread_local constinit Host *current_;

  std::vector<Method> methods_;
  std::optional<std::int32_t> interface_version_;
  mutable std::mutex mutex_;
  std::vector<String> kept_strings_;
  std::vector<Object> kept_objects_;
  std::map<std::string, int, std::less<>> asked_for_;
  std::vector<RaisedException> raised_;
};

}  // namespace kzv::host
