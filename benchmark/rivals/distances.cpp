// Jaro-Winkler with a flag for each letter, the edit distance with all rows of its matrix or the three that
// are looked at. Formulas and limits are ours, so that results are the same to the last bit.
#include <algorithm>
#include <cmath>
#include <vector>

#include "rivals.h"

namespace kzv::rivals {
namespace {

double real(std::size_t number) { return static_cast<double>(number); }

double LoopJaroWinkler(REALstringStruct *s, REALstringStruct *t) {
  rbText first(s);
  rbText second(t);
  const CodeUnitView a = first.utf16();
  const CodeUnitView b = second.utf16();
  const std::size_t window = std::max(std::max(a.size(), b.size()) / 2, std::size_t{1}) - 1;
  std::vector<char> matched_a(a.size());
  std::vector<char> matched_b(b.size());
  std::size_t matches = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const std::size_t end = std::min(i + window + 1, b.size());
    for (std::size_t j = i > window ? i - window : 0; j < end; ++j) {
      if (matched_b[j] != 0 || a[i].value != b[j].value) continue;
      matched_a[i] = matched_b[j] = 1;
      ++matches;
      break;
    }
  }
  if (matches == 0) return 1.0;
  std::size_t differing = 0;
  for (std::size_t i = 0, j = 0; i < a.size(); ++i) {
    if (matched_a[i] == 0) continue;
    while (matched_b[j] == 0) ++j;
    if (a[i].value != b[j++].value) ++differing;
  }
  const double m = real(matches);
  const double jaro = ((m / real(a.size()) + m / real(b.size())) + (m - real(differing / 2)) / m) / 3.0;
  if (jaro <= 0.7) return 1.0 - jaro;
  std::size_t prefix = 0;
  while (prefix < std::min({a.size(), b.size(), std::size_t{4}}) && a[prefix].value == b[prefix].value)
    ++prefix;
  return 1.0 - (jaro + (1.0 - jaro) * (real(prefix) * 0.1));
}

template <bool kAllRows>
double LoopEditDistance(REALstringStruct *s, REALstringStruct *t) {
  rbText first(s);
  rbText second(t);
  const CodeUnitView a = first.utf16();
  const CodeUnitView b = second.utf16();
  const std::size_t width = b.size() + 1;
  std::vector<std::int32_t> cells((kAllRows ? a.size() + 1 : 3) * width);
  const auto row = [&](std::size_t i) { return cells.data() + (kAllRows ? i : i % 3) * width; };
  for (std::size_t j = 0; j < width; ++j) row(0)[j] = static_cast<std::int32_t>(j);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::int32_t *const now = row(i);
    const std::int32_t *const above = row(i - 1);
    now[0] = static_cast<std::int32_t>(i);
    for (std::size_t j = 1; j < width; ++j) {
      const std::int32_t cost = a[i - 1].value == b[j - 1].value ? 0 : 1;
      now[j] = std::min({above[j] + 1, now[j - 1] + 1, above[j - 1] + cost});
      if (i > 1 && j > 1 && a[i - 1].value == b[j - 2].value && a[i - 2].value == b[j - 1].value) {
        now[j] = std::min(now[j], row(i - 2)[j - 2] + cost);
      }
    }
  }
  return 1.0 / (real(std::min(a.size(), b.size())) / row(a.size())[b.size()]);
}

}  // namespace

Methods distances() {
  static const REALmethodDefinition all[] = {
      RIVAL("loop_JaroWinklerDistance(a as string, b as string) as double", LoopJaroWinkler),
      RIVAL("matrix_LevenshteinDistance(a as string, b as string) as double", LoopEditDistance<true>),
      RIVAL("threerows_LevenshteinDistance(a as string, b as string) as double", LoopEditDistance<false>),
  };
  return all;
}

}  // namespace kzv::rivals
