import QtQuick
import QtQuick.Controls
import QtQuick.Controls.impl
import QtQuick.Layouts
import Velmora

// The top of the enhanced voices screen: what the screen is for, what is installed, what went
// wrong, and the loading row while the catalog is first read.
ColumnLayout {
    id: intro

    required property EnhancedVoiceManager manager

    signal deleteAllRequested

    spacing: 10

    ColumnLayout {
        Layout.fillWidth: true
        Layout.margins: Style.padding
        spacing: 10

        Label {
            Layout.fillWidth: true
            text: Texts.introduction
            font.pointSize: Style.calloutSize
            color: Style.secondary
            wrapMode: Text.Wrap
        }
        Label {
            Layout.fillWidth: true
            text: Texts.upgradeNote
            font.pointSize: Style.captionSize
            color: Style.secondary
            wrapMode: Text.Wrap
        }
        RowLayout {
            Layout.fillWidth: true
            visible: intro.manager.installedCount > 0
            Label {
                Layout.fillWidth: true
                text: Texts.installedLabel
            }
            Label {
                text: intro.manager.installedSizeText
                color: Style.secondary
            }
        }
        Button {
            visible: intro.manager.installedCount > 0
            text: Texts.deleteAllButton
            palette.buttonText: Style.destructive
            onClicked: intro.deleteAllRequested()
            Accessible.name: intro.manager.deleteAllAccessibleName
            Accessible.onPressAction: clicked()
        }
        WarningLabel {
            Layout.fillWidth: true
            visible: intro.manager.containerProblem !== ""
            text: intro.manager.containerProblem
            font.pointSize: Style.calloutSize
        }
        WarningLabel {
            Layout.fillWidth: true
            visible: intro.manager.actionError !== ""
            text: intro.manager.actionError
        }
        WarningLabel {
            Layout.fillWidth: true
            visible: intro.manager.catalogError !== ""
            text: intro.manager.catalogError
        }
        Button {
            visible: intro.manager.catalogError !== ""
            text: Texts.tryAgainButton
            onClicked: intro.manager.load()
            Accessible.onPressAction: clicked()
        }
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: Style.separator
    }
    RowLayout {
        Layout.fillWidth: true
        Layout.margins: Style.padding
        visible: intro.manager.showsLoadingRow
        spacing: 8
        BusyIndicator {
            implicitWidth: 24
            implicitHeight: 24
            padding: 2
            running: parent.visible
            Accessible.ignored: true
        }
        Label {
            Layout.fillWidth: true
            text: Texts.loading
        }
    }
}
