import QtQuick
import QtQuick.Controls
import QtQuick.Controls.impl
import QtQuick.Layouts
import Velmora

// The extension's voices in sections by release. One Tab stop: the arrow keys move between
// voices, Space or Enter speaks with the current one.
ListView {
    id: list

    signal voiceChosen(string identifier, string provider)

    clip: true
    activeFocusOnTab: true
    keyNavigationEnabled: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ScrollBar {}
    // Entering the list with the keyboard lands on its first row when no row was chosen yet.
    onActiveFocusChanged: if (activeFocus && currentIndex < 0) currentIndex = 0

    delegate: FocusScope {
        id: entry

        required property int index
        required property string identifier
        required property string provider
        required property string shortName
        required property string languageName
        required property string accessibleName
        required property string sectionHeader
        required property bool firstInSection
        required property string sectionFooter
        required property bool speaking

        width: ListView.view.width
        implicitHeight: column.implicitHeight
        focus: ListView.isCurrentItem

        Column {
            id: column
            width: parent.width

            SectionHeading {
                visible: entry.firstInSection
                text: entry.sectionHeader
            }
            Rectangle {
                id: row
                width: parent.width
                implicitHeight: rowContent.implicitHeight + 16
                focus: true
                color: tap.pressed ? list.palette.midlight : list.palette.base
                border.color: list.palette.highlight
                border.width: row.activeFocus ? 2 : 0

                Accessible.role: Accessible.Button
                Accessible.name: entry.accessibleName
                Accessible.focusable: true
                Accessible.focused: row.activeFocus
                Accessible.onPressAction: list.voiceChosen(entry.identifier, entry.provider)
                Keys.onSpacePressed: list.voiceChosen(entry.identifier, entry.provider)
                Keys.onReturnPressed: list.voiceChosen(entry.identifier, entry.provider)
                Keys.onEnterPressed: list.voiceChosen(entry.identifier, entry.provider)

                MouseArea {
                    id: tap
                    anchors.fill: parent
                    onClicked: {
                        list.currentIndex = entry.index
                        list.forceActiveFocus(Qt.MouseFocusReason)
                        list.voiceChosen(entry.identifier, entry.provider)
                    }
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
                            text: Bidi.isolated(entry.shortName)
                            elide: Text.ElideRight
                            horizontalAlignment: Text.AlignLeft
                            Accessible.ignored: true
                        }
                        Label {
                            width: parent.width
                            text: Bidi.isolated(entry.languageName)
                            font.pointSize: Style.captionSize
                            color: Style.secondary
                            elide: Text.ElideRight
                            horizontalAlignment: Text.AlignLeft
                            Accessible.ignored: true
                        }
                    }
                    IconImage {
                        visible: entry.speaking
                        name: Symbols.speaking
                        color: Style.accent
                        sourceSize: Qt.size(18, 18)
                        Accessible.ignored: true
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
            SectionFooter {
                visible: entry.sectionFooter !== ""
                text: entry.sectionFooter
            }
        }
    }
}
