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
            ListRow {
                width: parent.width
                accessibleName: entry.accessibleName
                title: entry.shortName
                subtitle: entry.languageName
                onActivated: list.voiceChosen(entry.identifier, entry.provider)
                onClicked: {
                    list.currentIndex = entry.index
                    list.forceActiveFocus(Qt.MouseFocusReason)
                    list.voiceChosen(entry.identifier, entry.provider)
                }

                IconImage {
                    visible: entry.speaking
                    name: Symbols.speaking
                    color: Style.accent
                    sourceSize: Qt.size(18, 18)
                    Accessible.ignored: true
                }
            }
            SectionFooter {
                visible: entry.sectionFooter !== ""
                text: entry.sectionFooter
            }
        }
    }
}
