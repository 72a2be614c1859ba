#include <algorithm>

#include "compare/distance.h"
#include "compare/symbol_table.h"
#include "compare/tables.h"

namespace kzv::distance {
namespace {

constexpr std::uint32_t kNone = 0xFFFFFFFF;
constexpr std::uint32_t kTaken = 0xFFFFFFFE;

struct Matches {
  std::size_t count;
  std::size_t transpositions;  // half the number of k for which the k-th matched units of the texts differ
};

// Each unit of `a` takes the lowest free equal unit of `b` that is at most a window away. For each symbol a
// cursor is at the lowest of its positions in `b` that may still be taken. The window moves up only, so a
// cursor never has to go back; `following` links the positions of a symbol.
std::optional<Matches> find_matches(WideView a, WideView b) {
  Tables<SymbolTable::Slot, std::uint32_t, std::uint32_t, std::uint32_t> tables;
  // One cursor more, without positions, for number 0: the symbols that `b` does not have.
  const auto spans =
      tables.allocate(SymbolTable::slot_count(b.size()), SymbolTable::most_symbols(b.size()) + 1, b.size(),
                      std::min(a.size(), b.size()));
  if (!spans) return std::nullopt;
  const auto [slots, cursors, following, matched] = *spans;
  SymbolTable symbols(slots);
  std::ranges::fill(cursors, kNone);
  for (std::size_t j = b.size(); j-- > 0;) {
    std::uint32_t &cursor = cursors[symbols.add(b[j])];
    following[j] = cursor;
    cursor = static_cast<std::uint32_t>(j);
  }

  const std::size_t half = std::max(a.size(), b.size()) / 2;
  // In 64 bits, so that a position and a window never overflow.
  const std::uint64_t window = half > 0 ? half - 1 : 0;
  std::size_t count = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::uint32_t &cursor = cursors[symbols.find(a[i])];
    while (cursor + window < i) cursor = following[cursor];
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
  // Stored before it is added: fused into one multiply-add, the two steps would round once and differ in the
  // last bit.
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
  const auto in_order = static_cast<double>(matches->count - matches->transpositions);
  const double jaro =
      ((m / static_cast<double>(a.size()) + m / static_cast<double>(b.size())) + in_order / m) / 3.0;
  return 1.0 - (jaro > 0.7 ? with_prefix_boost(jaro, a, b) : jaro);
}

}  // namespace kzv::distance
