#pragma once

#include <QAccessible>
#include <QDir>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <stdexcept>

#include "app/AppServices.h"
#include "app/SpeechController.h"
#include "speech/AudioOutput.h"
#include "support/Files.h"
#include "support/ServedCatalog.h"
#include "support/Watched.h"

namespace velmora::test {

// A controller over `system`'s voices, speaking without a sound server when there is none.
inline auto controllerOf(const std::shared_ptr<SpeechSystem>& system, AppServices& services) {
    return std::make_unique<SpeechController>(system, std::make_unique<Synthesizer>(system, openAudioOutput),
                                              services.workers());
}

// Waits, handling events, until `condition` holds; false when it did not within ten seconds.
inline bool waitFor(const std::function<bool()>& condition) { return QTest::qWaitFor(condition, 10000); }

// The real window (qrc:/Velmora/qml/Main.qml) loaded offscreen, looked at by the texts and accessible
// names a person would see or hear, and worked with the mouse, the keyboard and a screen reader's actions.
class WindowHarness {
public:
    WindowHarness(SpeechController& speech, AppServices& services) {
        engine_.addImportPath(QStringLiteral("qrc:/"));
        engine_.setInitialProperties(
            {{"speech", QVariant::fromValue(&speech)}, {"services", QVariant::fromValue(&services)}});
        engine_.load(QUrl(QStringLiteral("qrc:/Velmora/qml/Main.qml")));
        if (!engine_.rootObjects().isEmpty()) window_ = qobject_cast<QQuickWindow*>(engine_.rootObjects()[0]);
        if (!window_ || !QTest::qWaitForWindowExposed(window_)) throw std::runtime_error("no window shown");
        window_->requestActivate();
    }

    // Every item that is shown (it and all its ancestors visible, inside the window), in tree order.
    std::vector<QQuickItem*> shownItems() const {
        std::vector<QQuickItem*> items;
        collectShown(window_->contentItem(), QRectF(0, 0, window_->width(), window_->height()), items);
        return items;
    }
    // The shown item whose `text` property is `text`, else null; only below `within` when given.
    QQuickItem* itemWithText(const QString& text, QQuickItem* within = nullptr) const {
        for (QQuickItem* item : shownItems())
            if (hasText(item, text) && (!within || item == within || within->isAncestorOf(item))) return item;
        return nullptr;
    }
    bool shows(const QString& text) const { return itemWithText(text) != nullptr; }
    // How many shown items have `text` as their `text` property; a button's label, an item of its
    // own with the same text, is not counted again.
    std::size_t countShown(const QString& text) const {
        const auto items = shownItems();
        return std::count_if(items.begin(), items.end(), [&](QQuickItem* item) {
            return hasText(item, text) && !(item->parentItem() && hasText(item->parentItem(), text));
        });
    }
    // The shown item whose accessible name is `name`, or starts with it when `prefix`, else null;
    // of several, the topmost (list rows are not in tree order).
    QQuickItem* accessibleItem(const QString& name, bool prefix = false) const {
        QQuickItem* found = nullptr;
        for (QQuickItem* item : shownItems()) {
            const QString itemName = accessibleName(item);
            if (!(prefix ? itemName.startsWith(name) : itemName == name)) continue;
            if (!found || item->mapToScene({0, 0}).y() < found->mapToScene({0, 0}).y()) found = item;
        }
        return found;
    }
    QQuickItem* row(const QString& start) const { return accessibleItem(start, true); }
    // The item showing `text` in the row whose accessible name starts with `start`, else null.
    QQuickItem* control(const QString& start, const QString& text) const {
        QQuickItem* found = row(start);
        return found ? itemWithText(text, found) : nullptr;
    }

    // The shown item with `text` in the layer above the pages that holds the dialogs, else null.
    QQuickItem* inDialog(const QString& text) const {
        for (QQuickItem* item : window_->contentItem()->childItems())
            if (item->inherits("QQuickOverlay")) return itemWithText(text, item);
        throw std::runtime_error("the window has no overlay");
    }
    // Performs the press action of the item's accessible element, as a screen reader does.
    static void pressAccessibly(QQuickItem* item) {
        QAccessibleInterface* accessible = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
        if (!accessible || !accessible->actionInterface())
            throw std::invalid_argument("no accessible action");
        accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    }
    void click(QQuickItem* item) const {
        if (!item) throw std::invalid_argument("no item to click");
        const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
        QTest::mouseClick(window_, Qt::LeftButton, {}, centre.toPoint());
    }
    void press(Qt::Key key) const { QTest::keyClick(window_, key); }
    // The accessible name of the item that has the keyboard focus, or its text: offscreen, Qt gives
    // controls no accessible names of their own (a screen reader would hear the text).
    QString focusedName() const {
        QQuickItem* item = window_->activeFocusItem();
        const QString name = item ? accessibleName(item) : QString();
        return name.isEmpty() && item ? item->property("text").toString() : name;
    }

