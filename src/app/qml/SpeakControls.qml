import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velmora

// The text to speak, growing from one to four lines, and the speech rate, with "Stop" while a
// voice speaks.
ColumnLayout {
    id: controls

    required property SpeechController speech
    readonly property alias text: field.text
    readonly property alias rate: slider.value

    spacing: 10

    ScrollView {
        id: fieldBox
        Layout.fillWidth: true
        focus: true
        Layout.preferredHeight: Math.min(field.implicitHeight, 4 * metrics.lineSpacing + field.topPadding + field.bottomPadding)

        TextArea {
            id: field
            placeholderText: Texts.placeholder
            wrapMode: TextEdit.Wrap
            focus: true
            Accessible.name: Texts.placeholder
            // Tab moves on, as in every other field, instead of typing a tab.
            Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
            Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
            background: Rectangle {
                radius: 4
                color: field.palette.base
                border.color: field.activeFocus ? field.palette.highlight : field.palette.mid
                border.width: field.activeFocus ? 2 : 1
            }
        }
        FontMetrics {
            id: metrics
            font: field.font
        }
    }
    RowLayout {
        Layout.fillWidth: true
        spacing: 8

        Label {
            text: Texts.rateLabel
        }
        Slider {
            id: slider
            Layout.fillWidth: true
            from: controls.speech.minimumRate
            to: controls.speech.maximumRate
            value: controls.speech.defaultRate
            stepSize: 0
            Accessible.name: Texts.rateAccessibilityLabel
        }
        Button {
            visible: controls.speech.speakingVoice !== ""
            text: Texts.stopButton
            icon.name: Symbols.stop
            icon.color: Style.destructive
            palette.buttonText: Style.destructive
            onClicked: controls.speech.stop()
            Accessible.onPressAction: clicked()
        }
    }
}
