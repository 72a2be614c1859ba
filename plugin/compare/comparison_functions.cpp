#include <cstdio>
#include <cstring>
#include <optional>

#include "compare/distance.h"
#include "compare/ordering.h"
#include "frame/transform.h"
#include "functions.h"

namespace kzv {
namespace {

distance::WideView WideTextOf(rbText &text) { return {text.GetWChar(), text.LengthWChar()}; }

// Asked before texts are widened, which takes longer.
bool AreEqual(CodeUnitView a, CodeUnitView b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size_bytes()) == 0);
}

void RaiseNoMemoryFor(std::uint64_t byte_count) {
  char message[100];
  std::snprintf(message, sizeof message, "Failed to allocate %lld bytes of memory.",
                static_cast<long long>(byte_count));
  RaiseException(kOutOfMemory, message);
}

}  // namespace

std::int32_t StrCompBytes(REALstringStruct *a, REALstringStruct *b) {
  return Read<rbData>({a, b}, [](const rbData &first, const rbData &second) {
    if (!first.present()) return -1;
    if (!second.present()) return 1;
    return ordering::compare(first.bytes(), second.bytes());
  });
}

std::int32_t StrCompCharacters(REALstringStruct *a, REALstringStruct *b) {
  const REALencoding encoding_of_a = REALGetStringEncoding(a);
  if (encoding_of_a == REALGetStringEncoding(b)) {
    return Read<rbData>({a, b}, [](const rbData &first, const rbData &second) {
      if (!first.present() || !second.present()) return -1;
      return ordering::compare(first.bytes(), second.bytes());
    });
  }
  // The byte order of UTF-8 is the order of the characters.
  return Read<rbText>({a, b}, [](rbText &first, rbText &second) {
    const ByteView text_of_a = first.utf8();
    return ordering::compare(text_of_a, second.utf8());
  });
}

std::int32_t CountOccurances(REALstringStruct *s, REALstringStruct *find) {
  if (find == nullptr) return 0;
  return Read<rbData>({find, s}, [](const rbData &needle, const rbData &text) {
    return ordering::count(text.bytes(), needle.bytes());
  });
}

double JaroWinklerDistance(REALstringStruct *a, REALstringStruct *b) {
  std::size_t byte_count = 0;  // that the message reports: one flag for each unit of the first text
  const std::optional<double> result = Read<rbText>({a, b}, [&](rbText &first, rbText &second) {
    if (AreEqual(first.utf16(), second.utf16())) return std::optional(0.0);
    const distance::WideView text_of_a = WideTextOf(first);
    byte_count = text_of_a.size();
    return distance::jaro_winkler(text_of_a, WideTextOf(second));
  });
  if (!result) RaiseNoMemoryFor(byte_count);
  return result.value_or(0.0);
}

double LevenshteinDistance(REALstringStruct *a, REALstringStruct *b) {
  std::uint64_t matrix = 0;
  const std::optional<double> result = Read<rbText>({a, b}, [&](rbText &first, rbText &second) {
    const distance::WideView text_of_a = WideTextOf(first);
    const distance::WideView text_of_b = WideTextOf(second);
    // No matrix is made, but only texts whose matrix would be within the limit are compared.
    matrix = distance::matrix_byte_count(text_of_a.size(), text_of_b.size());
    const bool comparable = text_of_a.empty() || text_of_b.empty() || matrix <= kMaxByteCount;
    return comparable ? distance::edit_distance(text_of_a, text_of_b) : std::nullopt;
  });
  if (!result) RaiseNoMemoryFor(matrix);
  return result.value_or(1.0);
}

}  // namespace kzv
