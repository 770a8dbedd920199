import QtQuick
import QtQuick.Controls
import QtQuick.Controls.impl
import QtQuick.Layouts
import Velmora

// A warning: the triangle sign and its text, in orange.
RowLayout {
    id: warning

    property alias text: label.text
    property alias font: label.font

    spacing: 6

    IconImage {
        Layout.alignment: Qt.AlignTop
        name: Symbols.warning
        sourceSize: Qt.size(16, 16)
        Accessible.ignored: true
    }
    Label {
        id: label
        Layout.fillWidth: true
        color: Style.warning
        wrapMode: Text.Wrap
    }
}
