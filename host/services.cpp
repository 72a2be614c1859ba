#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "encodings.h"
#include "host.h"

namespace kzv::host {

// One function for each service. They are members so that they can access the host that they serve.
struct Services::Functions {
  static void RegisterPluginVersion(std::int32_t version) {
    Host::serving("RegisterPluginVersion").interface_version_ = version;
  }

  static double REALGetRBVersion() { return *Host::serving("REALGetRBVersion").settings.version; }

  static void PluginRegisterMethod(const REALmethodDefinition *method) {
    Host::serving("PluginRegisterMethod")
        .methods_.push_back({method->declaration, method->function, method->flags});
  }

  static REALboolean REALinRuntime() { return boolean(Host::serving("REALinRuntime").settings.in_runtime); }

  static REALboolean PluginGetStringData(REALstringStruct *s, REALencoding encoding, REALstringData *record) {
    Host &host = Host::serving();
    const auto wrong =
        host.misbehaves("PluginGetStringData", {kRefuse, kNegativeLength, kHugeLength, kNoBytes});
    String text = s == nullptr ? new_string({}, encoding) : in_encoding(s, encoding);
    if (text == nullptr || wrong == kRefuse) return boolean(false);
    record->length = reported_length(text->content.length, wrong);
    record->encoding = encoding;
    record->data = wrong == kNoBytes ? nullptr : text->text();
    if (host.withholds("PluginDisposeStringData")) {
      // This host never learns when the bytes are no longer needed: the plugin gets a copy that nobody frees.
      if (record->data != nullptr) record->data = unowned_copy(text->bytes());
      return boolean(true);
    }
    record->reserved[0] = text.release();
    record->reserved[1] = const_cast<std::uint8_t *>(record->data);
    host.ledger.records.taken.add(1);
    return boolean(true);
  }

  static void PluginDisposeStringData(REALstringData *record) {
    Host &host = Host::serving();
    const String text(static_cast<REALstringStruct *>(std::exchange(record->reserved[0], nullptr)));
    if (text != nullptr && record->data == record->reserved[1]) {
      host.ledger.records.released.add(1);
    } else {
      host.ledger.add_fault("the plugin disposed a string-data record that the host had not filled");
    }
    host.misbehaves("PluginDisposeStringData");
  }

  static const void *StringGetCString(REALstringStruct *s) {
    return Host::serving().misbehaves("StringGetCString", {kRefuse, kNoBytes}) ? nullptr : s->text();
  }

  static std::int32_t LenB(REALstringStruct *s) {
    const auto wrong = Host::serving().misbehaves("LenB", {kNegativeLength, kHugeLength});
    return reported_length(s == nullptr ? 0 : s->content.length, wrong);
  }

  static void *REALLoadGlobalMethod(void *, const char *declaration) {
    if (Host::serving().misbehaves("REALLoadGlobalMethod", {kRefuse})) return nullptr;
    const bool known = std::strcmp(declaration, "LenB( s as string ) as integer") == 0;
    return known ? reinterpret_cast<void *>(&LenB) : nullptr;
  }

  static REALencoding REALGetStringEncoding(REALstringStruct *s) {
    const auto wrong = Host::serving().misbehaves("REALGetStringEncoding", {kRefuse});
    return s == nullptr || wrong ? 0 : s->encoding;
  }

  static REALstringStruct *REALConvertString(REALstringStruct *s, REALencoding encoding) {
    Host &host = Host::serving();
    const auto wrong =
        host.misbehaves("REALConvertString", {kRefuse, kNegativeLength, kHugeLength, kNoBytes});
    if (s == nullptr || wrong == kRefuse) return nullptr;
    const std::optional<std::string> text = convert(s->bytes(), s->encoding, encoding);
    if (!text) return nullptr;
    String converted = new_string(*text, encoding);
    converted->content.length = reported_length(converted->content.length, wrong);
    if (wrong == kNoBytes) converted->content.buffer = nullptr;
    converted->show();
    return handed_out(host, std::move(converted));
  }

