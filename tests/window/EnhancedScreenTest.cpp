// The enhanced voices screen, offscreen, against the test catalog server: each state's texts and
// controls, worked with the mouse, the keyboard and the accessibility actions.
#include <gtest/gtest.h>

#include <QAccessible>

#include "CatalogServer.h"
#include "WindowHarness.h"
#include "app/AppServices.h"
#include "app/SpeechController.h"
#include "app/Texts.h"
#include "speech/AudioOutput.h"
#include "store/ContainerStatus.h"
#include "store/VoiceStore.h"
#include "support/Files.h"

namespace velmora::test {
namespace {

const QString samantha = QStringLiteral("Samantha, English (United States), ");
const QString british = QStringLiteral("English (United Kingdom), English (United Kingdom), ");
const QString german = QStringLiteral("German (Germany), German (Germany)");
const QString japanese = QStringLiteral("Japanese (Japan), Japanese (Japan), 1 KB");

class EnhancedScreenTest : public ::testing::Test {
protected:
    // The real services, except that installs of ios6/de-DE wait for `unpackingGate_` after
    // reporting that they unpack, which holds them in that state, and that deleting every pack
    // fails while `removeAllFails_` is set.
    EnhancedServices services() {
        auto services = EnhancedServices::real();
        services.install = [real = services.install, gate = &unpackingGate_](
                               const EnhancedVoice& voice, const auto& progress, const auto& unpacking,
                               auto stop) {
            if (voice.locale == "de-DE") {
                unpacking();
                progress(0.5);  // late, as a relayed report can be: the row stays "Unpacking"
                gate->wait();
            }
            return real(voice, progress, unpacking, stop);
        };
        services.removeAllPacks = [real = services.removeAllPacks, fails = &removeAllFails_] {
            if (*fails) throw std::runtime_error("Permission denied");
            real();
        };
        return services;
    }

    // Opens the window and pushes the enhanced voices screen from its toolbar.
    std::unique_ptr<WindowHarness> openScreen(AppServices& services) {
        auto harness = std::make_unique<WindowHarness>(*speech_, services);
        harness->click(harness->itemWithText(Texts::enhancedVoicesButton()));
        EXPECT_TRUE(harness->waitFor([&] { return harness->shows(Texts::enhancedTitle()); }));
        return harness;
    }

    void TearDown() override {
        server_.release();
        unpackingGate_.open();
    }

