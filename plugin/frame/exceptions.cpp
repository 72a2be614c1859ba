#include "frame/exceptions.h"

#include <new>
#include <string_view>

#include "frame/host_reference.h"
#include "frame/host_strings.h"

namespace kzv {
namespace {

REALstringStruct *BuildMessage(std::string_view message) {
  if (message.empty()) return nullptr;
  try {
    return BuildHostString({reinterpret_cast<const std::uint8_t *>(message.data()), message.size()},
                           kEncodingASCII);
  } catch (const std::bad_alloc &) {
    return nullptr;  // not reported in turn: a host without memory would keep us here for good
  }
}

}  // namespace

void RaiseException(const char *class_name, const char *message) {
  HostString text(BuildMessage(message != nullptr ? message : ""));
  HostObject exception(REALnewInstance(class_name));
  if (!exception) exception.reset(REALnewInstance("RuntimeException"));
  if (exception) {
    REALSetPropValueString(exception.get(), "Message", text.get());
    REALSetPropValueInt32(exception.get(), "ErrorNumber", 0);
    REALRaiseException(exception.get());
  }
  exception.release();
  text.release();
}

}  // namespace kzv
