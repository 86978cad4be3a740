// SPDX-License-Identifier: MPL-2.0

import QtQuick
import Orvel

/// Scrolls through all songs as a thumb on the list would, and ends: for measurements.
LocalScreen {
    id: screen

    readonly property ListView list: pages.currentItem?.list ?? null
    readonly property bool isReady: !device.busy && device.songs > 0 && list !== null
                                    && list.model.count === device.songs && !list.model.loading

    Component.onCompleted: {
        devices.current = devices.get(0).deviceId
        browse("songs")
    }
    onIsReadyChanged: if (isReady && !scrolling.running) start.start()

    Timer {
        id: start
        interval: 1000
        onTriggered: {
            console.info("scrolling", screen.list.count, "songs")
            scrolling.start()
        }
    }
    SequentialAnimation {
        id: scrolling

        NumberAnimation {
            target: screen.list
            property: "contentY"
            from: 0
            to: 200 * 76
            duration: 4000
        }
        NumberAnimation {
            target: screen.list
            property: "contentY"
            to: (screen.list?.count ?? 0) * 76 - (screen.list?.height ?? 0)
            duration: 8000
        }
        onFinished: Qt.quit()
    }
}
