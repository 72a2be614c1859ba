#include "measure.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <numeric>
#include <stdexcept>

#include "cpu/level.h"

namespace kzv::bench {
namespace {

// Gathers the least time of each benchmark's repetitions: what else the machine does only ever adds to it.
class LeastTimes : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context &) override { return true; }
  void ReportRuns(const std::vector<Run> &runs) override {
    for (const Run &run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      const double time = run.GetAdjustedRealTime();
      const auto [known, is_new] = times.emplace(run.run_name.function_name, time);
      if (!is_new) known->second = std::min(known->second, time);
    }
  }

  std::map<std::string, double> times;  // nanoseconds
};

using Repeat = std::function<void(std::size_t times)>;

struct Timed {
  std::string name;
  Repeat repeat;
};

// A call by way of std::function costs a nanosecond or two, which counts where calls are that short.
std::map<std::string, double> least_times(const std::vector<Timed> &all, std::size_t size) {
  const std::size_t batch = size <= 24 ? 64 : 1;
  for (const Timed &timed : all) {
    benchmark::RegisterBenchmark(timed.name.c_str(), [&timed, batch](benchmark::State &state) {
      while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch))) timed.repeat(batch);
    });
  }
  LeastTimes reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::ClearRegisteredBenchmarks();
  return reporter.times;
}

// "GLib" of "GLib_EncodingToHTML(s as string, ...) as string"; empty when it does another job.
std::string library_for(const std::string &job, const std::string &declaration) {
  const std::string name = declaration.substr(0, declaration.find('('));
  const std::size_t underscore = name.find('_');
  return name.substr(underscore + 1) == job ? name.substr(0, underscore) : "";
}

// Loops are written for the encoding that our function reads.
bool is_loop(const std::string &library) { return library == "loop" || library == "table"; }

void compare(const Outcome &ours, const Outcome &theirs, Comparable comparable, const std::string &where) {
  const auto compared = [&](const std::string &text) {
    return comparable != nullptr ? comparable(text) : text;
  };
  const std::string expected = compared(ours.text);
  const std::string got = compared(theirs.text);
  if (expected == got && ours.encoding == theirs.encoding) return;
  const auto at = static_cast<std::size_t>(std::ranges::mismatch(expected, got).in1 - expected.begin());
  const auto excerpt = [at](const std::string &text) { return text.substr(at > 20 ? at - 20 : 0, 60); };
  throw std::runtime_error(where + ": the results differ at byte " + std::to_string(at) + "\n  ours   " +
                           excerpt(expected) + "\n  theirs " + excerpt(got));
}

std::string kernel_at(const cpu::Level &level) { return std::string("kernel ") + level.name; }

// The kernel alone, at each vector level that this processor has.
std::vector<Timed> kernels(const Function &function, const KernelInput &input, ByteBuffer output) {
  std::vector<Timed> all;
  for (const cpu::Level *const level : cpu::levels()) {
    all.push_back({kernel_at(*level), [&function, &input, output, level](std::size_t times) {
                     cpu::choose(*level);
                     for (std::size_t i = 0; i < times; ++i) {
                       benchmark::DoNotOptimize(function.kernel(input, output));
                       benchmark::ClobberMemory();
                     }
                   }});
  }
  return all;
}

Repeat copying(ByteBuffer from, ByteBuffer to) {
  return [=](std::size_t times) {
    for (std::size_t i = 0; i < times; ++i) {
      std::memcpy(to.data(), from.data(), from.size());
      benchmark::ClobberMemory();
    }
  };
}

void *find(const Plugin &plugin, const std::string &declaration) {
  const auto found = std::ranges::find(plugin.host.methods(), declaration, &host::Method::declaration);
  return found != plugin.host.methods().end() ? found->function : nullptr;
}

constexpr char kSetResult[] = "SetResult(size as integer, encoding as integer) as integer";

// "string,integer,string," of "Name(s as string, options as integer) as string".
std::string types_in(const std::string &declaration) {
  constexpr std::string_view kBefore = " as ";
  std::string types;
  for (std::size_t at = declaration.find(kBefore); at != std::string::npos;) {
    at += kBefore.size();
    const std::size_t end = std::min(declaration.find_first_of(" ,)=", at), declaration.size());
    types += declaration.substr(at, end - at) + ",";
    at = declaration.find(kBefore, end);
  }
  return types;
}

// The rivals' function that makes the host's round trip alone for a call of ours, set to build its result.
Call round_trip(Plugin &rivals, const Function &function, const Arguments &arguments, const Outcome &result) {
  const std::string name = function.view + "_RoundTrip(";
  const auto &methods = rivals.host.methods();
  const auto found = std::ranges::find_if(methods, [&](const host::Method &method) {
    return method.declaration.starts_with(name) &&
           types_in(method.declaration) == types_in(function.declaration);
  });
  if (found == methods.end()) throw std::runtime_error("no round trip for " + function.declaration);
  const Arguments wanted = {static_cast<std::int32_t>(result.encoding != 0 ? result.text.size() : 0),
                            static_cast<std::int32_t>(result.encoding)};
  using I = std::int32_t;
  prepare<I, I, I>(rivals.host, address_of(rivals, kSetResult), wanted).repeat(1);
  return function.prepare(rivals.host, found->function, arguments);
}

