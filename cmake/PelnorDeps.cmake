# The libraries beyond the system, for the Windows target being built:
#   pelnor_mbedtls  Mbed TLS (libmbedtls, libmbedx509, libmbedcrypto), built
#                   by tools/setup.sh from Debian's source package into a
#                   cache outside the checkout, PELNOR_DEPS_DIR/mbedtls-<version>-<arch>;
#                   its users compile with the same user configuration
#                   (cmake/pelnor_mbedtls_config.h) as the libraries.
#   pelnor_zlib     zlib from Debian's libz-mingw-w64-dev, the static library.

if(DEFINED ENV{PELNOR_DEPS_DIR} AND NOT "$ENV{PELNOR_DEPS_DIR}" STREQUAL "")
  set(pelnor_deps_default "$ENV{PELNOR_DEPS_DIR}")
else()
  set(pelnor_deps_default /var/cache/pelnor-deps)
endif()
set(PELNOR_DEPS_DIR "${pelnor_deps_default}" CACHE PATH
    "Folder of the libraries tools/setup.sh builds (mbedtls-<version>-<arch>)")

# The target: x86_64 or i686, from the toolchain's processor or else from
# the compiler's triplet.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  set(PELNOR_DEPS_ARCH x86_64)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i[3-6]86|x86|X86)$")
  set(PELNOR_DEPS_ARCH i686)
else()
  execute_process(COMMAND ${CMAKE_C_COMPILER} -dumpmachine
                  OUTPUT_VARIABLE pelnor_triplet OUTPUT_STRIP_TRAILING_WHITESPACE)
  string(REGEX MATCH "^[^-]+" PELNOR_DEPS_ARCH "${pelnor_triplet}")
  if(PELNOR_DEPS_ARCH MATCHES "^i[3-6]86$")
    set(PELNOR_DEPS_ARCH i686)
  endif()
endif()
if(NOT PELNOR_DEPS_ARCH MATCHES "^(x86_64|i686)$")
  message(FATAL_ERROR "Pelnor's libraries are built for x86_64 and i686 only, "
                      "not for '${CMAKE_SYSTEM_PROCESSOR}'")
endif()

# Mbed TLS: the newest complete entry (its stamp is written last) of this
# target, built with this checkout's configuration.
set(pelnor_mbedtls_config ${CMAKE_CURRENT_LIST_DIR}/pelnor_mbedtls_config.h)
file(GLOB pelnor_mbedtls_entries LIST_DIRECTORIES true
     "${PELNOR_DEPS_DIR}/mbedtls-*-${PELNOR_DEPS_ARCH}")
set(pelnor_mbedtls_dir)
list(SORT pelnor_mbedtls_entries COMPARE NATURAL)
foreach(entry IN LISTS pelnor_mbedtls_entries)
  if(EXISTS ${entry}/stamp)
    set(pelnor_mbedtls_dir ${entry})
  endif()
endforeach()
if(NOT pelnor_mbedtls_dir)
  message(FATAL_ERROR "Mbed TLS for ${PELNOR_DEPS_ARCH} is not in ${PELNOR_DEPS_DIR}: "
                      "run tools/setup.sh (as root) to build it")
endif()
file(SHA256 ${pelnor_mbedtls_config} pelnor_config_wanted)
if(EXISTS ${pelnor_mbedtls_dir}/include/pelnor_mbedtls_config.h)
  file(SHA256 ${pelnor_mbedtls_dir}/include/pelnor_mbedtls_config.h pelnor_config_built)
else()
  set(pelnor_config_built none)
endif()
if(NOT pelnor_config_built STREQUAL pelnor_config_wanted)
  message(FATAL_ERROR "${pelnor_mbedtls_dir} was built with another configuration "
                      "than cmake/pelnor_mbedtls_config.h: run tools/setup.sh (as root) to build it again")
endif()
foreach(lib mbedtls mbedx509 mbedcrypto)
  if(NOT EXISTS ${pelnor_mbedtls_dir}/lib/lib${lib}.a)
    message(FATAL_ERROR "${pelnor_mbedtls_dir}/lib/lib${lib}.a is missing: run tools/setup.sh (as root)")
  endif()
endforeach()
# A new build or a new configuration configures again.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             ${pelnor_mbedtls_config} ${pelnor_mbedtls_dir}/stamp)

add_library(pelnor_mbedtls INTERFACE IMPORTED)
set_target_properties(pelnor_mbedtls PROPERTIES
  INTERFACE_INCLUDE_DIRECTORIES ${pelnor_mbedtls_dir}/include
  INTERFACE_COMPILE_DEFINITIONS "MBEDTLS_USER_CONFIG_FILE=\"pelnor_mbedtls_config.h\""
  # In this order: each needs the ones after it. The libraries call nothing
  # beyond kernel32 and the C runtime (no sockets, no platform entropy).
  INTERFACE_LINK_LIBRARIES "${pelnor_mbedtls_dir}/lib/libmbedtls.a;${pelnor_mbedtls_dir}/lib/libmbedx509.a;${pelnor_mbedtls_dir}/lib/libmbedcrypto.a")
message(STATUS "Mbed TLS: ${pelnor_mbedtls_dir}")

# zlib: Debian's mingw-w64 build, the static library rather than the import
# library of zlib1.dll.
set(pelnor_zlib_root /usr/${PELNOR_DEPS_ARCH}-w64-mingw32)
if(NOT EXISTS ${pelnor_zlib_root}/include/zlib.h OR NOT EXISTS ${pelnor_zlib_root}/lib/libz.a)
  message(FATAL_ERROR "zlib for ${PELNOR_DEPS_ARCH} (Debian's libz-mingw-w64-dev) is not in "
                      "${pelnor_zlib_root}: run tools/setup.sh (as root)")
endif()
add_library(pelnor_zlib STATIC IMPORTED)
set_target_properties(pelnor_zlib PROPERTIES
  IMPORTED_LOCATION ${pelnor_zlib_root}/lib/libz.a
  INTERFACE_INCLUDE_DIRECTORIES ${pelnor_zlib_root}/include)
