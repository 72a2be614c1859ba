// The library's version, where tools find it in the file without loading it.
#include <array>
#include <cstdint>

namespace kzv {
namespace {

constexpr auto kOwner = std::to_array("kzvstrings");
constexpr auto kText = std::to_array("kzvstrings " KZV_VERSION);

// An ELF note. Its texts begin at multiples of four bytes, and their sizes do not count the padding.
struct Note {
  std::uint32_t owner_size = kOwner.size();
  std::uint32_t text_size = kText.size();
  std::uint32_t type = 1;
  alignas(4) std::array<char, kOwner.size()> owner = kOwner;
  alignas(4) std::array<char, kText.size()> text = kText;
};

// Nothing refers to it, so "used" keeps it. The alignment is stated because compilers align large objects
// further, and readers of notes expect four bytes.
[[gnu::used, gnu::section(".note.kzvstrings")]] alignas(4) constexpr Note kVersionNote;

}  // namespace
}  // namespace kzv
