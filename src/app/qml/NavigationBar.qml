import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velmora

// The bar above a page: a back button when the page was pushed, the page's title, and the page's
// own buttons at the trailing end.
ToolBar {
    id: bar

    required property string title
    // The title of the page below, shown on the back button; empty on the first page.
    property string backTitle: ""
    default property alias buttons: trailing.data

    signal backRequested

    RowLayout {
        anchors.fill: parent
        spacing: 4

        ToolbarButton {
            visible: bar.backTitle !== ""
            text: bar.backTitle
            icon.name: Symbols.back
            onClicked: bar.backRequested()
        }
        Text {
            Layout.fillWidth: true
            Layout.leftMargin: bar.backTitle === "" ? Style.padding : 4
            text: bar.title
            font.pointSize: Style.headlineSize
            font.bold: true
            color: bar.palette.windowText
            elide: Text.ElideRight
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        RowLayout {
            id: trailing
            spacing: 2
        }
    }
}
