#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "presenters/EnhancedTexts.h"
#include "presenters/MainWindowTexts.h"
#include "presenters/SectionHeader.h"

namespace velmora {
namespace {

struct Case {
    std::string name;
    std::string actual;
    std::string expected;
};

void expectAll(const std::vector<Case>& cases) {
    for (const auto& c : cases) EXPECT_EQ(c.actual, c.expected) << c.name;
}

using M = MainWindowTexts;
using E = EnhancedTexts;

TEST(PresentersTest, MainWindowTexts) {
    expectAll({
        {"release name dropped", M::shortName("Samantha (iOS 5)"), "Samantha"},
        {"only the last parenthesis", M::shortName("Tom (Enhanced) (iOS 6)"), "Tom (Enhanced)"},
        {"no parenthesis", M::shortName("Alex"), "Alex"},
        {"closing without opening", M::shortName("Alex)"), "Alex)"},
        {"opening not at the end", M::shortName("Alex (x) y"), "Alex (x) y"},
        {"tab and no-break spaces trimmed", M::shortName("\t\u00a0Ana\u2003(iOS 7)"), "Ana"},
        {"line breaks kept", M::shortName("Ana\n (iOS 7)"), "Ana\n"},
        {"one voice", sectionHeader("iOS 5", 1), "iOS 5 \u2014 1 voices"},
        {"typed text wins", M::spokenText("Hi", "en-US", "Samantha"), "Hi"},
        {"a space counts", M::spokenText(" ", "en-US", "Samantha"), " "},
        {"empty field greets", M::spokenText("", "en-US", "Samantha"), M::greeting("en-US", "Samantha")},
    });
}

TEST(PresentersTest, EnhancedRowTexts) {
    const std::string n = "Samantha";
    const std::string l = "English (United States)";
    expectAll({
        {"percent 0.999", std::to_string(E::percent(0.999)), "99"},
        {"percent 0", std::to_string(E::percent(0)), "0"},
        {"percent 1", std::to_string(E::percent(1)), "100"},
        {"available", E::availableDetail(12'300'000), "12.3 MB download"},
        {"installed", E::installedDetail(45'600'000), "Installed, 45.6 MB"},
        {"downloading", E::downloadingDetail(0.999, 12'300'000), "Downloading 99% of 12.3 MB"},
        {"downloading at 0", E::downloadingDetail(0, 12'300'000), "Downloading 0% of 12.3 MB"},
        {"stop label", E::stopDownloadingLabel(n, l, 0.5, 12'300'000),
         "Stop downloading Samantha, " + l + ", 50 percent of 12.3 MB"},
        {"remove label", E::removeLabel(n, l, 532), "Remove Samantha, " + l + ", 532 bytes"},
        {"retry label", E::retryLabel(n, l, 12'300'000, "The archive is damaged."),
         "Download Samantha, " + l + ", 12.3 MB. Last attempt failed: The archive is damaged."},
    });
}

TEST(PresentersTest, EnhancedScreenTexts) {
    expectAll({
        {"delete all, one", E::deleteAllAccessibleName(1, 12'000), "Delete all voices, 1 voice, 12 KB"},
        {"delete all, two", E::deleteAllAccessibleName(2, 0), "Delete all voices, 2 voices, Zero KB"},
        {"remove message", E::removeDialogMessage("Samantha", "iOS 5"),
         "This deletes the enhanced Samantha for iOS 5. The compact Samantha stays installed and takes over "
         "again straight away."},
        {"delete all message", E::deleteAllMessage(2, 42),
         "This deletes every enhanced voice you have downloaded \u2014 2 in all, 42 bytes. Each goes back to "
         "its compact voice, which stays installed, and you can download any of them again."},
    });
}

}  // namespace
}  // namespace velmora
