import QtQuick
import QtQuick.Controls
import QtQuick.Controls.impl
import QtQuick.Layouts
import Velmora

// One enhanced voice: its name, its language and state, and the control of its state. Every
// control does what the row's own action does for the state.
FocusScope {
    id: entry

    required property EnhancedVoiceManager manager
    required property int index
    required property string voiceId
    required property string name
    required property string detail
    required property double fraction
    required property string accessibleName
    required property string buttonText
    required property bool destructive
    required property bool showsProgress
    required property bool showsSpinner
    required property bool showsCheckmark
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
        ListRow {
            width: parent.width
            minimumHeight: 52
            accessibleName: entry.accessibleName
            title: entry.name
            subtitle: entry.detail
            onActivated: entry.manager.activate(entry.voiceId)
            onClicked: {
                entry.ListView.view.currentIndex = entry.index
                entry.ListView.view.forceActiveFocus(Qt.MouseFocusReason)
            }

            ProgressBar {
                visible: entry.showsProgress
                implicitWidth: 70
                from: 0
                to: 1
                value: entry.fraction
                Accessible.ignored: true
            }
            BusyIndicator {
                visible: entry.showsSpinner
                running: visible
                implicitWidth: 24
                implicitHeight: 24
                padding: 2
                Accessible.ignored: true
            }
            IconImage {
                visible: entry.showsCheckmark
                name: Symbols.installed
                sourceSize: Qt.size(18, 18)
                Accessible.ignored: true
            }
            RowButton {
                visible: entry.buttonText !== ""
                text: entry.buttonText
                palette.buttonText: entry.destructive ? Style.destructive : entry.ListView.view.palette.buttonText
                onClicked: entry.manager.activate(entry.voiceId)
            }
        }
    }
}
