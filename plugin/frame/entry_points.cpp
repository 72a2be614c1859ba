#include "frame/entry_points.h"

namespace kzv {

constinit REALresolver gResolver = nullptr;
constinit double rbversion_rbversion = 0.0;

}  // namespace kzv
