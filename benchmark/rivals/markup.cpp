// Encoding: libxml2's htmlEncodeEntities and UTF8ToHtml write the same names and numbers as we do. GLib, Qt
// and xmlEncodeSpecialChars leave letters above ASCII as they are, and ICU writes all of them as numbers, so
// these four compete on texts without such letters or names. Apostrophes are avoided: most leave them.
// Decoding: all but libxml2's HTML parser know the five names of XML only, and some of them read more than
// text: tags are markup to a parser. Inputs for all hold the five and numbers.
#include <QString>
#include <QXmlStreamReader>
#include <glib.h>
#include <libxml/HTMLparser.h>
#include <unicode/ucnv.h>

#include "rivals.h"

namespace kzv::rivals {
namespace {

using Char = xmlChar;

QString to_qt(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

LibraryText xml_text(Char *text) {
  return {text, [](void *owned) { xmlFree(owned); }};
}

REALstringStruct *GlibEncode(REALstringStruct *s, std::int32_t) {
  return FromUtf8(s, kEncodingASCII, [](std::string_view text) {
    return LibraryText(g_markup_escape_text(text.data(), static_cast<gssize>(text.size())), g_free);
  });
}

REALstringStruct *QtEncode(REALstringStruct *s, std::int32_t) {
  return FromUtf8(s, kEncodingASCII,
                  [](std::string_view text) { return to_qt(text).toHtmlEscaped().toUtf8(); });
}

REALstringStruct *XmlEncode(REALstringStruct *s, std::int32_t) {
  return FromUtf8(s, kEncodingASCII, [](std::string_view text) {
    return xml_text(xmlEncodeSpecialChars(nullptr, unsigned_chars(text)));
  });
}

template <typename Encode>
REALstringStruct *EncodeToHtml(REALstringStruct *s, Encode encode) {
  return FromUtf8(s, kEncodingASCII, [=](std::string_view text) {
    return written(text.size() * 8 + 16, [=](char *out) {
      int in_length = static_cast<int>(text.size());
      int out_length = in_length * 8 + 16;
      encode(reinterpret_cast<unsigned char *>(out), &out_length, unsigned_chars(text), &in_length);
      return out_length;
    });
  });
}

REALstringStruct *HtmlEncode(REALstringStruct *s, std::int32_t) {
  return EncodeToHtml(s, [](unsigned char *out, int *capacity, const unsigned char *in, int *length) {
    htmlEncodeEntities(out, capacity, in, length, '"');
  });
}

REALstringStruct *HtmlEncodeLetters(REALstringStruct *s, std::int32_t) { return EncodeToHtml(s, UTF8ToHtml); }

REALstringStruct *IcuEncodeLetters(REALstringStruct *s, std::int32_t) {
  thread_local UConverter *const utf8 = [] {
    UErrorCode error = U_ZERO_ERROR;
    return ucnv_open("UTF-8", &error);
  }();
  thread_local UConverter *const ascii = [] {
    UErrorCode error = U_ZERO_ERROR;
    UConverter *const converter = ucnv_open("US-ASCII", &error);
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_DEC, nullptr, nullptr,
                          &error);
    return converter;
  }();
  return FromUtf8(s, kEncodingASCII, [](std::string_view text) {
    const std::size_t capacity = text.size() * 8 + 16;
    return written(capacity, [=](char *out) {
      UErrorCode error = U_ZERO_ERROR;
      char *end = out;
      const char *in = text.data();
      ucnv_convertEx(ascii, utf8, &end, out + capacity, &in, in + text.size(), nullptr, nullptr, nullptr,
                     nullptr, UBool{1}, UBool{1}, &error);
      return end - out;
    });
  });
}

REALstringStruct *GlibDecode(REALstringStruct *s) {
  return FromUtf8(s, kEncodingUTF8, [](std::string_view text) {
    GMarkupParser parser{};
    parser.text = [](GMarkupParseContext *, const gchar *some, gsize length, gpointer all, GError **) {
      static_cast<std::string *>(all)->append(some, length);
    };
    std::string decoded;
    GMarkupParseContext *const context =
        g_markup_parse_context_new(&parser, GMarkupParseFlags(), &decoded, nullptr);
    g_markup_parse_context_parse(context, "<a>", 3, nullptr);
    g_markup_parse_context_parse(context, text.data(), static_cast<gssize>(text.size()), nullptr);
    g_markup_parse_context_parse(context, "</a>", 4, nullptr);
    g_markup_parse_context_free(context);
    return decoded;
  });
}

REALstringStruct *QtDecode(REALstringStruct *s) {
  return FromUtf8(s, kEncodingUTF8, [](std::string_view text) {
    QXmlStreamReader reader("<a>");
    reader.addData(QByteArray::fromRawData(text.data(), static_cast<qsizetype>(text.size())));
    reader.addData("</a>");
    QString decoded;
    while (!reader.atEnd()) {
      if (reader.readNext() == QXmlStreamReader::Characters) decoded += reader.text();
    }
    return decoded.toUtf8();
  });
}

REALstringStruct *HtmlDecode(REALstringStruct *s) {
  return FromUtf8(s, kEncodingUTF8, [](std::string_view text) {
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        htmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8",
                       HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NODEFDTD),
        xmlFreeDoc);
    return xml_text(xmlNodeGetContent(xmlDocGetRootElement(document.get())));
  });
}

}  // namespace

Methods markup() {
  static const REALmethodDefinition all[] = {
      RIVAL("GLib_EncodingToHTML(s as string, options as integer) as string", GlibEncode),
      RIVAL("Qt_EncodingToHTML(s as string, options as integer) as string", QtEncode),
      RIVAL("libxml2special_EncodingToHTML(s as string, options as integer) as string", XmlEncode),
      RIVAL("libxml2_EncodingToHTML(s as string, options as integer) as string", HtmlEncode),
      RIVAL("libxml2_EncodingLettersToHTML(s as string, options as integer) as string", HtmlEncodeLetters),
      RIVAL("ICU_EncodingLettersToHTML(s as string, options as integer) as string", IcuEncodeLetters),
      RIVAL("GLib_DecodingFromHTML(s as string) as string", GlibDecode),
      RIVAL("Qt_DecodingFromHTML(s as string) as string", QtDecode),
      RIVAL("libxml2_DecodingFromHTML(s as string) as string", HtmlDecode),
  };
  return all;
}

}  // namespace kzv::rivals
