// Jobs on bytes that libraries leave to the C library or to a loop: the loop that one writes first and keeps,
// without vector code of its own.
#include <QByteArrayMatcher>
#include <algorithm>
#include <cstring>
#include <functional>

#include "rivals.h"

namespace kzv::rivals {
namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";

REALstringStruct *LoopHexDump(REALstringStruct *s, std::int32_t hexlen, std::int32_t linelen,
                              REALstringStruct *start, REALstringStruct *end, REALstringStruct *between,
                              REALstringStruct *padding) {
  const rbData line_start(start);
  const rbData line_end(end);
  const rbData spacer(between);
  const rbData filler(padding);
  return FromBytes(s, kEncodingASCII, [&](std::string_view text) {
    std::string dump;
    dump.reserve(text.size() * 4);
    std::size_t digit = 0;
    std::size_t filled = 0;
    while (digit < text.size() * 2) {
      dump += chars(line_start.bytes());
      for (std::int32_t group = 0; group < linelen; ++group) {
        if (group > 0) dump += chars(spacer.bytes());
        for (std::int32_t i = 0; i < hexlen; ++i, ++digit) {
          if (digit < text.size() * 2) {
            const auto byte = static_cast<unsigned char>(text[digit / 2]);
            dump.push_back(kDigits[digit % 2 == 0 ? byte >> 4 : byte & 15]);
          } else {
            dump.push_back(chars(filler.bytes())[filled++ % filler.bytes().size()]);
          }
        }
      }
      dump += chars(line_end.bytes());
    }
    return dump;
  });
}

template <typename Operation>
REALstringStruct *WithMask(REALstringStruct *data, REALstringStruct *repeated, std::size_t offset,
                           Operation operation) {
  const rbData mask(repeated);
  return FromBytes(data, kEncodingBytes, [&](std::string_view text) {
    return written(text.size(), [&](char *out) {
      const ByteView bytes = mask.bytes();
      std::size_t cursor = offset;
      for (std::size_t i = 0; i < text.size(); ++i) {
        out[i] = static_cast<char>(operation(static_cast<unsigned char>(text[i]), bytes[cursor]));
        if (++cursor == bytes.size()) cursor = 0;
      }
      return text.size();
    });
  });
}

REALstringStruct *LoopAnd(REALstringStruct *data, REALstringStruct *mask) {
  return WithMask(data, mask, 0, std::bit_and<>());
}
REALstringStruct *LoopOr(REALstringStruct *data, REALstringStruct *mask) {
  return WithMask(data, mask, 0, std::bit_or<>());
}
REALstringStruct *LoopXor(REALstringStruct *data, REALstringStruct *mask, std::int32_t offset) {
  return WithMask(data, mask, static_cast<std::size_t>(offset), std::bit_xor<>());
}

REALboolean LoopIsAscii(REALstringStruct *s, std::int32_t mode) {
  const rbData argument(s);
  const unsigned char lowest = mode == 0 ? 0 : 32;
  const unsigned char highest = mode == 2 ? 255 : 127;
  return ToREALboolean(std::ranges::all_of(
      argument.bytes(), [=](unsigned char byte) { return byte >= lowest && byte <= highest; }));
}

REALstringStruct *LoopReplace(REALstringStruct *s, std::int32_t replacement) {
  return FromBytes(s, kEncodingASCII, [=](std::string_view text) {
    return written(text.size(), [=](char *out) {
      return std::ranges::replace_copy_if(
                 text, out, [](char c) { return c < 32; }, static_cast<char>(replacement))
                 .out -
             out;
    });
  });
}

REALboolean LoopIsHtmlReady(REALstringStruct *s) {
  const rbData argument(s);
  return ToREALboolean(std::ranges::all_of(argument.bytes(), [](unsigned char byte) {
    return byte > 0 && byte < 0x80 && byte != '"' && byte != '&' && byte != '\'' && byte != '<' &&
           byte != '>';
  }));
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

std::int32_t StdCount(REALstringStruct *s, REALstringStruct *find) {
  const rbData needle(find);
  const rbData text(s);
  return static_cast<std::int32_t>(std::ranges::count(text.bytes(), needle.bytes()[0]));
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
      RIVAL("loop_StringXOR(data as string, mask as string, offset as integer) as string", LoopXor),
      RIVAL("loop_IsASCIIString(s as string, mode as integer) as boolean", LoopIsAscii),
      RIVAL("loop_ReplaceNonPrintableCharacters(s as string, replacement as integer) as string", LoopReplace),
      RIVAL("loop_StringIsHTMLready(s as string) as boolean", LoopIsHtmlReady),
      RIVAL("memcmp_StrCompBytes(a as string, b as string) as integer", MemcmpBytes),
      RIVAL("memmem_CountOccurances(s as string, find as string) as integer", MemmemCount),
      RIVAL("Qt_CountOccurances(s as string, find as string) as integer", QtCount),
      RIVAL("memchr_CountLetter(s as string, find as string) as integer", MemchrCount),
      RIVAL("stdcount_CountLetter(s as string, find as string) as integer", StdCount),
      RIVAL("stdstring_ConcatBinaryStrings(a as string, b as string, c as string, d as string, e as string, "
            "f as "
            "string) as string",
            StdConcat),
      RIVAL("Qt_ConcatBinaryStrings(a as string, b as string, c as string, d as string, e as string, f as "
            "string) as "
            "string",
            QtConcat),
  };
  return all;
}

}  // namespace kzv::rivals