    // Waits for the page transition to end, then saves the window as `name`.png in the
    // screenshot folder of the build tree.
    void screenshot(const QString& name) const {
        waitFor([this] {
            const auto items = shownItems();
            return std::none_of(items.begin(), items.end(), [](QQuickItem* item) {
                return item->inherits("QQuickStackView") && item->property("busy").toBool();
            });
        });
        QTest::qWait(100);  // a few frames, for the last layout and images
        const QDir folder(QStringLiteral(VELMORA_SCREENSHOT_DIR));
        folder.mkpath(QStringLiteral("."));
        if (!window_->grabWindow().save(folder.filePath(name + QStringLiteral(".png"))))
            throw std::runtime_error("cannot save the screenshot " + name.toStdString());
    }

private:
    // Items outside a clipping ancestor, such as list rows made ahead of scrolling, are not shown.
    static void collectShown(QQuickItem* item, const QRectF& clip, std::vector<QQuickItem*>& items) {
        if (!item->isVisible()) return;
        const QRectF area = item->mapRectToScene(item->boundingRect());
        if (area.intersects(clip) || (area.isEmpty() && clip.contains(area.topLeft()))) items.push_back(item);
        for (QQuickItem* child : item->childItems())
            collectShown(child, item->clip() ? clip.intersected(area) : clip, items);
    }
    static bool hasText(QQuickItem* item, const QString& text) {
        const QVariant value = item->property("text");
        return value.isValid() && value.toString() == text;
    }
    static QString accessibleName(QQuickItem* item) {
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(item);
        return accessible ? accessible->text(QAccessible::Name) : QString();
    }

    QQmlApplicationEngine engine_;
    QQuickWindow* window_ = nullptr;
};

// The catalog that the window tests' process reads (VELMORA_CATALOG_URL, read once per process,
// points here), on a loopback server that lives as long as the process:
// - ios5/en-US (named Samantha by the compact data) installs for real;
// - ios6/en-GB sends 42% of its archive, then holds until `download` opens or it is cancelled;
// - ios6/de-DE has a good archive (the enhanced screen tests hold its install while it unpacks);
// - ios6/ja-JP has an archive whose checksum does not match, so its install fails.
class CatalogServer {
public:
    static CatalogServer& shared() {
        static CatalogServer server;
        return server;
    }
    // The archive of ios5/en-US and ios6/de-DE.
    static const std::string& goodArchive() {
        static const std::string archive =
            makeZip({"voice/broker.hdr.asset", brokerHeader("Samantha"), "voice/voice.dat", "data"});
        return archive;
    }

    Gate catalog;                      // the catalog answers once this is open
    Gate download;                     // the held archive's rest
    std::atomic<bool> failing{false};  // the catalog answers 404 Not Found
    std::atomic<int> catalogReads{0};

private:
    CatalogServer() { setenv("VELMORA_CATALOG_URL", server_.url("/catalog.xml").c_str(), 1); }

    static constexpr std::size_t heldLength = 1000, heldSent = 420;
    LoopbackServer server_{[this](httplib::Server& http) {
        http.Get("/catalog.xml", [this](const httplib::Request&, httplib::Response& response) {
            ++catalogReads;
            catalog.wait();
            if (failing) return void(response.status = 404);
            const std::string base = server_.url("/");
            response.set_content(
                catalogXml({servedAsset("3", "en-US", base, "good.zip", goodArchive()),
                            servedAsset("4", "en-GB", base, "held.zip", std::string(heldLength, 'x')),
                            servedAsset("4", "de-DE", base, "good.zip", goodArchive()),
                            servedAsset("4", "ja-JP", base, "good.zip", "another archive")}),
                "application/xml");
        });
        http.Get("/good.zip", [](const httplib::Request&, httplib::Response& response) {
            response.set_content(goodArchive(), "application/zip");
        });
        http.Get("/held.zip", [this](const httplib::Request&, httplib::Response& response) {
            response.set_content_provider(
                heldLength, "application/zip",
                [this](std::size_t offset, std::size_t, httplib::DataSink& sink) {
                    const std::string bytes(offset == 0 ? heldSent : heldLength - offset, 'x');
                    return (offset == 0 || download.wait()) && sink.write(bytes.data(), bytes.size());
                });
        });
    }};
};

}  // namespace velmora::test
