// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtTest
import Orvel

TestCase {
    id: test
    name: "Models"
    when: windowShown
    visible: true
    width: 400
    height: 300

    property int moves: 0
    property bool follows: true ///< whether the model follows the database

    LocalDevices {
        id: devices
        databaseDirectory: world.databases
    }
    MediaModel {
        id: media
        database: devices.currentDevice.database ?? ""
        onRowsMoved: ++test.moves
    }
    Binding {
        target: media
        property: "generation"
        value: devices.currentDevice.generation ?? 0
        when: test.follows
        restoreMode: Binding.RestoreNone
    }
    SignalSpy { id: resets; target: media; signalName: "modelReset" }
    ListView {
        id: view
        anchors.fill: parent
        model: media
        delegate: Item {
            required property string path
            width: 400
            height: 50
        }
    }

    function values(role) {
        const found = []
        for (let row = 0; row < media.count; ++row) found.push(media.get(row)[role])
        return found
    }
    function settle() {
        wait(1)
        tryVerify(() => !media.loading && (devices.currentDevice.state ?? "idle") === "idle", 60000)
        wait(600) // changes of the contents are collected that long
        tryCompare(media, "loading", false, 30000)
    }
    function show(kind, filter, words) {
        media.kind = kind
        media.filter = filter ?? {}
        media.search = words ?? ""
        wait(1)
        tryCompare(media, "loading", false, 30000)
        compare(media.error, "")
        return values("label")
    }
    function index() {
        devices.indexFolder(world.stick)
        settle()
    }

    function initTestCase() {
        verify(devices.count === 0 && media.count === 0)
        devices.indexFolder(world.stick)
        devices.current = devices.get(0).deviceId
        tryVerify(() => media.count > 0, 60000, "rows come in while it is indexed, or soon after")
        settle()
        compare(media.count, 72)
        compare(devices.currentDevice.songs, 72)
    }

    function test_sorts_as_people_look_things_up() {
        const artists = show("artists")
        compare(artists[artists.length - 1], "", "those without a name come last")
        compare(media.letters.map(entry => entry.letter).join(" "),
                // Chinese by its reading, Hangul by its first sound
                "A C D E H J L M P Q T U Y Μ С ג ن ล ㄷ 青")
        show("songs")
        const paths = values("path")
        verify(paths[71].includes("/.") && paths[70].includes("/.") && !paths[69].includes("/."),
               "songs of hidden folders come last")
        verify(media.letters.every(entry => media.get(entry.row).letter === entry.letter))
    }

    function test_lists_whatever_a_screen_shows_data() {
        const music = world.stick + "/Music"
        return [
            {tag: "an album by its tracks", kind: "songs", filter: {album: "Letters"},
             rows: ["Return to Sender's Gate", "Stamp Act"]},
            {tag: "an album of two discs", kind: "songs", filter: {album: "Evening Pieces"},
             rows: ["Quartet No. 1 in D: Allegro", "Quartet No. 1 in D: Largo",
                    "Quartet No. 2 in G: Andante", "Quartet No. 2 in G: Presto"]},
            {tag: "the albums of an artist", kind: "albums", filter: {artist: "Copper Vale"},
             rows: ["Old Roads", "Old Roads (Store Edition)"]},
            {tag: "a composer's songs", kind: "songs", filter: {composer: "林小舟", album: "旧唱片"},
             rows: ["江边的晚风", "故乡的小路"]},
            {tag: "a playlist in its own order", kind: "songs", filter: {playlist: "Evening.wpl"},
             rows: ["Milestone", "Quartet No. 2 in G: Andante", "Quiet"]},
            {tag: "the folders of a folder", kind: "directories",
             filter: {parent: music + "/Lindenhof Quartet/Evening Pieces"},
             rows: ["Disc 1", "Disc 2"]},
            {tag: "a file without tags by its name", kind: "songs",
             filter: {directory: world.stick + "/Recordings", artist: ""}, rows: ["memo", "memo"]},
            {tag: "finds of all kinds", kind: "songs", words: "brucke", rows: ["Die Kleine Brücke"]}]
    }
    function test_lists_whatever_a_screen_shows(data) {
        const rows = show(data.kind, data.filter, data.words)
        if (data.words)
            verify(rows.includes(data.rows[0]) && values("kind").includes("artists"), rows)
        else
            compare(rows.join("|"), data.rows.join("|"))
    }

    function test_rows_that_stay_keep_their_place() {
        show("songs")
        const folder = "stick/Music/Amber Harbour/Winter Tide/"
        const top = world.stick + "/Music/Die Kleine Brücke/Übermut/01 Straßenbahn nach Süden.flac"
        view.positionViewAtIndex(values("path").indexOf(top), ListView.Beginning)
        compare(view.itemAtIndex(view.indexAt(1, view.contentY + 1)).path, top)
        const item = view.itemAtIndex(view.indexAt(1, view.contentY + 1))
        // One song goes, one comes, and one gets a title that belongs elsewhere.
        world.rename(folder + "02 Frost Bell.mp3", "gone.mp3")
        world.copy("stick/Mixed/SHOUT.MP3", "stick/Mixed/A new one.mp3")
        world.copy("stick/Mixed/What's up? (50's \"Mix\").mp3", folder + "03 Thaw.mp3")
        follows = false // it would lose the renamed song for a moment on a slow machine
        index()
        follows = true
        settle()
        compare(media.count, 72)
        verify(!values("label").includes("Frost Bell"))
        verify(!values("label").includes("Thaw"))
        compare(moves, 1)
        compare(view.itemAtIndex(view.indexAt(1, view.contentY + 1)), item)
        compare(item.path, top)
        compare(resets.count, 0)
    }

    function test_stick_that_is_pulled_out_stays_browsable() {
        world.rename("stick", "elsewhere")
        tryVerify(() => !devices.currentDevice.attached, 30000)
        verify(show("albums").includes("Letters"))
        world.rename("elsewhere", "stick")
        tryVerify(() => devices.currentDevice.attached, 30000)
        settle()
    }

    function test_tells_what_cannot_be_shown() {
        devices.indexFolder(world.stick + "/nothing")
        compare(devices.get(1).state, "failed")
        verify(devices.get(1).problem.includes("/nothing"))
        other.database = world.stick + "/notes.txt"
        tryVerify(() => other.error.includes("notes.txt"), 30000)
        other.database = ""
        tryCompare(other, "error", "", 30000)
    }
    MediaModel { id: other }
}
