// A text in chunks of whole blocks, with zeros after the end of the text.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstring>

#include "scan/masks.h"

namespace kzv::scan {

// One chunk. After its last block come two more bytes of the text (zeros after the end), so that an escape
// can be followed across the end. Changes leave the text as it is: the first one copies the chunk to where
// its output will be.
//
//   text of 1200 bytes    [ 16 blocks of 64 bytes ][ 2 blocks ][ tail of 48 bytes ]
//                          chunk                    chunk       chunk: one block, 16 bytes of padding
class Chunk {
 public:
  static constexpr std::size_t kLookahead = 2;

  // The chunk of `text` that begins at `start`, which is less than the text's size. `output` holds at least
  // as many bytes as the text has from `start` on; a chunk that is only read needs none.
  Chunk(ByteView text, std::size_t start, std::uint8_t *output = nullptr)
      : start_(start), bytes_(text.data() + start), output_(output), copy_(output) {
    const std::size_t left = text.size() - start;
    blocks_ = left > kLookahead ? std::min((left - kLookahead) / cpu::kBlock, kChunkBlocks) : 0;
    size_ = blocks_ * cpu::kBlock;
    if (blocks_ == 0) load_tail(left);
  }
  Chunk(const Chunk &) = delete;
  Chunk &operator=(const Chunk &) = delete;

  [[nodiscard]] std::size_t size() const { return size_; }  // without padding
  [[nodiscard]] std::size_t blocks() const { return blocks_; }
  [[nodiscard]] std::size_t block_start(std::size_t i) const { return start_ + i * cpu::kBlock; }

  // Finds the bytes of a set. Padding counts as zero bytes.
  void find(const cpu::ByteSet &set, Masks &masks) const {
    cpu::level().find(bytes_, blocks_, set, masks.data());
  }

  // Which of the two bytes after the last block belong to a set, as the first bits of one more mask.
  [[nodiscard]] std::uint64_t find_in_lookahead(const cpu::ByteSet &set) const {
    const std::uint8_t *const after = bytes_ + blocks_ * cpu::kBlock;
    return bit_if(set.contains(after[0])) | bit_if(set.contains(after[1])) << 1;
  }

  // Adds `everywhere` to each byte and `there` to those of `where`, modulo 256.
  void add(const Masks &where, std::uint8_t everywhere, std::uint8_t there) {
    cpu::level().add(bytes_, blocks_, where.data(), everywhere, there, copy_);
    move_to_copy();
  }

  // Writes `byte` over those of `where`.
  void fill(const Masks &where, std::uint8_t byte) {
    cpu::level().fill(bytes_, blocks_, where.data(), byte, copy_);
    move_to_copy();
  }

  // Writes, over each byte of `where`, the number that the two hex digits after it make.
  void decode_escapes(const Masks &where) {
    cpu::level().decode_escapes(bytes_, blocks_, where.data(), copy_);
    move_to_copy();
  }

  std::uint8_t *writable_block(std::size_t i) {
    if (bytes_ != copy_) std::memcpy(copy_, bytes_, blocks_ * cpu::kBlock);
    move_to_copy();
    return copy_ + i * cpu::kBlock;
  }

  // Writes the bytes of `kept`, close together, to the output; returns their number. Padding is left out.
  std::size_t write_kept(Masks &kept) {
    return write(kept,
                 [&](std::uint8_t *to) { return cpu::level().compact(bytes_, blocks_, kept.data(), to); });
  }

  // The same with each byte as add makes it.
  std::size_t write_kept_sums(Masks &kept, const Masks &where, std::uint8_t everywhere, std::uint8_t there) {
    return write(kept, [&](std::uint8_t *to) {
      return cpu::level().compact_sums(bytes_, blocks_, kept.data(), where.data(), everywhere, there, to);
    });
  }

  // Writes the chunk with `introducer` and two hex digits in place of each byte of `escaped`. Returns the
  // number of bytes written; up to kWriteAfterEscaped more may be overwritten.
  std::size_t write_escaped(Masks &escaped, char introducer, std::uint8_t *output) const {
    drop_padding(escaped);
    return cpu::level().write_escapes(bytes_, blocks_, escaped.data(), introducer, output) - padding();
  }

 private:
  // Has `compact(to)` write the bytes of `kept`, padding left out.
  template <typename Compact>
  std::size_t write(Masks &kept, Compact compact) {
    drop_padding(kept);
    if (padding() == 0) return compact(output_);
    const std::size_t count = compact(copy_);
    std::memcpy(output_, copy_, count);
    return count;
  }

  // The rest of the text, at most 65 bytes: with one more, a block and its lookahead could be read in place.
  // It is changed where it is loaded, because padding might not fit into the output.
  void load_tail(std::size_t left) {
    size_ = left;
    blocks_ = left > cpu::kBlock ? 2 : 1;
    cpu::level().load_partial(bytes_, std::min(left, cpu::kBlock), tail_.data());
    if (blocks_ == 2) {
      cpu::level().load_partial(bytes_ + cpu::kBlock, left - cpu::kBlock, tail_.data() + cpu::kBlock);
    }
    std::memset(tail_.data() + blocks_ * cpu::kBlock, 0, kLookahead);
    bytes_ = copy_ = tail_.data();
  }

  void move_to_copy() {
    if (bytes_ == copy_) return;
    const std::size_t end = blocks_ * cpu::kBlock;
    std::memcpy(copy_ + end, bytes_ + end, kLookahead);
    bytes_ = copy_;
  }

  [[nodiscard]] std::size_t padding() const { return blocks_ * cpu::kBlock - size_; }
  void drop_padding(Masks &masks) const {
    if (padding() > 0) masks[blocks_ - 1] &= bits_below(cpu::kBlock - padding());
  }

  std::size_t start_;  // in the text
  std::size_t size_;
  std::size_t blocks_;
  const std::uint8_t *bytes_;
  std::uint8_t *output_;
  std::uint8_t *copy_;  // for changes: whole blocks and the lookahead
  std::array<std::uint8_t, 2 * cpu::kBlock + kLookahead> tail_;
};

// Bytes after those that Chunk::write_escaped returns, which it may overwrite.
inline constexpr std::size_t kWriteAfterEscaped = 2 * cpu::kBlock;

// What a chunk becomes at most if every byte is escaped.
using EscapedChunk = std::array<std::uint8_t, 3 * kChunkBlocks * cpu::kBlock + kWriteAfterEscaped>;

// Has `write(chunk)` write what becomes of each chunk, at most as many bytes as it has; the output holds as
// many as the input. Returns the number written.
template <typename Write>
std::size_t write_chunks(ByteView input, Write write, ByteBuffer output) {
  assert(output.size() >= input.size());
  std::size_t written = 0;
  for (std::size_t at = 0; at < input.size();) {
    Chunk chunk(input, at, output.data() + written);
    written += write(chunk);
    at += chunk.size();
  }
  return written;
}

// Has `choose(chunk, kept)` set the masks of the bytes to keep of each chunk, which it may change first.
// Padding is never kept, whatever its bits. The output and the result are as above.
template <typename Choose>
std::size_t keep(ByteView input, Choose choose, ByteBuffer output) {
  const auto write = [&](Chunk &chunk) {
    Masks kept;
    choose(chunk, kept);
    return chunk.write_kept(kept);
  };
  return write_chunks(input, write, output);
}

}  // namespace kzv::scan
