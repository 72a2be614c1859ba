# What makes a fault harder to exploit, in every plugin and program; tests/hardening reads it from the files.
add_compile_options(-fstack-protector-strong)
# Sanitizers have checks of their own; without optimisation the headers warn.
if(NOT KZV_SANITIZERS AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()
if(WIN32)
  # The option again, for the library that the check is in.
  add_link_options(-fstack-protector-strong -Wl,--dynamicbase,--nxcompat)
  if(KZV_64BIT)
    add_link_options(-Wl,--high-entropy-va)
  endif()
else()
  add_link_options(-Wl,-z,relro,-z,now)
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    add_compile_options(-mbranch-protection=standard)
  else()
    # The shadow stack is asked for here, because Debian's own start-up code does not say that it keeps to one.
    add_compile_options(-fcf-protection=full)
    add_link_options(-Wl,-z,shstk)
  endif()
endif()
