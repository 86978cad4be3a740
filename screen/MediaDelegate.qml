// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

/// One row of a list: a song, an album, an artist, a folder or a playlist.
ItemDelegate {
    id: entry

    required property string label
    required property string letter
    required property var model
    property string kind: "songs"
    property bool numbered: false
    /// Rows of all kinds are mixed.
    property bool mixed: false

    readonly property string unknown: kind === "artists" ? qsTr("Unknown artist")
                                    : kind === "albums" ? qsTr("Unknown album")
                                    : kind === "genres" ? qsTr("Unknown genre")
                                    : kind === "composers" ? qsTr("Unknown composer") : ""
    readonly property string kindName: ({
        artists: qsTr("Artist"), albums: qsTr("Album"), genres: qsTr("Genre"), songs: qsTr("Song"),
        composers: qsTr("Composer"), directories: qsTr("Folder"), playlists: qsTr("Playlist")})[kind]
    readonly property string about: {
        const songs = model.songs ?? model.entries ?? 0
        const parts = mixed ? [kindName] : []
        if (kind === "songs")
            parts.push(...numbered ? [] : [model.artist, model.album])
        else if (kind === "albums")
            parts.push(model.artist === undefined ? qsTr("Various artists")
                                                  : model.artist || qsTr("Unknown artist"))
        else if (songs > 0)
            parts.push(songs === 1 ? qsTr("1 song") : qsTr("%1 songs").arg(songs))
        return parts.filter(text => text).join(" · ")
    }
    readonly property string length: {
        if (kind !== "songs" || !(model.duration > 0)) return ""
        const seconds = Math.max(1, Math.round(model.duration / 1000))
        return Math.floor(seconds / 60) + ":" + String(seconds % 60).padStart(2, "0")
    }
    readonly property bool hasCover: !numbered && (mixed || kind === "albums" || kind === "songs")

    width: ListView.view.width
    height: 76

    contentItem: RowLayout {
        spacing: 16

        CoverImage {
            visible: entry.hasCover
            source: entry.hasCover ? entry.model.cover ?? "" : ""
            letter: entry.letter
            Layout.preferredWidth: 56
            Layout.preferredHeight: 56
        }
        Label {
            visible: entry.numbered
            text: entry.model.track > 0 ? entry.model.track : ""
            opacity: 0.75
            horizontalAlignment: Text.AlignRight
            Layout.preferredWidth: 40
        }
        ColumnLayout {
            spacing: 0

            // Without an alignment of its own a text follows its script; the second one follows the first.
            Label {
                id: name
                text: entry.label || entry.unknown
                textFormat: Text.PlainText
                elide: Text.ElideRight
                font.italic: entry.label === ""
                Layout.fillWidth: true
            }
            Label {
                visible: text !== ""
                text: entry.about
                textFormat: Text.PlainText
                elide: Text.ElideRight
                font.pixelSize: 17
                opacity: 0.75
                horizontalAlignment: name.effectiveHorizontalAlignment
                Layout.fillWidth: true
            }
        }
        Label {
            visible: text !== ""
            text: entry.length
            opacity: 0.75
        }
    }
}
