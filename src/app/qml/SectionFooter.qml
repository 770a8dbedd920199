import QtQuick
import QtQuick.Controls
import Velmora

// The note below the last section of a list.
Label {
    width: parent ? parent.width : implicitWidth
    topPadding: 6
    bottomPadding: 12
    leftPadding: Style.padding
    rightPadding: Style.padding
    font.pointSize: Style.captionSize
    color: Style.secondary
    wrapMode: Text.Wrap
    Accessible.ignored: !visible
}
