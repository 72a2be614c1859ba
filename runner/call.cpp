#include "call.h"

#include <ffi.h>
#include <stdexcept>

namespace kzv::runner {
namespace {

ffi_type *ffi_type_of(Type type) {
  switch (type) {
    case Type::kInteger:
      return &ffi_type_sint32;
    case Type::kDouble:
      return &ffi_type_double;
    case Type::kBoolean:
      return &ffi_type_uint32;
    case Type::kString:
    case Type::kMemoryBlock:
      break;
  }
  return &ffi_type_pointer;
}

// An argument or result in the form that libffi passes; it widens integer results to ffi_arg.
union Slot {
  void *pointer;
  std::int32_t integer;
  double number;
  REALboolean boolean;
  ffi_arg widened;
};

Slot to_slot(const Value &value) {
  struct Visitor {
    Slot operator()(const host::String &s) const { return {.pointer = s.get()}; }
    Slot operator()(const host::MemoryBlock &block) const { return {.pointer = block.get()}; }
    Slot operator()(std::int32_t integer) const { return {.integer = integer}; }
    Slot operator()(double number) const { return {.number = number}; }
    Slot operator()(bool boolean) const { return {.boolean = ToREALboolean(boolean)}; }
  };
  return std::visit(Visitor{}, value);
}

Value to_value(host::Host &host, Type type, const Slot &slot) {
  switch (type) {
    case Type::kString:
      return host.accept(static_cast<REALstringStruct *>(slot.pointer));
    case Type::kMemoryBlock:
      return host.accept(static_cast<REALmemoryBlockStruct *>(slot.pointer));
    case Type::kInteger:
      return static_cast<std::int32_t>(slot.widened);
    case Type::kDouble:
      return slot.number;
    case Type::kBoolean:
      break;
  }
  return IsTrue(static_cast<REALboolean>(slot.widened));
}

}  // namespace

Value call(host::Host &host, void *function, const Declaration &declaration,
           const std::vector<Value> &arguments) {
  std::vector<ffi_type *> types;
  types.reserve(arguments.size());
  for (const Parameter &parameter : declaration.parameters) types.push_back(ffi_type_of(parameter.type));
  std::vector<Slot> slots;
  slots.reserve(arguments.size());
  for (const Value &argument : arguments) {
    if (const auto *const s = std::get_if<host::String>(&argument)) host.show_if_held(s->get());
    slots.push_back(to_slot(argument));
  }
  std::vector<void *> addresses;
  addresses.reserve(arguments.size());
  for (Slot &slot : slots) addresses.push_back(&slot);

  ffi_cif interface;
  const auto count = static_cast<unsigned>(types.size());
  if (ffi_prep_cif(&interface, FFI_DEFAULT_ABI, count, ffi_type_of(declaration.result), types.data()) !=
      FFI_OK) {
    throw std::runtime_error("cannot prepare a call of: " + declaration.text);
  }
  Slot result{};
  {
    const host::Host::Scope scope(host);
    ffi_call(&interface, reinterpret_cast<void (*)()>(function), &result, addresses.data());
  }
  return to_value(host, declaration.result, result);
}

}  // namespace kzv::runner
