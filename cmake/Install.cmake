# What is installed, and where.

# The prefix may be given as late as to cmake --install.
install(CODE "
  set(plugin_folder ${KZV_PLUGIN_FOLDER})
  set(zsh_folder site-functions)
  if(CMAKE_INSTALL_PREFIX MATCHES \"/usr/?$\")
    set(plugin_folder ${KZV_SYSTEM_PLUGIN_FOLDER})
    set(zsh_folder vendor-completions)
  endif()")
install(TARGETS kzvstrings LIBRARY DESTINATION "\${plugin_folder}"
  PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# The layout of the folder is kept, because the files link to one another.
set(documents ${CMAKE_INSTALL_DOCDIR}/docs)
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES docs/functions.md docs/design.md docs/measurements.md docs/speed.svg DESTINATION ${documents})
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME copyright)

# All that has to be built before installation.
add_custom_target(to_install DEPENDS kzvstrings)

if(TARGET reference_html)
  install(FILES ${PROJECT_BINARY_DIR}/docs/functions.html DESTINATION ${documents})
  add_dependencies(to_install reference_html)
endif()

if(TARGET kzv)
  install(TARGETS kzv)
  install(FILES ${PROJECT_BINARY_DIR}/kzv.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_BINARY_DIR}/kzv.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME kzv)
  install(FILES ${PROJECT_BINARY_DIR}/kzv.zsh
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/\${zsh_folder}" RENAME _kzv)
  # The runner contains these libraries, whose licences have to be distributed with it.
  foreach(library libcli11-dev nlohmann-json3-dev)
    install(FILES /usr/share/doc/${library}/copyright
      DESTINATION ${CMAKE_INSTALL_DOCDIR}/licences RENAME ${library})
  endforeach()
  add_dependencies(to_install kzv kzv_documents)
endif()
