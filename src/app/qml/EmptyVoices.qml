import QtQuick
import QtQuick.Controls
import QtQuick.Controls.impl
import QtQuick.Layouts
import Velmora

// What the main window shows while the system lists none of the extension's voices.
Item {
    id: empty

    signal refreshRequested

    ColumnLayout {
        anchors.centerIn: parent
        width: parent.width - 2 * Style.padding
        spacing: 8

        RowLayout {
            Layout.alignment: Qt.AlignHCenter
            spacing: 6
            IconImage {
                name: Symbols.voicesMissing
                sourceSize: Qt.size(20, 20)
                Accessible.ignored: true
            }
            Text {
                text: Texts.emptyTitle
                font.pointSize: Style.headlineSize
                font.bold: true
                color: empty.palette.windowText
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
        }
        Label {
            Layout.fillWidth: true
            text: Texts.emptyExplanation
            font.pointSize: Style.calloutSize
            color: Style.secondary
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
        }
        Button {
            Layout.alignment: Qt.AlignHCenter
            text: Texts.refreshButton
            onClicked: empty.refreshRequested()
            Accessible.onPressAction: clicked()
        }
    }
}
