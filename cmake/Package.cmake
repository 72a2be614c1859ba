# What CPack makes: an archive to unpack anywhere, and for 64 bit a Debian package. `./package` calls it.
if(KZV_64BIT)
  set(CPACK_GENERATOR External DEB)
  set(architecture x86_64)
else()
  set(CPACK_GENERATOR External)
  set(architecture i386)
endif()

set(CPACK_PACKAGE_NAME kzvstrings)
set(CPACK_PACKAGE_FILE_NAME kzvstrings-${PROJECT_VERSION}-linux-${architecture})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# CPack's own archives carry their builder's name and the time of day.
set(CPACK_EXTERNAL_ENABLE_STAGING ON)
set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${PROJECT_SOURCE_DIR}/cmake/Archive.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/Timestamps.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/InstalledSize.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "kzvstrings developers <kzvstrings@example.org>")
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "plugin library of 47 string functions, with a runner")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A native plugin for a BASIC-like host language: HTML character references,
character sets, tag removal, SQL text, quoted-printable, mail subjects, URL
encoding, hex, yEnc, comparison, distances, bit operations and numbers. The
runner kzv calls each function from the command line, as a host would.")
include(CPack)
