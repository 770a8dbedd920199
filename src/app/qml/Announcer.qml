import QtQuick

// Tells a screen reader a sentence without moving the focus: a notification that appears, named
// by the sentence. It draws nothing and takes no room.
Item {
    id: announcer

    property string sentence

    // Says `sentence`; the same sentence twice is said twice.
    function say(text) {
        visible = false
        sentence = text
        visible = true
    }

    width: 1
    height: 1
    Accessible.role: Accessible.Notification
    Accessible.name: sentence
}
