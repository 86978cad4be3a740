// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts
import Orvel

/// The devices with their progress.
Pane {
    id: pane

    required property DeviceModel devices
    required property bool night

    signal nightWanted(bool wanted)

    padding: 0
    Material.background: Material.primary

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ListView {
            id: list
            model: pane.devices
            clip: true
            Layout.fillWidth: true
            Layout.fillHeight: true

            delegate: ItemDelegate {
                id: entry

                required property string deviceId
                required property string name
                required property string state
                required property string problem
                required property bool attached
                required property bool locked
                required property bool busy
                required property real progress
                required property int songs
                required property int songsToRead
                required property int songsRead

                readonly property string about: {
                    if (locked) return qsTr("Unlock it to see its music")
                    if (!attached && state !== "failed") return qsTr("Not plugged in")
                    switch (state) {
                    case "waiting": return qsTr("Waits for other devices")
                    case "paused": return qsTr("Paused")
                    case "searching": return qsTr("Looking for songs")
                    case "reading": return qsTr("%1 of %2 songs").arg(songsRead).arg(songsToRead)
                    case "finishing": return qsTr("Almost done")
                    case "failed": return qsTr("Cannot be read")
                    }
                    return songs === 1 ? qsTr("1 song") : qsTr("%1 songs").arg(songs)
                }

                width: list.width
                height: 96
                highlighted: deviceId === pane.devices.current
                onClicked: pane.devices.current = deviceId

                contentItem: ColumnLayout {
                    spacing: 4

                    Label {
                        text: entry.name
                        textFormat: Text.PlainText
                        elide: Text.ElideMiddle
                        opacity: entry.attached ? 1 : 0.6
                        font.bold: entry.highlighted
                        Layout.fillWidth: true
                    }
                    Label {
                        text: entry.about
                        font.pixelSize: 17
                        opacity: 0.75
                        elide: Text.ElideRight
                        Layout.fillWidth: true
                    }
                    ProgressBar {
                        visible: entry.busy
                        indeterminate: entry.progress < 0
                        value: Math.max(0, entry.progress)
                        Layout.fillWidth: true
                    }
                }
            }
        }

        Label {
            visible: text !== ""
            text: pane.devices.error
            wrapMode: Text.Wrap
            font.pixelSize: 17
            padding: 16
            Layout.fillWidth: true
        }

        CheckBox {
            text: qsTr("Night colours")
            font.pixelSize: 20
            checked: pane.night
            onToggled: pane.nightWanted(checked)
            Layout.preferredHeight: 72
            Layout.leftMargin: 8
        }
    }
}
