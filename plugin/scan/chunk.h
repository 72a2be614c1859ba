// A text in chunks of whole blocks, with zeros after the end of the text.
#pragma once

#include <algorithm>
#include <cstring>

#include "scan/masks.h"

namespace kzv::scan {

// One chunk, to be read. After its last block come two more bytes of the text (zeros after the end), so that
// an escape can be followed across the end of a chunk.
//
//   text of 1200 bytes    [ 16 blocks of 64 bytes ][ 2 blocks ][ tail of 48 bytes ]
//                          chunk                    chunk       chunk: one block, 16 bytes of padding
class Chunk {
 public:
  static constexpr std::size_t kLookahead = 2;

  // The chunk of `text` that begins at `start`, which is less than the text's size. A tail is copied, all
  // else is read where it is.
  Chunk(ByteView text, std::size_t start) : start_(start) {
    const std::size_t left = text.size() - start;
    bytes_ = text.data() + start;
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

  // Writes the chunk with `introducer` and two hex digits in place of each byte of `escaped`. Returns the
  // number of bytes written; up to kWriteAfterEscaped more may be overwritten.
  std::size_t write_escaped(Masks &escaped, char introducer, std::uint8_t *output) const {
    drop_padding(escaped);
    return cpu::level().write_escapes(bytes_, blocks_, escaped.data(), introducer, output) - padding();
  }

 protected:
  [[nodiscard]] std::size_t padding() const { return blocks_ * cpu::kBlock - size_; }
  void drop_padding(Masks &masks) const {
    if (padding() > 0) masks[blocks_ - 1] &= bits_below(cpu::kBlock - padding());
  }
  [[nodiscard]] const std::uint8_t *bytes() const { return bytes_; }
  void move_to(const std::uint8_t *bytes) { bytes_ = bytes; }
  // The chunk's own memory if it is the tail, or null.
  std::uint8_t *own_bytes() { return bytes_ == tail_.data() ? tail_.data() : nullptr; }

 private:
  // The rest of the text, at most one block and the two bytes that no chunk before could look ahead to.
  void load_tail(std::size_t left) {
    size_ = left;
    blocks_ = left > cpu::kBlock ? 2 : 1;
    cpu::level().load_partial(bytes_, std::min(left, cpu::kBlock), tail_.data());
    if (blocks_ == 2) {
      cpu::level().load_partial(bytes_ + cpu::kBlock, left - cpu::kBlock, tail_.data() + cpu::kBlock);
    }
    std::memset(tail_.data() + blocks_ * cpu::kBlock, 0, kLookahead);
    bytes_ = tail_.data();
  }

  std::size_t start_;  // in the text
  std::size_t size_;
  std::size_t blocks_;
  const std::uint8_t *bytes_;
  std::array<std::uint8_t, 2 * cpu::kBlock + kLookahead> tail_;
};

// Bytes after those that Chunk::write_escaped returns, which it may overwrite.
inline constexpr std::size_t kWriteAfterEscaped = 2 * cpu::kBlock;

// What a chunk becomes at most if every byte is escaped.
using EscapedChunk = std::array<std::uint8_t, 3 * kChunkBlocks * cpu::kBlock + kWriteAfterEscaped>;

// A chunk whose bytes can be changed. The text itself stays as it is: the first change copies the chunk to
// where its output will be.
class EditableChunk : public Chunk {
 public:
  // `output` holds at least as many bytes as the text has from `start` on.
  EditableChunk(ByteView text, std::size_t start, std::uint8_t *output)
      : Chunk(text, start), output_(output) {
    // Padding might not fit into the output, so the tail is changed where it was loaded.
    copy_ = own_bytes() != nullptr ? own_bytes() : output;
  }

  // Adds `everywhere` to each byte and `there` to those of `where`, modulo 256.
  void add(const Masks &where, std::uint8_t everywhere, std::uint8_t there) {
    cpu::level().add(bytes(), blocks(), where.data(), everywhere, there, copy_);
    now_in_copy();
  }

  // Writes `byte` over those of `where`.
  void fill(const Masks &where, std::uint8_t byte) {
    cpu::level().fill(bytes(), blocks(), where.data(), byte, copy_);
    now_in_copy();
  }

  // Writes, over each byte of `where`, the number that the two hex digits after it make.
  void decode_escapes(const Masks &where) {
    cpu::level().decode_escapes(bytes(), blocks(), where.data(), copy_);
    now_in_copy();
  }

  // A block, to be written to.
  std::uint8_t *writable_block(std::size_t i) {
    if (bytes() != copy_) std::memcpy(copy_, bytes(), blocks() * cpu::kBlock);
    now_in_copy();
    return copy_ + i * cpu::kBlock;
  }

  // Writes the bytes of `kept` to the output, close together, and returns their number. Padding is left out.
  std::size_t write_kept(Masks &kept) {
    drop_padding(kept);
    std::uint8_t *const to = padding() > 0 ? copy_ : output_;
    const std::size_t count = cpu::level().compact(bytes(), blocks(), kept.data(), to);
    if (padding() > 0) std::memcpy(output_, to, count);
    return count;
  }

 private:
  void now_in_copy() {
    if (bytes() == copy_) return;
    const std::size_t end = blocks() * cpu::kBlock;
    std::memcpy(copy_ + end, bytes() + end, kLookahead);
    move_to(copy_);
  }

  std::uint8_t *output_;
  std::uint8_t *copy_;  // whole blocks and the lookahead
};

}  // namespace kzv::scan
