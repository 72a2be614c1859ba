// kzvbench: every function as a host calls it, against its kernel, other libraries and copying.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <malloc.h>
#include <map>
#include <regex>
#include <set>

#include "cpu/level.h"
#include "measure.h"
#include "scaling.h"

namespace kzv::bench {
namespace {

// Large results would otherwise be mapped from the system anew in some calls and not in others, depending on
// what ran before.
void keep_memory() {
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
}

void set_up_measuring() {
  const char *arguments[] = {"kzvbench", "--benchmark_min_time=0.01", "--benchmark_repetitions=5",
                             "--benchmark_enable_random_interleaving=true"};
  int count = static_cast<int>(std::size(arguments));
  benchmark::Initialize(&count, const_cast<char **>(arguments));
}

std::vector<Row> measure_all(Plugins &plugins, const std::regex &wanted) {
  std::vector<Row> rows;
  for (const Function &function : functions()) {
    for (const Kind &kind : function.kinds) {
      for (const std::size_t size : kind.sizes.empty() ? function.sizes : kind.sizes) {
        const std::string name = function.name + "/" + kind.name + "/" + std::to_string(size);
        if (!std::regex_search(name, wanted)) continue;
        std::cerr << name << "\n";
        rows.push_back(measure(plugins, function, kind, size));
      }
    }
  }
  return rows;
}

// Libraries that choose their code for the processor at run time, whatever the level: the C library's memory
// functions, and Qt.
std::string marked(const std::string &rival) {
  static const std::set<std::string> kChoosing = {"memchr", "memcmp", "copy", "memmem", "stdstring", "Qt"};
  return kChoosing.contains(rival) ? rival + "*" : rival;
}

void print(const std::vector<Row> &rows) {
  std::printf("%-24s %-11s %8s %12s %8s %12s  %-15s %12s %8s  %12s %8s", "function", "input", "size",
              "ours ns", "GB/s", "kernel ns", "best rival", "rival ns", "ratio", "round trip", "memcpy");
  const auto compared = [](const Row &row) { return row.other_ratio.has_value(); };
  if (std::ranges::any_of(rows, compared)) std::printf(" %12s %8s", "other ns", "ratio");
  std::printf("\n");
  for (const Row &row : rows) {
    std::printf("%-24s %-11s %8zu %12.0f %8.3f %12.0f  %-15s %12.0f %8.2f%s %12.0f %7.1f%%",
                row.function.c_str(), row.kind.c_str(), row.size, row.whole, row.gigabytes_per_second(),
                row.kernels.back(), marked(row.best_rival).c_str(), row.rival, row.ratio(),
                row.is_slower() ? "<" : " ", row.round_trip, row.share_of_copy() * 100);
    if (row.other_ratio) std::printf(" %12.0f %8.3f", row.other(), *row.other_ratio);
    std::printf("\n");
  }
}

double geometric_mean(const std::vector<double> &ratios) {
  double sum = 0;
  for (const double ratio : ratios) sum += std::log(ratio);
  return std::exp(sum / static_cast<double>(ratios.size()));
}

// Functions whose results the host converts, which is most of their time.
bool is_converted(const Row &row) {
  return row.function == "HTML decode" || row.function == "ISO-8859-1 decode" ||
         row.function == "CP1252 decode";
}

// The mean ratio of each function first, so that functions with many rows do not weigh more.
void print_mean(const char *sizes, std::vector<Row> rows) {
  std::erase_if(rows, [](const Row &row) { return row.best_rival.empty() || is_converted(row); });
  if (rows.empty()) return;
  std::map<std::string, std::vector<double>> ratios;
  for (const Row &row : rows) ratios[row.function].push_back(row.ratio());
  std::vector<double> means;
  means.reserve(ratios.size());
  for (const auto &[function, of_function] : ratios) means.push_back(geometric_mean(of_function));
  const auto below = [&](double limit) {
    return std::ranges::count_if(rows, [=](const Row &row) { return row.ratio() < limit; });
  };
  std::printf(
      "%-14s %6.2f times as fast as the best rival, %zu functions; of %zu rows %td below 1, %td below 0.95\n",
      sizes, geometric_mean(means), means.size(), rows.size(), below(1), below(0.95));
}

void print_means(const std::vector<Row> &rows) {
  std::vector<Row> short_rows;
  std::vector<Row> long_rows;
  std::ranges::partition_copy(rows, std::back_inserter(short_rows), std::back_inserter(long_rows),
                              [](const Row &row) { return row.size <= 24; });
  std::printf(
      "\n< ours is slower than the best rival; * the rival chooses its code at run time, above the level "
      "too\n"
      "Means of each function, then of the functions, without HTML decode and the 8-bit decoders, whose "
      "results the host converts:\n");
  print_mean("1 KiB and more", long_rows);
  print_mean("24 bytes", short_rows);
}

// Sums up the comparison with the other file. A ratio below 1 means that ours is slower.
void print_comparison(std::vector<Row> rows) {
  std::string lacking;
  for (const Row &row : rows) {
    const std::string name = "\n  " + row.function;
    if (!row.other_ratio && !lacking.ends_with(name)) lacking += name;
  }
  if (!lacking.empty()) std::printf("\nThe other file lacks:%s\n", lacking.c_str());
  std::erase_if(rows, [](const Row &row) { return !row.other_ratio; });
  if (rows.empty()) return;
  std::vector<double> ratios;
  ratios.reserve(rows.size());
  for (const Row &row : rows) ratios.push_back(*row.other_ratio);
  std::printf("\nThe other file's times are %.3f of ours, as a geometric mean over %zu rows.\n",
              geometric_mean(ratios), rows.size());
  std::erase_if(rows, [](const Row &row) { return *row.other_ratio * 1.05 >= 1; });
  std::printf("Ours is slower by more than 5 %% in %zu rows%s\n", rows.size(), rows.empty() ? "." : ":");
  for (const Row &row : rows) {
    std::printf("  %.3f  %s/%s/%zu\n", *row.other_ratio, row.function.c_str(), row.kind.c_str(), row.size);
  }
}

void write_csv(const std::vector<Row> &rows, const std::filesystem::path &file) {
  std::ofstream out(file);
  out << "function,input,size,ours_ns,ours_gb_per_s";
  for (const cpu::Level *const level : cpu::levels()) out << ",kernel_" << level->name << "_ns";
  out << ",rival,rival_ns,ratio,round_trip_ns,memcpy_ns,memcpy_share,other_ns,other_ratio\n";
  for (const Row &row : rows) {
    out << row.function << ',' << row.kind << ',' << row.size << ',' << row.whole << ','
        << row.gigabytes_per_second();
    for (const double kernel : row.kernels) out << ',' << kernel;
    out << ',' << row.best_rival << ',' << row.rival << ',' << row.ratio() << ',' << row.round_trip << ','
        << row.copy << ',' << row.share_of_copy() << ',';
    out << (row.other_ratio ? std::to_string(row.other()) + ',' + std::to_string(*row.other_ratio) : ",")
        << '\n';
  }
  out.close();
  if (!out) throw std::runtime_error("cannot write " + file.string());
}

int run(int argc, char **argv) {
  std::string filter;
  std::filesystem::path csv = KZV_RESULTS;
  std::filesystem::path against;
  bool no_rivals = false;
  bool scaling = false;
  bool threads = false;
  CLI::App app("Measures every function against other libraries and copying.");
  app.footer(
      "./bench --level NAME ... measures the plugin with the levels up to that one: portable, avx2 or "
      "avx512");
  app.add_option("filter", filter, "measure only what this regular expression finds in FUNCTION/INPUT/SIZE");
  app.add_option("--csv", csv, "the file that the table is written to")->capture_default_str();
  app.add_option(
         "--against", against,
         "another plugin file, such as that of an earlier commit: timed in turns with ours, row by row; "
         "a ratio below 1 means that ours is slower")
      ->check(CLI::ExistingFile)
      ->type_name("FILE");
  app.add_flag("--no-rivals", no_rivals, "leave out the other libraries");
  app.add_flag("--scaling", scaling,
               "the instructions of a call on a short text, and how they grow with the size of hostile ones");
  app.add_flag("--threads", threads, "what a second thread brings");
  CLI11_PARSE(app, argc, argv);

  const std::regex wanted(filter);
  keep_memory();
  std::cout << circumstances() << std::endl;
  Plugins plugins;
  if (scaling) {
    print_scaling(plugins.ours, wanted);
    return 0;
  }
  if (threads) {
    print_threads(plugins.ours, wanted);
    return 0;
  }
  if (!no_rivals) plugins.rivals.emplace(KZV_RIVALS);
  // It can be the same file as ours.
  if (!against.empty()) plugins.other.emplace(against, Plugin::Instance::kOwn);
  set_up_measuring();
  const std::vector<Row> rows = measure_all(plugins, wanted);
  if (rows.empty()) throw std::runtime_error("there is nothing to measure named " + filter);
  write_csv(rows, csv);
  print(rows);
  if (plugins.rivals) print_means(rows);
  if (plugins.other) print_comparison(rows);
  return 0;
}

}  // namespace
}  // namespace kzv::bench

int main(int argc, char **argv) {
  try {
    return kzv::bench::run(argc, argv);
  } catch (const std::exception &failure) {
    std::cerr << "kzvbench: " << failure.what() << "\n";
    return 1;
  }
}
