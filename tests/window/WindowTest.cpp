// The window tests, offscreen, in a container of their own, with the locale fixed and a loopback
// catalog server as the catalog: the main window with the reference provider's voices, bidi names,
// and the enhanced voices screen in each state, worked with the mouse, the keyboard and the
// accessibility actions.
#include <gtest/gtest.h>

#include <QAccessible>
#include <QDir>
#include <QGuiApplication>
#include <QMetaObject>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <stdexcept>

#include "app/AppServices.h"
#include "app/BidiText.h"
#include "app/DesktopLook.h"
#include "app/SpeechController.h"
#include "app/Texts.h"
#include "speech/AudioOutput.h"
#include "store/ContainerStatus.h"
#include "store/VoiceStore.h"
#include "support/Files.h"
#include "support/ServedCatalog.h"
#include "support/Watched.h"

namespace velmora::test {
namespace {

// A controller over `system`'s voices, speaking without a sound server when there is none.
auto controllerOf(const std::shared_ptr<SpeechSystem>& system, AppServices& services) {
    return std::make_unique<SpeechController>(system, std::make_unique<Synthesizer>(system, openAudioOutput),
                                              services.workers());
}

// Waits, handling events, until `condition` holds; false when it did not within ten seconds.
bool waitFor(const std::function<bool()>& condition) { return QTest::qWaitFor(condition, 10000); }

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

// The main window, over the voices of the reference provider on the private bus.
class MainWindowTest : public ::testing::Test {
protected:
    AppServices services_;
    std::unique_ptr<SpeechController> speech_ = controllerOf(SpeechSystem::shared(), services_);
};

// The first voice of the reference provider's data, as its row is named.
const QString alice = QStringLiteral("Alice, Italian (Italy)");

TEST_F(MainWindowTest, ListsTheVoicesInSectionsOfNamedButtons) {
    WindowHarness harness(*speech_, services_);
    ASSERT_TRUE(waitFor([&] { return harness.accessibleItem(alice); })) << "the list was not read";
    EXPECT_FALSE(harness.shows(Texts::emptyTitle()));
    EXPECT_TRUE(harness.shows(Texts::placeholder()));

    QAccessibleInterface* row = QAccessible::queryAccessibleInterface(harness.accessibleItem(alice));
    EXPECT_EQ(row->role(), QAccessible::Button);
    EXPECT_EQ(row->childCount(), 0) << "the row's texts are read on their own";
    for (const QString& name : {Texts::rateAccessibilityLabel(), Texts::placeholder(),
                                Texts::enhancedVoicesButton(), Texts::refreshVoicesButton()})
        EXPECT_TRUE(harness.accessibleItem(name)) << name.toStdString() << " has no accessible element";

    const auto& groups = speech_->groups();
    ASSERT_GE(groups.size(), 2u);
    const auto header = [](const VoiceGroup& group) {
        return QString::fromStdString(group.release) + " — " + QString::number(group.voices.size()) +
               " voices";
    };
    EXPECT_TRUE(harness.shows(header(groups.front())));
    EXPECT_FALSE(harness.shows(Texts::systemWideHint())) << "the hint belongs below the last section only";
    harness.screenshot(QStringLiteral("main-voices"));

    // A click on a row speaks with its voice. (One utterance per test: the end of a cut-off one
    // clears the marker, whichever voice speaks by then.)
    harness.click(harness.accessibleItem(alice));
    EXPECT_EQ(speech_->speakingVoice(), speech_->groups().front().voices.front().identifier);
    speech_->stop();

    QQuickItem* list = harness.accessibleItem(alice)->parentItem();
    while (list && !list->inherits("QQuickListView")) list = list->parentItem();
    QMetaObject::invokeMethod(list, "positionViewAtEnd");
    ASSERT_TRUE(waitFor([&] { return harness.shows(Texts::systemWideHint()); }));
    EXPECT_TRUE(harness.shows(header(groups.back())));
    harness.screenshot(QStringLiteral("main-voices-end"));
}

TEST_F(MainWindowTest, SpeaksFromTheKeyboardAndStops) {
    WindowHarness harness(*speech_, services_);
    ASSERT_TRUE(waitFor([&] { return harness.accessibleItem(alice); }));

    // The field has the focus; Tab passes the slider and enters the list at its first voice.
    for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Down, Qt::Key_Space}) harness.press(key);
    const std::string second = speech_->groups().front().voices.at(1).identifier;
    EXPECT_EQ(speech_->speakingVoice(), second);
    ASSERT_TRUE(waitFor([&] { return harness.shows(Texts::stopButton()); }));
    harness.screenshot(QStringLiteral("main-speaking"));

