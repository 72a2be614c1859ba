#include <algorithm>

#include "compare/common_prefix.h"
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

// Each unit of `a` takes the lowest free equal unit of `b` that is at most `window` away. For each symbol a
// cursor is at the lowest of its positions in `b` that may still be taken. The window moves up only, so a
// cursor never has to go back; `following` links the positions of a symbol.
std::optional<Matches> find_matches(WideView a, WideView b, std::size_t window) {
  if (a.empty() || b.empty()) return Matches{0, 0};
  Tables<SymbolTable::Slot, std::uint32_t, std::uint32_t, std::uint32_t> tables;
  // One cursor more, because numbers begin with 1.
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

  std::size_t count = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const std::uint32_t number = symbols.find(a[i]);
    if (number == 0) continue;
    std::uint32_t &cursor = cursors[number];
    const std::size_t start = i - std::min(i, window);
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

double with_prefix_boost(double jaro, std::size_t prefix) {
  // Stored before it is added: fused into one multiply-add, the two steps would round once and differ in the
  // last bit.
  const volatile double boost = (1.0 - jaro) * (static_cast<double>(std::min(prefix, std::size_t{4})) * 0.1);
  return jaro + boost;
}

}  // namespace

std::optional<double> jaro_winkler(WideView a, WideView b) {
  if (a.empty() || b.empty()) return a.size() == b.size() ? 0.0 : 1.0;
  // Each unit of a common prefix takes its counterpart: equal units before that one have been taken by
  // theirs. That leaves the rest of `b` free for the rest of `a`, as far apart as before. With a common
  // suffix it is not so, because units before it may take some of it.
  const std::size_t prefix = common_prefix(a, b);
  const std::size_t half = std::max(a.size(), b.size()) / 2;
  const std::optional<Matches> rest =
      find_matches(a.subspan(prefix), b.subspan(prefix), half > 0 ? half - 1 : 0);
  if (!rest) return std::nullopt;
  const std::size_t count = prefix + rest->count;
  if (count == 0) return 1.0;

  const auto m = static_cast<double>(count);
  const auto in_order = static_cast<double>(count - rest->transpositions);
  const double jaro =
      ((m / static_cast<double>(a.size()) + m / static_cast<double>(b.size())) + in_order / m) / 3.0;
  return 1.0 - (jaro > 0.7 ? with_prefix_boost(jaro, prefix) : jaro);
}

}  // namespace kzv::distance
