#include "elf_file.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <elf.h>
#include <unistd.h>

#include "shown.h"

namespace kzv::host {
namespace fs = std::filesystem;
namespace {

constexpr unsigned char kOurByteOrder =
    std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

// No table of a library is nearly as large; a damaged file may claim any size.
constexpr std::size_t kLargestTable = 64 << 20;

// Headers of both widths are the same up to and including the machine.
constexpr std::size_t kHeadSize = offsetof(Elf32_Ehdr, e_version);

unsigned char identity(const std::string &head, std::size_t index) {
  return static_cast<unsigned char>(head[index]);
}

std::string name_of_machine(std::uint16_t machine) {
  switch (machine) {
    case EM_X86_64:
      return "x86-64";
    case EM_386:
      return "x86";
    case EM_AARCH64:
    case EM_ARM:
      return "ARM";
    default:
      return "machine type " + std::to_string(machine);
  }
}

// The zero-terminated text at `start`; empty if the terminator is missing.
std::string_view text_at(std::string_view bytes, std::size_t start) {
  if (start >= bytes.size()) return {};
  const std::size_t end = bytes.find('\0', start);
  return end == std::string_view::npos ? std::string_view{} : bytes.substr(start, end - start);
}

// Takes the first `size` bytes and the padding after them; nothing when there are fewer.
std::optional<std::string_view> take(std::string_view &bytes, std::size_t size, std::size_t alignment) {
  if (size > bytes.size()) return std::nullopt;
  const std::string_view taken = bytes.substr(0, size);
  bytes.remove_prefix(std::min(size + (alignment - size % alignment) % alignment, bytes.size()));
  return taken;
}

// The text of the note of `owner` among those in `notes`.
std::optional<std::string> find_note(std::string_view notes, std::size_t alignment, std::string_view owner) {
  Elf32_Nhdr header{};  // the same in both widths
  while (const auto start = take(notes, sizeof header, 4)) {
    std::memcpy(&header, start->data(), sizeof header);
    const auto name = take(notes, header.n_namesz, alignment);
    const auto text = take(notes, header.n_descsz, alignment);
    if (!name || !text) return std::nullopt;
    if (text_at(*name, 0) == owner) return std::string(text_at(*text, 0));
  }
  return std::nullopt;
}

}  // namespace

ElfFile::ElfFile(const fs::path &path) : path_(path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status)) fail("it is a directory");
  if (error || access(path.c_str(), R_OK) != 0) fail(std::strerror(error ? error.value() : errno));
  if (!fs::is_regular_file(status)) fail("it is a device or a pipe");
  size_ = fs::file_size(path);
  stream_.open(path, std::ios::binary);
  if (size_ >= SELFMAG) head_ = read({0, std::min<std::uint64_t>(size_, kHeadSize)});
  if (!head_.starts_with(ELFMAG)) fail("it is not a library (not an ELF file)");
  if (head_.size() < kHeadSize) fail("the file is cut short; copy it again");
  const unsigned char width = identity(head_, EI_CLASS);
  const unsigned char order = identity(head_, EI_DATA);
  if ((width != ELFCLASS32 && width != ELFCLASS64) || (order != ELFDATA2LSB && order != ELFDATA2MSB))
    fail("the file is damaged");
}

void ElfFile::fail(const std::string &why) const {
  throw LoadError("cannot load " + shown(path_.string()) + ": " + why);
}

bool ElfFile::is_64_bit() const { return identity(head_, EI_CLASS) == ELFCLASS64; }

std::string ElfFile::architecture() const {
  std::uint16_t machine = 0;
  std::memcpy(&machine, head_.data() + offsetof(Elf32_Ehdr, e_machine), sizeof machine);
  if (identity(head_, EI_DATA) != kOurByteOrder)
    machine = static_cast<std::uint16_t>(machine << 8 | machine >> 8);
  return (is_64_bit() ? "64-bit " : "32-bit ") + name_of_machine(machine);
}

std::string ElfFile::read(const Range &range) {
  if (range.offset > size_ || range.size > size_ - range.offset) fail("the file is cut short; copy it again");
  if (range.size > kLargestTable) fail("the file is damaged");
  std::string bytes(static_cast<std::size_t>(range.size), '\0');
  stream_.seekg(static_cast<std::streamoff>(range.offset));
  stream_.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!stream_) fail("it cannot be read");
  return bytes;
}

template <typename Row>
std::vector<Row> ElfFile::read_table(const Range &range) {
  const std::string bytes = read(range);
  std::vector<Row> rows(bytes.size() / sizeof(Row));
  if (!rows.empty()) std::memcpy(rows.data(), bytes.data(), rows.size() * sizeof(Row));
  return rows;
}

template <typename Header, typename Section, typename Segment>
void ElfFile::read_parts() {
  const Header header = read_table<Header>({0, sizeof(Header)}).front();
  sections_.emplace();
  for (const Section &section :
       read_table<Section>({header.e_shoff, std::uint64_t{header.e_shnum} * sizeof(Section)})) {
    const std::uint64_t size = section.sh_type == SHT_NOBITS ? 0 : section.sh_size;
    sections_->push_back({section.sh_type, {section.sh_offset, size}, section.sh_link, 0});
  }
  for (const Segment &segment :
       read_table<Segment>({header.e_phoff, std::uint64_t{header.e_phnum} * sizeof(Segment)})) {
    segments_.push_back({segment.p_type, {segment.p_offset, segment.p_filesz}, 0, segment.p_align});
  }
}

void ElfFile::need_parts() {
  if (sections_) return;
  if (identity(head_, EI_DATA) != kOurByteOrder) fail("it is for a processor with the other byte order");
  if (is_64_bit()) {
    read_parts<Elf64_Ehdr, Elf64_Shdr, Elf64_Phdr>();
  } else {
    read_parts<Elf32_Ehdr, Elf32_Shdr, Elf32_Phdr>();
  }
}

void ElfFile::check_complete() {
  need_parts();
  const auto reaches_beyond = [&](const Part &part) {
    return part.range.offset > size_ || part.range.size > size_ - part.range.offset;
  };
  if (std::ranges::any_of(segments_, reaches_beyond)) fail("the file is cut short; copy it again");
}

template <typename Symbol>
bool ElfFile::exports_as(std::string_view symbol) {
  for (const Part &section : *sections_) {
    if (section.type != SHT_DYNSYM || section.link >= sections_->size()) continue;
    const std::string names = read((*sections_)[section.link].range);
    for (const Symbol &row : read_table<Symbol>(section.range)) {
      if (row.st_shndx != SHN_UNDEF && text_at(names, row.st_name) == symbol) return true;
    }
  }
  return false;
}

bool ElfFile::exports(std::string_view symbol) {
  need_parts();
  return is_64_bit() ? exports_as<Elf64_Sym>(symbol) : exports_as<Elf32_Sym>(symbol);
}

std::optional<std::string> ElfFile::note(std::string_view owner) {
  need_parts();
  for (const Part &segment : segments_) {
    if (segment.type != PT_NOTE) continue;
    if (auto text = find_note(read(segment.range), segment.alignment == 8 ? 8 : 4, owner)) return text;
  }
  return std::nullopt;
}

}  // namespace kzv::host
