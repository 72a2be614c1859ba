# Where the plugin goes when it is installed; the runner looks for it there, too.
include(GNUInstallDirs)

set(KZV_PLUGIN_FOLDER ${CMAKE_INSTALL_LIBDIR}/kzvstrings)
# Below /usr Debian has a folder for each architecture. The compiler calls itself x86-64 at either width.
set(KZV_SYSTEM_PLUGIN_FOLDER ${KZV_PLUGIN_FOLDER})
if(CMAKE_LIBRARY_ARCHITECTURE)
  set(architecture ${CMAKE_LIBRARY_ARCHITECTURE})
  if(NOT KZV_64BIT)
    string(REPLACE x86_64 i386 architecture ${architecture})
  endif()
  set(KZV_SYSTEM_PLUGIN_FOLDER lib/${architecture}/kzvstrings)
endif()
