# SPDX-License-Identifier: MPL-2.0

# Cross-builds with Debian's compiler, against the packages that tools/roots/makeSysroot.sh unpacked. The toolchain
# files beside it set CMAKE_SYSTEM_PROCESSOR, `debian_name`, `triplet` and `emulator`, which is named explicitly, so
# that the machine needs no registered binary format.
set(CMAKE_SYSTEM_NAME Linux)
set(ORVEL_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../../build/${debian_name}-sysroot" CACHE PATH "Unpacked packages of the target")
get_filename_component(CMAKE_SYSROOT "${ORVEL_SYSROOT}" ABSOLUTE)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORVEL_SYSROOT)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR "${emulator};-L;${CMAKE_SYSROOT}" CACHE STRING "Starts programs of the target")

# Qt's code generators run on this machine.
execute_process(COMMAND gcc -print-multiarch OUTPUT_VARIABLE host_architecture OUTPUT_STRIP_TRAILING_WHITESPACE)
set(QT_HOST_PATH /usr CACHE PATH "")
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/${host_architecture}/cmake CACHE PATH "")

set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR} "${CMAKE_SYSROOT}/usr/lib/${triplet}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