// What else the machine does hits both calls of a turn alike, or one turn alone, which the median leaves out.
double ratio_in_turns(const Call &ours, const Call &theirs) {
  constexpr double kBatchSeconds = 0.0002;
  constexpr double kSeconds = 0.025;
  constexpr std::size_t kLeastTurns = 5;
  std::size_t batch = 1;
  while (seconds_for(ours, batch) < kBatchSeconds) batch *= 2;

  std::vector<double> ratios;
  for (double spent = 0; spent < kSeconds || ratios.size() < kLeastTurns;) {
    const bool ours_first = ratios.size() % 2 == 0;
    const double first = seconds_for(ours_first ? ours : theirs, batch);
    const double second = seconds_for(ours_first ? theirs : ours, batch);
    ratios.push_back(ours_first ? second / first : first / second);
    spent += first + second;
  }
  const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
  std::ranges::nth_element(ratios, middle);
  return *middle;
}

// Where a file is in memory changes the time of short calls by 5 %: both are loaded again and again, each as
// often first as second. This cancels only if neither is the instance that is loaded already.
double ratio_of_files(const Plugins &plugins, const std::string &declaration, const Call &ours) {
  const std::array<const Plugin *, 2> files = {&plugins.ours, &*plugins.other};
  std::array<double, 8> ratios{};
  for (std::size_t round = 0; round < ratios.size(); ++round) {
    std::array<std::optional<Plugin>, 2> again;
    for (const std::size_t i : {round % 2, 1 - round % 2}) {
      again[i].emplace(files[i]->file.path(), Plugin::Instance::kOwn);
    }
    const auto call = [&](Plugin &plugin) {
      return ours.of_same_arguments(plugin.host, address_of(plugin, declaration));
    };
    ratios[round] = ratio_in_turns(call(*again[0]), call(*again[1]));
  }
  // The mean of the middle half: single rounds go wrong, and the others have two likely values.
  std::ranges::sort(ratios);
  return std::accumulate(ratios.begin() + 2, ratios.end() - 2, 0.0) / (ratios.size() - 4);
}

std::string processor() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
  }
  return "unknown processor";
}

}  // namespace

std::string circumstances() {
  const char *const commit = std::getenv("KZV_COMMIT");
  return processor() + ", GCC " + __VERSION__ + ", commit " + (commit != nullptr ? commit : "unknown");
}

void *address_of(const Plugin &plugin, const std::string &declaration) {
  void *const address = find(plugin, declaration);
  if (address != nullptr) return address;
  throw std::runtime_error("not registered: " + declaration);
}

std::size_t bytes_of(const Arguments &arguments) {
  std::size_t sum = 0;
  for (const Value &value : arguments) {
    const Text *const text = std::get_if<Text>(&value);
    sum += text != nullptr ? text->bytes.size() : std::holds_alternative<double>(value) ? sizeof(double) : 0;
  }
  return sum;
}

Arguments as_read(const Function &function, Arguments arguments) {
  for (Value &value : arguments) {
    Text *const text = std::get_if<Text>(&value);
    if (text != nullptr && function.reads != 0) *text = in_encoding(*text, function.reads);
  }
  return arguments;
}

Row measure(Plugins &plugins, const Function &function, const Kind &kind, std::size_t size) {
  const Arguments arguments = kind.arguments(size);
  const Arguments read = as_read(function, arguments);
  const Call ours = function.prepare(plugins.ours.host, address_of(plugins.ours, function.declaration), read);
  const Outcome result = ours.outcome();
  const std::string where = function.name + ", " + kind.name + ", ";
  std::optional<double> other_ratio;
  if (void *const address = plugins.other ? find(*plugins.other, function.declaration) : nullptr) {
    const Call theirs = ours.of_same_arguments(plugins.other->host, address);
    compare(result, theirs.outcome(), nullptr, where + plugins.other->file.path().string());
    other_ratio = ratio_of_files(plugins, function.declaration, ours);
  }
  const KernelInput input(arguments);
  const std::size_t bytes_read = bytes_of(arguments);
  const std::size_t bytes_written = result.encoding != 0 ? result.text.size() : 0;
  std::vector<std::uint8_t> output(bytes_read * 10 + 4096);
  std::vector<std::uint8_t> from(bytes_read + bytes_written);
  std::vector<std::uint8_t> to(from.size());

  std::vector<Timed> all = {{"whole", ours.repeat}, {"memcpy", copying(from, to)}};
  std::ranges::move(kernels(function, input, output), std::back_inserter(all));
  if (plugins.rivals) {
    all.push_back({"round trip", round_trip(*plugins.rivals, function, read, result).repeat});
  }
  std::vector<std::string> libraries;
  const auto rivals = plugins.rivals ? plugins.rivals->host.methods() : std::vector<host::Method>();
  for (const host::Method &method : rivals) {
    const std::string library = library_for(function.job, method.declaration);
    if (library.empty() || std::ranges::count(kind.unfit_rivals, library) > 0) continue;
    const Call theirs =
        function.prepare(plugins.rivals->host, method.function, is_loop(library) ? read : arguments);
    compare(result, theirs.outcome(), function.comparable, where + library);
    all.push_back({library, theirs.repeat});
    libraries.push_back(library);
  }

  const std::map<std::string, double> times = least_times(all, size);
  const auto best =
      std::ranges::min_element(libraries, {}, [&](const std::string &library) { return times.at(library); });
  const bool rivalled = best != libraries.end();
  std::vector<double> kernel_times;
  for (const cpu::Level *const level : cpu::levels()) kernel_times.push_back(times.at(kernel_at(*level)));
  return {function.name,
          kind.name,
          size,
          bytes_read,
          times.at("whole"),
          kernel_times,
          rivalled ? *best : "",
          rivalled ? times.at(*best) : 0,
          plugins.rivals ? times.at("round trip") : 0,
          times.at("memcpy"),
          other_ratio};
}

}  // namespace kzv::bench
