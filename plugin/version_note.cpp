// The library's version, where tools find it in the file without loading it.
#include <array>
#include <cstdint>

namespace kzv {
namespace {

constexpr auto kOwner = std::to_array("kzvstrings");
constexpr auto kText = std::to_array("kzvstrings " KZV_VERSION);

// An ELF note. Its texts begin at multiples of four bytes, and their sizes are told without the padding.
struct Note {
  std::uint32_t owner_size = kOwner.size();
  std::uint32_t text_size = kText.size();
  std::uint32_t type = 1;
  alignas(4) std::array<char, kOwner.size()> owner = kOwner;
  alignas(4) std::array<char, kText.size()> text = kText;
};

// Nothing refers to it: "used" has the compiler keep it. It would align large objects further than readers
// expect.
[[gnu::used, gnu::section(".note.kzvstrings")]] alignas(4) constexpr Note kVersionNote;

}  // namespace
}  // namespace kzv
