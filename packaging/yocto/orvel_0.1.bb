# SPDX-License-Identifier: MPL-2.0

SUMMARY = "Indexer of the music on sticks and phones"
LICENSE = "MPL-2.0"
LIC_FILES_CHKSUM = "file://LICENSE;md5=815ca599c9df247a0c7f619bab123dad"

# Builds the tree that this file is in.
inherit externalsrc
EXTERNALSRC = "${@os.path.realpath(d.getVar('THISDIR') + '/../..')}"

# Qt comes from meta-qt6. totem-pl-parser comes from a layer of GNOME, or has to be written.
DEPENDS = "boost cli11 glib-2.0 qtbase sqlite3 taglib totem-pl-parser util-linux zlib"

inherit qt6-cmake pkgconfig systemd useradd

PACKAGECONFIG ??= "mtp service"
PACKAGECONFIG[mtp] = "-DORVEL_WITH_MTP=ON,-DORVEL_WITH_MTP=OFF,libmtp libusb1"
PACKAGECONFIG[service] = "-DORVEL_WITH_SERVICE=ON,-DORVEL_WITH_SERVICE=OFF,glib-2.0-native libgudev systemd"
PACKAGECONFIG[qml] = "-DORVEL_WITH_QML=ON,-DORVEL_WITH_QML=OFF,qtdeclarative qtdeclarative-native"
PACKAGECONFIG[tcmalloc] = "-DORVEL_WITH_TCMALLOC=ON,-DORVEL_WITH_TCMALLOC=OFF,gperftools"
PACKAGECONFIG[dlt] = "-DORVEL_WITH_DLT=ON,-DORVEL_WITH_DLT=OFF,dlt-daemon"
PACKAGECONFIG[usdt] = "-DORVEL_WITH_USDT=ON,-DORVEL_WITH_USDT=OFF,systemtap"

EXTRA_OECMAKE = "-DBUILD_TESTING=OFF \
                 -DORVEL_SYSTEMD_UNIT_DIRECTORY=${systemd_system_unitdir} \
                 -DORVEL_UDEV_RULES_DIRECTORY=${nonarch_base_libdir}/udev/rules.d"

PACKAGES =+ "${PN}-command ${PN}-service"

FILES:${PN} += "${libdir}/orvel"
RDEPENDS:${PN} = "shared-mime-info"

FILES:${PN}-command = "${bindir}/orvel ${datadir}/bash-completion"

FILES:${PN}-service = "${bindir}/orveld ${sysconfdir}/orvel ${systemd_system_unitdir} \
                       ${nonarch_base_libdir}/udev ${nonarch_libdir}/sysusers.d ${datadir}/dbus-1"
CONFFILES:${PN}-service = "${sysconfdir}/orvel/orveld.conf"
SYSTEMD_PACKAGES = "${@bb.utils.contains('PACKAGECONFIG', 'service', '${PN}-service', '', d)}"
SYSTEMD_SERVICE:${PN}-service = "orveld.service"

USERADD_PACKAGES = "${SYSTEMD_PACKAGES}"
USERADD_PARAM:${PN}-service = "--system --user-group --home-dir /var/lib/orvel --shell /sbin/nologin orvel"
