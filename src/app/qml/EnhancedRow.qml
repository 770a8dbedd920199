import QtQuick
import QtQuick.Controls
import QtQuick.Controls.impl
import QtQuick.Layouts
import Velmora

// One enhanced voice: its name, its language and state, and the control of its state. For a
// screen reader the row is one button, named by its label, whose press is the row's action.
FocusScope {
    id: entry

    required property EnhancedVoiceManager manager
    required property int index
    required property string voiceId
    required property string name
    required property string detail
    required property string stateKind
    required property double fraction
    required property string accessibleName
    required property string releaseName
    required property string sectionHeader
    required property bool firstInSection

    width: ListView.view.width
    implicitHeight: column.implicitHeight
    focus: ListView.isCurrentItem

    Column {
        id: column
        width: parent.width

        RowLayout {
            width: parent.width
            visible: entry.firstInSection
            SectionHeading {
                Layout.fillWidth: true
                text: entry.sectionHeader
            }
            Button {
                Layout.rightMargin: Style.padding
                Layout.alignment: Qt.AlignBottom
                flat: true
                text: Texts.downloadAllButton
                font.pointSize: Style.captionSize
                onClicked: entry.manager.installAll(entry.releaseName)
                Accessible.description: entry.sectionHeader
                Accessible.onPressAction: clicked()
            }
        }
        Rectangle {
            id: row
            width: parent.width
            implicitHeight: Math.max(rowContent.implicitHeight + 16, 52)
            focus: true
            color: entry.ListView.view.palette.base
            border.color: entry.ListView.view.palette.highlight
            border.width: row.activeFocus ? 2 : 0

            Accessible.role: Accessible.Button
            Accessible.name: entry.accessibleName
            Accessible.focusable: true
            Accessible.focused: row.activeFocus
            Accessible.onPressAction: entry.manager.activate(entry.voiceId)
            Keys.onSpacePressed: entry.manager.activate(entry.voiceId)
            Keys.onReturnPressed: entry.manager.activate(entry.voiceId)
            Keys.onEnterPressed: entry.manager.activate(entry.voiceId)

            MouseArea {
                anchors.fill: parent
                onClicked: {
                    entry.ListView.view.currentIndex = entry.index
                    entry.ListView.view.forceActiveFocus(Qt.MouseFocusReason)
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
                        text: Bidi.isolated(entry.name)
                        elide: Text.ElideRight
                        horizontalAlignment: Text.AlignLeft
                        Accessible.ignored: true
                    }
                    Label {
                        width: parent.width
                        text: Bidi.isolated(entry.detail)
                        font.pointSize: Style.captionSize
                        color: Style.secondary
                        elide: Text.ElideRight
                        horizontalAlignment: Text.AlignLeft
                        Accessible.ignored: true
                    }
                }
                StateControl {
                    manager: entry.manager
                    voiceId: entry.voiceId
                    stateKind: entry.stateKind
                    fraction: entry.fraction
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
    }
}
