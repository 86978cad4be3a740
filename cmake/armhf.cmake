# SPDX-License-Identifier: MPL-2.0

# Cross-builds for 32-bit ARM with Debian's compiler, against the packages that tools/armhf/makeSysroot.sh
# unpacked. The emulator is named explicitly, so the machine needs no registered binary format.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(ARMHF_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/armhf-sysroot" CACHE PATH "Unpacked armhf packages")
get_filename_component(CMAKE_SYSROOT "${ARMHF_SYSROOT}" ABSOLUTE)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ARMHF_SYSROOT)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR "qemu-arm-static;-L;${CMAKE_SYSROOT}" CACHE STRING "Starts programs of the target")

# Qt's code generators run on this machine.
execute_process(COMMAND gcc -print-multiarch OUTPUT_VARIABLE host_architecture OUTPUT_STRIP_TRAILING_WHITESPACE)
set(QT_HOST_PATH /usr CACHE PATH "")
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/${host_architecture}/cmake CACHE PATH "")

set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
