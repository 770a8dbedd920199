import QtQuick
import QtQuick.Controls
import Velmora

ApplicationWindow {
    id: window

    required property SpeechController speech
    required property AppServices services

    width: 480
    height: 640
    visible: true
    title: Texts.windowTitle
}
