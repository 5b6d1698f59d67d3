# Helpers for declaring test programs.

set(PELNOR_WINE_RUN ${CMAKE_SOURCE_DIR}/tools/wine-run.sh)

# pelnor_wine_test(NAME src...)
#   A GoogleTest program run under Wine as one CTest entry, linked with the
#   whole program core, its resources and the window test helpers.
function(pelnor_wine_test name)
  add_executable(${name} ${ARGN} $<TARGET_OBJECTS:pelnor_resources>)
  target_link_libraries(${name} PRIVATE pelnor_test_support)
  target_link_options(${name} PRIVATE -municode)
  set_target_properties(${name} PROPERTIES
    CROSSCOMPILING_EMULATOR ${PELNOR_WINE_RUN}
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES
    FIXTURES_REQUIRED wine_session
    RESOURCE_LOCK wine_desktop
    TIMEOUT 900)
endfunction()

# pelnor_native_test(NAME)
#   A program of the native sanitizer build (tests/native), run directly.
function(pelnor_native_test name)
  add_test(NAME ${name} COMMAND ${CMAKE_BINARY_DIR}/native/${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()

# pelnor_fuzz_test(NAME [RUNS count])
#   A short, repeatable run of a libFuzzer target of the native build, seeded
#   from tests/native/corpus/NAME, of 200000 inputs unless RUNS says. New
#   inputs are kept in memory only; a crashing input is written to the build
#   folder.
function(pelnor_fuzz_test name)
  cmake_parse_arguments(PARSE_ARGV 1 FUZZ "" "RUNS" "")
  if(NOT FUZZ_RUNS)
    set(FUZZ_RUNS 200000)
  endif()
  file(GLOB seeds CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/native/corpus/${name}/*)
  list(JOIN seeds "," seed_list)
  set(seed_arguments)
  if(seed_list)
    set(seed_arguments -seed_inputs=${seed_list})
  endif()
  add_test(NAME ${name}
           COMMAND ${CMAKE_BINARY_DIR}/native/${name}
                   -runs=${FUZZ_RUNS} -seed=1 -max_len=1024
                   ${seed_arguments}
                   -artifact_prefix=${CMAKE_BINARY_DIR}/native/${name}-)
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()
