// The binary contract with the host: what crosses the boundary, and its layout in memory on every build.
#pragma once

#include <cstddef>
#include <cstdint>

// Host objects. All are opaque and owned by the host; a null string is the empty string.
struct REALstringStruct;
struct REALobjectStruct;
struct REALmemoryBlockStruct;

// Number of a text encoding, in the numbering of the macOS Text Encoding Converter.
using REALencoding = std::uint32_t;

inline constexpr REALencoding kEncodingMacRoman = 0x0;
inline constexpr REALencoding kEncodingUTF16 = 0x100;
inline constexpr REALencoding kEncodingWindows1252 = 0x500;
inline constexpr REALencoding kEncodingASCII = 0x600;
inline constexpr REALencoding kEncodingUTF8 = 0x8000100;
inline constexpr REALencoding kEncodingUTF32 = 0xC000100;
inline constexpr REALencoding kEncodingBytes = 0xFFFF;  // bytes as stored, no text encoding

// The longest string or memory block: lengths cross the boundary as signed 32-bit integers.
inline constexpr std::uint64_t kMaxByteCount = 0x7FFFFFFF;

// A boolean is the low byte of a register or stack slot; the bits above it are undefined.
enum class REALboolean : std::uint32_t {};

constexpr bool IsTrue(REALboolean value) { return (static_cast<std::uint32_t>(value) & 0xFF) != 0; }
constexpr REALboolean ToREALboolean(bool value) { return static_cast<REALboolean>(value ? 1 : 0); }

// A string's bytes, lent by the host until the record is disposed.
struct REALstringData {
  const std::uint8_t *data;
  std::int32_t length;  // bytes; untrusted, can be negative
  REALencoding encoding;
  void *reserved[2];  // the host's own
};

// One function to register: its address and its declaration in the host language.
struct REALmethodDefinition {
  void *function;
  void *unused;
  const char *declaration;
  std::uint32_t flags;  // kMethodFlags in every record
  std::uint32_t reserved[2];
};
inline constexpr std::uint32_t kMethodFlags = 4;

// Maps the name of a host service to its address; null when the host does not have it.
using REALresolver = void *(*)(const char *name);

// The string object of older hosts, read directly: at kStringBufferOffset a pointer (unaligned on 64-bit) to
// the buffer, whose text begins kStringTextOffset bytes in; at kStringLengthOffset the 32-bit byte count.
inline constexpr std::size_t kStringBufferOffset = 4;
inline constexpr std::size_t kStringLengthOffset = 12;
inline constexpr std::size_t kStringTextOffset = 1;

static_assert(offsetof(REALstringData, length) == sizeof(void *));
static_assert(offsetof(REALstringData, encoding) == sizeof(void *) + 4);
static_assert(offsetof(REALmethodDefinition, declaration) == 2 * sizeof(void *));
static_assert(offsetof(REALmethodDefinition, flags) == 3 * sizeof(void *));
static_assert(sizeof(void *) != 4 ||
              (sizeof(REALstringData) == 5 * 4 && sizeof(REALmethodDefinition) == 6 * 4));
static_assert(sizeof(double) == 8);

// A 32-bit host may call with a stack that is aligned to 4 bytes only.
#if defined(__i386__)
#define KZV_CALLED_BY_HOST __attribute__((force_align_arg_pointer))
#else
#define KZV_CALLED_BY_HOST
#endif

#if defined(_WIN32)
#define KZV_EXPORTED __declspec(dllexport)
#else
#define KZV_EXPORTED __attribute__((visibility("default")))
#endif

extern "C" KZV_EXPORTED void REALPluginMain(REALresolver resolver);
