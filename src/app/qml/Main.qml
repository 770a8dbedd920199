import QtQuick
import QtQuick.Controls
import Velmora

// The one window: a navigation stack whose first page is the voice list.
ApplicationWindow {
    id: window

    required property SpeechController speech
    required property AppServices services

    width: 520
    height: 720
    minimumWidth: 360
    minimumHeight: 420
    visible: true
    title: Texts.windowTitle

    // The list is read afresh each time the window is shown.
    onVisibleChanged: if (visible) speech.refresh()

    StackView {
        id: stack
        anchors.fill: parent
        focus: true
        initialItem: MainPage {
            speech: window.speech
            onEnhancedVoicesRequested: stack.push(enhancedPage)
        }
    }

    // What happens to the enhanced voices is heard on either page.
    Announcer {
        id: announcer
    }
    Connections {
        target: window.services.enhanced
        function onAnnounced(text) {
            announcer.say(text)
        }
    }

    Component {
        id: enhancedPage
        EnhancedPage {
            manager: window.services.enhanced
            backTitle: Texts.windowTitle
            onBackRequested: stack.pop()
        }
    }
}
