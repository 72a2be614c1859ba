// Fuzzes whole calls through the in-process host. Each input is one life of the library: a host loads it and
// calls one function, while things go wrong, and then calls it again. Besides the rules of misbehaviour.h:
//
//   - No call changes its arguments.
//   - A complete host that is healthy again gets the answer that a healthy host of the newest version gets,
//     whatever its version and whatever went wrong before.
#include <bit>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>
#include <limits>

#include "call.h"
#include "encodings.h"
#include "host.h"
#include "support/kernels.h"
#include "support/loaded.h"
#include "support/misbehaviour.h"

namespace kzv::host {
namespace {

using Input = FuzzedDataProvider;
using runner::Parameter;
using runner::Type;
using runner::Value;

// Long enough for what does not fit on the stack or into a builder's first buffer.
std::string bytes_from(Input &in) {
  const std::string piece = in.ConsumeRandomLengthString(1000);
  std::string bytes = piece;
  for (int times = in.ConsumeIntegralInRange(-1000, 1000); times > 0 && bytes.size() < 1000; --times)
    bytes += piece;
  return bytes;
}

// A large length would make a call slow. The largest one ends it at once, except for random bytes.
std::int32_t integer_from(Input &in, const std::string &name) {
  if (name == "Length") return in.ConsumeIntegralInRange(-2, 2000);
  if (name != "hexlen" && name != "linelen") return in.ConsumeIntegral<std::int32_t>();
  const std::int32_t length = in.ConsumeIntegralInRange(-1, 300);
  return length == 300 ? std::numeric_limits<std::int32_t>::max() : length;
}

Value value_from(Input &in, const Parameter &parameter) {
  if (parameter.type == Type::kInteger) return integer_from(in, parameter.name);
  if (parameter.type == Type::kBoolean) return in.ConsumeBool();
  if (parameter.type == Type::kDouble) return std::bit_cast<double>(in.ConsumeIntegral<std::uint64_t>());
  const bool is_string = parameter.type == Type::kString;
  const auto choice = in.ConsumeIntegralInRange<std::size_t>(0, encodings().size() + 1);
  if (choice > encodings().size()) return is_string ? Value(String()) : Value(MemoryBlock());
  const auto encoding =
      choice < encodings().size() ? encodings()[choice].number : in.ConsumeIntegral<REALencoding>();
  const std::string bytes = bytes_from(in);
  return is_string ? Value(new_string(bytes, encoding)) : Value(new_memory_block(bytes));
}

// In bytes that differ where values of one type do.
struct Shown {
  std::string operator()(const String &s) const {
    return s ? std::to_string(s->encoding) + " " + std::string(s->bytes()) : "nil";
  }
  std::string operator()(const MemoryBlock &block) const { return block ? "block " + block->bytes : "nil"; }
  std::string operator()(auto plain) const { return {reinterpret_cast<const char *>(&plain), sizeof plain}; }
};

std::string shown(const std::vector<Value> &values) {
  std::string all;
  for (const Value &value : values) all += std::visit(Shown(), value) + "\n";
  return all;
}

std::string service_from(Input &in) {
  static const std::vector<std::string_view> names = Services::names();
  return std::string(names[in.ConsumeIntegralInRange<std::size_t>(0, names.size() - 1)]);
}

// A host of any version, which it may not report, and which may lack some services.
Settings settings_from(Input &in) {
  Settings settings;
  settings.version = in.PickValueInArray<std::optional<double>>(
      {2013.03, 2013.01, 2013.0, 2012.5, 2012.0, 2011.5, std::nullopt});
  settings.in_runtime = in.ConsumeBool();
  for (int count = in.ConsumeIntegralInRange(-8, 3); count > 0; --count)
    settings.withheld.insert(service_from(in));
  for (const char *const exception : {"OutOfMemoryException", "RuntimeException"}) {
    if (in.ConsumeIntegralInRange(0, 15) == 15) settings.withheld.insert(exception);
  }
  return settings;
}

// Services that fail, or that are not found at first. Not both: what is taken by a service that is found in
// the middle of a call cannot be released when the look-up of the releasing service then throws.
void let_down(Input &in, Settings &settings) {
  const int choice = in.ConsumeIntegralInRange(0, 7);
  if (choice == 1) settings.silent_look_ups = in.ConsumeIntegralInRange(1, 20);
  if (choice < 2) return;
  const std::string service = choice == 2 ? "resolver" : choice < 5 ? "" : service_from(in);
  const auto kind = static_cast<Kind>(in.ConsumeIntegralInRange(0, static_cast<int>(Kind::kNoBytes)));
  settings.misbehaviour = {service, kind, in.ConsumeIntegralInRange(1, 24), in.ConsumeBool()};
}

// What happens on a host that does not have everything is not known beforehand.
template <typename Action>
void endured(Host &host, Action action) {
  const bool complete = host.settings.withheld.empty() && host.settings.silent_look_ups == 0;
  const Endured after = endure(host, action, [&] { return !complete; });
  host.settings.silent_look_ups = 0;
  expect(after.broken.empty(), after.broken.c_str());
}

void live(Input &in) {
  // Loaded once: a file loaded anew for each life would count its coverage anew.
  static Loaded library(KZV_PLUGIN, PluginFile::Instance::kShared);
  Host newest;
  newest.start(library.as_new());
  const Method method =
      newest.methods()[in.ConsumeIntegralInRange<std::size_t>(0, newest.methods().size() - 1)];
  const runner::Declaration declaration = runner::parse_declaration(method.declaration);
  std::vector<Value> arguments;
  for (const Parameter &parameter : declaration.parameters) arguments.push_back(value_from(in, parameter));
  const std::string given = shown(arguments);
  std::string answer;
  const auto call = [&](Host &host) {
    std::srand(1);  // for random bytes
    answer = std::visit(Shown(), runner::call(host, method.function, declaration, arguments));
  };
  endured(newest, [&] { call(newest); });
  const std::string expected = answer;

  Host host(settings_from(in));
  let_down(in, host.settings);
  endured(host, [&] { host.start(library.as_new()); });
  let_down(in, host.settings);
  endured(host, [&] { call(host); });
  endured(host, [&] { call(host); });
  expect(answer == expected || !host.settings.withheld.empty(), "healthy hosts get the same answer");
  expect(shown(arguments) == given, "a call leaves its arguments as they were");
}

}  // namespace
}  // namespace kzv::host

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  kzv::host::live(in);
  return 0;
}
