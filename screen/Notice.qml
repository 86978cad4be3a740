// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvel

/// Says why a list is empty.
ColumnLayout {
    id: notice

    required property var device
    required property MediaModel media
    property string nothing: qsTr("There is nothing here.")

    readonly property bool isBusy: media.loading || device.busy === true

    visible: media.count === 0
    anchors.centerIn: parent
    width: Math.min(parent.width - 96, 640)
    spacing: 24

    BusyIndicator {
        visible: notice.isBusy
        running: visible
        Layout.alignment: Qt.AlignHCenter
    }
    Label {
        text: {
            if (notice.device.deviceId === undefined) return qsTr("Plug in a stick or a phone.")
            if (notice.device.state === "failed") return notice.device.problem
            if (notice.isBusy) return qsTr("Looking for music")
            return notice.media.error || notice.nothing
        }
        textFormat: Text.PlainText
        font.pixelSize: 24
        wrapMode: Text.Wrap
        horizontalAlignment: Text.AlignHCenter
        Layout.fillWidth: true
    }
}
