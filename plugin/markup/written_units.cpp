#include "markup/written_units.h"

#include <algorithm>
#include <thread>

#include "markup/entities.h"

namespace kzv::html {
namespace {

// A number in decimal as "&#257;".
Written number_of(unsigned unit) {
  std::array<char, 5> digits{};
  auto *first = digits.end();
  for (; unit != 0; unit /= 10) *--first = static_cast<char>('0' + unit % 10);
  Written written{{'&', '#'}, 0};
  auto *const end = std::copy(first, digits.end(), written.text.begin() + 2);
  *end = ';';
  written.length = static_cast<std::uint8_t>(end + 1 - written.text.begin());
  return written;
}

// The apostrophe is the one character whose name is not written: "apos" is not an entity of HTML 4.01.
Written make_written(std::uint16_t unit, bool keep_ascii) {
  if (unit < 0x80 && (keep_ascii || !is_markup(unit))) return {{static_cast<char>(unit)}, 1};
  const Entity *const entity = entity_of(unit);
  if (entity == nullptr || unit == '\'') return number_of(unit);
  Written written{};
  std::ranges::copy(entity->reference, written.text.begin());
  written.length = entity->length;
  return written;
}

}  // namespace

std::array<WrittenUnits, 2> written_units;

void make_page(CodeUnit unit, bool keep_ascii) {
  static std::array<std::array<std::atomic<bool>, 0x10000 / kPageSize>, 2> taken;
  const std::size_t form = keep_ascii ? 1 : 0;
  WrittenUnits &units = written_units[form];
  if (!taken[form][unit.value / kPageSize].exchange(true, std::memory_order_relaxed)) {
    const std::size_t first = unit.value / kPageSize * kPageSize;
    for (std::size_t each = first; each < first + kPageSize; ++each) {
      const Written written = make_written(static_cast<std::uint16_t>(each), keep_ascii);
      units[each].text = written.text;
      std::atomic_ref(units[each].length).store(written.length, std::memory_order_release);
    }
  }
  while (std::atomic_ref(units[unit.value].length).load(std::memory_order_acquire) == 0) {
    std::this_thread::yield();
  }
}

}  // namespace kzv::html
