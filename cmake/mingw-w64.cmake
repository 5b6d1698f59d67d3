# The cross-compilation settings shared by both Windows targets; the
# toolchain file that includes this one sets PELNOR_MINGW_ARCH first.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${PELNOR_MINGW_ARCH})

set(CMAKE_C_COMPILER   ${PELNOR_MINGW_ARCH}-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER ${PELNOR_MINGW_ARCH}-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER  ${PELNOR_MINGW_ARCH}-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${PELNOR_MINGW_ARCH}-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
