// SPDX-License-Identifier: MPL-2.0

import QtQuick
import Orvel

/// Shows the devices of the service.
Main {
    property alias session: service.session
    readonly property ServiceDevices service: ServiceDevices { id: service }

    devices: service
}
