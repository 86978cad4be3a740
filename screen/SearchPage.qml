// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvel

/// Finds while the driver types.
ColumnLayout {
    id: page

    required property var device
    property string kind
    property string title
    property var filter: ({})
    property alias words: field.text
    readonly property alias list: view

    signal chosen(var row, string rowKind)

    spacing: 0
    StackView.onActivated: field.forceActiveFocus()

    MediaModel {
        id: media
        database: page.device.database ?? ""
        generation: page.device.generation ?? 0
        finding: true
        search: field.displayText
    }

    TextField {
        id: field
        placeholderText: qsTr("Title, artist, album, composer, folder or playlist")
        inputMethodHints: Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
        font.pixelSize: 24
        Layout.fillWidth: true
        Layout.margins: 16
        Layout.preferredHeight: 64
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
            kind: model.kind
            mixed: true
            onClicked: page.chosen(media.get(index), kind)
        }
        Notice {
            device: page.device
            media: media
            nothing: field.displayText === "" ? qsTr("Type the beginnings of words.")
                                              : qsTr("Nothing has these words.")
        }
    }
}
