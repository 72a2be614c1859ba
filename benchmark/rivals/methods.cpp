#include <vector>

#include "rivals.h"

namespace kzv {
namespace {

const std::vector<REALmethodDefinition> kMethods = [] {
  std::vector<REALmethodDefinition> all;
  for (const rivals::Methods some :
       {rivals::url_and_hex(), rivals::markup(), rivals::charsets(), rivals::mail(), rivals::numbers(),
        rivals::bytes(), rivals::distances(), rivals::text_loops(), rivals::round_trips()}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}();

}  // namespace

const std::span<const REALmethodDefinition> globalMethods{kMethods};

}  // namespace kzv
