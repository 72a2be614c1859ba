# The folders that the plugin is installed in; the runner looks for it there, too.
include(GNUInstallDirs)

set(KZV_PLUGIN_FOLDER ${CMAKE_INSTALL_LIBDIR}/kzvstrings)
# Below /usr, Debian has a folder for each architecture. CMake reports the one of 64 bit only.
set(KZV_SYSTEM_PLUGIN_FOLDER ${KZV_PLUGIN_FOLDER})
if(EXISTS /etc/debian_version)
  set(architecture i386-linux-gnu)
  if(KZV_64BIT)
    set(architecture ${CMAKE_LIBRARY_ARCHITECTURE})
  endif()
  set(KZV_SYSTEM_PLUGIN_FOLDER lib/${architecture}/kzvstrings)
endif()
