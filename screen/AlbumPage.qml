// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvel

/// An album: its cover and its songs.
Item {
    id: page

    required property var device
    property string title
    property var artist
    property string cover
    property var filter: ({})
    readonly property alias list: view

    signal chosen(var row)

    MediaModel {
        id: media
        database: page.device.database ?? ""
        generation: page.device.generation ?? 0
        filter: page.filter
    }

    RowLayout {
        anchors { fill: parent; leftMargin: 24; topMargin: 16 }
        spacing: 16

        ColumnLayout {
            Layout.alignment: Qt.AlignTop
            Layout.preferredWidth: 280
            Layout.maximumWidth: 280
            spacing: 8

            CoverImage {
                source: page.cover
                letter: page.title[0] ?? ""
                Layout.preferredWidth: 280
                Layout.preferredHeight: 280
            }
            Label {
                text: page.artist === undefined ? qsTr("Various artists")
                                                : page.artist || qsTr("Unknown artist")
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                maximumLineCount: 2
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            Label {
                text: media.count === 1 ? qsTr("1 song") : qsTr("%1 songs").arg(media.count)
                font.pixelSize: 17
                opacity: 0.75
                Layout.fillWidth: true
            }
        }
        ListView {
            id: view
            clip: true
            model: media
            ScrollBar.vertical: ScrollBar {}
            Layout.fillWidth: true
            Layout.fillHeight: true

            delegate: MediaDelegate {
                required property int index
                numbered: true
                onClicked: page.chosen(media.get(index))
            }
            Notice { device: page.device; media: media }
        }
    }
}
