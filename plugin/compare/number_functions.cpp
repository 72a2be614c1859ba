#include <array>

#include "compare/numbers.h"
#include "frame/results.h"
#include "functions.h"

namespace kzv {

REALstringStruct *Str(double d) {
  std::array<char, numbers::kFixedBound> text;
  const std::size_t length = numbers::fixed(d, text);
  return REALBuildUnicodeString(text.data(), static_cast<std::int64_t>(length), kEncodingASCII);
}

REALstringStruct *ScientificStr(double d, std::int32_t digits) {
  std::array<char, numbers::kScientificBound> text;
  const std::size_t length = numbers::scientific(d, digits, text);
  return REALBuildUnicodeString(text.data(), static_cast<std::int64_t>(length), kEncodingASCII);
}

}  // namespace kzv