    CatalogServer& server_ = CatalogServer::shared();
    Gate unpackingGate_;
    std::atomic<bool> removeAllFails_{false};
    AppServices appServices_{services()};
    std::shared_ptr<SpeechSystem> noVoices_ = std::make_shared<SpeechSystem>(nullptr);
    std::unique_ptr<SpeechController> speech_ = std::make_unique<SpeechController>(
        noVoices_, std::make_unique<Synthesizer>(noVoices_, openAudioOutput), appServices_.workers());
};

TEST_F(EnhancedScreenTest, ShowsEachStateWithItsControlAndLabel) {
    server_.catalog.close();
    server_.download.close();
    unpackingGate_.close();
    auto harness = openScreen(appServices_);
    auto& screen = *harness;
    ASSERT_TRUE(screen.waitFor([&] { return screen.shows(Texts::loading()); }));
    EXPECT_TRUE(screen.shows(Texts::introduction()));
    EXPECT_TRUE(screen.shows(Texts::upgradeNote()));
    EXPECT_FALSE(screen.shows(Texts::installedLabel()));
    screen.screenshot(QStringLiteral("enhanced-loading"));

    server_.catalog.open();
    ASSERT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Download " + samantha, true); }));
    EXPECT_FALSE(screen.shows(Texts::loading()));
    EXPECT_FALSE(screen.shows(Texts::deleteAllButton()));
    EXPECT_TRUE(screen.shows(QStringLiteral("iOS 5 — 1 voices")));
    EXPECT_TRUE(screen.shows(QStringLiteral("iOS 6 — 3 voices")));
    EXPECT_FALSE(screen.shows(QStringLiteral("iOS 7 — 0 voices")));
    EXPECT_EQ(screen.countShown(Texts::downloadAllButton()), 2u);
    QAccessibleInterface* row =
        QAccessible::queryAccessibleInterface(screen.accessibleItem("Download " + samantha, true));
    EXPECT_EQ(row->role(), QAccessible::Button);
    EXPECT_EQ(row->childCount(), 0) << "the control and the texts are heard through the row";
    screen.screenshot(QStringLiteral("enhanced-available"));

    // Each row's action, each way: the mouse on "Get", the screen reader's press, the keyboard.
    screen.click(
        screen.itemWithText(Texts::getButton(), screen.accessibleItem("Download " + samantha, true)));
    screen.pressAccessibly(screen.accessibleItem("Download " + british, true));
    screen.click(screen.accessibleItem("Download " + german, true));
    screen.press(Qt::Key_Space);
    screen.pressAccessibly(screen.accessibleItem("Download " + japanese, true));

    // Two install at a time: Japanese waits while the British download and the German unpacking run.
    ASSERT_TRUE(screen.waitFor([&] {
        return screen.accessibleItem("Remove " + samantha, true) &&
               screen.accessibleItem("Stop downloading " + british + "42 percent of 1 KB") &&
               screen.accessibleItem("Unpacking " + german) &&
               screen.accessibleItem("Stop waiting to download " + japanese);
    }));
    const auto controlOf = [&](const QString& label, const QString& text) {
        return screen.itemWithText(text, screen.accessibleItem(label, true)) != nullptr;
    };
    EXPECT_TRUE(controlOf("Remove " + samantha, Texts::removeButton()));
    EXPECT_TRUE(controlOf("Stop downloading " + british, Texts::stopButton()));
    EXPECT_TRUE(controlOf("Stop waiting to download " + japanese, Texts::stopButton()));
    EXPECT_TRUE(screen.shows(Texts::installedLabel()));
    EXPECT_TRUE(screen.accessibleItem(QStringLiteral("Delete all voices, 1 voice, "), true));
    EXPECT_TRUE(screen.shows("English (United Kingdom) — Downloading 42% of 1 KB"));
    screen.screenshot(QStringLiteral("enhanced-states"));

    screen.click(
        screen.itemWithText(Texts::stopButton(), screen.accessibleItem("Stop downloading " + british, true)));
    EXPECT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Download " + british, true); }));
    const QString failed = "Download " + japanese + ". Last attempt failed: ";
    ASSERT_TRUE(screen.waitFor([&] { return screen.accessibleItem(failed, true); }));
    EXPECT_TRUE(controlOf(failed, Texts::retryButton()));
    screen.screenshot(QStringLiteral("enhanced-failed"));
    // "Download all" passes over the failed and the unpacking voice of its section.
    screen.click(screen.itemWithText(Texts::downloadAllButton(),
                                     screen.itemWithText(QStringLiteral("iOS 6 — 3 voices"))->parentItem()));
    EXPECT_TRUE(screen.accessibleItem("Stop downloading " + british, true));
    EXPECT_TRUE(screen.accessibleItem(failed, true));
    unpackingGate_.open();
    EXPECT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Remove " + german, true); }));
    EXPECT_TRUE(screen.accessibleItem(QStringLiteral("Delete all voices, 2 voices, "), true));

    // Removing asks first; Escape keeps the voice.
    screen.click(
        screen.itemWithText(Texts::removeButton(), screen.accessibleItem("Remove " + samantha, true)));
    ASSERT_TRUE(
        screen.waitFor([&] { return screen.itemWithText(Texts::removeDialogTitle(), screen.overlay()); }));
    EXPECT_TRUE(screen.shows(
        QStringLiteral("This deletes the enhanced Samantha for iOS 5. The compact Samantha stays "
                       "installed and takes over again straight away.")));
    screen.screenshot(QStringLiteral("dialog-remove"));
    screen.press(Qt::Key_Escape);
    EXPECT_TRUE(
        screen.waitFor([&] { return !screen.itemWithText(Texts::removeDialogTitle(), screen.overlay()); }));
    EXPECT_TRUE(screen.shows(Texts::enhancedTitle())) << "Escape closed the dialog, not the screen";
    screen.pressAccessibly(screen.accessibleItem("Remove " + samantha, true));
    ASSERT_TRUE(screen.waitFor([&] { return screen.itemWithText("Remove Samantha", screen.overlay()); }));
    screen.click(screen.itemWithText("Remove Samantha", screen.overlay()));
    EXPECT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Download " + samantha, true); }));

    screen.click(screen.itemWithText(Texts::deleteAllButton()));
    ASSERT_TRUE(
        screen.waitFor([&] { return screen.itemWithText(Texts::deleteAllDialogTitle(), screen.overlay()); }));
    screen.screenshot(QStringLiteral("dialog-delete-all"));
    screen.click(screen.itemWithText(Texts::deleteAllButton(), screen.overlay()));
    EXPECT_TRUE(screen.waitFor([&] { return !screen.shows(Texts::installedLabel()); }));
    EXPECT_TRUE(screen.accessibleItem("Download " + german, true));

    // "Download all" of a section installs its voices.
    screen.click(screen.itemWithText(Texts::downloadAllButton()));
    EXPECT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Remove " + samantha, true); }));

    // F5 reads the catalog again without a loading row; Escape goes back.
    const int reads = server_.catalogReads;
    screen.press(Qt::Key_F5);
    EXPECT_TRUE(screen.waitFor([&] { return server_.catalogReads > reads; }));
    EXPECT_FALSE(screen.shows(Texts::loading()));
    screen.press(Qt::Key_Escape);
    EXPECT_TRUE(screen.waitFor([&] { return screen.shows(Texts::rateLabel()); }));
}

// The installs belong to the program: a screen opened again shows them, and "Delete all" waits
// for an unpacking voice instead of deleting under it.
TEST_F(EnhancedScreenTest, ReopensOnRunningInstallsAndDeletesAllOnlyOnceUnpacked) {
    VoiceStore::removeAll();
    server_.download.close();
    unpackingGate_.close();
    auto harness = openScreen(appServices_);
    auto& screen = *harness;
    ASSERT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Download " + samantha, true); }));
    screen.pressAccessibly(screen.accessibleItem("Download " + samantha, true));
    ASSERT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Remove " + samantha, true); }));
    screen.pressAccessibly(screen.accessibleItem("Download " + british, true));
    screen.pressAccessibly(screen.accessibleItem("Download " + german, true));
    ASSERT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Unpacking " + german); }));

    screen.press(Qt::Key_Escape);
    ASSERT_TRUE(screen.waitFor([&] { return screen.shows(Texts::rateLabel()); }));
    screen.click(screen.itemWithText(Texts::enhancedVoicesButton()));
    ASSERT_TRUE(screen.waitFor([&] {
        return screen.accessibleItem("Stop downloading " + british + "42 percent of 1 KB") &&
               screen.accessibleItem("Unpacking " + german);
    }));
    screen.screenshot(QStringLiteral("enhanced-reopened"));  // also waits for the page to settle
    appServices_.enhanced()->install(QStringLiteral("ios6/en-GB"));
    EXPECT_TRUE(screen.accessibleItem("Stop downloading " + british + "42 percent of 1 KB"))
        << "a voice being downloaded is not downloaded again";

    const auto deleteAll = [&] {
        screen.click(screen.itemWithText(Texts::deleteAllButton()));
        EXPECT_TRUE(
            screen.waitFor([&] { return screen.itemWithText(Texts::deleteAllButton(), screen.overlay()); }));
        screen.click(screen.itemWithText(Texts::deleteAllButton(), screen.overlay()));
    };
    deleteAll();
    const QString refused =
        QStringLiteral("A voice is being unpacked. Delete all voices once it is installed.");
    ASSERT_TRUE(screen.waitFor([&] { return screen.shows(refused); }));
    EXPECT_TRUE(screen.accessibleItem("Remove " + samantha, true));
    EXPECT_TRUE(screen.accessibleItem("Stop downloading " + british, true));

    unpackingGate_.open();
    ASSERT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Remove " + german, true); }));
    removeAllFails_ = true;
    deleteAll();
    const QString failed = QStringLiteral("Not every voice could be deleted: Permission denied");
    ASSERT_TRUE(screen.waitFor([&] { return screen.shows(failed); }));
    EXPECT_TRUE(screen.accessibleItem("Remove " + german, true)) << "what is still on disk stays installed";
    removeAllFails_ = false;
    deleteAll();
    ASSERT_TRUE(screen.waitFor([&] {
        return appServices_.enhanced()->lastAnnouncement() == QStringLiteral("All enhanced voices deleted.");
    }));
    for (const QString& voice : {samantha, british, german}) {
        EXPECT_TRUE(screen.accessibleItem("Download " + voice, true)) << voice.toStdString();
    }
    EXPECT_FALSE(screen.shows(Texts::installedLabel()));
    EXPECT_FALSE(screen.shows(refused) || screen.shows(failed));
    EXPECT_TRUE(screen.focusedName().startsWith(QStringLiteral("Download ")))
        << screen.focusedName().toStdString();
}

// An archive the user already has installs as the catalog voice whose checksum it has, and stays
// where it was; one that matches no voice is refused, on the screen and aloud.
TEST_F(EnhancedScreenTest, InstallsAnArchiveFromAFileByItsChecksum) {
    VoiceStore::removeAll();
    auto harness = openScreen(appServices_);
    auto& screen = *harness;
    ASSERT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Download " + samantha, true); }));
    EXPECT_TRUE(screen.accessibleItem(Texts::installFromFileButton()));
    const TempDir files;
    writeFile(files / "other.zip", "not an archive of the catalog");
    writeFile(files / "voice.zip", CatalogServer::goodArchive());
    const auto fileUrl = [&](const char* name) {
        return QUrl::fromLocalFile(QString::fromStdString(files / name));
    };
    EnhancedVoiceManager& manager = *appServices_.enhanced();

    manager.installFromFile(fileUrl("other.zip"));
    const QString refused = QStringLiteral(
        "other.zip is not an archive Apple published for a voice of the catalog: its checksum matches none. "
        "Nothing was installed.");
    ASSERT_TRUE(screen.waitFor([&] { return screen.shows(refused); }));
    EXPECT_EQ(manager.lastAnnouncement(), refused);

    manager.installFromFile(fileUrl("voice.zip"));
    EXPECT_TRUE(screen.waitFor([&] { return screen.accessibleItem("Remove " + samantha, true); }));
    EXPECT_FALSE(screen.shows(refused));
    EXPECT_EQ(readFile(files / "voice.zip"), CatalogServer::goodArchive());
    screen.screenshot(QStringLiteral("enhanced-from-file"));
}

// A catalog that cannot be read offers to try again; one that fails on a reload keeps the voices.
TEST_F(EnhancedScreenTest, OffersTryAgainAfterACatalogErrorAndKeepsTheVoicesItHad) {
    server_.failing = true;
    auto harness = openScreen(appServices_);
    auto& screen = *harness;
    ASSERT_TRUE(screen.waitFor([&] { return screen.shows(Texts::tryAgainButton()); }));
    EXPECT_FALSE(screen.shows(Texts::loading()));
    screen.screenshot(QStringLiteral("enhanced-catalog-error"));

    server_.failing = false;
    screen.click(screen.itemWithText(Texts::tryAgainButton()));
    ASSERT_TRUE(screen.waitFor([&] { return screen.shows(QStringLiteral("iOS 5 — 1 voices")); }));
    EXPECT_FALSE(screen.shows(Texts::tryAgainButton()));

    server_.failing = true;
    screen.press(Qt::Key_F5);
    ASSERT_TRUE(screen.waitFor([&] { return screen.shows(Texts::tryAgainButton()); }));
    EXPECT_TRUE(screen.shows(QStringLiteral("iOS 5 — 1 voices")));
}

TEST_F(EnhancedScreenTest, ExplainsAContainerProblem) {
    auto services = EnhancedServices::real();
    const auto problem = ContainerStatus(ContainerStatus::NotEntitled{}).explanation().value();
    services.containerProblem = [problem] { return std::optional<std::string>(problem); };
    AppServices appServices(services);
    auto harness = openScreen(appServices);
    EXPECT_TRUE(harness->waitFor([&] { return harness->shows(QString::fromStdString(problem)); }));
}

}  // namespace
}  // namespace velmora::test
