#include <gtest/gtest.h>

#include "presenters/TransferTexts.h"

namespace velmora {
namespace {

TEST(TransferTextsTest, ProgressLine) {
    struct Case {
        const char* name;
        std::int64_t done;
        std::int64_t total;
        double rate;
        const char* expected;
    };
    const Case cases[] = {
        {"example", 12'400'000, 30'000'000, 5'100'000, "12.4 of 30.0 MB, 5.1 MB/s, 3 s left"},
        {"rate not known yet", 0, 30'000'000, 0, "0.0 of 30.0 MB"},
        {"no total", 1'240'000, 0, 500'000, "1.2 MB, 0.5 MB/s"},
        {"done", 30'000'000, 30'000'000, 5'000'000, "30.0 of 30.0 MB, 5.0 MB/s, 0 s left"},
        {"minutes, rounded up", 0, 300'000'000, 1'000'000, "0.0 of 300.0 MB, 1.0 MB/s, 5 min left"},
        {"hours", 0, 7'500'000'000, 1'000'000, "0.0 of 7500.0 MB, 1.0 MB/s, 2 h 5 min left"},
        {"99 s stays in seconds", 1, 99'000'001, 1'000'000, "0.0 of 99.0 MB, 1.0 MB/s, 99 s left"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(transferProgressText(c.done, c.total, c.rate), c.expected) << c.name;
}

}  // namespace
}  // namespace velmora
