// The scope in which a function reads its arguments.
#pragma once

#include <array>
#include <type_traits>
#include <utility>

namespace kzv {

// Makes a View (rbData or rbText) of each argument, in order, has `use(view, ...)` read them, releases them
// and returns what `use` returned. An exception that the host throws at a release goes on to the host, with
// the other views released as well; so what needs releasing itself, a result above all, is made later or
// owned outside.
template <typename View, typename Argument, std::size_t kCount, typename Use>
auto Read(Argument *const (&arguments)[kCount], Use use) {
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    std::array<View, kCount> views{View(arguments[I])...};
    if constexpr (std::is_void_v<decltype(use(views[I]...))>) {
      use(views[I]...);
      (views[I].release(), ...);
    } else {
      const auto value = use(views[I]...);
      (views[I].release(), ...);
      return value;
    }
  }
  (std::make_index_sequence<kCount>());
}

}  // namespace kzv
