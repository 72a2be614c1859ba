// The relations between kernels, on random texts whose ends are guarded.
#include "support/relations.h"

#include <array>
#include <gtest/gtest.h>

#include "support/guarded.h"
#include "support/random.h"

namespace kzv {
namespace {

using std::string_view_literals::operator""sv;

class RandomSource : public Source {
 public:
  using Source::text;

  std::int64_t number(std::int64_t least, std::int64_t greatest) override {
    return std::uniform_int_distribution(least, greatest)(random_);
  }

  // Of a few letters, dense or sparse, with lengths around those of what is done at once.
  std::string text(std::size_t longest) override {
    static constexpr std::pair<std::size_t, std::size_t> kLengths[] = {{0, 200}, {1001, 1030}, {4090, 5000}};
    static constexpr std::string_view kPieces[] = {
        "\0"sv, " ",    "'",     "\"",        "\\",   "(",    "true", "FALSE", "n",   "<",
        ">",    "=",    "%",     "+",         "_",    "\t",   "\r",   "\n",    "=\n", "&",
        ";",    "&lt;", "&#65;", "&thetasym", "\x80", "\xE9", "B",    "z",     "\x1F"};
    const auto [least, most] = kLengths[number(0, 3) % 3];
    const std::size_t length = size(std::min(least, longest), std::min(most, longest));
    const std::int64_t spread = std::array{1, 2, 16, 300}[size(0, 3)];
    std::array<std::string_view, 3> pieces;
    for (std::string_view &piece : pieces) piece = kPieces[size(0, std::size(kPieces) - 1)];
    std::string text;
    while (text.size() < length) {
      const std::size_t k = number(1, spread) == 1 ? size(0, 3) : 4;
      text +=
          k < 3 ? std::string(pieces[k]) : std::string(1, k == 3 ? static_cast<char>(number(0, 255)) : 'a');
    }
    return text.substr(0, length);
  }

 private:
  std::mt19937_64 random_ = seeded_random<std::mt19937_64>();
};

TEST(Kernels, StandInTheirRelations) {
  const std::array levels = {&cpu::level()};
  RandomSource source;
  Relations<Guarded> relations(source, levels);
  for (int round = 0; round < 3000; ++round) {
    for (const auto &relation : Relations<Guarded>::kAll) (relations.*relation)();
  }
}

}  // namespace
}  // namespace kzv
