// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material

/// A cover, or a coloured square with a letter while there is none.
Item {
    id: cover

    property alias source: image.source
    property string letter

    Rectangle {
        anchors.fill: parent
        radius: 4
        visible: image.status !== Image.Ready || image.implicitWidth < 2
        color: Qt.hsla((cover.letter.charCodeAt(0) || 0) * 0.13 % 1, 0.35,
                       cover.Material.theme === Material.Dark ? 0.3 : 0.55, 1)

        Label {
            anchors.centerIn: parent
            text: cover.letter || "♪"
            color: "white"
            font.pixelSize: parent.height * 0.45
        }
    }
    Image {
        id: image
        anchors.fill: parent
        asynchronous: true
        fillMode: Image.PreserveAspectCrop
        sourceSize: Qt.size(cover.width, cover.height)
    }
}
