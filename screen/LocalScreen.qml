// SPDX-License-Identifier: MPL-2.0

import QtQuick
import Orvel

/// Indexes folders itself.
Main {
    id: screen

    property alias databaseDirectory: local.databaseDirectory
    property var folders: []
    readonly property LocalDevices local: LocalDevices { id: local }

    devices: local
    Component.onCompleted: folders.forEach(folder => local.indexFolder(folder))
}
