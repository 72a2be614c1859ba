// Quoted-printable: GMime ends lines with LF and breaks them elsewhere, Poco does the latter; compared
// without soft breaks and CR. Subjects: GMime and Poco fold the text into many encoded words, and GMime may
// choose base64; compared decoded. The loops do exactly what we do.
#include <Poco/Net/MailMessage.h>
#include <Poco/Net/QuotedPrintableDecoder.h>
#include <Poco/Net/QuotedPrintableEncoder.h>
#include <algorithm>
#include <gmime/gmime.h>
#include <iterator>
#include <sstream>

#include "base/hex_digits.h"
#include "compiled.h"
#include "frame/entry_points.h"
#include "frame/transform.h"
#include "rivals.h"

namespace kzv::rivals {
namespace {

template <void (*kBegin)(GMimeEncoding *, GMimeContentEncoding)>
WrittenText by_gmime(std::string_view text) {
  GMimeEncoding state;
  kBegin(&state, GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
  return written(g_mime_encoding_outlen(&state, text.size()),
                 [&](char *out) { return g_mime_encoding_flush(&state, text.data(), text.size(), out); });
}

REALstringStruct *GmimeEncode(REALstringStruct *s, std::int32_t) {
  return FromBytes(s, kEncodingASCII, by_gmime<g_mime_encoding_init_encode>);
}
REALstringStruct *GmimeDecode(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII, by_gmime<g_mime_encoding_init_decode>);
}

REALstringStruct *PocoEncode(REALstringStruct *s, std::int32_t) {
  return FromBytes(s, kEncodingASCII, [](std::string_view text) {
    std::ostringstream out;
    Poco::Net::QuotedPrintableEncoder encoder(out);
    encoder.write(text.data(), static_cast<std::streamsize>(text.size()));
    encoder.close();
    return out.str();
  });
}

REALstringStruct *PocoDecode(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII, [](std::string_view text) {
    std::istringstream in{std::string(text)};
    Poco::Net::QuotedPrintableDecoder decoder(in);
    return std::string(std::istreambuf_iterator<char>(decoder), {});
  });
}

void add_escape(std::uint8_t byte, std::uint8_t *&next) {
  *next++ = '=';
  next = std::copy(kHexPairs[byte].begin(), kHexPairs[byte].end(), next);
}

void add_text(std::string_view text, std::uint8_t *&next) {
  next = std::copy(text.begin(), text.end(), next);
}

bool is_break(std::uint8_t byte) { return byte == '\r' || byte == '\n'; }

// The position after the line break at `at`: CR LF, LF CR, CR or LF.
std::size_t after_break(ByteView text, std::size_t at) {
  return at + 1 < text.size() && is_break(text[at + 1]) && text[at + 1] != text[at] ? at + 2 : at + 1;
}

std::size_t encode_lines(ByteView text, std::size_t capacity, ByteBuffer out) {
  std::uint8_t *next = out.data();
  std::size_t column = 0;
  bool lines = false;
  for (std::size_t at = 0; at < text.size();) {
    const std::uint8_t c = text[at];
    if (is_break(c)) {
      add_text("\r\n", next);
      at = after_break(text, at);
      column = 0;
      lines = true;
      continue;
    }
    ++at;
    const bool at_end = at < text.size() && is_break(text[at]);
    const bool white = c == ' ' || c == '\t';
    const bool plain = white ? !at_end : c > ' ' && c <= '~' && c != '=';
    const std::size_t width = plain ? 1 : 3;
    if (column + width > capacity) {
      add_text("=\r\n", next);
      column = 0;
    }
    column += width;
    if (plain) {
      *next++ = c;
    } else {
      add_escape(c, next);
    }
  }
  if (lines && column > 0) add_text("=\r\n", next);
  return static_cast<std::size_t>(next - out.data());
}

REALstringStruct *LoopEncode(REALstringStruct *s, std::int32_t line_length) {
  const auto bound = [](std::size_t byte_count) { return std::uint64_t{byte_count} * 4 + 3; };
  return TransformBytes(s, kEncodingASCII, bound, [=](ByteView in, ByteBuffer out) {
    return Compiled<encode_lines>::call(in, static_cast<std::size_t>(line_length - 2), out);
  });
}

std::size_t decode_lines(ByteView text, ByteBuffer out) {
  return by_blocks(
      text, out, [](std::uint8_t c) { return count_of(c == '=', c == '\r', c == '\n'); },
      [](std::uint8_t c) { return c; },
      [text](std::size_t &at, std::uint8_t *&next) {
        const std::uint8_t c = text[at];
        if (is_break(c)) {
          *next++ = '\n';
          at = after_break(text, at);
        } else if (c != '=') {
          *next++ = c;
          ++at;
        } else if (at + 1 < text.size() &&
                   (is_break(text[at + 1]) || text[at + 1] == ' ' || text[at + 1] == '\t')) {
          while (at < text.size() && !is_break(text[at])) ++at;
          if (at < text.size()) at = after_break(text, at);
        } else {
          if (at + 2 < text.size() && is_hex_digit(text[at + 1]) && is_hex_digit(text[at + 2])) {
            *next++ = static_cast<std::uint8_t>(kDigitValues[text[at + 1]] * 16 + kDigitValues[text[at + 2]]);
          }
          at += 3;
        }
      });
}

REALstringStruct *LoopDecode(REALstringStruct *s) {
  return TransformBytes(s, kEncodingASCII, kOneByteEach, Compiled<decode_lines>::call);
}

// A text that needs no encoding is returned as it is, with a reference of its own.
template <typename Encode>
REALstringStruct *Subject(REALstringStruct *s, Encode encode) {
  bool needed = false;
  REALstringStruct *result = nullptr;
  {
    rbText argument(s);
    const std::string_view text = chars(argument.utf8());
    needed = std::any_of(text.begin(), text.end(), [](char c) { return c < 32; });
    if (needed) {
      const auto encoded = encode(text);
      result =
          REALBuildUnicodeString(encoded.data(), static_cast<std::int64_t>(encoded.size()), kEncodingASCII);
    }
  }
  if (!needed) REALLockString(s);
  return needed ? result : s;
}

REALstringStruct *GmimeSubject(REALstringStruct *s) {
  static const bool begun = (g_mime_init(), true);
  return Subject(s, [](std::string_view text) {
    return LibraryText(begun ? g_mime_utils_header_encode_text(nullptr, text.data(), "utf-8") : nullptr,
                       g_free);
  });
}

REALstringStruct *PocoSubject(REALstringStruct *s) {
  return Subject(s, [](std::string_view text) {
    return Poco::Net::MailMessage::encodeWord(std::string(text), "utf-8");
  });
}

std::size_t encode_word(ByteView text, ByteBuffer out) {
  std::uint8_t *next = out.data();
  add_text("=?utf-8?Q?", next);
  for (const std::uint8_t byte : text) {
    if (byte == '=' || byte == '_' || byte >= 0x80) {
      add_escape(byte, next);
    } else {
      *next++ = byte == ' ' ? std::uint8_t{'_'} : byte;
    }
  }
  add_text("?=", next);
  return static_cast<std::size_t>(next - out.data());
}

REALstringStruct *LoopSubject(REALstringStruct *s) {
  return Subject(s, [](std::string_view text) {
    const std::size_t capacity = text.size() * 3 + 12;
    return written(capacity, [=](char *out) {
      return Compiled<encode_word>::call({unsigned_chars(text), text.size()},
                                         {reinterpret_cast<std::uint8_t *>(out), capacity});
    });
  });
}

}  // namespace

Methods mail() {
  static const REALmethodDefinition all[] = {
      RIVAL("GMime_EncodingToQuotedPrintable(s as string, LineLen as integer) as string", GmimeEncode),
      RIVAL("GMime_DecodingFromQuotedPrintable(s as string) as string", GmimeDecode),
      RIVAL("Poco_EncodingToQuotedPrintable(s as string, LineLen as integer) as string", PocoEncode),
      RIVAL("Poco_DecodingFromQuotedPrintable(s as string) as string", PocoDecode),
      RIVAL("loop_EncodingToQuotedPrintable(s as string, LineLen as integer) as string", LoopEncode),
      RIVAL("loop_DecodingFromQuotedPrintable(s as string) as string", LoopDecode),
      RIVAL("GMime_EncodeEmailSubject(s as string) as string", GmimeSubject),
      RIVAL("Poco_EncodeEmailSubject(s as string) as string", PocoSubject),
      RIVAL("loop_EncodeEmailSubject(s as string) as string", LoopSubject),
  };
  return all;
}

}  // namespace kzv::rivals
