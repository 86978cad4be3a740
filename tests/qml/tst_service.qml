// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtTest
import Orvel

/// The real service on a bus of its own.
TestCase {
    name: "Service"

    ServiceDevices {
        id: devices
        session: true
    }
    MediaModel {
        id: media
        database: devices.currentDevice.database ?? ""
        generation: devices.currentDevice.generation ?? 0
        kind: "albums"
    }

    function test_devices_come_and_go_with_their_music() {
        tryCompare(devices, "error", "", 20000)
        devices.indexFolder(world.stick)
        tryCompare(devices, "count", 1, 20000)
        devices.current = devices.get(0).deviceId
        tryVerify(() => devices.currentDevice.state === "idle" && devices.currentDevice.songs === 72, 60000)
        tryCompare(media, "count", 27, 30000)
        devices.forget(devices.current)
        tryCompare(devices, "count", 0, 30000)
        tryCompare(media, "count", 0, 30000)
        devices.indexFolder(world.stick + "/nothing")
        tryVerify(() => devices.error.includes("/nothing"), 30000)
    }
}
