// The totals the "Delete all" button names: installed voices only, and a sum beyond 64 bits
// stays at the largest instead of wrapping around.
#include <gtest/gtest.h>

#include <limits>

#include "enhanced/VoiceStateTable.h"

namespace velmora {
namespace {

TEST(InstalledTotalTest, CountsInstalledVoicesAndSaturates) {
    VoiceStateTable table;
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    table.set("ios6/en-US", VoiceState{VoiceState::Installed{largest}});
    table.set("ios6/en-GB", VoiceState{VoiceState::Installed{10}});
    table.set("ios6/fr-FR", VoiceState{VoiceState::Failed{"no"}});
    EXPECT_EQ(table.installedCount(), 2);
    EXPECT_EQ(table.installedTotal(), largest);
}

}  // namespace
}  // namespace velmora
