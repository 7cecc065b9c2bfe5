# Cross build for 32-bit ARM (armhf) against the sysroot that scripts/armhf-sysroot makes:
#   cmake -DCMAKE_TOOLCHAIN_FILE=cmake/armhf-toolchain.cmake -DKVN_ARMHF_SYSROOT=DIR ...
# Tests run through qemu-arm, so CTest and the test discovery work as in a native build.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

if(NOT KVN_ARMHF_SYSROOT)
  set(KVN_ARMHF_SYSROOT "$ENV{KVN_ARMHF_SYSROOT}")
endif()
# Kept absolute in the cache: CMake re-runs itself from the build directory.
get_filename_component(KVN_ARMHF_SYSROOT "${KVN_ARMHF_SYSROOT}" ABSOLUTE)
if(NOT EXISTS "${KVN_ARMHF_SYSROOT}/usr/include")
  message(FATAL_ERROR "KVN_ARMHF_SYSROOT must name an armhf sysroot (scripts/armhf-sysroot DIR)")
endif()
set(KVN_ARMHF_SYSROOT "${KVN_ARMHF_SYSROOT}" CACHE PATH "armhf sysroot (scripts/armhf-sysroot)" FORCE)
# try_compile projects read the toolchain file again; they need the sysroot too.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KVN_ARMHF_SYSROOT)

set(CMAKE_SYSROOT "${KVN_ARMHF_SYSROOT}")
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_FIND_ROOT_PATH "${KVN_ARMHF_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(ENV{PKG_CONFIG_SYSROOT_DIR} "${KVN_ARMHF_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${KVN_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${KVN_ARMHF_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

# GCC notes the parameter passing change of GCC 7.1 on every function that takes such a struct.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
set(CMAKE_C_FLAGS_INIT "-Wno-psabi")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L "${KVN_ARMHF_SYSROOT}")

# The compiler links against its own libstdc++, the tests run on the sysroot's: they must be of
# one GCC release.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpversion OUTPUT_VARIABLE kvn_cross_gcc
                OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REGEX MATCH "^[0-9]+" kvn_cross_gcc "${kvn_cross_gcc}")
if(NOT EXISTS "${KVN_ARMHF_SYSROOT}/usr/lib/gcc/arm-linux-gnueabihf/${kvn_cross_gcc}")
  message(FATAL_ERROR "the sysroot has no libstdc++ of GCC ${kvn_cross_gcc}, the cross compiler's")
endif()
