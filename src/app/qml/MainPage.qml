import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velmora

// The main window's content: what to say and how fast, then the voices to say it with.
Page {
    id: page

    required property SpeechController speech

    signal enhancedVoicesRequested

    title: Texts.windowTitle

    header: NavigationBar {
        title: page.title

        ToolbarButton {
            text: Texts.enhancedVoicesButton
            icon.name: Symbols.download
            onClicked: page.enhancedVoicesRequested()
        }
        ToolbarButton {
            text: Texts.refreshVoicesButton
            icon.name: Symbols.refresh
            onClicked: page.speech.refresh()
        }
    }

    Shortcut {
        sequence: StandardKey.Refresh
        enabled: page.StackView.status === StackView.Active
        onActivated: page.speech.refresh()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        SpeakControls {
            id: controls
            Layout.fillWidth: true
            Layout.margins: Style.padding
            speech: page.speech
        }
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: Style.separator
        }
        EmptyVoices {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: !page.speech.hasVoices
            onRefreshRequested: page.speech.refresh()
        }
        VoiceList {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: page.speech.hasVoices
            model: page.speech.voiceList
            onVoiceChosen: (identifier, provider) => page.speech.speakVoice(identifier, provider, controls.text,
                                                                            controls.rate)
        }
    }
}
