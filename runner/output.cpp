#include "output.h"

#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "encodings.h"

namespace kzv::runner {
namespace {

using Json = nlohmann::ordered_json;

// The shortest text that reads back as the same number.
std::string number_text(double number) {
  std::array<char, 64> text{};
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number);
  return {text.data(), end};
}

// The bytes for standard output.
struct BytesOf {
  std::string operator()(const host::String &s) const { return s ? std::string(s->bytes()) : ""; }
  std::string operator()(const host::MemoryBlock &block) const { return block ? block->bytes : ""; }
  std::string operator()(std::int32_t integer) const { return std::to_string(integer); }
  std::string operator()(double number) const { return number_text(number); }
  std::string operator()(bool boolean) const { return boolean ? "true" : "false"; }
};

void describe_string(const host::String &s, Json &json) {
  json["nil"] = s == nullptr;
  json["length"] = s ? s->content.length : 0;
  if (s == nullptr) return;
  const host::Encoding *const encoding = host::find_encoding(s->encoding);
  json["encoding"] = encoding != nullptr ? encoding->name : "unknown";
  json["encoding_number"] = s->encoding;
  if (encoding != nullptr && s->encoding != kEncodingBytes) {
    json["text"] = host::convert(s->bytes(), s->encoding, kEncodingUTF8).value();
  }
  json["hex"] = to_hex(s->bytes());
}

struct Describe {
  Json &json;

  void operator()(const host::String &s) const { describe_string(s, json); }
  void operator()(const host::MemoryBlock &block) const {
    json["nil"] = block == nullptr;
    json["length"] = block ? block->bytes.size() : 0;
    if (block) json["hex"] = to_hex(block->bytes);
  }
  void operator()(std::int32_t integer) const { json["value"] = integer; }
  void operator()(double number) const {
    // JSON has no infinities and no NaN.
    if (std::isfinite(number)) {
      json["value"] = number;
    } else {
      json["value"] = number_text(number);
    }
  }
  void operator()(bool boolean) const { json["value"] = boolean; }
};

Json describe(Type type, const Value &result, const std::vector<host::RaisedException> &raised) {
  Json json;
  json["type"] = name_of(type);
  std::visit(Describe{json}, result);
  for (const host::RaisedException &exception : raised) {
    json["exception"] = {{"class", exception.class_name},
                         {"message", exception.message},
                         {"error_number", exception.error_number}};
  }
  return json;
}

}  // namespace

void write_result(const Options &options, Type type, const Value &result,
                  const std::vector<host::RaisedException> &raised, std::ostream &out) {
  if (options.format == Format::kJson) {
    // A string labelled UTF-8 may be malformed: then "text" has U+FFFD, and "hex" has the bytes.
    out << describe(type, result, raised).dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    return;
  }
  const std::string bytes = std::visit(BytesOf{}, result);
  out << (options.format == Format::kHex ? to_hex(bytes) : bytes);
  if (options.newline_at_end) out << '\n';
}

void write_list(const Options &options, const std::vector<Entry> &entries, std::ostream &out) {
  if (options.format == Format::kJson) {
    Json list = Json::array();
    for (const Entry &each : entries) {
      list.push_back({{"group", each.group},
                      {"name", each.name},
                      {"declarations", each.declarations},
                      {"sentence", each.sentence}});
    }
    out << list.dump(2) << '\n';
    return;
  }
  std::string_view group;
  for (const Entry &each : entries) {
    if (each.group != group) {
      out << (group.empty() ? "" : "\n") << each.group << '\n';
      group = each.group;
    }
    for (const std::string &declaration : each.declarations) out << "  " << declaration << '\n';
    out << "      " << each.sentence << '\n';
  }
}

}  // namespace kzv::runner
