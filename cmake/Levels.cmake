# The levels of each processor family, each a file plugin/cpu/LEVEL.cpp, in the order of what they need from the
# processor. A new level is such a file and its name here; the tests want two rows more (CONTRIBUTING.md).
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64|i[3-6]86)$")
  set(levels_of_family portable avx2 avx512)
else()
  set(levels_of_family portable)
endif()

set(KZV_LEVELS "" CACHE STRING
  "Levels to build in, for example portable;avx2. Portable is always one. Empty: every level of the processor family")

foreach(level IN LISTS KZV_LEVELS)
  if(NOT level IN_LIST levels_of_family)
    list(JOIN levels_of_family ";" known)
    message(FATAL_ERROR "KZV_LEVELS names the level \"${level}\", which ${CMAKE_SYSTEM_PROCESSOR} does not have. "
      "It can be any of: ${known}")
  endif()
endforeach()

set(kzv_levels "")
foreach(level IN LISTS levels_of_family)
  if(level STREQUAL "portable" OR level IN_LIST KZV_LEVELS OR NOT KZV_LEVELS)
    list(APPEND kzv_levels ${level})
  endif()
endforeach()