    // While it speaks, Tab reaches "Stop", the toolbar and the field as well.
    std::vector<QString> reached;
    for (int i = 0; i < 8; ++i) {
        harness.press(Qt::Key_Tab);
        reached.push_back(harness.focusedName());
    }
    for (const QString& name :
         {Texts::stopButton(), Texts::enhancedVoicesButton(), Texts::refreshVoicesButton(),
          Texts::placeholder(), Texts::rateAccessibilityLabel()})
        EXPECT_NE(std::find(reached.begin(), reached.end(), name), reached.end()) << name.toStdString();

    harness.click(harness.itemWithText(Texts::stopButton()));
    EXPECT_EQ(speech_->speakingVoice(), "");
    EXPECT_TRUE(waitFor([&] { return !harness.shows(Texts::stopButton()); }));
}

TEST_F(MainWindowTest, ExplainsAnEmptyListAndOffersRefresh) {
    auto empty = controllerOf(std::make_shared<SpeechSystem>(nullptr), services_);
    WindowHarness harness(*empty, services_);
    ASSERT_TRUE(waitFor([&] { return harness.shows(Texts::emptyTitle()); }));
    EXPECT_TRUE(harness.shows(Texts::emptyExplanation()));
    EXPECT_TRUE(harness.shows(Texts::refreshButton()));
    EXPECT_FALSE(harness.accessibleItem(alice)) << "no voice rows";
    harness.screenshot(QStringLiteral("main-empty"));
}

TEST(BidiTextTest, IsolatesRightToLeftRunsWithTheirBrackets) {
    const auto isolate = [](const QString& run) { return QChar(0x2068) + run + QChar(0x2069); };
    const std::pair<QString, QString> cases[] = {
        {"English (United States) — 1 KB download", "English (United States) — 1 KB download"},
        {"العربية (مصر) — 1 KB download", isolate("العربية (مصر)") + " — 1 KB download"},
        {"Remove (ערן)", "Remove (" + isolate("ערן") + ")"},  // a bracket opened before the run stays out
        {"עברית — 1 KB — العربية", isolate("עברית") + " — 1 KB — " + isolate("العربية")},
        {"מ 1 م", isolate("מ 1 م")},  // numbers between right-to-left words stay inside
        {"", ""},
    };
    for (const auto& [text, shown] : cases)
        EXPECT_EQ(Bidi::isolated(text).toStdString(), shown.toStdString());
}

// The enhanced voices screen, over the catalog server's voices.
const QString samantha = QStringLiteral("Samantha, English (United States), ");
const QString british = QStringLiteral("English (United Kingdom), English (United Kingdom), ");
const QString german = QStringLiteral("German (Germany), German (Germany)");
const QString japanese = QStringLiteral("Japanese (Japan), Japanese (Japan), 1 KB");

class EnhancedScreenTest : public ::testing::Test {
protected:
    // The real services, except that installs of ios6/de-DE report that they unpack, then hold there
    // until `unpackingGate_` opens, and that deleting every pack fails while `removeAllFails_` is set.
    EnhancedServices services() {
        auto services = EnhancedServices::real();
        services.install = [real = services.install, this](const EnhancedVoice& voice, const auto& progress,
                                                           const auto& unpacking, auto stop) {
            if (voice.locale == "de-DE") {
                unpacking();
                progress(0.5);  // late, as a relayed report can be: the row stays "Unpacking"
                unpackingGate_.wait();
            }
            return real(voice, progress, unpacking, stop);
        };
        services.removeAllPacks = [real = services.removeAllPacks, this] {
            if (removeAllFails_) throw std::runtime_error("Permission denied");
            real();
        };
        return services;
    }

