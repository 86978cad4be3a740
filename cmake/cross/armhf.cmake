# SPDX-License-Identifier: MPL-2.0

set(CMAKE_SYSTEM_PROCESSOR arm)
set(debian_name armhf)
set(triplet arm-linux-gnueabihf)
set(emulator qemu-arm-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
