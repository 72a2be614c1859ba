#include <algorithm>

#include "compare/distance.h"
#include "compare/symbol_table.h"
#include "compare/work_memory.h"

namespace kzv::distance {
namespace {

constexpr std::uint32_t kNone = 0xFFFFFFFF;
constexpr std::uint32_t kTaken = 0xFFFFFFFE;

struct Matches {
  std::size_t count;
  std::size_t swaps;  // half of the places where the k-th matched units of the two texts differ
};

// Each unit of `a` takes the lowest free equal unit of `b` that is at most a window away. As the window only
// moves up, a position that it left behind or that was taken is never looked at again: for each symbol a
// cursor over its positions in `b` stands at the lowest one that may still be taken.
std::optional<Matches> find_matches(WideView a, WideView b) {
  const std::size_t slot_count = SymbolTable::slot_count(b.size());
  const std::size_t symbol_count = SymbolTable::most_symbols(b.size());
  const std::size_t matched_count = std::min(a.size(), b.size());
  WorkMemory memory;
  if (!memory.reserve(WorkMemory::room<SymbolTable::Slot>(slot_count) +
                      WorkMemory::room<std::uint32_t>(symbol_count + 1) +
                      WorkMemory::room<std::uint32_t>(b.size()) +
                      WorkMemory::room<std::uint32_t>(matched_count))) {
    return std::nullopt;
  }
  SymbolTable symbols(memory.take<SymbolTable::Slot>(slot_count));
  // Number 0, the symbols that `b` has not, keeps a cursor without positions.
  const auto cursors = memory.take<std::uint32_t>(symbol_count + 1);
  const auto following = memory.take<std::uint32_t>(b.size());
  const auto matched = memory.take<std::uint32_t>(matched_count);

  std::ranges::fill(cursors, kNone);
  for (std::size_t j = b.size(); j-- > 0;) {
    std::uint32_t &cursor = cursors[symbols.add(b[j])];
    following[j] = cursor;
    cursor = static_cast<std::uint32_t>(j);
  }

  const std::size_t half = std::max(a.size(), b.size()) / 2;
  const std::size_t window = half > 0 ? half - 1 : 0;
  std::size_t count = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::uint32_t &cursor = cursors[symbols.find(a[i])];
    const std::size_t start = i > window ? i - window : 0;
    while (cursor < start) cursor = following[cursor];
    if (cursor > i + window) continue;
    const std::uint32_t j = cursor;
    cursor = following[j];
    following[j] = kTaken;
    matched[count++] = a[i];
  }

  std::size_t differing = 0;
  std::size_t k = 0;
  for (std::size_t j = 0; k < count; ++j) {
    if (following[j] == kTaken && matched[k++] != b[j]) ++differing;
  }
  return Matches{count, differing / 2};
}

double with_prefix_boost(double jaro, WideView a, WideView b) {
  const std::size_t limit = std::min({a.size(), b.size(), std::size_t{4}});
  std::size_t prefix = 0;
  while (prefix < limit && a[prefix] == b[prefix]) ++prefix;
  // Stored before it is added: a processor that fuses the two steps would round once and differ in the last
  // bit.
  const volatile double boost = (1.0 - jaro) * (static_cast<double>(prefix) * 0.1);
  return jaro + boost;
}

}  // namespace

std::optional<double> jaro_winkler(WideView a, WideView b) {
  if (a.empty() || b.empty()) return a.size() == b.size() ? 0.0 : 1.0;
  const std::optional<Matches> matches = find_matches(a, b);
  if (!matches) return std::nullopt;
  if (matches->count == 0) return 1.0;

  const auto m = static_cast<double>(matches->count);
  const auto in_order = static_cast<double>(matches->count - matches->swaps);
  const double jaro =
      ((m / static_cast<double>(a.size()) + m / static_cast<double>(b.size())) + in_order / m) / 3.0;
  return 1.0 - (jaro > 0.7 ? with_prefix_boost(jaro, a, b) : jaro);
}

}  // namespace kzv::distance
