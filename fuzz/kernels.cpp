// Fuzzes the kernels: an input chooses one of their relations and brings the arguments for it, at every
// level.
#include <fuzzer/FuzzedDataProvider.h>

#include "cpu/level.h"
#include "support/relations.h"

namespace kzv {
namespace {

class FuzzedSource : public Source {
 public:
  FuzzedSource(const std::uint8_t *data, std::size_t size) : in_(data, size) {}

  std::int64_t number(std::int64_t least, std::int64_t greatest) override {
    return in_.ConsumeIntegralInRange(least, greatest);
  }

  // Often a piece that repeats, so that it comes at every place in a block.
  std::string text(std::size_t longest) override {
    const std::size_t most = std::min(longest, std::size_t{2500});
    const std::string piece = in_.ConsumeRandomLengthString(most);
    return flag() ? piece + copies(piece, most / (piece.size() + 1)) : piece;
  }

 private:
  FuzzedDataProvider in_;
};

}  // namespace
}  // namespace kzv

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  for (const kzv::cpu::Level *const level : kzv::cpu::levels()) {
    kzv::cpu::choose(*level);
    kzv::FuzzedSource source(data, size);
    kzv::relations::kAll[source.size(0, std::size(kzv::relations::kAll) - 1)](source);
  }
  return 0;
}
