#include "conversion.h"

#include <QStringView>
#include <string_view>

#include "host.h"

namespace kzv::bench {
namespace {

template <typename Service>
Service *service(const char *name) {
  return reinterpret_cast<Service *>(host::Services::resolve(name));
}

REALstringStruct *convert_string(REALstringStruct *s, REALencoding encoding) {
  static auto *const convert =
      service<REALstringStruct *(REALstringStruct *, REALencoding)>("REALConvertString");
  static auto *const build = service<REALstringStruct *(const void *, std::int32_t)>("REALBuildString");
  if (s == nullptr || s->encoding != kEncodingUTF16 || encoding != kEncodingUTF8) return convert(s, encoding);
  const auto *const units = reinterpret_cast<const char16_t *>(s->text());
  const QByteArray text = QStringView(units, s->content.length / 2).toUtf8();
  REALstringStruct *const converted = build(text.constData(), static_cast<std::int32_t>(text.size()));
  if (converted != nullptr) converted->encoding = encoding;
  return converted;
}

}  // namespace

void *resolve(const char *name) {
  if (std::string_view(name) == "REALConvertString") return reinterpret_cast<void *>(&convert_string);
  return host::Services::resolve(name);
}

}  // namespace kzv::bench
