#include "compare/comparison_functions.h"

#include <cstdio>
#include <optional>

#include "compare/distance.h"
#include "compare/ordering.h"
#include "frame/exceptions.h"
#include "frame/transform.h"

namespace kzv {
namespace {

distance::WideView WideTextOf(rbText &text) { return {text.GetWChar(), text.LengthWChar()}; }

void RaiseNoMemoryFor(std::uint64_t byte_count) {
  char message[100];
  std::snprintf(message, sizeof message, "Failed to allocate %lld bytes of memory.",
                static_cast<long long>(byte_count));
  RaiseException(kOutOfMemory, message);
}

}  // namespace

std::int32_t StrCompBytes(REALstringStruct *a, REALstringStruct *b) {
  const rbData first(a);
  const rbData second(b);
  if (!first.present()) return -1;
  if (!second.present()) return 1;
  return ordering::compare(first.bytes(), second.bytes());
}

std::int32_t StrCompCharacters(REALstringStruct *a, REALstringStruct *b) {
  const REALencoding encoding_of_a = REALGetStringEncoding(a);
  if (encoding_of_a == REALGetStringEncoding(b)) {
    const rbData first(a);
    const rbData second(b);
    if (!first.present() || !second.present()) return -1;
    return ordering::compare(first.bytes(), second.bytes());
  }
  // The byte order of UTF-8 is the order of the characters.
  rbText first(a);
  rbText second(b);
  const ByteView text_of_a = first.utf8();
  return ordering::compare(text_of_a, second.utf8());
}

std::int32_t CountOccurances(REALstringStruct *s, REALstringStruct *find) {
  if (find == nullptr) return 0;
  const rbData needle(find);
  const rbData text(s);
  return ordering::count(text.bytes(), needle.bytes());
}

double JaroWinklerDistance(REALstringStruct *a, REALstringStruct *b) {
  std::size_t flags = 0;
  {
    rbText first(a);
    rbText second(b);
    const distance::WideView text_of_a = WideTextOf(first);
    const std::optional<double> result = distance::jaro_winkler(text_of_a, WideTextOf(second));
    if (result) return *result;
    flags = text_of_a.size();
  }
  RaiseNoMemoryFor(flags);
  return 0.0;
}

double LevenshteinDistance(REALstringStruct *a, REALstringStruct *b) {
  std::uint64_t matrix = 0;
  {
    rbText first(a);
    rbText second(b);
    const distance::WideView text_of_a = WideTextOf(first);
    const distance::WideView text_of_b = WideTextOf(second);
    if (text_of_a.empty() || text_of_b.empty()) return 1.0;
    // No matrix is made, but the texts that may be compared are those that one would fit.
    matrix = distance::matrix_byte_count(text_of_a.size(), text_of_b.size());
    if (matrix <= kMaxByteCount) {
      const std::optional<double> result = distance::edit_distance(text_of_a, text_of_b);
      if (result) return *result;
    }
  }
  RaiseNoMemoryFor(matrix);
  return 1.0;
}

}  // namespace kzv
