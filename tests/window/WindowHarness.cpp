#include "WindowHarness.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTest>
#include <QVariant>
#include <algorithm>
#include <stdexcept>

#include "app/AppServices.h"
#include "app/SpeechController.h"

namespace velmora::test {

namespace {

// Items outside a clipping ancestor, such as list rows made ahead of scrolling, are not shown.
void collectShown(QQuickItem* item, const QRectF& clip, std::vector<QQuickItem*>& items) {
    if (!item->isVisible()) return;
    const QRectF area = item->mapRectToScene(item->boundingRect());
    if (area.intersects(clip) || (area.isEmpty() && clip.contains(area.topLeft()))) items.push_back(item);
    const QRectF inner = item->clip() ? clip.intersected(area) : clip;
    for (QQuickItem* child : item->childItems()) collectShown(child, inner, items);
}

QAccessibleInterface* accessibleOf(QQuickItem* item) { return QAccessible::queryAccessibleInterface(item); }

QString accessibleName(QQuickItem* item) {
    QAccessibleInterface* accessible = accessibleOf(item);
    return accessible ? accessible->text(QAccessible::Name) : QString();
}

}  // namespace

WindowHarness::WindowHarness(SpeechController& speech, AppServices& services)
    : engine_(std::make_unique<QQmlApplicationEngine>()) {
    engine_->addImportPath(QStringLiteral("qrc:/"));
    engine_->setInitialProperties(
        {{"speech", QVariant::fromValue(&speech)}, {"services", QVariant::fromValue(&services)}});
    engine_->load(QUrl(QStringLiteral("qrc:/Velmora/qml/Main.qml")));
    if (engine_->rootObjects().isEmpty()) throw std::runtime_error("the window did not load");
    window_ = qobject_cast<QQuickWindow*>(engine_->rootObjects().first());
    if (!window_ || !QTest::qWaitForWindowExposed(window_))
        throw std::runtime_error("the window is not shown");
    window_->requestActivate();
}

WindowHarness::~WindowHarness() = default;

std::vector<QQuickItem*> WindowHarness::shownItems() const {
    std::vector<QQuickItem*> items;
    collectShown(window_->contentItem(), QRectF(0, 0, window_->width(), window_->height()), items);
    return items;
}

QQuickItem* WindowHarness::itemWithText(const QString& text, QQuickItem* within) const {
    for (QQuickItem* item : shownItems()) {
        if (within && item != within && !within->isAncestorOf(item)) continue;
        const QVariant value = item->property("text");
        if (value.isValid() && value.toString() == text) return item;
    }
    return nullptr;
}

QQuickItem* WindowHarness::accessibleItem(const QString& name, bool prefix) const {
    // List rows are not in tree order: of several matches, the one highest up in the window.
    QQuickItem* found = nullptr;
    for (QQuickItem* item : shownItems()) {
        const QString itemName = accessibleName(item);
        if (!(prefix ? itemName.startsWith(name) : itemName == name)) continue;
        if (!found || item->mapToScene({0, 0}).y() < found->mapToScene({0, 0}).y()) found = item;
    }
    return found;
}

std::size_t WindowHarness::countShown(const QString& text) const {
    // A button's label is an item of its own, with the same text.
    std::vector<QQuickItem*> found;
    for (QQuickItem* item : shownItems()) {
        const QVariant value = item->property("text");
        const bool inside = std::any_of(found.begin(), found.end(),
                                        [item](QQuickItem* outer) { return outer->isAncestorOf(item); });
        if (value.isValid() && value.toString() == text && !inside) found.push_back(item);
    }
    return found.size();
}

QString WindowHarness::focusedName() const {
    QQuickItem* item = focused();
    const QString name = item ? accessibleName(item) : QString();
    return name.isEmpty() && item ? item->property("text").toString() : name;
}

QQuickItem* WindowHarness::overlay() const {
    for (QQuickItem* item : window_->contentItem()->childItems())
        if (item->inherits("QQuickOverlay")) return item;
    throw std::runtime_error("the window has no overlay");
}

void WindowHarness::pressAccessibly(QQuickItem* item) {
    QAccessibleInterface* accessible = item ? accessibleOf(item) : nullptr;
    if (!accessible || !accessible->actionInterface()) throw std::invalid_argument("no accessible action");
    accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
}

void WindowHarness::click(QQuickItem* item) const {
    if (!item) throw std::invalid_argument("no item to click");
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(window_, Qt::LeftButton, {}, centre.toPoint());
}

void WindowHarness::press(Qt::Key key, Qt::KeyboardModifiers modifiers) const {
    QTest::keyClick(window_, key, modifiers);
}

bool WindowHarness::waitFor(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    return QTest::qWaitFor(condition, static_cast<int>(timeout.count()));
}

void WindowHarness::screenshot(const QString& name) const {
    waitFor([this] {
        for (QQuickItem* item : shownItems())
            if (item->inherits("QQuickStackView") && item->property("busy").toBool()) return false;
        return true;
    });
    QTest::qWait(100);  // a few frames, for the last layout and images
    const QDir folder(QStringLiteral(VELMORA_SCREENSHOT_DIR));
    folder.mkpath(QStringLiteral("."));
    if (!window_->grabWindow().save(folder.filePath(name + QStringLiteral(".png"))))
        throw std::runtime_error("cannot save the screenshot " + name.toStdString());
}

}  // namespace velmora::test
