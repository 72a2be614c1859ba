# CPack counts folders as large as the builder's file system happens to make them. The size told is that of the files,
# each in whole KiB.
foreach(package ${CPACK_PACKAGE_FILES})
  if(package MATCHES "\\.deb$")
    execute_process(
      COMMAND sh -ec "
        dpkg-deb --raw-extract \"$1\" \"$2/deb\"
        size=$(find \"$2/deb/usr\" -type f -printf '%s\\n' | awk '{ sum += int(($1 + 1023) / 1024) } END { print sum }')
        sed -i \"s/^Installed-Size: .*/Installed-Size: $size/\" \"$2/deb/DEBIAN/control\"
        dpkg-deb --root-owner-group -Zgzip --build \"$2/deb\" \"$1\"
        rm -r \"$2/deb\""
        sh ${package} ${CPACK_TOPLEVEL_DIRECTORY}
      COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
