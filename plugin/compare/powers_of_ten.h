// Powers of ten in 128 bits, and the products that they are made for.
#pragma once

#include <array>
#include <cstdint>

namespace kzv::numbers {

struct Wide {
  std::uint64_t high, low;
};

inline constexpr std::uint64_t kLowHalf = 0xFFFFFFFF;

inline Wide multiply(std::uint64_t a, std::uint64_t b) {
#if defined(__SIZEOF_INT128__)
  __extension__ using Native = unsigned __int128;
  const Native product = Native{a} * b;
  return {static_cast<std::uint64_t>(product >> 64), static_cast<std::uint64_t>(product)};
#else
  const std::uint64_t cross = (a >> 32) * (b & kLowHalf) + ((a & kLowHalf) * (b & kLowHalf) >> 32);
  const std::uint64_t other = (a & kLowHalf) * (b >> 32) + (cross & kLowHalf);
  return {(a >> 32) * (b >> 32) + (cross >> 32) + (other >> 32), a * b};
#endif
}

// The greatest k with 2^k <= 10^exponent, and with 10^k <= 2^exponent, below 1200 either way.
constexpr int log2_of_power_of_ten(int exponent) { return exponent * 1741647 >> 19; }
constexpr int log10_of_power_of_two(int exponent) { return exponent * 315653 >> 20; }

// 10^k for each k, times the power of two that makes its highest bit bit 127, rounded up. From 10^0 to 10^55
// there is nothing to round. Computed with 64 bits more: from a start that is 2^12 of the last bits too
// great, down by less than one with each step, so that all stay between their value and 2^14 bits more. Those
// whose last 64 bits are below that are the 56 exact ones, and no other.
inline constexpr int kLeastPower = -324;
inline constexpr int kGreatestPower = 340;
consteval auto make_powers_of_ten() {
  std::array<Wide, kGreatestPower - kLeastPower + 1> powers{};
  std::array<std::uint64_t, 6> parts = {0x7DF1BD7B, 0x475F2B7D, 0x828675B9,
                                        0x52064CAC, 0x5DCE35EA, 0xCF42894A};
  int exact = 0;
  for (Wide &power : powers) {
    power = {parts[5] << 32 | parts[4], parts[3] << 32 | parts[2]};
    const bool is_exact = parts[1] == 0 && parts[0] < 1 << 14;
    exact += is_exact ? 1 : 0;
    if (!is_exact && ++power.low == 0) ++power.high;
    std::uint64_t carry = 0;  // 5/4 or 5/8 of it
    for (std::uint64_t &part : parts) {
      carry += part * 5;
      part = carry & kLowHalf;
      carry >>= 32;
    }
    const int shift = carry < 4 ? 2 : 3;
    for (std::size_t i = 0; i < parts.size(); ++i)
      parts[i] = (parts[i] | (i + 1 < parts.size() ? parts[i + 1] : carry) << 32) >> shift & kLowHalf;
  }
  if (exact != 56) throw "powers of ten with too few bits";
  return powers;
}
inline constexpr auto kPowersOfTen = make_powers_of_ten();

inline const Wide &power_of_ten(int k) { return kPowersOfTen[static_cast<std::size_t>(k - kLeastPower)]; }

// 5^k itself, up to 5^27.
inline std::uint64_t power_of_five(int k) {
  return power_of_ten(k).high >> (63 + k - log2_of_power_of_ten(k));
}

}  // namespace kzv::numbers
