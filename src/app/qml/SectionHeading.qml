import QtQuick
import Velmora

// The heading above a section of a list.
Text {
    width: parent ? parent.width : implicitWidth
    topPadding: 14
    bottomPadding: 4
    leftPadding: Style.padding
    rightPadding: Style.padding
    font.pointSize: Style.captionSize
    font.bold: true
    color: Style.secondary
    elide: Text.ElideRight
    Accessible.role: Accessible.Heading
    Accessible.name: text
    Accessible.ignored: !visible
}
