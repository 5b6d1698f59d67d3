# Cross-compiles Pelnor for 64-bit Windows with mingw-w64 (posix thread model,
# which GoogleTest needs). Executables run under Wine through tools/wine-run.sh.
set(PELNOR_MINGW_ARCH x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