    // Opens the window and pushes the enhanced voices screen from its toolbar.
    std::unique_ptr<WindowHarness> openScreen(AppServices& services) {
        auto harness = std::make_unique<WindowHarness>(*speech_, services);
        harness->click(harness->itemWithText(Texts::enhancedVoicesButton()));
        EXPECT_TRUE(waitFor([&] { return harness->shows(Texts::enhancedTitle()); }));
        return harness;
    }

    void TearDown() override {
        server_.catalog.open();
        server_.download.open();
        server_.failing = false;
        unpackingGate_.open();
    }

    CatalogServer& server_ = CatalogServer::shared();
    Gate unpackingGate_;
    std::atomic<bool> removeAllFails_{false};
    AppServices appServices_{services()};
    std::unique_ptr<SpeechController> speech_ =
        controllerOf(std::make_shared<SpeechSystem>(nullptr), appServices_);
};

TEST_F(EnhancedScreenTest, ShowsEachStateWithItsControlAndLabel) {
    server_.catalog.close();
    server_.download.close();
    unpackingGate_.close();
    auto screen = openScreen(appServices_);
    ASSERT_TRUE(waitFor([&] { return screen->shows(Texts::loading()); }));
    EXPECT_TRUE(screen->shows(Texts::introduction()));
    EXPECT_TRUE(screen->shows(Texts::upgradeNote()));
    screen->screenshot("enhanced-loading");

    server_.catalog.open();
    ASSERT_TRUE(waitFor([&] { return screen->row("Download " + samantha); }));
    EXPECT_FALSE(screen->shows(Texts::deleteAllButton()));
    EXPECT_TRUE(screen->shows("iOS 5 — 1 voices"));
    EXPECT_TRUE(screen->shows("iOS 6 — 3 voices"));
    EXPECT_FALSE(screen->shows("iOS 7 — 0 voices"));
    EXPECT_EQ(screen->countShown(Texts::downloadAllButton()), 2u);
    screen->screenshot("enhanced-available");

    // Each row's action, each way: the mouse on "Get", the screen reader's press, the keyboard.
    screen->click(screen->control("Download " + samantha, Texts::getButton()));
    screen->pressAccessibly(screen->row("Download " + british));
    screen->click(screen->row("Download " + german));
    screen->press(Qt::Key_Space);
    screen->pressAccessibly(screen->row("Download " + japanese));

    // Two install at a time: Japanese waits while the British download and the German unpacking run.
    ASSERT_TRUE(waitFor([&] {
        return screen->row("Remove " + samantha) &&
               screen->accessibleItem("Stop downloading " + british + "42 percent of 1 KB") &&
               screen->accessibleItem("Unpacking " + german) &&
               screen->accessibleItem("Stop waiting to download " + japanese);
    }));
    EXPECT_TRUE(screen->control("Stop waiting to download " + japanese, Texts::stopButton()));
    EXPECT_TRUE(screen->shows(Texts::installedLabel()));
    EXPECT_TRUE(screen->row("Delete all voices, 1 voice, "));
    EXPECT_TRUE(screen->shows("English (United Kingdom) — Downloading 42% of 1 KB"));
    screen->screenshot("enhanced-states");

    screen->click(screen->control("Stop downloading " + british, Texts::stopButton()));
    EXPECT_TRUE(waitFor([&] { return screen->row("Download " + british); }));
    const QString failed = "Download " + japanese + ". Last attempt failed: ";
    ASSERT_TRUE(waitFor([&] { return screen->row(failed); }));
    EXPECT_TRUE(screen->control(failed, Texts::retryButton()));
    screen->screenshot("enhanced-failed");
    // "Download all" passes over the failed and the unpacking voice of its section.
    screen->click(screen->itemWithText(Texts::downloadAllButton(),
                                       screen->itemWithText("iOS 6 — 3 voices")->parentItem()));
    EXPECT_TRUE(screen->row("Stop downloading " + british));
    EXPECT_TRUE(screen->row(failed));
    unpackingGate_.open();
    EXPECT_TRUE(waitFor([&] { return screen->row("Remove " + german); }));
    EXPECT_TRUE(screen->row("Delete all voices, 2 voices, "));

    // Removing asks first; Escape keeps the voice.
    screen->click(screen->control("Remove " + samantha, Texts::removeButton()));
    ASSERT_TRUE(waitFor([&] { return screen->inDialog(Texts::removeDialogTitle()); }));
    EXPECT_TRUE(
        screen->shows("This deletes the enhanced Samantha for iOS 5. The compact Samantha stays "
                      "installed and takes over again straight away."));
    screen->screenshot("dialog-remove");
    screen->press(Qt::Key_Escape);
    EXPECT_TRUE(waitFor([&] { return !screen->inDialog(Texts::removeDialogTitle()); }));
    EXPECT_TRUE(screen->shows(Texts::enhancedTitle())) << "Escape closed the dialog, not the screen";
    screen->pressAccessibly(screen->row("Remove " + samantha));
    ASSERT_TRUE(waitFor([&] { return screen->inDialog("Remove Samantha"); }));
    screen->click(screen->inDialog("Remove Samantha"));
    EXPECT_TRUE(waitFor([&] { return screen->row("Download " + samantha); }));

    // F5 reads the catalog again without a loading row.
    const int reads = server_.catalogReads;
    screen->press(Qt::Key_F5);
    EXPECT_TRUE(waitFor([&] { return server_.catalogReads > reads; }));
    EXPECT_FALSE(screen->shows(Texts::loading()));
}

