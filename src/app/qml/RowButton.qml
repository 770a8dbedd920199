import QtQuick
import QtQuick.Controls

// A borderless button inside a list row. The row is the keyboard's and the screen reader's
// element, so the button takes clicks only.
Button {
    flat: true
    focusPolicy: Qt.NoFocus
    Accessible.ignored: true
}
