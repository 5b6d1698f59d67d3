# pelnor_folder(NAME [USES folder...] SOURCES file...)
#   The folder NAME as its own static library, pelnor_NAME, linked with the
#   folders it USES (each lower in the layer order). Its include root holds a
#   link to the folder alone, and a library sees only its own root and those
#   of what it links: "#include "shell/..."" from a lower folder does not
#   build.
function(pelnor_folder name)
  cmake_parse_arguments(PARSE_ARGV 1 FOLDER "" "" "USES;SOURCES")
  set(root ${CMAKE_BINARY_DIR}/include-roots/${name})
  file(REMOVE_RECURSE ${root})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${name} ${root}/${name} SYMBOLIC)
  add_library(pelnor_${name} STATIC ${FOLDER_SOURCES})
  target_compile_options(pelnor_${name} PRIVATE ${PELNOR_PROGRAM_FLAGS})
  target_include_directories(pelnor_${name} PUBLIC ${root})
  list(TRANSFORM FOLDER_USES PREPEND pelnor_)
  target_link_libraries(pelnor_${name} PUBLIC ${FOLDER_USES})
endfunction()
