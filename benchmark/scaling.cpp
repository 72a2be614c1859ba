#include "scaling.h"

#include <algorithm>
#include <cmath>
#include <latch>
#include <numeric>
#include <thread>

#include "instructions.h"
#include "measure.h"

namespace kzv::bench {
namespace {

// The least of several runs.
double least_seconds(const Call &call) {
  double least = seconds_for(call, 1);
  for (int run = 0; run < 6; ++run) least = std::min(least, seconds_for(call, 1));
  return least;
}

// Nothing but the beginnings, ends or near misses of what the functions look for.
const Pieces kHostile = {"<",  ">",  "<>", "&",   "&#",    "&amp", "%", "%2", "=",      "= ", "=\r\n",
                         "\r", "\\", "'",  "\"'", "true ", "tru",  "a", " ",  "\u00e9", "~"};

struct Growth {
  std::string input;
  std::array<double, 4> instructions{};

  double exponent(std::size_t step) const { return std::log2(instructions[step + 1] / instructions[step]); }
  double worst_exponent() const { return std::max({exponent(0), exponent(1), exponent(2)}); }
};

template <typename Make>
Growth growth_on(Plugin &plugin, const Function &function, std::string input, Make arguments_of) {
  Growth growth{std::move(input)};
  void *const address = address_of(plugin, function.declaration);
  const std::size_t base = function.sizes.back() / 8;
  for (std::size_t step = 0; step < growth.instructions.size(); ++step) {
    growth.instructions[step] =
        count_instructions(function.prepare(plugin.host, address, arguments_of(base << step))).all;
  }
  return growth;
}

Growth worst_growth(Plugin &plugin, const Function &function) {
  Growth worst{"", {1, 1, 1, 1}};
  const auto consider = [&](const Growth &growth) {
    if (growth.worst_exponent() > worst.worst_exponent()) worst = growth;
  };
  for (const Kind &kind : function.kinds) consider(growth_on(plugin, function, kind.name, kind.arguments));
  for (const std::string_view piece : kHostile) {
    consider(growth_on(plugin, function, std::string(piece), [&](std::size_t size) {
      Arguments arguments = function.kinds[0].arguments(size);
      std::get<Text>(arguments[0]).bytes = drawn({piece}, size);
      return arguments;
    }));
  }
  return worst;
}

// Calls a second that so many threads make at once. Each has a host of its own, on the same loaded plugin.
double calls_per_second(Plugin &plugin, const Function &function, std::size_t threads) {
  constexpr double kSeconds = 0.1;
  const Arguments arguments = function.kinds[0].arguments(function.sizes.back());
  void *const address = address_of(plugin, function.declaration);
  std::vector<double> rates(threads);
  std::latch ready(static_cast<std::ptrdiff_t>(threads));
  const auto work = [&](double &rate) {
    host::Host own;
    const Call call = function.prepare(own, address, arguments);
    // Also gets the thread the memory that its calls then use again.
    const auto batch = static_cast<std::size_t>(std::max(1.0, kSeconds / 10 / least_seconds(call)));
    ready.arrive_and_wait();
    double seconds = 0;
    std::size_t calls = 0;
    for (; seconds < kSeconds; calls += batch) seconds += seconds_for(call, batch);
    rate = static_cast<double>(calls) / seconds;
  };
  {
    std::vector<std::jthread> running;
    running.reserve(rates.size());
    for (double &rate : rates) running.emplace_back(work, std::ref(rate));
  }
  return std::accumulate(rates.begin(), rates.end(), 0.0);
}

double speed_up(Plugin &plugin, const Function &function) {
  double best = 0;
  for (int round = 0; round < 5; ++round) {
    best = std::max(best, calls_per_second(plugin, function, 2) / calls_per_second(plugin, function, 1));
  }
  return best;
}

std::string visible(const std::string &text) {
  std::string shown;
  for (const char c : text) shown += c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c);
  return "\"" + shown + "\"";
}

}  // namespace

void print_scaling(Plugin &plugin, const std::regex &wanted) {
  std::printf("%-24s %12s %-12s %10s %12s %6s %6s %6s\n", "function", "instructions", "worst input",
              "from size", "a byte", "x2", "x4", "x8");
  for (const Function &function : functions()) {
    if (!std::regex_search(function.name, wanted)) continue;
    void *const address = address_of(plugin, function.declaration);
    const Arguments small = function.kinds[0].arguments(function.sizes.front());
    const Instructions call = count_instructions(function.prepare(plugin.host, address, small));
    std::printf("%-24s %12.0f", function.name.c_str(), call.plugin);
    if (function.sizes.size() > 1) {
      const Growth growth = worst_growth(plugin, function);
      const std::size_t from_size = function.sizes.back() / 8;
      std::printf(" %-12s %10zu %12.2f %6.2f %6.2f %6.2f", visible(growth.input).c_str(), from_size,
                  growth.instructions[0] / static_cast<double>(from_size), growth.exponent(0),
                  growth.exponent(1), growth.exponent(2));
    }
    std::printf("\n");
    std::fflush(stdout);
  }
}

void print_threads(Plugin &plugin, const std::regex &wanted) {
  std::printf("%-24s %12s\n", "function", "two threads");
  for (const Function &function : functions()) {
    if (!std::regex_search(function.name, wanted)) continue;
    std::printf("%-24s %12.2f\n", function.name.c_str(), speed_up(plugin, function));
    std::fflush(stdout);
  }
}

}  // namespace kzv::bench
