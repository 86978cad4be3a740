// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.VirtualKeyboard

/// Qt's keyboard, while a text is typed.
InputPanel {
    visible: Qt.inputMethod.visible
}
