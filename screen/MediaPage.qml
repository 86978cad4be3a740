// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.Controls
import Orvel

/// A list of one kind; in a folder the songs follow its folders.
Item {
    id: page

    required property var device
    required property string kind
    property string title
    property var filter: ({})
    property var songFilter: null
    readonly property alias list: view

    /// A device of one partition begins with what is in it.
    readonly property bool isLoneRoot: kind === "directories" && filter.parent === ""
                                       && media.count === 1 && !media.loading
    onIsLoneRootChanged: if (isLoneRoot) Qt.callLater(enterRoot)

    function enterRoot() {
        if (!isLoneRoot) return
        const root = media.get(0).path
        songFilter = {directory: root}
        filter = {parent: root}
    }

    signal chosen(var row, string rowKind, var rowFilter)

    MediaModel {
        id: media
        database: page.device.database ?? ""
        generation: page.device.generation ?? 0
        kind: page.kind
        filter: page.filter
    }
    MediaModel {
        id: songs
        database: page.songFilter ? page.device.database ?? "" : ""
        generation: page.device.generation ?? 0
        filter: page.songFilter ?? {}
    }

    ListView {
        id: view
        anchors { fill: parent; rightMargin: strip.width }
        clip: true
        model: media
        reuseItems: true
        ScrollBar.vertical: ScrollBar {}

        delegate: MediaDelegate {
            required property int index
            kind: page.kind
            onClicked: page.chosen(media.get(index), page.kind, page.filter)
        }
        footer: Column {
            Repeater {
                model: songs

                MediaDelegate {
                    required property int index
                    width: view.width
                    onClicked: page.chosen(songs.get(index), "songs", page.songFilter)
                }
            }
        }
    }
    LetterStrip {
        id: strip
        anchors { top: parent.top; bottom: parent.bottom; right: parent.right; margins: 8 }
        list: view
        letters: page.filter.playlist === undefined ? media.letters : []
    }
    Notice {
        device: page.device
        media: media
        visible: media.count === 0 && songs.count === 0
    }
}
