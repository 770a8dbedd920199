import QtQuick
import QtQuick.Controls

// A toolbar button with an icon and its label, named by the label for screen readers.
ToolButton {
    display: AbstractButton.TextBesideIcon
    Accessible.name: text
    Accessible.onPressAction: clicked()
}
