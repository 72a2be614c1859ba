// What the declaration of a registered function says about it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kzv::runner {

enum class Type { kString, kMemoryBlock, kInteger, kDouble, kBoolean };

struct Parameter {
  std::string name;
  Type type;
  std::optional<std::string> default_value;
};

struct Declaration {
  std::string text;
  std::string name;
  std::vector<Parameter> parameters;
  Type result;

  // The least number of arguments.
  std::size_t required() const;
};

// Parses "Name(a as string, b as integer = 0) as string"; throws std::runtime_error for anything else.
Declaration parse_declaration(std::string_view text);

std::string_view name_of(Type type);

}  // namespace kzv::runner
