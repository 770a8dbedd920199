// The window tests, offscreen, in a container of their own, with the locale fixed and the test catalog
// server as the catalog; here the main window with the reference provider's voices, and bidi names.
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QMetaObject>

#include "WindowHarness.h"
#include "app/BidiText.h"
#include "app/DesktopLook.h"
#include "app/Texts.h"

namespace velmora::test {
namespace {

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
    harness.press(Qt::Key_Tab);
    harness.press(Qt::Key_Tab);
    harness.press(Qt::Key_Down);
    harness.press(Qt::Key_Space);
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
