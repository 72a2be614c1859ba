// Jaro-Winkler with a flag for each letter, the edit distance with all rows of its matrix or the three that
// are looked at. Formulas and limits are ours, so that results are the same to the last bit.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <edlib.h>
#include <numeric>
#include <vector>

#include "compiled.h"
#include "frame/transform.h"
#include "rivals.h"

namespace kzv::rivals {
namespace {

double real(std::size_t number) { return static_cast<double>(number); }

bool equal(CodeUnitView a, CodeUnitView b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size_bytes()) == 0;
}

double jaro_winkler(CodeUnitView a, CodeUnitView b) {
  if (equal(a, b)) return 0.0;
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
double edit_distance(CodeUnitView a, CodeUnitView b) {
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

// Three rows, each in two passes, of which the first one becomes vector code; without what both texts begin
// and end with.
double edit_distance_in_passes(CodeUnitView a, CodeUnitView b) {
  const double shorter = real(std::min(a.size(), b.size()));
  const auto same = [](CodeUnit x, CodeUnit y) { return x.value == y.value; };
  const auto trim = [&] {
    const auto begin = std::ranges::mismatch(a, b, same);
    a = {begin.in1, a.end()};
    b = {begin.in2, b.end()};
    while (!a.empty() && !b.empty() && same(a.back(), b.back())) {
      a = a.first(a.size() - 1);
      b = b.first(b.size() - 1);
    }
  };
  trim();
  using Cells = std::vector<std::uint16_t>;
  Cells letters(b.size() + 1);
  std::ranges::transform(b, letters.begin() + 1, [](CodeUnit unit) { return unit.value; });
  std::array<Cells, 3> rows = {Cells(letters.size()), Cells(letters.size()), Cells(letters.size())};
  std::iota(rows[0].begin(), rows[0].end(), std::uint16_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::uint16_t *__restrict const now = rows[i % 3].data();
    const std::uint16_t *const above = rows[(i - 1) % 3].data();
    const std::uint16_t *const two_above = rows[(i + 1) % 3].data();
    const std::uint16_t letter = a[i - 1].value;
    const int before = i > 1 ? a[i - 2].value : -1;
    const auto least = [&](std::size_t j) {
      return std::min<unsigned>(above[j] + 1U, above[j - 1] + (letters[j] != letter ? 1U : 0U));
    };
    now[0] = static_cast<std::uint16_t>(i);
    if (letters.size() > 1) now[1] = static_cast<std::uint16_t>(least(1));
    for (std::size_t j = 2; j < letters.size(); ++j) {
      const bool swapped = count_of(letters[j - 1] == letter, letters[j] == before) == 2;
      const unsigned by_swap = swapped ? two_above[j - 2] + 1U : 0xFFFFU;
      now[j] = static_cast<std::uint16_t>(std::min(least(j), by_swap));
    }
    for (std::size_t j = 1; j < letters.size(); ++j) {
      now[j] = std::min(now[j], static_cast<std::uint16_t>(now[j - 1] + 1));
    }
  }
  return 1.0 / (shorter / real(rows[a.size() % 3].back()));
}

// Without swaps: for texts that none would bring closer. Its letters are bytes, and so are those of the
// inputs.
double by_edlib(CodeUnitView a, CodeUnitView b) {
  const auto narrowed = [](CodeUnitView text) {
    std::string narrow(text.size(), '\0');
    std::ranges::transform(text, narrow.begin(), [](CodeUnit unit) { return static_cast<char>(unit.value); });
    return narrow;
  };
  const std::string first = narrowed(a);
  const std::string second = narrowed(b);
  const EdlibAlignResult result =
      edlibAlign(first.data(), static_cast<int>(first.size()), second.data(), static_cast<int>(second.size()),
                 edlibNewAlignConfig(-1, EDLIB_MODE_NW, EDLIB_TASK_DISTANCE, nullptr, 0));
  const int distance = result.editDistance;
  edlibFreeAlignResult(result);
  return 1.0 / (real(std::min(a.size(), b.size())) / distance);
}

template <auto kDistance>
double OfTexts(REALstringStruct *s, REALstringStruct *t) {
  return Read<rbText>({s, t}, [](rbText &first, rbText &second) {
    const CodeUnitView a = first.utf16();
    return Compiled<kDistance>::call(a, second.utf16());
  });
}

}  // namespace

Methods distances() {
  static const REALmethodDefinition all[] = {
      RIVAL("loop_JaroWinklerDistance(a as string, b as string) as double", OfTexts<jaro_winkler>),
      RIVAL("matrix_LevenshteinDistance(a as string, b as string) as double", OfTexts<edit_distance<true>>),
      RIVAL("threerows_LevenshteinDistance(a as string, b as string) as double",
            OfTexts<edit_distance<false>>),
      RIVAL("loop_LevenshteinDistance(a as string, b as string) as double", OfTexts<edit_distance_in_passes>),
      RIVAL("edlib_LevenshteinDistance(a as string, b as string) as double", OfTexts<by_edlib>),
  };
  return all;
}

}  // namespace kzv::rivals