  static void REALSetStringEncoding(REALstringStruct *s, REALencoding encoding) {
    Host::serving("REALSetStringEncoding");
    s->encoding = encoding;
  }

  static REALstringStruct *REALBuildString(const void *bytes, std::int32_t length) {
    Host &host = Host::serving();
    if (host.misbehaves("REALBuildString", {kRefuse}) || length < 0) return nullptr;
    return handed_out(host, new_string({static_cast<const char *>(bytes), static_cast<std::size_t>(length)},
                                       kEncodingBytes));
  }

  static void REALLockString(REALstringStruct *s) {
    Host &host = Host::serving("REALLockString");
    if (!host.keeps_strings()) s->references.take_for_plugin(host.ledger.strings);
    host.show_if_held(s);
  }

  static void REALUnlockString(REALstringStruct *s) {
    Host &host = Host::serving();
    if (s->references.drop_for_plugin(host.ledger, host.ledger.strings)) {
      destroy(s);
    } else {
      host.show_if_held(s);
    }
    host.misbehaves("REALUnlockString");
  }

  static void REALLockObject(REALobjectStruct *object) {
    Host &host = Host::serving("REALLockObject");
    if (!host.keeps_objects()) object->references.take_for_plugin(host.ledger.objects);
  }

  static void REALUnlockObject(REALobjectStruct *object) {
    Host &host = Host::serving();
    if (object->references.drop_for_plugin(host.ledger, host.ledger.objects)) delete object;
    host.misbehaves("REALUnlockObject");
  }

  static REALobjectStruct *PluginNewInstance(const char *class_name) {
    Host &host = Host::serving();
    if (host.misbehaves("PluginNewInstance", {kRefuse})) return nullptr;
    const std::string_view name = class_name;
    if (name != "OutOfMemoryException" && name != "RuntimeException") return nullptr;
    if (host.withholds(name)) return nullptr;
    return handed_out(host, new REALobjectStruct(name));
  }

  static void REALSetPropValueString(REALobjectStruct *object, const char *property,
                                     REALstringStruct *value) {
    Host::serving("REALSetPropValueString");
    if (std::strcmp(property, "Message") != 0) return;
    object->message = value == nullptr ? "" : value->bytes();
    object->message_encoding = value == nullptr ? 0 : value->encoding;
  }

  static void REALSetPropValueInt(REALobjectStruct *object, const char *property, std::int32_t value) {
    Host::serving("REALSetPropValueInt");
    if (std::strcmp(property, "ErrorNumber") == 0) object->error_number = value;
  }

  static void RuntimeRaiseException(REALobjectStruct *object) {
    Host &host = Host::serving("RuntimeRaiseException");
    const std::lock_guard lock(host.mutex_);
    host.raised_.push_back(
        {object->class_name, object->message, object->message_encoding, object->error_number});
  }

  static REALmemoryBlockStruct *newMemoryBlock(std::int32_t size) {
    Host &host = Host::serving();
    if (host.misbehaves("newMemoryBlock", {kRefuse}) || size < 0) return nullptr;
    return handed_out(host, new REALmemoryBlockStruct(std::string(static_cast<std::size_t>(size), '\0')));
  }

  static void *memoryBlockGetPtr(REALmemoryBlockStruct *block) {
    const auto wrong = Host::serving().misbehaves("memoryBlockGetPtr", {kRefuse, kNoBytes});
    return wrong ? nullptr : block->bytes.data();
  }

  static std::int32_t memoryBlockGetSize(REALmemoryBlockStruct *block) {
    const auto wrong =
        Host::serving().misbehaves("memoryBlockGetSize", {kRefuse, kNegativeLength, kHugeLength});
    return wrong == kRefuse ? 0 : reported_length(static_cast<std::int32_t>(block->bytes.size()), wrong);
  }

 private:
  using Kind = Misbehaviour::Kind;
  static constexpr Kind kRefuse = Kind::kRefuse;
  static constexpr Kind kNegativeLength = Kind::kNegativeLength;
  static constexpr Kind kHugeLength = Kind::kHugeLength;
  static constexpr Kind kNoBytes = Kind::kNoBytes;