// The installs belong to the program: a screen opened again shows them, and "Delete all" waits
// for an unpacking voice instead of deleting under it.
TEST_F(EnhancedScreenTest, ReopensOnRunningInstallsAndDeletesAllOnlyOnceUnpacked) {
    VoiceStore::removeAll();
    server_.download.close();
    unpackingGate_.close();
    auto screen = openScreen(appServices_);
    ASSERT_TRUE(waitFor([&] { return screen->row("Download " + samantha); }));
    screen->pressAccessibly(screen->row("Download " + samantha));
    ASSERT_TRUE(waitFor([&] { return screen->row("Remove " + samantha); }));
    screen->pressAccessibly(screen->row("Download " + british));
    screen->pressAccessibly(screen->row("Download " + german));
    ASSERT_TRUE(waitFor([&] { return screen->accessibleItem("Unpacking " + german); }));

    screen->press(Qt::Key_Escape);
    ASSERT_TRUE(waitFor([&] { return screen->shows(Texts::rateLabel()); }));
    screen->click(screen->itemWithText(Texts::enhancedVoicesButton()));
    ASSERT_TRUE(waitFor([&] {
        return screen->accessibleItem("Stop downloading " + british + "42 percent of 1 KB") &&
               screen->accessibleItem("Unpacking " + german);
    }));
    screen->screenshot("enhanced-reopened");  // also waits for the page to settle
    appServices_.enhanced()->install("ios6/en-GB");
    EXPECT_TRUE(screen->accessibleItem("Stop downloading " + british + "42 percent of 1 KB"))
        << "a voice being downloaded is not downloaded again";

    const auto deleteAll = [&] {
        screen->click(screen->itemWithText(Texts::deleteAllButton()));
        EXPECT_TRUE(waitFor([&] { return screen->inDialog(Texts::deleteAllDialogTitle()); }));
        screen->screenshot("dialog-delete-all");
        screen->click(screen->inDialog(Texts::deleteAllButton()));
    };
    deleteAll();
    const QString refused = "A voice is being unpacked. Delete all voices once it is installed.";
    ASSERT_TRUE(waitFor([&] { return screen->shows(refused); }));
    EXPECT_TRUE(screen->row("Remove " + samantha));
    EXPECT_TRUE(screen->row("Stop downloading " + british));

    unpackingGate_.open();
    ASSERT_TRUE(waitFor([&] { return screen->row("Remove " + german); }));
    removeAllFails_ = true;
    deleteAll();
    const QString failed = "Not every voice could be deleted: Permission denied";
    ASSERT_TRUE(waitFor([&] { return screen->shows(failed); }));
    EXPECT_TRUE(screen->row("Remove " + german)) << "what is still on disk stays installed";
    removeAllFails_ = false;
    deleteAll();
    ASSERT_TRUE(waitFor(
        [&] { return appServices_.enhanced()->lastAnnouncement() == "All enhanced voices deleted."; }));
    for (const QString& voice : {samantha, british, german}) EXPECT_TRUE(screen->row("Download " + voice));
    EXPECT_FALSE(screen->shows(Texts::installedLabel()));
    EXPECT_FALSE(screen->shows(refused) || screen->shows(failed));
    EXPECT_TRUE(screen->focusedName().startsWith("Download ")) << screen->focusedName().toStdString();
}

