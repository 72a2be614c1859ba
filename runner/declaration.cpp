#include "declaration.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace kzv::runner {
namespace {

constexpr std::array<std::pair<std::string_view, Type>, 5> kTypes = {{
    {"string", Type::kString},
    {"memoryblock", Type::kMemoryBlock},
    {"integer", Type::kInteger},
    {"double", Type::kDouble},
    {"boolean", Type::kBoolean},
}};

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Splits at the first `separator`; without one, the second half is empty.
std::pair<std::string_view, std::string_view> split(std::string_view text, std::string_view separator) {
  const std::size_t at = text.find(separator);
  if (at == std::string_view::npos) return {trimmed(text), {}};
  return {trimmed(text.substr(0, at)), trimmed(text.substr(at + separator.size()))};
}

Type parse_type(std::string_view name, std::string_view declaration) {
  const auto *const found = std::ranges::find(kTypes, name, &std::pair<std::string_view, Type>::first);
  if (found == kTypes.end()) {
    throw std::runtime_error("cannot read the type \"" + std::string(name) +
                             "\" in: " + std::string(declaration));
  }
  return found->second;
}

Parameter parse_parameter(std::string_view text, std::string_view declaration) {
  const auto [name_and_type, default_value] = split(text, "=");
  const auto [name, type] = split(name_and_type, " as ");
  Parameter parameter{std::string(name), parse_type(type, declaration), std::nullopt};
  if (!default_value.empty()) parameter.default_value = default_value;
  return parameter;
}

}  // namespace

std::size_t Declaration::required() const {
  return static_cast<std::size_t>(std::ranges::count_if(
      parameters, [](const Parameter &parameter) { return !parameter.default_value.has_value(); }));
}

Declaration parse_declaration(std::string_view text) {
  const std::size_t open = text.find('(');
  const std::size_t close = text.rfind(')');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
    throw std::runtime_error("cannot read the declaration: " + std::string(text));
  }
  Declaration declaration{std::string(text), std::string(trimmed(text.substr(0, open))), {}, Type::kString};
  declaration.result = parse_type(split(text.substr(close + 1), "as ").second, text);
  std::string_view parameters = text.substr(open + 1, close - open - 1);
  while (!parameters.empty()) {
    const auto [parameter, rest] = split(parameters, ",");
    declaration.parameters.push_back(parse_parameter(parameter, text));
    parameters = rest;
  }
  return declaration;
}

std::string_view name_of(Type type) { return kTypes.at(static_cast<std::size_t>(type)).first; }

}  // namespace kzv::runner
