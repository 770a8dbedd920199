// The install queue's bookkeeping: order, the limit of two, what cancelling does in each phase,
// and the totals the "Delete all" button names.
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "enhanced/VoiceStateTable.h"

namespace velmora {
namespace {

using State = VoiceState;
const State available{};
const State waiting{State::Waiting{}};
const State unpacking{State::Unpacking{}};
State downloading(double fraction) { return State{State::Downloading{fraction}}; }
State installed(std::int64_t size) { return State{State::Installed{size}}; }
State failed(const char* message) { return State{State::Failed{message}}; }

std::vector<std::string> voicesOf(const std::vector<VoiceStateTable::Task>& tasks) {
    std::vector<std::string> voices;
    for (const auto& task : tasks) voices.push_back(task.voiceId);
    return voices;
}

TEST(VoiceStateTableTest, RunsTwoAtATimeInTheOrderAskedFor) {
    VoiceStateTable table;
    for (const char* voice : {"a", "b", "c", "d"}) ASSERT_TRUE(table.enqueue(voice));
    EXPECT_FALSE(table.enqueue("c")) << "a voice is never queued twice";
    const auto first = table.startNext();
    EXPECT_EQ(voicesOf(first), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(table.state("b"), downloading(0));
    EXPECT_EQ(table.state("c"), waiting);
    EXPECT_TRUE(table.startNext().empty());

    EXPECT_FALSE(table.progress("c", first[0].id, 0.5)) << "a report names its own task";
    EXPECT_TRUE(table.finished("b", first[1].id, failed("No network.")));
    EXPECT_EQ(voicesOf(table.startNext()), std::vector<std::string>{"c"});
    EXPECT_EQ(table.state("b"), failed("No network."));
    EXPECT_EQ(table.state("d"), waiting);
}

// What cancel does to an install in each phase, and where the voice rests once the task ends.
TEST(VoiceStateTableTest, CancelTellsTheTruthInEveryPhase) {
    using C = VoiceStateTable::Cancel;
    struct Case {
        const char* name;
        bool start;         // the install runs (else it waits behind two others)
        bool unpackBefore;  // it reported unpacking before the cancel
        bool unpackAfter;   // it reports unpacking after the cancel (the stop came too late)
        State outcome;      // what the task ends with
        C result;           // what cancel says
        State afterCancel;  // the voice right after cancel
        State atRest;       // the voice once the task ended
    };
    const std::vector<Case> cases{
        {"waiting is forgotten", false, false, false, available, C::forgotten, available, available},
        {"download stops", true, false, false, failed("Cancelled."), C::stopping, available, available},
        {"stop too late lands", true, false, true, installed(9), C::stopping, available, installed(9)},
        {"unpacking goes on", true, true, false, installed(9), C::tooLate, unpacking, installed(9)},
        {"unpacking that fails", true, true, false, failed("Disk full."), C::tooLate, unpacking,
         failed("Disk full.")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        VoiceStateTable table;
        if (!c.start) {
            table.enqueue("x");
            table.enqueue("y");
            table.startNext();
        }
        const auto id = table.enqueue("v").value();
        const auto started = table.startNext();
        ASSERT_EQ(started.size(), c.start ? 1u : 0u);
        if (c.unpackBefore) table.unpacking("v", id);
        EXPECT_EQ(table.cancel("v"), c.result);
        EXPECT_EQ(table.state("v"), c.afterCancel);
        if (c.start) {
            EXPECT_EQ(started[0].stop.stop_requested(), c.result == C::stopping);
        }
        EXPECT_FALSE(table.progress("v", id, 0.7)) << "a cancelled download's progress is dropped";
        if (c.unpackAfter) {
            EXPECT_TRUE(table.unpacking("v", id));
        }
        table.finished("v", id, c.outcome);
        EXPECT_EQ(table.state("v"), c.atRest);
        EXPECT_TRUE(c.start || !table.hasTaskId(id));
    }
}

TEST(VoiceStateTableTest, ACancelledDownloadHoldsItsPlaceUntilItEnds) {
    VoiceStateTable table;
    const auto first = table.enqueue("v").value();
    table.enqueue("w");
    table.startNext();
    table.cancel("v");
    const auto again = table.enqueue("v").value();
    table.enqueue("z");
    EXPECT_TRUE(table.startNext().empty()) << "the stopping download still runs";
    EXPECT_EQ(table.state("v"), waiting);
    EXPECT_FALSE(table.unpacking("v", first)) << "the newer install owns the row";

    table.finished("v", first, installed(5));
    EXPECT_EQ(table.state("v"), waiting) << "the newer install replaces it";
    const auto next = table.startNext();
    ASSERT_EQ(voicesOf(next), std::vector<std::string>{"v"});
    EXPECT_EQ(next[0].id, again);
}

TEST(VoiceStateTableTest, DeleteAllWaitsForStopsAndRefusesWhileUnpacking) {
    VoiceStateTable table;
    const auto a = table.enqueue("a").value();
    const auto b = table.enqueue("b").value();
    table.enqueue("c");
    table.startNext();
    table.unpacking("a", a);
    EXPECT_FALSE(table.cancelAllAndHold());
    EXPECT_EQ(table.state("c"), waiting) << "a refusal changes nothing";

    table.finished("a", a, installed(3));
    table.startNext();  // c starts
    ASSERT_TRUE(table.cancelAllAndHold());
    EXPECT_FALSE(table.idle()) << "b and c are stopping";
    EXPECT_EQ(table.state("c"), available);
    table.enqueue("d");
    table.finished("b", b, failed("Cancelled."));
    for (const auto& task : table.startNext()) ADD_FAILURE() << task.voiceId << " started while held";
    table.release();
    EXPECT_EQ(table.state("d"), waiting);
}

// Installed voices only; a sum beyond 64 bits stays at the largest instead of wrapping around,
// a limit no test catalog reaches.
TEST(VoiceStateTableTest, CountsInstalledVoicesAndSaturates) {
    VoiceStateTable table;
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    table.set("ios6/en-US", installed(largest));
    table.set("ios6/en-GB", installed(10));
    table.set("ios6/fr-FR", failed("no"));
    EXPECT_EQ(table.installedCount(), 2);
    EXPECT_EQ(table.installedTotal(), largest);
}

}  // namespace
}  // namespace velmora
