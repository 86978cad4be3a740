include(CMakePackageConfigHelpers)

# The headers that a host includes, and what these include.
set(ORVEL_PUBLIC_HEADERS
    base/Export.h base/Log.h base/Mutex.h base/StageThread.h base/ThreadAnnotations.h
    base/WorkPriority.h base/retryOnBadAlloc.h
    db/BusyHandler.h db/Collation.h db/DatabaseMgr.h db/SqlStream.h
    framework/BaseServer.h framework/BaseServer.tpp framework/Block.h framework/Operation.h
    framework/OrvelOperation.h framework/RequestProgress.h framework/Runnable.h framework/Server.h
    framework/Server.tpp
    mtp/MtpDevice.h
    orchestration/Orvel.h
    phones/AttachedDevices.h phones/DeviceTypes.h qt/OrvelQTProxy.h
    tags/TagReading.h text/TextRegion.h)
foreach(header IN LISTS ORVEL_PUBLIC_HEADERS)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvel/${folder})
endforeach()

install(TARGETS orvel EXPORT OrvelTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
set(ORVEL_PACKAGE_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/Orvel)
install(EXPORT OrvelTargets NAMESPACE Orvel:: DESTINATION ${ORVEL_PACKAGE_FOLDER})
configure_package_config_file(cmake/OrvelConfig.cmake.in ${PROJECT_BINARY_DIR}/OrvelConfig.cmake
                              INSTALL_DESTINATION ${ORVEL_PACKAGE_FOLDER})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvelConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OrvelConfig.cmake ${PROJECT_BINARY_DIR}/OrvelConfigVersion.cmake
        DESTINATION ${ORVEL_PACKAGE_FOLDER})

configure_file(cmake/orvel.pc.in ${PROJECT_BINARY_DIR}/orvel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
