// Fuzzes the kernels: an input chooses one of their relations and brings the arguments for it. What a kernel
// is given stands in heap blocks of exactly the size needed, so that the address sanitizer sees every step
// beyond.
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>
#include <memory>

#include "support/relations.h"

namespace kzv {
namespace {

// Bytes that end where their heap block does.
class Exact {
 public:
  explicit Exact(std::size_t size) : block_(new std::uint8_t[skew + size]), size_(size) {}
  explicit Exact(std::string_view text) : Exact(text.size()) {
    if (!text.empty()) std::memcpy(bytes().data(), text.data(), text.size());
  }
  ByteBuffer bytes() { return {block_.get() + skew, size_}; }

  static inline std::size_t skew = 0;  // how far behind an aligned address all of an input's blocks begin

 private:
  std::unique_ptr<std::uint8_t[]> block_;
  std::size_t size_;
};

class FuzzedSource : public Source {
 public:
  FuzzedSource(const std::uint8_t *data, std::size_t size) : in_(data, size) {}

  std::int64_t number(std::int64_t least, std::int64_t greatest) override {
    return in_.ConsumeIntegralInRange(least, greatest);
  }

  // Often a piece that repeats: it meets every place in a block.
  std::string text(std::size_t longest) override {
    const std::size_t most = std::min(longest, std::size_t{2500});
    const std::string piece = in_.ConsumeRandomLengthString(most);
    std::string text = piece;
    const std::size_t times = flag() ? size(1, std::max(most / (piece.size() + 1), std::size_t{1})) : 1;
    for (std::size_t i = 1; i < times; ++i) text += piece;
    return text;
  }

 private:
  FuzzedDataProvider in_;
};

}  // namespace
}  // namespace kzv

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using Relations = kzv::Relations<kzv::Exact>;
  kzv::FuzzedSource source(data, size);
  const std::size_t relation = source.size(0, std::size(Relations::kAll) - 1);
  kzv::Exact::skew = source.size(0, 15);
  Relations relations(source, kzv::cpu::levels());
  (relations.*Relations::kAll[relation])();
  return 0;
}
