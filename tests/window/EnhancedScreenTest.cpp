// The enhanced voices screen, offscreen, against the test catalog server: each state's texts and
// controls, worked with the mouse, the keyboard and the accessibility actions.
#include <gtest/gtest.h>

#include "WindowHarness.h"
#include "app/Texts.h"
#include "store/ContainerStatus.h"
#include "store/VoiceStore.h"

namespace velmora::test {
namespace {

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
