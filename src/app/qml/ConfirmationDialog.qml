import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velmora

// A question before something is deleted: its title, what will happen, a destructive button
// and "Cancel". Escape, "Cancel" and a click outside all dismiss it.
Dialog {
    id: dialog

    required property string message
    required property string confirmText

    signal confirmed

    modal: true
    // The style's own shade is too faint to tell that the screen behind waits.
    Overlay.modal: Rectangle {
        color: "#59000000"
    }
    anchors.centerIn: Overlay.overlay
    width: Math.min(Overlay.overlay ? Overlay.overlay.width - 2 * Style.padding : 420, 420)
    onOpened: cancelButton.forceActiveFocus(Qt.PopupFocusReason)

    Label {
        width: dialog.availableWidth
        text: Bidi.isolated(dialog.message)
        horizontalAlignment: Text.AlignLeft
        wrapMode: Text.Wrap
    }

    footer: DialogButtonBox {
        Button {
            id: cancelButton
            text: Texts.cancelButton
            DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            Accessible.onPressAction: clicked()
        }
        Button {
            text: Bidi.isolated(dialog.confirmText)
            Accessible.name: dialog.confirmText
            palette.buttonText: Style.destructive
            DialogButtonBox.buttonRole: DialogButtonBox.DestructiveRole
            onClicked: {
                dialog.confirmed()
                dialog.close()
            }
            Accessible.onPressAction: clicked()
        }
    }
}
