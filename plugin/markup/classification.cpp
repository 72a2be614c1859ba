#include "markup/classification.h"

#include <algorithm>
#include <array>
#include <cassert>

#include "scan/ascii.h"

namespace kzv::classification {
namespace {

constexpr std::uint8_t kFirstPrintable = 0x20;
constexpr std::uint8_t kLastAscii = 0x7F;

struct Marker {
  std::int32_t kind;
  std::uint8_t length;
  std::array<std::uint8_t, 4> bytes;
};

// In the order in which they are tried: a mark comes before every shorter one that it begins with. The last
// two are found by number alone.
constexpr std::array<Marker, 7> kMarkers = {{
    {7, 4, {0xFF, 0xFE, 0x00, 0x00}},
    {6, 4, {0x00, 0x00, 0xFE, 0xFF}},
    {1, 3, {0xEF, 0xBB, 0xBF}},
    {4, 2, {0xFF, 0xFE}},
    {3, 2, {0xFE, 0xFF}},
    {5, 4, {0xFF, 0xFE, 0x00, 0x00}},
    {2, 2, {0xFF, 0xFE}},
}};

ByteView bytes_of(const Marker &marker) { return ByteView(marker.bytes).first(marker.length); }

}  // namespace

std::size_t replace_non_printable(ByteView input, std::uint8_t replacement, ByteBuffer output) {
  assert(output.size() >= input.size());
  cpu::level().replace_outside(input.data(), input.size(), kFirstPrintable, kLastAscii, replacement,
                               output.data());
  return input.size();
}

bool is_ascii(ByteView bytes, std::int32_t mode) {
  if (bytes.empty()) return false;
  switch (mode) {
    case 0:
      return all_within(bytes, 0, kLastAscii);
    case 1:
      return all_within(bytes, kFirstPrintable, kLastAscii);
    case 2:
      return all_within(bytes, kFirstPrintable, 0xFF);
    default:
      return false;
  }
}

std::int32_t detect_marker(ByteView bytes) {
  for (const Marker &marker : kMarkers) {
    const ByteView wanted = bytes_of(marker);
    if (bytes.size() < wanted.size()) continue;
    if (std::equal(wanted.begin(), wanted.end(), bytes.begin())) return marker.kind;
  }
  return 0;
}

ByteView marker_bytes(std::int32_t kind) {
  const auto *const found = std::find_if(kMarkers.begin(), kMarkers.end(),
                                         [=](const Marker &marker) { return marker.kind == kind; });
  return found != kMarkers.end() ? bytes_of(*found) : ByteView();
}

}  // namespace kzv::classification