// An archive the user already has installs as the catalog voice whose checksum it has, and stays
// where it was; one that matches no voice is refused, on the screen and aloud.
TEST_F(EnhancedScreenTest, InstallsAnArchiveFromAFileByItsChecksum) {
    VoiceStore::removeAll();
    auto screen = openScreen(appServices_);
    ASSERT_TRUE(waitFor([&] { return screen->row("Download " + samantha); }));
    EXPECT_TRUE(screen->accessibleItem(Texts::installFromFileButton()));
    const TempDir files;
    writeFile(files / "other.zip", "not an archive of the catalog");
    writeFile(files / "voice.zip", CatalogServer::goodArchive());
    EnhancedVoiceManager& manager = *appServices_.enhanced();

    manager.installFromFile(QUrl::fromLocalFile(QString::fromStdString(files / "other.zip")));
    const QString refused =
        "other.zip is not an archive Apple published for a voice of the catalog: its "
        "checksum matches none. Nothing was installed.";
    ASSERT_TRUE(waitFor([&] { return screen->shows(refused); }));
    EXPECT_EQ(manager.lastAnnouncement(), refused);

    manager.installFromFile(QUrl::fromLocalFile(QString::fromStdString(files / "voice.zip")));
    EXPECT_TRUE(waitFor([&] { return screen->row("Remove " + samantha); }));
    EXPECT_FALSE(screen->shows(refused));
    EXPECT_EQ(readFile(files / "voice.zip"), CatalogServer::goodArchive());
    screen->screenshot("enhanced-from-file");
}

// A catalog that cannot be read offers to try again; one that fails on a reload keeps the voices.
TEST_F(EnhancedScreenTest, ExplainsCatalogErrorsAndContainerProblems) {
    server_.failing = true;
    auto screen = openScreen(appServices_);
    ASSERT_TRUE(waitFor([&] { return screen->shows(Texts::tryAgainButton()); }));
    EXPECT_FALSE(screen->shows(Texts::loading()));
    screen->screenshot("enhanced-catalog-error");

    server_.failing = false;
    screen->click(screen->itemWithText(Texts::tryAgainButton()));
    ASSERT_TRUE(waitFor([&] { return screen->shows("iOS 5 — 1 voices"); }));
    EXPECT_FALSE(screen->shows(Texts::tryAgainButton()));

    server_.failing = true;
    screen->press(Qt::Key_F5);
    ASSERT_TRUE(waitFor([&] { return screen->shows(Texts::tryAgainButton()); }));
    EXPECT_TRUE(screen->shows("iOS 5 — 1 voices"));

    // A container the program cannot use is explained.
    auto services = EnhancedServices::real();
    const auto problem = ContainerStatus(ContainerStatus::NotEntitled{}).explanation().value();
    services.containerProblem = [problem] { return std::optional<std::string>(problem); };
    AppServices appServices(services);
    auto other = openScreen(appServices);
    EXPECT_TRUE(waitFor([&] { return other->shows(QString::fromStdString(problem)); }));
}

}  // namespace
}  // namespace velmora::test

int main(int argc, char** argv) {
    using namespace velmora::test;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    TestWorld::entitle("group.test.enhanced");
    // The compact data that names Samantha on the enhanced voices screen.
    TestWorld::writeCompactData({{"ios5/TTSResources/en-US/broker.hdr", brokerHeader("Samantha")}});
    TestWorld::useUsEnglish();
    CatalogServer::shared();  // sets the catalog's address; each test that holds its requests releases them

    QGuiApplication application(argc, argv);
    velmora::applyDesktopLook();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
