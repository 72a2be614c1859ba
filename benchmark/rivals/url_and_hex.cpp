// URLs: libcurl escapes ! * + @ and keeps ~; GLib and Qt are set to keep ! * + @ but keep ~ as well; Poco
// gets a list of what to escape. The inputs hold none of these five. Hex: Qt and Abseil write digits in lower
// case.
#include <Poco/HexBinaryDecoder.h>
#include <Poco/HexBinaryEncoder.h>
#include <Poco/URI.h>
#include <QByteArray>
#include <absl/strings/escaping.h>
#include <boost/algorithm/hex.hpp>
#include <curl/curl.h>
#include <glib.h>
#include <iterator>
#include <openssl/crypto.h>
#include <sstream>

#include "rivals.h"

namespace kzv::rivals {
namespace {

constexpr const char *kUnescapedToo = "!*+@";

QByteArray lent(std::string_view text) {
  return QByteArray::fromRawData(text.data(), static_cast<qsizetype>(text.size()));
}

REALstringStruct *CurlEncode(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII, [](std::string_view text) {
    return LibraryText(curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size())), curl_free);
  });
}

REALstringStruct *CurlDecode(REALstringStruct *s) {
  return FromBytes(s, kEncodingBytes, [](std::string_view text) {
    int length = 0;
    char *const decoded = curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), &length);
    return LibraryText(decoded, curl_free, static_cast<std::size_t>(length));
  });
}

REALstringStruct *GlibEncode(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII, [](std::string_view text) {
    return LibraryText(g_uri_escape_bytes(unsigned_chars(text), text.size(), kUnescapedToo), g_free);
  });
}

REALstringStruct *GlibDecode(REALstringStruct *s) {
  return FromBytes(s, kEncodingBytes, [](std::string_view text) {
    gsize length = 0;
    GBytes *const bytes =
        g_uri_unescape_bytes(text.data(), static_cast<gssize>(text.size()), nullptr, nullptr);
    void *const data = g_bytes_unref_to_data(bytes, &length);
    return LibraryText(data, g_free, length);
  });
}

REALstringStruct *QtEncode(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII,
                   [](std::string_view text) { return lent(text).toPercentEncoding(kUnescapedToo); });
}

REALstringStruct *QtDecode(REALstringStruct *s) {
  return FromBytes(s, kEncodingBytes,
                   [](std::string_view text) { return QByteArray::fromPercentEncoding(lent(text)); });
}

REALstringStruct *PocoEncode(REALstringStruct *s) {
  static const std::string reserved = "\"#$%&'(),/:;<=>?[\\]^`{|}";
  return FromBytes(s, kEncodingASCII, [](std::string_view text) {
    std::string encoded;
    Poco::URI::encode(std::string(text), reserved, encoded);
    return encoded;
  });
}

REALstringStruct *PocoDecode(REALstringStruct *s) {
  return FromBytes(s, kEncodingBytes, [](std::string_view text) {
    std::string decoded;
    Poco::URI::decode(std::string(text), decoded);
    return decoded;
  });
}

REALstringStruct *QtToHex(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII, [](std::string_view text) { return lent(text).toHex(); });
}

REALstringStruct *QtFromHex(REALstringStruct *s) {
  return FromBytes(s, kEncodingBytes, [](std::string_view text) { return QByteArray::fromHex(lent(text)); });
}

REALstringStruct *BoostToHex(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII, [](std::string_view text) {
    return written(text.size() * 2,
                   [text](char *out) { return boost::algorithm::hex(text.begin(), text.end(), out) - out; });
  });
}

REALstringStruct *BoostFromHex(REALstringStruct *s) {
  return FromBytes(s, kEncodingBytes, [](std::string_view text) {
    return written(text.size() / 2, [text](char *out) {
      return boost::algorithm::unhex(text.begin(), text.end(), out) - out;
    });
  });
}

REALstringStruct *AbseilToHex(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII, [](std::string_view text) {
    return absl::BytesToHexString({text.data(), text.size()});
  });
}

REALstringStruct *AbseilFromHex(REALstringStruct *s) {
  return FromBytes(s, kEncodingBytes, [](std::string_view text) {
    return absl::HexStringToBytes({text.data(), text.size()});
  });
}

REALstringStruct *OpensslToHex(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII, [](std::string_view text) {
    const std::size_t capacity = text.size() * 2 + 1;
    return written(capacity, [=](char *out) {
      OPENSSL_buf2hexstr_ex(out, capacity, nullptr, unsigned_chars(text), text.size(), '\0');
      return capacity - 1;
    });
  });
}

REALstringStruct *OpensslFromHex(REALstringStruct *s) {
  return FromUtf8(s, kEncodingBytes, [](std::string_view text) {
    const std::size_t capacity = text.size() / 2;
    return written(capacity, [=](char *out) {
      OPENSSL_hexstr2buf_ex(reinterpret_cast<unsigned char *>(out), capacity, nullptr, text.data(), '\0');
      return capacity;
    });
  });
}

REALstringStruct *PocoToHex(REALstringStruct *s) {
  return FromBytes(s, kEncodingASCII, [](std::string_view text) {
    std::ostringstream out;
    Poco::HexBinaryEncoder encoder(out);
    encoder.rdbuf()->setUppercase();
    encoder.rdbuf()->setLineLength(0);
    encoder.write(text.data(), static_cast<std::streamsize>(text.size()));
    encoder.close();
    return out.str();
  });
}

REALstringStruct *PocoFromHex(REALstringStruct *s) {
  return FromBytes(s, kEncodingBytes, [](std::string_view text) {
    std::istringstream in{std::string(text)};
    Poco::HexBinaryDecoder decoder(in);
    return std::string(std::istreambuf_iterator<char>(decoder), {});
  });
}

}  // namespace

Methods url_and_hex() {
  static const REALmethodDefinition all[] = {
      RIVAL("libcurl_EncodingToURL(s as string) as string", CurlEncode),
      RIVAL("libcurl_DecodingFromURL(s as string) as string", CurlDecode),
      RIVAL("GLib_EncodingToURL(s as string) as string", GlibEncode),
      RIVAL("GLib_DecodingFromURL(s as string) as string", GlibDecode),
      RIVAL("Qt_EncodingToURL(s as string) as string", QtEncode),
      RIVAL("Qt_DecodingFromURL(s as string) as string", QtDecode),
      RIVAL("Poco_EncodingToURL(s as string) as string", PocoEncode),
      RIVAL("Poco_DecodingFromURL(s as string) as string", PocoDecode),
      RIVAL("Qt_EncodingToHex(s as string) as string", QtToHex),
      RIVAL("Qt_DecodingFromHex(s as string) as string", QtFromHex),
      RIVAL("Boost_EncodingToHex(s as string) as string", BoostToHex),
      RIVAL("Boost_DecodingFromHex(s as string) as string", BoostFromHex),
      RIVAL("Abseil_EncodingToHex(s as string) as string", AbseilToHex),
      RIVAL("Abseil_DecodingFromHex(s as string) as string", AbseilFromHex),
      RIVAL("OpenSSL_EncodingToHex(s as string) as string", OpensslToHex),
      RIVAL("OpenSSL_DecodingFromHex(s as string) as string", OpensslFromHex),
      RIVAL("Poco_EncodingToHex(s as string) as string", PocoToHex),
      RIVAL("Poco_DecodingFromHex(s as string) as string", PocoFromHex),
  };
  return all;
}

}  // namespace kzv::rivals
