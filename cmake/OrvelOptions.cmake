# SPDX-License-Identifier: MPL-2.0

# The options of every target of the project.
add_library(orvel_options INTERFACE)
target_include_directories(orvel_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_options(orvel_options INTERFACE -Wall -Wextra -Wpedantic -Wno-psabi)
# With 32-bit offsets a directory listing is empty on 32-bit ARM.
target_compile_definitions(orvel_options INTERFACE _FILE_OFFSET_BITS=64 QT_NO_KEYWORDS)
target_link_libraries(orvel_options INTERFACE Threads::Threads)
if(ORVEL_WITH_USDT)
  target_compile_definitions(orvel_options INTERFACE ORVEL_WITH_USDT)
endif()
if(ORVEL_WERROR)
  target_compile_options(orvel_options INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  # In place of the linter's check for reserved identifiers, which takes a sixth of its time. The code that Qt generates
  # has some.
  target_compile_options(orvel_options INTERFACE -Wthread-safety
                         $<$<NOT:$<BOOL:$<TARGET_PROPERTY:AUTOMOC>>>:-Wreserved-identifier>)
endif()
if(ORVEL_SANITIZE)
  target_compile_options(orvel_options INTERFACE -fsanitize=${ORVEL_SANITIZE} -fno-sanitize-recover=all
                         -fno-omit-frame-pointer)
  target_compile_definitions(orvel_options INTERFACE ORVEL_SANITIZED)
  target_link_options(orvel_options INTERFACE -fsanitize=${ORVEL_SANITIZE})
endif()
if(ORVEL_FUZZ AND NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
  message(FATAL_ERROR "ORVEL_FUZZ needs Clang; use `cmake --preset asan`")
endif()

# Coverage for the fuzzer, in the library and in the templates that the targets instantiate.
set(ORVEL_FUZZ_FLAGS -O1 -fsanitize=fuzzer-no-link)

# A part of the library, usually one folder: an object library that the shared library and the tests link.
function(orvel_add_part name)
  cmake_parse_arguments(PART "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_library(${name} OBJECT ${PART_SOURCES})
  target_link_libraries(${name} PUBLIC orvel_options Boost::headers ${PART_LIBRARIES})
  if(ORVEL_FUZZ)
    target_compile_options(${name} PRIVATE ${ORVEL_FUZZ_FLAGS})
  endif()
endfunction()
