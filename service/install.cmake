# SPDX-License-Identifier: MPL-2.0

# What starts orveld: units, activation by D-Bus, its user, the access to phones; and its configuration and manual.
set(ORVEL_SYSTEMD_UNIT_DIRECTORY lib/systemd/system CACHE STRING "Folder of systemd's system units")
set(ORVEL_UDEV_RULES_DIRECTORY lib/udev/rules.d CACHE STRING "Folder of udev's rules")
set(system ${CMAKE_CURRENT_LIST_DIR}/system)
set(made ${CMAKE_CURRENT_BINARY_DIR}/installed)

configure_file(${system}/orveld.service.in ${made}/orveld.service @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/session/org.orvel.Indexer1.service.in
               ${made}/session/org.orvel.Indexer1.service @ONLY)
install(FILES ${made}/orveld.service DESTINATION ${ORVEL_SYSTEMD_UNIT_DIRECTORY} COMPONENT service)
install(FILES ${system}/org.orvel.Indexer1.service DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system-services
        COMPONENT service)
install(FILES ${system}/org.orvel.Indexer1.conf DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d
        COMPONENT service)
install(FILES ${made}/session/org.orvel.Indexer1.service DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/services
        COMPONENT service)
install(FILES ${system}/sysusers.conf DESTINATION lib/sysusers.d RENAME orvel.conf COMPONENT service)
install(FILES ${system}/70-orvel-phones.rules DESTINATION ${ORVEL_UDEV_RULES_DIRECTORY} COMPONENT service)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/orveld.conf DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/orvel COMPONENT service)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/orveld.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT service)
