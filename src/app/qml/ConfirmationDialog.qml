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
    anchors.centerIn: Overlay.overlay
    width: Math.min(Overlay.overlay ? Overlay.overlay.width - 2 * Style.padding : 420, 420)
    onOpened: cancelButton.forceActiveFocus(Qt.PopupFocusReason)

    Label {
        width: dialog.availableWidth
        text: dialog.message
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
            text: dialog.confirmText
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
