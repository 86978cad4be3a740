// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts
import Orvel

ApplicationWindow {
    id: window

    required property DeviceModel devices
    property bool night: false
    /// Shows a keyboard of its own, for screens without one.
    property bool withKeyboard: false
    readonly property var device: devices.currentDevice
    readonly property bool hasDevice: device.deviceId !== undefined
    /// The pages of the browsed kind, the last one on top.
    readonly property alias pages: stack

    /// The driver wants to hear it.
    signal songChosen(string path)

    function browse(kind: string) {
        const names = kinds.map(entry => entry.kind)
        tabs.currentIndex = names.indexOf(kind)
        stack.replace(null, kind === "search" ? searchPage : mediaPage,
                      {kind: kind === "search" ? "songs" : kind,
                       title: kinds[tabs.currentIndex].title,
                       filter: kind === "directories" ? {parent: ""} : {}})
    }

    /// Goes from a row to whatever it holds.
    function open(row: var, kind: string, filter: var) {
        switch (kind) {
        case "songs":
            songChosen(row.path)
            break
        case "albums":
            stack.push(albumPage, {title: row.label, artist: row.artist, cover: row.cover ?? "",
                                   filter: Object.assign({}, filter, {album: row.label})})
            break
        case "artists":
            stack.push(mediaPage, {kind: "albums", title: row.label || qsTr("Unknown artist"),
                                   filter: {artist: row.label}})
            break
        case "genres":
            stack.push(mediaPage, {kind: "albums", title: row.label || qsTr("Unknown genre"),
                                   filter: {genre: row.label}})
            break
        case "composers":
            stack.push(mediaPage, {kind: "songs", title: row.label || qsTr("Unknown composer"),
                                   filter: {composer: row.label}})
            break
        case "directories":
            stack.push(mediaPage, {kind: "directories", title: row.label, filter: {parent: row.path},
                                   songFilter: {directory: row.path}})
            break
        case "playlists":
            stack.push(mediaPage, {kind: "songs", title: row.label, filter: {playlist: row.path}})
            break
        }
    }

    readonly property var kinds: [
        {kind: "artists", title: qsTr("Artists")}, {kind: "albums", title: qsTr("Albums")},
        {kind: "songs", title: qsTr("Songs")}, {kind: "genres", title: qsTr("Genres")},
        {kind: "directories", title: qsTr("Folders")}, {kind: "playlists", title: qsTr("Playlists")},
        {kind: "search", title: qsTr("Search")}]

    width: 1280
    height: 720
    minimumWidth: 800
    minimumHeight: 480
    visible: true
    title: qsTr("Music")
    font.pixelSize: 22
    Material.theme: night ? Material.Dark : Material.Light
    Material.primary: night ? "#1d2733" : "#e8ecf1"
    Material.accent: night ? "#ffb454" : "#b3541e"
    Material.background: night ? "#0d1218" : "#ffffff"
    color: Material.background

    Loader {
        id: keyboard
        anchors { left: parent.left; leftMargin: deviceList.width; right: parent.right; bottom: parent.bottom }
        active: window.withKeyboard
        source: "Keyboard.qml"
    }
    RowLayout {
        anchors.fill: parent
        spacing: 0

        DeviceList {
            id: deviceList
            devices: window.devices
            night: window.night
            onNightWanted: wanted => window.night = wanted
            Layout.preferredWidth: 300
            Layout.fillHeight: true
        }

        ColumnLayout {
            spacing: 0
            Layout.bottomMargin: Qt.inputMethod.visible && keyboard.active ? keyboard.height : 0

            TabBar {
                id: tabs
                font.pixelSize: 20
                font.capitalization: Font.MixedCase
                contentHeight: 64
                Material.background: window.Material.primary
                Layout.fillWidth: true

                Repeater {
                    model: window.kinds

                    TabButton {
                        required property var modelData
                        text: modelData.title
                        font: tabs.font
                        onClicked: window.browse(modelData.kind)
                    }
                }
            }

            RowLayout {
                visible: stack.depth > 1
                spacing: 8
                Layout.leftMargin: 8
                Layout.rightMargin: 24

                ToolButton {
                    text: "‹"
                    font.pixelSize: 40
                    Layout.preferredWidth: 64
                    Layout.preferredHeight: 64
                    Accessible.name: qsTr("Back")
                    onClicked: stack.pop()
                }
                Label {
                    text: stack.currentItem?.title ?? ""
                    textFormat: Text.PlainText
                    font.pixelSize: 28
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
            }

            Label {
                visible: window.hasDevice && !window.device.attached && window.device.state !== "failed"
                text: qsTr("%1 is not plugged in. Its music can be looked at, but not played.")
                      .arg(window.device.name ?? "")
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                padding: 12
                leftPadding: 24
                color: window.night ? "#1d1406" : "#ffffff"
                background: Rectangle { color: window.Material.accent }
                Layout.fillWidth: true
            }

            StackView {
                id: stack
                clip: true
                Layout.fillWidth: true
                Layout.fillHeight: true
            }
        }
    }

    Component {
        id: mediaPage
        MediaPage {
            device: window.device
            onChosen: (row, rowKind, rowFilter) => window.open(row, rowKind, rowFilter)
        }
    }
    Component {
        id: albumPage
        AlbumPage {
            device: window.device
            onChosen: row => window.open(row, "songs", {})
        }
    }
    Component {
        id: searchPage
        SearchPage {
            device: window.device
            onChosen: (row, rowKind) => window.open(row, rowKind, {})
        }
    }

    Component.onCompleted: browse("artists")

    Connections {
        target: window.devices
        function onCountChanged() {
            if (!window.hasDevice && window.devices.count > 0)
                window.devices.current = window.devices.get(0).deviceId
        }
        function onCurrentChanged() {
            window.browse(window.kinds[tabs.currentIndex].kind)
        }
    }
}
