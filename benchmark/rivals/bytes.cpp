// Jobs on bytes that libraries leave to the C library or to a loop: the loop that one keeps, which compilers
// turn into vector code. All of them write into a buffer of the frame, as our functions do.
#include <QByteArrayMatcher>
#include <algorithm>
#include <array>
#include <cstring>
#include <functional>

#include "base/hex_digits.h"
#include "compiled.h"
#include "frame/transform.h"
#include "rivals.h"
#include "transfer/hex_dump.h"

namespace kzv::rivals {
namespace {

using hex_dump::Shape;

// Short texts without a call of the C library.
std::uint8_t *add(ByteView text, std::uint8_t *next) {
  if (text.size() != 1) return std::ranges::copy(text, next).out;
  *next = text[0];
  return next + 1;
}

std::size_t dump(ByteView in, const Shape &shape, ByteBuffer out) {
  const auto hexlen = static_cast<std::size_t>(shape.hexlen);
  const std::size_t digit_count = in.size() * 2;
  std::uint8_t *next = out.data();
  std::size_t digit = 0;
  std::size_t filled = 0;
  while (digit < digit_count) {
    next = add(shape.linestart, next);
    for (std::int32_t group = 0; group < shape.linelen; ++group) {
      if (group > 0) next = add(shape.spacer, next);
      if (hexlen % 2 == 0 && digit + hexlen <= digit_count) {
        for (std::size_t i = 0; i < hexlen; i += 2, digit += 2, next += 2) {
          std::memcpy(next, &kHexPairs[in[digit / 2]], 2);
        }
        continue;
      }
      for (std::size_t i = 0; i < hexlen; ++i, ++digit) {
        *next++ = digit < digit_count ? static_cast<std::uint8_t>(kHexPairs[in[digit / 2]][digit % 2])
                                      : shape.filler[filled++ % shape.filler.size()];
      }
    }
    next = add(shape.lineend, next);
  }
  return static_cast<std::size_t>(next - out.data());
}

REALstringStruct *LoopHexDump(REALstringStruct *s, std::int32_t hexlen, std::int32_t linelen,
                              REALstringStruct *start, REALstringStruct *end, REALstringStruct *between,
                              REALstringStruct *padding) {
  Output output;
  Read<rbData>({s, start, end, between, padding}, [&](const rbData &data, const auto &...text) {
    const Shape shape = {hexlen, linelen, text.bytes()...};
    output.Fill(*hex_dump::dump_bound(data.bytes().size(), shape),
                [&](ByteBuffer out) { return Compiled<dump>::call(data.bytes(), shape, out); });
  });
  return output.Finish(kEncodingASCII);
}

// Repeats the mask, twice as much at each step, until it is long enough for vector code, and combines as many
// bytes at a time.
template <typename Operation>
std::size_t with_mask(ByteView in, ByteView mask, std::size_t offset, ByteBuffer out) {
  constexpr std::size_t kLong = 512;
  const std::size_t period = std::max(kLong / mask.size(), std::size_t{1}) * mask.size();
  Buffer<1024> memory;
  if (!memory.allocate(period)) return 0;
  std::uint8_t *__restrict const pattern = memory.data();
  std::ranges::rotate_copy(mask, mask.begin() + static_cast<std::ptrdiff_t>(offset), pattern);
  for (std::size_t filled = mask.size(); filled < std::min(period, in.size()); filled *= 2) {
    std::copy_n(pattern, std::min(filled, period - filled), pattern + filled);
  }
  std::uint8_t *__restrict const to = out.data();
  for (std::size_t at = 0; at < in.size(); at += period) {
    const std::size_t end = std::min(period, in.size() - at);
    for (std::size_t i = 0; i < end; ++i) {
      to[at + i] = static_cast<std::uint8_t>(Operation()(in[at + i], pattern[i]));
    }
  }
  return in.size();
}

template <typename Operation>
REALstringStruct *WithMask(REALstringStruct *data, REALstringStruct *mask, std::int32_t offset) {
  Output output;
  Read<rbData>({data, mask}, [&](const rbData &in, const rbData &repeated) {
    output.Fill(in.bytes().size(), [&](ByteBuffer out) {
      return Compiled<with_mask<Operation>>::call(in.bytes(), repeated.bytes(),
                                                  static_cast<std::size_t>(offset), out);
    });
  });
  return output.Finish(kEncodingBytes);
}

REALstringStruct *LoopAnd(REALstringStruct *data, REALstringStruct *mask) {
  return WithMask<std::bit_and<>>(data, mask, 0);
}
REALstringStruct *LoopOr(REALstringStruct *data, REALstringStruct *mask) {
  return WithMask<std::bit_or<>>(data, mask, 0);
}

template <typename Is>
bool none_of(ByteView in, Is is) {
  std::size_t at = 0;
  for (; in.size() - at >= kLoopBlock; at += kLoopBlock) {
    if (any_in_block(in.data() + at, is)) return false;
  }
  return std::ranges::none_of(in.subspan(at), [is](std::uint8_t byte) { return is(byte) > 0; });
}

bool all_between(ByteView in, std::uint8_t lowest, std::uint8_t highest) {
  return none_of(in, [=](std::uint8_t byte) { return count_of(byte < lowest, highest < byte); });
}

REALboolean LoopIsAscii(REALstringStruct *s, std::int32_t mode) {
  const std::uint8_t lowest = mode == 0 ? 0 : 32;
  const std::uint8_t highest = mode == 2 ? 255 : 127;
  return Read<rbData>({s}, [=](const rbData &argument) {
    return ToREALboolean(Compiled<all_between>::call(argument.bytes(), lowest, highest));
  });
}

bool is_html_ready(ByteView in) {
  return none_of(in, [](std::uint8_t byte) {
    return count_of(byte == 0, byte >= 0x80, byte == '"', byte == '&', byte == '\'', byte == '<',
                    byte == '>');
  });
}

REALboolean LoopIsHtmlReady(REALstringStruct *s) {
  return Read<rbData>({s}, [](const rbData &argument) {
    return ToREALboolean(Compiled<is_html_ready>::call(argument.bytes()));
  });
}

std::size_t replace_non_printable(ByteView in, std::uint8_t replacement, ByteBuffer out) {
  std::uint8_t *__restrict const to = out.data();
  for (std::size_t i = 0; i < in.size(); ++i) to[i] = in[i] < 32 || in[i] > 127 ? replacement : in[i];
  return in.size();
}

REALstringStruct *LoopReplace(REALstringStruct *s, std::int32_t replacement) {
  return TransformBytes(s, kEncodingASCII, kOneByteEach, [=](ByteView in, ByteBuffer out) {
    return Compiled<replace_non_printable>::call(in, static_cast<std::uint8_t>(replacement), out);
  });
}

std::int32_t MemcmpBytes(REALstringStruct *a, REALstringStruct *b) {
  const rbData first(a);
  const rbData second(b);
  const std::size_t common = std::min(first.bytes().size(), second.bytes().size());
  const int order = std::memcmp(first.bytes().data(), second.bytes().data(), common);
  if (order != 0) return order < 0 ? -1 : 1;
  return first.bytes().size() == second.bytes().size()  ? 0
         : first.bytes().size() < second.bytes().size() ? -1
                                                        : 1;
}

REALstringStruct *Joined(std::initializer_list<REALstringStruct *> parts, auto result, auto append) {
  for (REALstringStruct *const part : parts) {
    const rbData argument(part);
    append(result, chars(argument.bytes()));
  }
  return REALBuildUnicodeString(result.data(), static_cast<std::int64_t>(result.size()), kEncodingBytes);
}

template <typename Find>
std::int32_t Count(REALstringStruct *s, REALstringStruct *find, Find next) {
  const rbData needle(find);
  const rbData text(s);
  const ByteView all = text.bytes();
  const std::uint8_t *at = all.data();
  const std::uint8_t *const end = at + all.size();
  std::int32_t count = 0;
  while (at < end) {
    at = static_cast<const std::uint8_t *>(next(at, static_cast<std::size_t>(end - at), needle.bytes()));
    if (at == nullptr) break;
    ++count;
    at += needle.bytes().size();
  }
  return count;
}

std::int32_t MemmemCount(REALstringStruct *s, REALstringStruct *find) {
  return Count(s, find, [](const void *at, std::size_t left, ByteView needle) -> const void * {
    return memmem(at, left, needle.data(), needle.size());
  });
}

std::int32_t MemchrCount(REALstringStruct *s, REALstringStruct *find) {
  return Count(s, find, [](const void *at, std::size_t left, ByteView needle) -> const void * {
    return std::memchr(at, needle[0], left);
  });
}

std::int32_t count_byte(ByteView in, std::uint8_t wanted) {
  return static_cast<std::int32_t>(std::ranges::count(in, wanted));
}

std::int32_t LoopCount(REALstringStruct *s, REALstringStruct *find) {
  return Read<rbData>({find, s}, [](const rbData &needle, const rbData &text) {
    return Compiled<count_byte>::call(text.bytes(), needle.bytes()[0]);
  });
}

std::int32_t QtCount(REALstringStruct *s, REALstringStruct *find) {
  const rbData needle(find);
  const QByteArrayMatcher matcher(reinterpret_cast<const char *>(needle.bytes().data()),
                                  static_cast<qsizetype>(needle.bytes().size()));
  return Count(s, find, [&](const void *at, std::size_t left, ByteView) -> const void * {
    const auto *const text = static_cast<const char *>(at);
    const qsizetype found = matcher.indexIn(text, static_cast<qsizetype>(left));
    return found < 0 ? nullptr : text + found;
  });
}

REALstringStruct *StdConcat(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c,
                            REALstringStruct *d, REALstringStruct *e, REALstringStruct *f) {
  return Joined({a, b, c, d, e, f}, std::string(),
                [](std::string &all, std::string_view part) { all += part; });
}

REALstringStruct *CopyConcat(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c,
                             REALstringStruct *d, REALstringStruct *e, REALstringStruct *f) {
  Output output;
  Read<rbData>({a, b, c, d, e, f}, [&](const auto &...part) {
    output.Fill((part.bytes().size() + ...), [&](ByteBuffer out) {
      std::uint8_t *next = out.data();
      ((std::memcpy(next, part.bytes().data(), part.bytes().size()), next += part.bytes().size()), ...);
      return out.size();
    });
  });
  return output.Finish(kEncodingBytes);
}

REALstringStruct *QtConcat(REALstringStruct *a, REALstringStruct *b, REALstringStruct *c, REALstringStruct *d,
                           REALstringStruct *e, REALstringStruct *f) {
  return Joined({a, b, c, d, e, f}, QByteArray(), [](QByteArray &all, std::string_view part) {
    all.append(part.data(), static_cast<qsizetype>(part.size()));
  });
}

}  // namespace

Methods bytes() {
  static const REALmethodDefinition all[] = {
      RIVAL("loop_Hexstring(s as string, hexlen as integer, linelen as integer, linestart as string, lineend "
            "as "
            "string, spacer as string, filler as string) as string",
            LoopHexDump),
      RIVAL("loop_StringAND(a as string, b as string) as string", LoopAnd),
      RIVAL("loop_StringOR(a as string, b as string) as string", LoopOr),
      RIVAL("loop_StringXOR(data as string, mask as string, offset as integer) as string",
            WithMask<std::bit_xor<>>),
      RIVAL("loop_IsASCIIString(s as string, mode as integer) as boolean", LoopIsAscii),
      RIVAL("loop_ReplaceNonPrintableCharacters(s as string, replacement as integer) as string", LoopReplace),
      RIVAL("loop_StringIsHTMLready(s as string) as boolean", LoopIsHtmlReady),
      RIVAL("memcmp_StrCompBytes(a as string, b as string) as integer", MemcmpBytes),
      RIVAL("memmem_CountOccurances(s as string, find as string) as integer", MemmemCount),
      RIVAL("Qt_CountOccurances(s as string, find as string) as integer", QtCount),
      RIVAL("memchr_CountLetter(s as string, find as string) as integer", MemchrCount),
      RIVAL("loop_CountLetter(s as string, find as string) as integer", LoopCount),
      RIVAL("stdstring_ConcatBinaryStrings(a as string, b as string, c as string, d as string, e as string, "
            "f as "
            "string) as string",
            StdConcat),
      RIVAL("copy_ConcatBinaryStrings(a as string, b as string, c as string, d as string, e as string, f as "
            "string) as string",
            CopyConcat),
      RIVAL("Qt_ConcatBinaryStrings(a as string, b as string, c as string, d as string, e as string, f as "
            "string) as "
            "string",
            QtConcat),
  };
  return all;
}

}  // namespace kzv::rivals