  static std::int32_t reported_length(std::int32_t length, std::optional<Kind> wrong) {
    if (wrong == kNegativeLength) return -1;
    return wrong == kHugeLength ? std::numeric_limits<std::int32_t>::min() : length;
  }

  // Only the low byte counts; the bits above it are arbitrary, so that a plugin which reads them is found
  // out.
  static REALboolean boolean(bool value) { return static_cast<REALboolean>(0x5A5A5A00U | (value ? 1U : 0U)); }

  static REALstringStruct *handed_out(Host &host, String s) {
    REALstringStruct *const handed = s.get();
    if (host.keeps_strings()) {
      const std::lock_guard lock(host.mutex_);
      host.kept_strings_.push_back(std::move(s));
    } else {
      handed->references.take_for_plugin(host.ledger.strings);
    }
    return handed;
  }

  template <typename NewObject>
  static NewObject *handed_out(Host &host, NewObject *object) {
    if (host.keeps_objects()) {
      object->references.take_for_host();
      const std::lock_guard lock(host.mutex_);
      host.kept_objects_.emplace_back(object);
    } else {
      object->references.take_for_plugin(host.ledger.objects);
    }
    return object;
  }

  // A reference to `s` itself where its bytes need no conversion, else to a converted string.
  static String in_encoding(REALstringStruct *s, REALencoding encoding) {
    if (encoding == kEncodingBytes || encoding == s->encoding) {
      s->references.take_for_host();
      return String(s);
    }
    const std::optional<std::string> text = convert(s->bytes(), s->encoding, encoding);
    return text ? new_string(*text, encoding) : nullptr;
  }

  static const std::uint8_t *unowned_copy(std::string_view bytes) {
    constexpr std::size_t kTerminator = 4;
    auto *const copy = static_cast<std::uint8_t *>(std::calloc(1, bytes.size() + kTerminator));
    if (copy == nullptr) throw std::bad_alloc();
    if (!bytes.empty()) std::memcpy(copy, bytes.data(), bytes.size());
    return copy;
  }
};

struct Services::Entry {
  std::string_view name;
  void *function;
};

#define SERVICE(name) \
  { #name, reinterpret_cast < void *>(&Functions::name) }
const Services::Entry Services::kTable[] = {
    SERVICE(RegisterPluginVersion), SERVICE(REALGetRBVersion),      SERVICE(PluginRegisterMethod),
    SERVICE(REALinRuntime),         SERVICE(PluginGetStringData),   SERVICE(PluginDisposeStringData),
    SERVICE(StringGetCString),      SERVICE(REALLoadGlobalMethod),  SERVICE(REALGetStringEncoding),
    SERVICE(REALConvertString),     SERVICE(REALSetStringEncoding), SERVICE(REALBuildString),
    SERVICE(REALLockString),        SERVICE(REALUnlockString),      SERVICE(REALLockObject),
    SERVICE(REALUnlockObject),      SERVICE(PluginNewInstance),     SERVICE(REALSetPropValueString),
    SERVICE(REALSetPropValueInt),   SERVICE(RuntimeRaiseException), SERVICE(newMemoryBlock),
    SERVICE(memoryBlockGetPtr),     SERVICE(memoryBlockGetSize),
};
#undef SERVICE

void *Services::resolve(const char *name) {
  Host &host = Host::serving("resolver");
  {
    const std::lock_guard lock(host.mutex_);
    ++host.asked_for_[name];
  }
  if (host.settings.silent_look_ups > 0) {
    --host.settings.silent_look_ups;
    return nullptr;
  }
  if (host.withholds(name)) return nullptr;
  // A host that does not report its version does not have the service for it.
  if (!host.settings.version && std::strcmp(name, "REALGetRBVersion") == 0) return nullptr;
  for (const Entry &entry : kTable) {
    if (entry.name == name) return entry.function;
  }
  return nullptr;
}

std::vector<std::string_view> Services::names() {
  std::vector<std::string_view> names;
  for (const Entry &entry : kTable) names.push_back(entry.name);
  return names;
}

}  // namespace kzv::host
