// The table of the functions that the library registers. The declaration of each, as the host reads it, is
// checked against the function's C++ type at compile time. The address loses its type on the way to the host,
// so a mistake here would be a crash in the host's process.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>
#include <type_traits>

#include "abi.h"

namespace kzv {

// Never defined: a check that calls it stops the build with its name.
[[noreturn]] void declaration_differs_from_its_function();

template <typename Type>
constexpr std::string_view type_in_declaration() {
  if constexpr (std::is_same_v<Type, REALstringStruct *>) return "string";
  if constexpr (std::is_same_v<Type, REALmemoryBlockStruct *>) return "memoryblock";
  if constexpr (std::is_same_v<Type, std::int32_t>) return "integer";
  if constexpr (std::is_same_v<Type, double>) return "double";
  if constexpr (std::is_same_v<Type, REALboolean>) return "boolean";
  declaration_differs_from_its_function();  // the host language does not have the type
}

// The following take what they expect from the front of a declaration.
constexpr void expect(std::string_view &rest, std::string_view text) {
  if (!rest.starts_with(text)) declaration_differs_from_its_function();
  rest.remove_prefix(text.size());
}

// A name, or a default value: a number or a name.
constexpr void expect_word(std::string_view &rest) {
  const std::size_t size =
      rest.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_");
  if (size == 0 || rest.empty()) declaration_differs_from_its_function();
  rest.remove_prefix(std::min(size, rest.size()));
}

constexpr void skip_blanks(std::string_view &rest) {
  while (rest.starts_with(' ')) rest.remove_prefix(1);
}

// "name as type" or "name as type = default".
constexpr void expect_parameter(std::string_view &rest, std::string_view type) {
  skip_blanks(rest);
  expect_word(rest);
  expect(rest, " as ");
  expect(rest, type);
  skip_blanks(rest);
  if (!rest.starts_with('=')) return;
  rest.remove_prefix(1);
  skip_blanks(rest);
  expect_word(rest);
}

// "Name(parameter, parameter) as type".
template <typename Result, typename... Parameters>
constexpr void expect_declaration(std::string_view rest, std::type_identity<Result(Parameters...)>) {
  expect_word(rest);
  expect(rest, "(");
  std::size_t left = sizeof...(Parameters);
  ((expect_parameter(rest, type_in_declaration<Parameters>()), expect(rest, --left > 0 ? "," : "")), ...);
  expect(rest, ") as ");
  expect(rest, type_in_declaration<Result>());
  if (!rest.empty()) declaration_differs_from_its_function();
}

// `declaration`, checked to declare `Function`.
template <typename Function>
consteval const char *declares(const char *declaration) {
  expect_declaration(declaration, std::type_identity<Function>());
  return declaration;
}

// In the order of registration.
extern const std::span<const REALmethodDefinition> globalMethods;

}  // namespace kzv

// A row of the table: a function and its declaration.
#define KZV_METHOD(function, declaration)                                                           \
  {                                                                                                 \
    reinterpret_cast<void *>(&(function)), nullptr, kzv::declares<decltype(function)>(declaration), \
        kMethodFlags, {}                                                                            \
  }
