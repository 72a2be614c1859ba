// Fuzzes whole calls through the in-process host. Each input is one life of the library: a host loads it and
// calls one function, while things go wrong, and then calls it again. What must hold:
//
//   - After the start and after each call, everything that was taken has been given back.
//   - At most one exception is raised, of a class that programs expect; on a healthy host none.
//   - An exception that passes is one that the host threw. What the host threw passes; if it was
//     std::bad_alloc, it may be raised instead.
//   - No call changes its arguments.
//   - A complete host that is healthy again gets the answer that a healthy host of the newest version gets,
//     whatever its version and whatever went wrong before.
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>
#include <limits>
#include <link.h>
#include <new>

#include "call.h"
#include "encodings.h"
#include "host.h"
#include "plugin_file.h"

namespace kzv::host {
namespace {

using Input = FuzzedDataProvider;
using Kind = Misbehaviour::Kind;
using runner::Parameter;
using runner::Type;
using runner::Value;

void expect(bool holds, const std::string &what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what.c_str());
  std::abort();
}

// The plugin, loaded once: a file loaded anew for each life would count its coverage anew. Instead, what the
// library knows is taken from it: all of its writable memory becomes what it was when it was loaded. Its
// coverage counters are part of that.
class Library {
 public:
  Library() {
    dl_iterate_phdr(find_memory, &memory_);
    when_loaded_.resize(memory_.size());
    copy(memory_, when_loaded_);
  }
  void forget() { copy(when_loaded_, memory_); }
  PluginFile::Main main() const { return file_.main(); }

 private:
  using Memory = std::span<std::uint64_t>;

  // The writable segment, without what the dynamic linker has made read-only.
  static int find_memory(dl_phdr_info *info, std::size_t, void *memory) {
    if (std::string_view(info->dlpi_name) != KZV_PLUGIN) return 0;
    std::uintptr_t start = 0;
    std::uintptr_t end = 0;
    for (const ElfW(Phdr) & segment : std::span(info->dlpi_phdr, info->dlpi_phnum)) {
      const std::uintptr_t segment_end = info->dlpi_addr + segment.p_vaddr + segment.p_memsz;
      if (segment.p_type == PT_GNU_RELRO) start = segment_end;
      if (segment.p_type == PT_LOAD && (segment.p_flags & PF_W) != 0) end = segment_end;
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the dynamic linker tells addresses as numbers
    *static_cast<Memory *>(memory) = {reinterpret_cast<std::uint64_t *>(start), (end - start) / 8};
    return 1;
  }

  // Between the variables lies memory that the sanitizer lets nobody touch.
  [[clang::no_sanitize("address")]] static void copy(Memory from, Memory to) {
    volatile std::uint64_t *next = to.data();
    for (const std::uint64_t word : from) *next++ = word;
  }

  PluginFile file_{KZV_PLUGIN};
  Memory memory_;
  std::vector<std::uint64_t> when_loaded_;
};

// Long enough for what does not fit on the stack or into a builder's first block.
std::string bytes_from(Input &in) {
  constexpr std::size_t kLongest = 1000;
  const std::string piece = in.ConsumeRandomLengthString(kLongest);
  std::string bytes = piece;
  for (int times = in.ConsumeIntegralInRange(-1000, 1000); times > 0 && bytes.size() < kLongest; --times) {
    bytes += piece;
  }
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

// In words that differ where values do.
struct Shown {
  std::string operator()(const String &s) const {
    return s ? std::to_string(s->encoding) + " " + std::string(s->bytes()) : "nil";
  }
  std::string operator()(const MemoryBlock &block) const { return block ? "block " + block->bytes : "nil"; }
  std::string operator()(std::int32_t integer) const { return std::to_string(integer); }
  std::string operator()(double number) const { return std::to_string(std::bit_cast<std::uint64_t>(number)); }
  std::string operator()(bool boolean) const { return boolean ? "true" : "false"; }
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

// A host that may be old, unwilling to tell its version, or without some of its services.
Settings settings_from(Input &in) {
  Settings settings;
  for (const double until : {2011.5, 2012.0, 2012.5, 2013.0, 2013.01}) {
    if (in.ConsumeBool()) settings.version = until;
  }
  if (in.ConsumeIntegralInRange(0, 15) == 15) settings.version.reset();
  settings.in_runtime = in.ConsumeBool();
  for (int count = in.ConsumeIntegralInRange(-8, 3); count > 0; --count)
    settings.withheld.insert(service_from(in));
  for (const char *const exception : {"OutOfMemoryException", "RuntimeException"}) {
    if (in.ConsumeIntegralInRange(0, 15) == 15) settings.withheld.insert(exception);
  }
  return settings;
}

// Services that fail, or that are not found at first. Not both: what a host begins to take only in the middle
// of a call, and then throws when asked for, nobody can give back to it.
void let_down(Input &in, Settings &settings) {
  const int choice = in.ConsumeIntegralInRange(0, 7);
  if (choice == 0) return;
  if (choice == 1) {
    settings.silent_look_ups = in.ConsumeIntegralInRange(1, 20);
    return;
  }
  const std::string service = choice == 2 ? "resolver" : choice < 5 ? "" : service_from(in);
  const auto kind = static_cast<Kind>(in.ConsumeIntegralInRange(0, static_cast<int>(Kind::kNoBytes)));
  settings.misbehaviour = {service, kind, in.ConsumeIntegralInRange(1, 24), in.ConsumeBool()};
}

// Has the library do something on a host as it is, after which the host is healthy.
template <typename Action>
void endure(Host &host, Action action) {
  const bool complete = host.settings.withheld.empty() && host.settings.silent_look_ups == 0;
  std::optional<Kind> passed;
  try {
    action();
  } catch (const std::bad_alloc &) {
    passed = Kind::kThrowBadAlloc;
  } catch (const HostFailure &) {
    passed = Kind::kThrowOther;
  }
  const auto wrong = std::exchange(host.settings.misbehaviour, std::nullopt);
  host.settings.silent_look_ups = 0;
  const bool happened = wrong && wrong->calls_left <= 0;
  const auto raised = host.take_raised();

  expect(host.ledger.balanced(), host.ledger.report());
  expect(raised.size() <= (happened || !complete ? 1 : 0),
         "at most one exception is raised, and for a reason");
  for (const RaisedException &exception : raised) {
    expect(exception.class_name == "OutOfMemoryException" || exception.class_name == "RuntimeException",
           "programs expect the exception");
  }
  expect(!passed || (happened && wrong->kind == *passed), "what passes is what the host threw");
  const bool thrown = complete && happened && !passed;
  expect(!thrown || wrong->kind != Kind::kThrowOther, "what the host threw passes");
  expect(!thrown || wrong->kind != Kind::kThrowBadAlloc || !raised.empty(), "missing memory is told");
}

void live(Input &in) {
  static Library library;
  library.forget();
  Host newest;
  newest.start(library.main());
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
  endure(newest, [&] { call(newest); });
  const std::string expected = answer;

  library.forget();
  Host host(settings_from(in));
  let_down(in, host.settings);
  endure(host, [&] { host.start(library.main()); });
  let_down(in, host.settings);
  endure(host, [&] { call(host); });
  endure(host, [&] { call(host); });
  expect(answer == expected || !host.settings.withheld.empty(), "every healthy host gets the same answer");
  expect(shown(arguments) == given, "a call does not change its arguments");
}

}  // namespace
}  // namespace kzv::host

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  kzv::host::live(in);
  return 0;
}
