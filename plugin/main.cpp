// The one exported function: the host calls it once, right after loading the library.
#include <cstdlib>
#include <ctime>

#include "abi.h"
#include "cpu/level.h"
#include "declaration.h"
#include "frame/entry_points.h"

namespace kzv {
namespace {

// The interface version that goes with a host version. NaN and hosts that report none get the oldest.
std::int32_t InterfaceVersion(double host_version) {
  if (host_version >= 2013.03) return 12;
  if (host_version >= 2013.0) return 11;
  if (host_version >= 2012.0) return 10;
  return 9;
}

void ExchangeVersions() {
  auto *const register_version =
      reinterpret_cast<void (*)(std::int32_t)>(ResolveEntryPoint("RegisterPluginVersion"));
  auto *const host_version = reinterpret_cast<double (*)()>(ResolveEntryPoint("REALGetRBVersion"));
  if (host_version != nullptr) rbversion_rbversion = host_version();
  if (register_version != nullptr) register_version(InterfaceVersion(rbversion()));
}

// Only in a built application: while a program is being developed its random bytes repeat from run to run.
void SeedRandomGenerator() {
  if (IsTrue(REALinRuntime())) std::srand(static_cast<unsigned>(std::time(nullptr)));
}

}  // namespace
}  // namespace kzv

KZV_CALLED_BY_HOST void REALPluginMain(REALresolver resolver) {
  kzv::gResolver = resolver;
  kzv::cpu::choose(*kzv::cpu::levels().back());
  kzv::ExchangeVersions();
  kzv::SeedRandomGenerator();
  for (const REALmethodDefinition &method : kzv::globalMethods) kzv::REALRegisterMethod(&method);
}
