// The main window, offscreen, listing the reference provider's voices from a private bus.
#include <gtest/gtest.h>

#include <QAccessible>
#include <QMetaObject>

#include "WindowHarness.h"
#include "app/AppServices.h"
#include "app/SpeechController.h"
#include "app/Texts.h"
#include "speech/AudioOutput.h"

namespace velmora::test {
namespace {

class MainWindowTest : public ::testing::Test {
protected:
    // A controller over `system`'s voices, speaking without a sound server when there is none.
    std::unique_ptr<SpeechController> controllerOf(const std::shared_ptr<SpeechSystem>& system) {
        return std::make_unique<SpeechController>(
            system, std::make_unique<Synthesizer>(system, openAudioOutput), services_.workers());
    }

    AppServices services_;
    std::unique_ptr<SpeechController> speech_ = controllerOf(SpeechSystem::shared());
};

// The first voice of the reference provider's data, as its row is named.
const QString alice = QStringLiteral("Alice, Italian (Italy)");

TEST_F(MainWindowTest, ListsTheVoicesInSectionsOfNamedButtons) {
    WindowHarness harness(*speech_, services_);
    ASSERT_TRUE(harness.waitFor([&] { return harness.accessibleItem(alice); })) << "the list was not read";
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
        return QString::fromStdString(group.release) + QStringLiteral(" — ") +
               QString::number(group.voices.size()) + QStringLiteral(" voices");
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
    ASSERT_TRUE(harness.waitFor([&] { return harness.shows(Texts::systemWideHint()); }));
    EXPECT_TRUE(harness.shows(header(groups.back())));
    harness.screenshot(QStringLiteral("main-voices-end"));
}

TEST_F(MainWindowTest, SpeaksFromTheKeyboardAndStops) {
    WindowHarness harness(*speech_, services_);
    ASSERT_TRUE(harness.waitFor([&] { return harness.accessibleItem(alice); }));
    EXPECT_FALSE(harness.shows(Texts::stopButton()));

    // The field has the focus; Tab passes the slider and enters the list at its first voice.
    harness.press(Qt::Key_Tab);
    harness.press(Qt::Key_Tab);
    ASSERT_EQ(harness.focused(), harness.accessibleItem(alice));
    harness.press(Qt::Key_Down);
    harness.press(Qt::Key_Space);
    const std::string second = speech_->groups().front().voices.at(1).identifier;
    EXPECT_EQ(speech_->speakingVoice(), second);
    ASSERT_TRUE(harness.waitFor([&] { return harness.shows(Texts::stopButton()); }));
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
    EXPECT_TRUE(harness.waitFor([&] { return !harness.shows(Texts::stopButton()); }));
}

TEST_F(MainWindowTest, ExplainsAnEmptyListAndOffersRefresh) {
    auto empty = controllerOf(std::make_shared<SpeechSystem>(nullptr));
    WindowHarness harness(*empty, services_);
    ASSERT_TRUE(harness.waitFor([&] { return harness.shows(Texts::emptyTitle()); }));
    EXPECT_TRUE(harness.shows(Texts::emptyExplanation()));
    EXPECT_TRUE(harness.shows(Texts::refreshButton()));
    EXPECT_FALSE(harness.accessibleItem(alice)) << "no voice rows";
    harness.screenshot(QStringLiteral("main-empty"));
}

}  // namespace
}  // namespace velmora::test
