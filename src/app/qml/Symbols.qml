pragma Singleton
import QtQuick

// The icons the screens show, as freedesktop icon-theme names found in the Adwaita theme
// (adwaita-icon-theme), each chosen for the same meaning as the symbol it stands for.
QtObject {
    // A filled square: stop playback.
    readonly property string stop: "media-playback-stop"
    // Sound that cannot be heard yet: a warning sign, as no voice is registered.
    readonly property string voicesMissing: "dialog-warning"
    // An arrow pointing down into a tray: downloads.
    readonly property string download: "emblem-downloads"
    // A circular arrow: reload.
    readonly property string refresh: "view-refresh"
    readonly property string openFile: "document-open"
    // A speaker sending sound waves: this voice is speaking.
    readonly property string speaking: "audio-volume-high"
    // A warning triangle: the shared folder's problem and the catalog's error.
    readonly property string warning: "dialog-warning"
    // A green circle with a check mark: installed.
    readonly property string installed: "emblem-default"
    // An arrow pointing back: return to the previous screen.
    readonly property string back: "go-previous"
}
