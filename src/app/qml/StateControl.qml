import QtQuick
import QtQuick.Controls
import QtQuick.Controls.impl
import QtQuick.Layouts
import Velmora

// The control at the end of an enhanced voice's row, one kind per state. Screen readers hear the
// row instead, and the keyboard uses the row, whose action is the same.
RowLayout {
    id: control

    required property EnhancedVoiceManager manager
    required property string voiceId
    required property string stateKind
    required property double fraction

    spacing: 8

    RowButton {
        visible: control.stateKind === "available"
        text: Texts.getButton
        onClicked: control.manager.install(control.voiceId)
    }
    ProgressBar {
        visible: control.stateKind === "downloading"
        implicitWidth: 70
        from: 0
        to: 1
        value: control.fraction
        Accessible.ignored: true
    }
    RowButton {
        visible: control.stateKind === "downloading"
        text: Texts.stopButton
        onClicked: control.manager.cancel(control.voiceId)
    }
    BusyIndicator {
        visible: control.stateKind === "unpacking"
        running: visible
        implicitWidth: 24
        implicitHeight: 24
        padding: 2
        Accessible.ignored: true
    }
    IconImage {
        visible: control.stateKind === "installed"
        name: Symbols.installed
        sourceSize: Qt.size(18, 18)
        Accessible.ignored: true
    }
    RowButton {
        visible: control.stateKind === "installed"
        text: Texts.removeButton
        palette.buttonText: Style.destructive
        onClicked: control.manager.activate(control.voiceId)
    }
    RowButton {
        visible: control.stateKind === "failed"
        text: Texts.retryButton
        onClicked: control.manager.install(control.voiceId)
    }
}
