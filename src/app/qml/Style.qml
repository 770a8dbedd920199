pragma Singleton
import QtQuick

// Text sizes and colours shared by both screens. Sizes follow the application font, so the
// screens scale with the desktop's font setting.
QtObject {
    readonly property real bodySize: Qt.application.font.pointSize
    readonly property real headlineSize: bodySize * 1.15
    readonly property real calloutSize: bodySize * 0.95
    readonly property real captionSize: bodySize * 0.85

    // Dimmed text that still reads well on the light window background.
    readonly property color secondary: "#5e5c64"
    readonly property color accent: "#1c71d8"
    readonly property color destructive: "#c01c28"
    readonly property color warning: "#c64600"
    readonly property color success: "#26a269"
    readonly property color separator: "#d8d4d0"

    readonly property int padding: 12
}
