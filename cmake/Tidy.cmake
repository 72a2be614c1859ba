# A target that analyses every source with clang-tidy; what has not changed is not analysed again.
find_program(KZV_CLANG_TIDY clang-tidy REQUIRED)

set(folders abi plugin host runner tests fuzz benchmark)
set(sources)
set(headers)
foreach(folder ${folders})
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
  list(FILTER found EXCLUDE REGEX "_windows\\.cpp$")
  list(APPEND sources ${found})
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h)
  list(APPEND headers ${found})
endforeach()

set(stamps)
foreach(source ${sources})
  file(RELATIVE_PATH name ${PROJECT_SOURCE_DIR} ${source})
  set(stamp ${CMAKE_BINARY_DIR}/tidy/${name}.stamp)
  get_filename_component(folder ${stamp} DIRECTORY)
  file(MAKE_DIRECTORY ${folder})
  add_custom_command(OUTPUT ${stamp}
    COMMAND ${KZV_CLANG_TIDY} --quiet -p ${CMAKE_BINARY_DIR} ${source}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${source} ${headers} ${PROJECT_SOURCE_DIR}/.clang-tidy
    COMMENT "clang-tidy ${name}")
  list(APPEND stamps ${stamp})
endforeach()
add_custom_target(tidy DEPENDS ${stamps})
