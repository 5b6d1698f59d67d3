# Cross-compiles Pelnor for 32-bit Windows with mingw-w64 (posix thread model,
# which GoogleTest needs). Executables run under Wine through tools/wine-run.sh.
set(PELNOR_MINGW_ARCH i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
