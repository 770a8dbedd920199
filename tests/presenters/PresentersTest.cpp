#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "presenters/Announcements.h"
#include "presenters/EnhancedTexts.h"
#include "presenters/MainWindowTexts.h"
#include "presenters/SectionHeader.h"
#include "presenters/TransferTexts.h"

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
    expectAll({
        {"percent 0.999", std::to_string(E::percent(0.999)), "99"},
        {"percent 0", std::to_string(E::percent(0)), "0"},
        {"percent 1", std::to_string(E::percent(1)), "100"},
        {"installed", E::installedDetail(45'600'000), "Installed, 45.6 MB"},
        {"downloading", E::downloadingDetail(0.999, 12'300'000), "Downloading 99% of 12.3 MB"},
        {"downloading at 0", E::downloadingDetail(0, 12'300'000), "Downloading 0% of 12.3 MB"},
        {"waiting", E::waitingDetail(12'300'000), "Waiting to download 12.3 MB"},
    });
}

TEST(PresentersTest, EnhancedScreenTexts) {
    expectAll({
        {"delete all, two", E::deleteAllAccessibleName(2, 0), "Delete all voices, 2 voices, Zero KB"},
        {"delete all message", E::deleteAllMessage(2, 42),
         "This deletes every enhanced voice you have downloaded \u2014 2 in all, 42 bytes. Each goes back to "
         "its compact voice, which stays installed, and you can download any of them again."},
    });
}

// What a screen reader hears as a voice changes; "-" where it hears nothing.
TEST(PresentersTest, Announcements) {
    using S = VoiceState;
    const S available{}, waiting{S::Waiting{}}, unpacking{S::Unpacking{}};
    const auto at = [](double f) { return S{S::Downloading{f}}; };
    const auto said = [](const S& before, const S& after) {
        return Announcements::voiceChanged("Samantha", 12'300'000, before, after).value_or("-");
    };
    expectAll({
        {"started", said(available, at(0)), "Downloading Samantha, 12.3 MB."},
        {"retried", said(S{S::Failed{"x"}}, at(0)), "Downloading Samantha, 12.3 MB."},
        {"waits", said(available, waiting), "Samantha waits; two voices download at a time."},
        {"starts after waiting", said(waiting, at(0)), "Downloading Samantha, 12.3 MB."},
        {"between milestones", said(at(0.26), at(0.49)), "-"},
        {"first quarter", said(at(0.2), at(0.25)), "Samantha, 25 percent downloaded."},
        {"jump over two", said(at(0.1), at(0.8)), "Samantha, 75 percent downloaded."},
        {"complete is no milestone", said(at(0.8), at(1)), "-"},
        {"unpacking", said(at(1), unpacking), "Unpacking Samantha."},
        {"installed", said(unpacking, S{S::Installed{45'600'000}}), "Samantha installed, 45.6 MB."},
        {"found on disk", said(available, S{S::Installed{45'600'000}}), "-"},
        {"failed", said(at(0.5), S{S::Failed{"The archive is damaged."}}),
         "Samantha failed: The archive is damaged."},
        {"stopped", said(at(0.5), available), "Stopped downloading Samantha."},
        {"no longer waits", said(waiting, available), "Samantha no longer waits."},
        {"removed", said(S{S::Installed{1}}, available), "Samantha removed."},
        {"catalog", Announcements::catalogLoaded(1), "Catalog loaded, 1 voice."},
        {"catalog failed", Announcements::catalogFailed("Not Found"),
         "The catalog could not be read: Not Found"},
    });
}

TEST(PresentersTest, TransferProgressLine) {
    const auto line = transferProgressText;
    expectAll({
        {"example", line(12'400'000, 30'000'000, 5'100'000), "12.4 of 30.0 MB, 5.1 MB/s, 3 s left"},
        {"rate not known yet", line(0, 30'000'000, 0), "0.0 of 30.0 MB"},
        {"no total", line(1'240'000, 0, 500'000), "1.2 MB, 0.5 MB/s"},
        {"done", line(30'000'000, 30'000'000, 5'000'000), "30.0 of 30.0 MB, 5.0 MB/s, 0 s left"},
        {"minutes, rounded up", line(0, 300'000'000, 1'000'000), "0.0 of 300.0 MB, 1.0 MB/s, 5 min left"},
        {"hours", line(0, 7'500'000'000, 1'000'000), "0.0 of 7500.0 MB, 1.0 MB/s, 2 h 5 min left"},
        {"99 s stays in seconds", line(1, 99'000'001, 1'000'000), "0.0 of 99.0 MB, 1.0 MB/s, 99 s left"},
    });
}

}  // namespace
}  // namespace velmora
