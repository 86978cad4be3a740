# SPDX-License-Identifier: MPL-2.0

set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(debian_name arm64)
set(triplet aarch64-linux-gnu)
set(emulator qemu-aarch64-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
