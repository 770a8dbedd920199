import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import Velmora

// The enhanced voices screen: the introduction, then one section per release with a row per
// voice. The manager is the application's, so installs go on when the screen is closed and show
// again when it is opened.
Page {
    id: page

    required property EnhancedVoiceManager manager
    required property string backTitle

    signal backRequested

    // After a refresh or a removal the current row has the focus, so that it is spoken and the
    // keys go on from there.
    function focusList() {
        if (list.currentIndex < 0)
            list.currentIndex = 0
        if (list.currentItem)
            list.currentItem.forceActiveFocus(Qt.OtherFocusReason)
        else
            list.forceActiveFocus(Qt.OtherFocusReason)
    }
    function refresh() {
        manager.load()
        focusList()
    }

    title: Texts.enhancedTitle

    header: NavigationBar {
        title: page.title
        backTitle: page.backTitle
        onBackRequested: page.backRequested()

        ToolbarButton {
            text: Texts.installFromFileButton
            icon.name: Symbols.openFile
            onClicked: archiveDialog.open()
        }
        ToolbarButton {
            text: Texts.refreshButton
            icon.name: Symbols.refresh
            onClicked: page.refresh()
        }
    }

    StackView.onActivated: manager.screenShown()

    Shortcut {
        sequence: StandardKey.Refresh
        enabled: page.StackView.status === StackView.Active
        onActivated: page.refresh()
    }
    Shortcut {
        sequences: [StandardKey.Back, "Escape"]
        enabled: page.StackView.status === StackView.Active && !removeDialog.visible && !deleteAllDialog.visible
                 && !archiveDialog.visible
        onActivated: page.backRequested()
    }
    Connections {
        target: page.manager
        function onRemovalRequested() {
            removeDialog.open()
        }
    }

    ListView {
        id: list
        anchors.fill: parent
        clip: true
        activeFocusOnTab: true
        keyNavigationEnabled: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}
        // Entering the list with the keyboard lands on its first row when no row was chosen yet.
        onActiveFocusChanged: if (activeFocus && currentIndex < 0) currentIndex = 0
        model: page.manager.rows

        header: EnhancedIntroduction {
            width: list.width
            manager: page.manager
            onDeleteAllRequested: deleteAllDialog.open()
        }
        delegate: EnhancedRow {
            manager: page.manager
        }
    }

    ConfirmationDialog {
        id: removeDialog
        title: Texts.removeDialogTitle
        message: page.manager.removeDialogMessage
        confirmText: page.manager.removeButtonText
        onConfirmed: page.manager.confirmRemoval()
        onClosed: {
            page.manager.dismissRemoval()
            page.focusList()
        }
    }
    ConfirmationDialog {
        id: deleteAllDialog
        title: Texts.deleteAllDialogTitle
        message: page.manager.deleteAllMessage
        confirmText: Texts.deleteAllButton
        onConfirmed: page.manager.removeAll()
        onClosed: page.focusList()
    }
    // An archive the user already has; the manager finds its voice by its checksum.
    FileDialog {
        id: archiveDialog
        title: Texts.installFromFileDialogTitle
        nameFilters: [Texts.archiveFilter]
        onAccepted: page.manager.installFromFile(selectedFile)
        onRejected: page.focusList()
    }
}
