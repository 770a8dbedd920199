import QtQuick
import QtQuick.Controls
import Velmora

// The enhanced voices screen: the introduction, then one section per release with a row per
// voice. The page owns its manager, so going back ends it; installs it started run on.
Page {
    id: page

    required property AppServices services
    required property string backTitle
    readonly property EnhancedVoiceManager manager: services.createManager(page)
    // The installed voice whose removal waits for confirmation.
    property string pendingRemoval: ""

    signal backRequested

    title: Texts.enhancedTitle

    header: NavigationBar {
        title: page.title
        backTitle: page.backTitle
        onBackRequested: page.backRequested()

        ToolbarButton {
            text: Texts.refreshButton
            icon.name: Symbols.refresh
            onClicked: page.manager.load()
        }
    }

    // Shown with no voices listed: read the catalog. Coming back to a listed screen does not.
    StackView.onActivated: if (list.count === 0) manager.load()

    Shortcut {
        sequence: StandardKey.Refresh
        enabled: page.StackView.status === StackView.Active
        onActivated: page.manager.load()
    }
    Shortcut {
        sequences: [StandardKey.Back, "Escape"]
        enabled: page.StackView.status === StackView.Active && !removeDialog.visible && !deleteAllDialog.visible
        onActivated: page.backRequested()
    }
    Connections {
        target: page.manager
        function onRemovalRequested(voiceId) {
            page.pendingRemoval = voiceId
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
        message: page.pendingRemoval === "" ? "" : page.manager.removeDialogMessage(page.pendingRemoval)
        confirmText: page.pendingRemoval === "" ? "" : page.manager.removeButtonText(page.pendingRemoval)
        onConfirmed: page.manager.remove(page.pendingRemoval)
        onClosed: page.pendingRemoval = ""
    }
    ConfirmationDialog {
        id: deleteAllDialog
        title: Texts.deleteAllDialogTitle
        message: page.manager.deleteAllMessage
        confirmText: Texts.deleteAllButton
        onConfirmed: page.manager.removeAll()
    }
}
