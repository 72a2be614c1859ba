#include "frame/exceptions.h"

#include <cstring>
#include <new>

#include "frame/host_reference.h"
#include "frame/results.h"

namespace kzv {
namespace {

REALstringStruct *BuildMessage(const char *message) {
  if (message == nullptr) return nullptr;
  try {
    return BuildHostString(message, static_cast<std::int64_t>(std::strlen(message)), kEncodingASCII);
  } catch (const std::bad_alloc &) {
    return nullptr;  // not reported in turn, or a host without memory would keep us here for good
  }
}

}  // namespace

void RaiseException(const char *class_name, const char *message) {
  const HostString text(BuildMessage(message));
  HostObject exception(REALnewInstance(class_name));
  if (!exception) exception.reset(REALnewInstance("RuntimeException"));
  if (!exception) return;
  REALSetPropValueString(exception.get(), "Message", text.get());
  REALSetPropValueInt32(exception.get(), "ErrorNumber", 0);
  REALRaiseException(exception.get());
}

}  // namespace kzv
