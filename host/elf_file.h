// The file of a library of either width, read as data: nothing in it is loaded, run or trusted.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kzv::host {

// Why a file could not be loaded or read, in words for a person.
struct LoadError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Everything throws LoadError for a file that is cut short or damaged.
class ElfFile {
 public:
  explicit ElfFile(const std::filesystem::path &path);

  // "64-bit x86-64", "32-bit x86" and the like.
  std::string architecture() const;

  // Throws for a file that ends before what its tables promise: the dynamic linker would crash on it. Of a
  // file in the other byte order only the architecture can be read.
  void check_complete();

  bool exports(std::string_view symbol);

  // The text of the file's note whose owner is `owner`.
  std::optional<std::string> note(std::string_view owner);

 private:
  struct Range {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
  };
  // A section or a segment, of either width.
  struct Part {
    std::uint32_t type = 0;
    Range range;
    std::uint32_t link = 0;
    std::uint64_t alignment = 0;
  };

  [[noreturn]] void fail(const std::string &why) const;
  bool is_64_bit() const;
  std::string read(const Range &range);
  template <typename Row>
  std::vector<Row> read_table(const Range &range);
  template <typename Header, typename Section, typename Segment>
  void read_parts();
  void need_parts();
  template <typename Symbol>
  bool exports_as(std::string_view symbol);

  std::filesystem::path path_;
  std::ifstream stream_;
  std::uint64_t size_ = 0;
  std::string head_;  // the part of the header that is the same in both widths
  std::optional<std::vector<Part>> sections_;
  std::vector<Part> segments_;
};

}  // namespace kzv::host
