// SPDX-License-Identifier: MPL-2.0

import QtQuick
import Orvel

/// Leads through everything that the screen shows and takes a picture of each stop. The folders of
/// `workshop` are links, so that the tour can pull a stick out.
LocalScreen {
    id: tour

    required property var book
    required property var workshop

    property int stop: 0
    property int settled: 0  // how long the stop has been as it should be
    property int waited: 0

    readonly property Item page: pages.currentItem
    readonly property ListView list: page?.list ?? null
    readonly property bool hasRows: list !== null && list.count > 0

    function deviceNamed(name) {
        for (let row = 0; row < devices.count; ++row)
            if (devices.get(row).name === name) return devices.get(row)
        return {state: "unknown"}
    }
    function select(name) {
        devices.current = deviceNamed(name).deviceId
    }
    function openRow(kind, label) {
        for (let row = 0; row < list.count; ++row) {
            const values = list.model.get(row)
            if (values.label === label) return open(values, kind, page.filter)
        }
        console.warn("no row", label)
    }

    readonly property var stops: [
        {name: "no-device", settle: 3},
        {name: "while-indexing", settle: 0,
         go: () => { devices.indexFolder(workshop.large); devices.current = devices.get(0).deviceId; browse("artists") },
         ready: () => deviceNamed("large").state === "reading" && hasRows},
        {name: "artists",
         go: () => { devices.indexFolder(workshop.stick); select("stick"); browse("artists") },
         ready: () => deviceNamed("stick").state === "idle" && deviceNamed("large").state === "idle"
                      && hasRows},
        {name: "artists-end", go: () => list.positionViewAtEnd()},
        {name: "albums-night", go: () => { night = true; browse("albums") }},
        {name: "album-night", go: () => openRow("albums", "Paper Lanterns")},
        {name: "albums-of-an-artist", go: () => { night = false; browse("artists") },
         then: () => openRow("artists", "青い風船")},
        {name: "songs-end", go: () => { browse("songs") }, then: () => list.positionViewAtEnd()},
        {name: "right-to-left", go: () => { browse("albums") },
         then: () => list.positionViewAtEnd()},
        {name: "genres", go: () => browse("genres")},
        {name: "folders", go: () => browse("directories")},
        {name: "playlist", go: () => browse("playlists"), then: () => openRow("playlists", "Favourites")},
        {name: "search", go: () => browse("search"), then: () => { page.words = "b" }},
        {name: "nothing-found-night", go: () => { night = true; page.words = "zzz" }, isEmpty: true},
        {name: "pulled-out", go: () => { night = false; browse("albums") },
         then: () => { openRow("albums", "Übermut"); workshop.pullOut() },
         ready: () => !deviceNamed("stick").attached && hasRows},
        {name: "empty", go: () => { devices.indexFolder(workshop.empty); select("empty"); browse("songs") },
         ready: () => deviceNamed("empty").state === "idle", isEmpty: true},
        {name: "error", go: () => { devices.indexFolder(workshop.missing); select("missing") }, isEmpty: true}
    ]

    Timer {
        id: clock
        interval: 60
        running: true
        repeat: true
        onTriggered: tour.look()
    }

    /// Takes the picture once the stop has been as it should be for a while; gives up after one and
    /// a half minutes.
    function look() {
        const here = stops[stop]
        if (settled === 0 && here.go && !here.went) {
            here.went = true
            here.go()
            return
        }
        if (settled === 0 && here.then && !here.did) {
            if (!hasRows && page.words === undefined) return
            here.did = true
            here.then()
            return
        }
        const isReady = here.ready ? here.ready() : stop === 0 || hasRows || here.isEmpty === true
        settled = isReady ? settled + 1 : 0
        if (++waited > 1500) {
            console.warn("the tour cannot reach", here.name, JSON.stringify(device), list?.count)
            clock.stop()
            book.fail()
        }
        if (settled <= (here.settle ?? 8)) return
        book.take(tour, String(stop + 1).padStart(2, "0") + "-" + here.name)
        settled = 0
        waited = 0
        if (++stop === stops.length) {
            clock.stop()
            book.close()
        }
    }
}
