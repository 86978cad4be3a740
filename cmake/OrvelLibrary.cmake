# SPDX-License-Identifier: MPL-2.0

set(ORVEL_PARTS orvel_base orvel_text orvel_search orvel_tags orvel_tag_parsing orvel_tag_isolation
    orvel_worker_protocol orvel_isolation orvel_sqlite orvel_db
    orvel_playlists orvel_playlist_parsing orvel_playlist_isolation
    orvel_framework orvel_phones orvel_msd orvel_mtp orvel_covers orvel_orchestration orvel_qt)

# For the shared library; tests link the implementation that they need.
set(device_access none)
if(ORVEL_WITH_MTP)
  set(device_access libmtp)
endif()

# The library as hosts link it. The version script lists its exports.
add_library(orvel SHARED)
add_library(Orvel::orvel ALIAS orvel)
target_link_libraries(orvel PRIVATE ${ORVEL_PARTS} orvel_phones_${device_access} orvel_options
                      PUBLIC Qt${QT_VERSION_MAJOR}::Core Boost::headers)
set(ORVEL_VERSION_SCRIPT ${CMAKE_CURRENT_SOURCE_DIR}/cmake/orvel.map)
target_link_options(orvel PRIVATE "LINKER:--version-script=${ORVEL_VERSION_SCRIPT}")
set_target_properties(orvel PROPERTIES LINK_DEPENDS ${ORVEL_VERSION_SCRIPT})
target_include_directories(orvel INTERFACE
                           $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                           $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(orvel INTERFACE cxx_std_20)
set_target_properties(orvel PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${ORVEL_SOVERSION}
                      LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})

# The same code for tools and tests, which use internals.
add_library(orvel_static STATIC EXCLUDE_FROM_ALL)
target_link_libraries(orvel_static PUBLIC ${ORVEL_PARTS})
foreach(part IN LISTS ORVEL_PARTS)
  target_sources(orvel_static PRIVATE $<TARGET_OBJECTS:${part}>)
endforeach()
