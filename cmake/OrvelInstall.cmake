# SPDX-License-Identifier: MPL-2.0

include(CMakePackageConfigHelpers)

install(DIRECTORY include/orvel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN *.h)

install(TARGETS orvel EXPORT OrvelTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
set(ORVEL_PACKAGE_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/Orvel)
install(EXPORT OrvelTargets NAMESPACE Orvel:: DESTINATION ${ORVEL_PACKAGE_FOLDER} COMPONENT development)
configure_package_config_file(cmake/OrvelConfig.cmake.in ${PROJECT_BINARY_DIR}/OrvelConfig.cmake
                              INSTALL_DESTINATION ${ORVEL_PACKAGE_FOLDER})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvelConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OrvelConfig.cmake ${PROJECT_BINARY_DIR}/OrvelConfigVersion.cmake
        DESTINATION ${ORVEL_PACKAGE_FOLDER} COMPONENT development)

configure_file(cmake/orvel.pc.in ${PROJECT_BINARY_DIR}/orvel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
