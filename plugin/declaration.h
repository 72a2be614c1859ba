// Checks the declaration of a function, as the host reads it, against the function's C++ type at compile
// time. The address loses its type on the way to the host, so a mistake here would be a crash in the host's
// process.
#pragma once

#include <array>
#include <string_view>
#include <type_traits>

#include "abi.h"

namespace kzv {

enum class DeclaredType : std::uint8_t { kString, kMemoryBlock, kInteger, kDouble, kBoolean };

struct Signature {
  static constexpr std::size_t kMostParameters = 8;

  DeclaredType result{};
  std::size_t count = 0;
  std::array<DeclaredType, kMostParameters> parameters{};

  constexpr void add(DeclaredType parameter) { parameters[count++] = parameter; }
  bool operator==(const Signature &) const = default;
};

// Never defined: a check that calls one of them stops the build with its name.
[[noreturn]] void declaration_is_malformed();
[[noreturn]] void declaration_names_an_unknown_type();
[[noreturn]] void declaration_differs_from_its_function();

template <typename Type>
constexpr DeclaredType type_in_declaration() {
  if constexpr (std::is_same_v<Type, REALstringStruct *>) return DeclaredType::kString;
  if constexpr (std::is_same_v<Type, REALmemoryBlockStruct *>) return DeclaredType::kMemoryBlock;
  if constexpr (std::is_same_v<Type, std::int32_t>) return DeclaredType::kInteger;
  if constexpr (std::is_same_v<Type, double>) return DeclaredType::kDouble;
  if constexpr (std::is_same_v<Type, REALboolean>) return DeclaredType::kBoolean;
  declaration_names_an_unknown_type();  // the function has a type that the host language does not have
}

template <typename Result, typename... Parameters>
constexpr Signature signature_of(std::type_identity<Result(Parameters...)>) {
  Signature signature{.result = type_in_declaration<Result>()};
  (signature.add(type_in_declaration<Parameters>()), ...);
  return signature;
}

constexpr std::string_view trimmed(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

constexpr DeclaredType type_named(std::string_view name) {
  if (name == "string") return DeclaredType::kString;
  if (name == "memoryblock") return DeclaredType::kMemoryBlock;
  if (name == "integer") return DeclaredType::kInteger;
  if (name == "double") return DeclaredType::kDouble;
  if (name == "boolean") return DeclaredType::kBoolean;
  declaration_names_an_unknown_type();
}

constexpr void check_name(std::string_view name) {
  if (name.empty()) declaration_is_malformed();
  for (const char c : name) {
    const bool fits = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
    if (!fits) declaration_is_malformed();
  }
}

// Reads "name as type" or "name as type = default".
constexpr DeclaredType type_of_parameter(std::string_view text) {
  constexpr std::string_view kAs = " as ";
  const std::size_t equals = text.find('=');
  if (equals != std::string_view::npos && trimmed(text.substr(equals + 1)).empty())
    declaration_is_malformed();
  const std::string_view name_and_type = trimmed(text.substr(0, equals));
  const std::size_t as = name_and_type.find(kAs);
  if (as == std::string_view::npos) declaration_is_malformed();
  check_name(name_and_type.substr(0, as));
  return type_named(name_and_type.substr(as + kAs.size()));
}

// Reads "Name(parameter, parameter) as type".
constexpr Signature signature_in(std::string_view declaration) {
  constexpr std::string_view kBeforeResult = ") as ";
  const std::size_t open = declaration.find('(');
  const std::size_t close = declaration.rfind(kBeforeResult);
  if (open == std::string_view::npos || close == std::string_view::npos) declaration_is_malformed();
  check_name(declaration.substr(0, open));
  Signature signature{.result = type_named(declaration.substr(close + kBeforeResult.size()))};
  std::string_view parameters = declaration.substr(open + 1, close - open - 1);
  while (!parameters.empty()) {
    const std::size_t comma = parameters.find(',');
    signature.add(type_of_parameter(parameters.substr(0, comma)));
    if (comma == std::string_view::npos) break;
    parameters.remove_prefix(comma + 1);
    if (parameters.empty()) declaration_is_malformed();
  }
  return signature;
}

// `declaration`, checked to declare `Function`.
template <typename Function>
consteval const char *declares(const char *declaration) {
  if (signature_in(declaration) != signature_of(std::type_identity<Function>())) {
    declaration_differs_from_its_function();
  }
  return declaration;
}

}  // namespace kzv

// A row of a table of methods: a function and its declaration.
#define KZV_METHOD(function, declaration)                                                           \
  {                                                                                                 \
    reinterpret_cast<void *>(&(function)), nullptr, kzv::declares<decltype(function)>(declaration), \
        kMethodFlags, {}                                                                            \
  }
