import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velmora

// One row of a list: a title, a dimmed line below it, and what the row puts at its end. For the
// keyboard and a screen reader the row is one button named by `accessibleName`, whose press is
// `activated`; its children are not heard on their own.
Rectangle {
    id: row

    required property string accessibleName
    required property string title
    required property string subtitle
    property real minimumHeight: 0
    default property alias trailing: trailingItems.data

    // Space, Enter or the screen reader's press.
    signal activated
    // A click on the row, which makes it the list's current one.
    signal clicked

    implicitHeight: Math.max(rowContent.implicitHeight + 16, minimumHeight)
    focus: true
    color: tap.pressed ? palette.midlight : palette.base
    border.color: palette.highlight
    border.width: activeFocus ? 2 : 0

    Accessible.role: Accessible.Button
    Accessible.name: accessibleName
    Accessible.focusable: true
    Accessible.focused: activeFocus
    Accessible.onPressAction: activated()
    Keys.onSpacePressed: activated()
    Keys.onReturnPressed: activated()
    Keys.onEnterPressed: activated()

    MouseArea {
        id: tap
        anchors.fill: parent
        onClicked: row.clicked()
    }
    RowLayout {
        id: rowContent
        anchors.verticalCenter: parent.verticalCenter
        x: Style.padding
        width: parent.width - 2 * Style.padding
        spacing: 8

        Column {
            Layout.fillWidth: true
            spacing: 2
            Label {
                width: parent.width
                text: Bidi.isolated(row.title)
                elide: Text.ElideRight
                horizontalAlignment: Text.AlignLeft
                Accessible.ignored: true
            }
            Label {
                width: parent.width
                text: Bidi.isolated(row.subtitle)
                font.pointSize: Style.captionSize
                color: Style.secondary
                elide: Text.ElideRight
                horizontalAlignment: Text.AlignLeft
                Accessible.ignored: true
            }
        }
        RowLayout {
            id: trailingItems
            spacing: 8
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        x: Style.padding
        width: parent.width - Style.padding
        height: 1
        color: Style.separator
    }
}
