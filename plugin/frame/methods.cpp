#include "frame/methods.h"

#include "frame/declaration.h"
#include "transfer/functions.h"

namespace kzv {
namespace {

// A function under its declaration, which is checked against the function's type.
#define METHOD(function, declaration)                                                                        \
  {                                                                                                          \
    reinterpret_cast<void *>(&(function)), nullptr, declares<decltype(function)>(declaration), kMethodFlags, \
    {}                                                                                                       \
  }

const REALmethodDefinition kMethods[] = {
    METHOD(EncodingToURL1, "EncodingToURLKZV(s as string) as string"),
    METHOD(EncodingToURL2, "EncodingToURLKZV(s as string, options as integer) as string"),
    METHOD(DecodingToURL1, "DecodingFromURLKZV(s as string) as string"),
    METHOD(DecodingToURL2, "DecodingFromURLKZV(s as string, options as integer) as string"),
};

#undef METHOD

}  // namespace

const std::span<const REALmethodDefinition> globalMethods{kMethods};

}  // namespace kzv
