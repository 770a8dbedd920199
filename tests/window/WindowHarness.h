#pragma once

#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace velmora {
class AppServices;
class SpeechController;
}  // namespace velmora

namespace velmora::test {

// The real window (qrc:/Velmora/qml/Main.qml) loaded offscreen with the given objects, and the
// ways a test looks at it and works it: by the texts and accessible names a person would see or
// hear, with the mouse and the keyboard.
class WindowHarness {
public:
    WindowHarness(SpeechController& speech, AppServices& services);
    ~WindowHarness();

    QQuickWindow& window() const { return *window_; }

    // Every item that is shown (it and all its ancestors visible, inside the window), in tree order.
    std::vector<QQuickItem*> shownItems() const;
    // The shown item whose `text` property is `text`, else null; only below `within` when given.
    QQuickItem* itemWithText(const QString& text, QQuickItem* within = nullptr) const;
    bool shows(const QString& text) const { return itemWithText(text) != nullptr; }
    // The shown item whose accessible name is `name`, or starts with it when `prefix`, else null;
    // the topmost of several.
    QQuickItem* accessibleItem(const QString& name, bool prefix = false) const;
    // How many shown items have `text` as their `text` property.
    std::size_t countShown(const QString& text) const;

    // The layer above the pages that holds the dialogs.
    QQuickItem* overlay() const;
    // Performs the press action of the item's accessible element, as a screen reader does.
    static void pressAccessibly(QQuickItem* item);

    void click(QQuickItem* item) const;
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const;
    // The item that has the keyboard focus.
    QQuickItem* focused() const { return window_->activeFocusItem(); }
    // Its accessible name, or its text: offscreen, Qt gives controls no accessible names of
    // their own (a screen reader would hear the text).
    QString focusedName() const;

    // Waits, handling events, until `condition` holds; false when it did not within `timeout`.
    static bool waitFor(const std::function<bool()>& condition,
                        std::chrono::milliseconds timeout = std::chrono::seconds(10));
    // Waits for the page transition to end, then saves the window as `name`.png in the
    // screenshot folder of the build tree.
    void screenshot(const QString& name) const;

private:
    std::unique_ptr<QQmlApplicationEngine> engine_;
    QQuickWindow* window_ = nullptr;
};

}  // namespace velmora::test
