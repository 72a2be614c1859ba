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

#include "frame/entry_points.h"
#include "rivals.h"

namespace kzv::rivals {
namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";

template <void (*kBegin)(GMimeEncoding *, GMimeContentEncoding)>
std::string by_gmime(std::string_view text) {
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

void add_escape(std::string &text, char c) {
  const auto byte = static_cast<unsigned char>(c);
  text.push_back('=');
  text.push_back(kDigits[byte >> 4]);
  text.push_back(kDigits[byte & 15]);
}

bool is_break(char c) { return c == '\r' || c == '\n'; }

// The position after the line break at `at`: CR LF, LF CR, CR or LF.
std::size_t after_break(std::string_view text, std::size_t at) {
  return at + 1 < text.size() && is_break(text[at + 1]) && text[at + 1] != text[at] ? at + 2 : at + 1;
}

REALstringStruct *LoopEncode(REALstringStruct *s, std::int32_t line_length) {
  return FromBytes(s, kEncodingASCII, [=](std::string_view text) {
    const auto capacity = static_cast<std::size_t>(line_length - 2);
    std::string encoded;
    encoded.reserve(text.size() * 3);
    std::size_t column = 0;
    bool lines = false;
    for (std::size_t at = 0; at < text.size();) {
      const char c = text[at];
      if (is_break(c)) {
        encoded += "\r\n";
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
        encoded += "=\r\n";
        column = 0;
      }
      column += width;
      if (plain) {
        encoded.push_back(c);
      } else {
        add_escape(encoded, c);
      }
    }
    if (lines && column > 0) encoded += "=\r\n";
    return encoded;
  });
}

int digit_of(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

REALstringStruct *LoopDecode(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII, [](std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
      const char c = text[at];
      if (is_break(c)) {
        decoded.push_back('\n');
        at = after_break(text, at);
      } else if (c != '=') {
        decoded.push_back(c);
        ++at;
      } else if (at + 1 < text.size() &&
                 (is_break(text[at + 1]) || text[at + 1] == ' ' || text[at + 1] == '\t')) {
        while (at < text.size() && !is_break(text[at])) ++at;
        if (at < text.size()) at = after_break(text, at);
      } else {
        const int high = at + 2 < text.size() ? digit_of(text[at + 1]) : -1;
        const int low = at + 2 < text.size() ? digit_of(text[at + 2]) : -1;
        if (high >= 0 && low >= 0) decoded.push_back(static_cast<char>(high * 16 + low));
        at += 3;
      }
    }
    return decoded;
  });
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

REALstringStruct *LoopSubject(REALstringStruct *s) {
  return Subject(s, [](std::string_view text) {
    std::string encoded = "=?utf-8?Q?";
    encoded.reserve(text.size() * 3 + 12);
    for (const char c : text) {
      if (c == ' ') {
        encoded.push_back('_');
      } else if (c == '=' || c == '_' || static_cast<unsigned char>(c) >= 0x80) {
        add_escape(encoded, c);
      } else {
        encoded.push_back(c);
      }
    }
    encoded += "?=";
    return encoded;
  });
}

REALstringStruct *LoopYenc(REALstringStruct *s) {
  return FromBytes(s, kEncodingBytes, [](std::string_view text) {
    return written(text.size(), [text](char *out) {
      const char *const begin = out;
      for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '=') {
          *out++ = static_cast<char>(text[at] - 42);
        } else if (++at < text.size()) {
          *out++ = static_cast<char>(text[at] - 42 - 64);
        }
      }
      return out - begin;
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
      RIVAL("loop_yDecodeString(s as string) as string", LoopYenc),
  };
  return all;
}

}  // namespace kzv::rivals
