// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.Controls

/// The first letters of a list; a finger on one leads to its rows.
Item {
    id: strip

    required property ListView list
    property var letters: []
    /// As many as fit, evenly taken.
    readonly property var shown: {
        const most = Math.max(2, Math.floor(height / 24))
        if (letters.length <= most) return letters
        const some = []
        for (let i = 0; i < most; ++i) some.push(letters[Math.floor(i * letters.length / most)])
        return some
    }

    visible: letters.length > 4
    width: visible ? 56 : 0

    Column {
        anchors.fill: parent

        Repeater {
            model: strip.shown

            Label {
                required property var modelData
                width: strip.width
                height: strip.height / strip.shown.length
                text: modelData.letter
                font.pixelSize: Math.min(19, height * 0.8)
                opacity: 0.75
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
        }
    }
    MouseArea {
        anchors.fill: parent
        preventStealing: true
        function lead(y) {
            const place = Math.floor(y / strip.height * strip.shown.length)
            const entry = strip.shown[Math.max(0, Math.min(strip.shown.length - 1, place))]
            strip.list.positionViewAtIndex(entry.row, ListView.Beginning)
        }
        onPressed: event => lead(event.y)
        onPositionChanged: event => lead(event.y)
    }
}
