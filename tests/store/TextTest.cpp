#include <gtest/gtest.h>

#include "store/ByteCount.h"
#include "store/ContainerStatus.h"
#include "store/VoiceId.h"
#include "store/VoiceStore.h"

namespace velmora {
namespace {

TEST(BrokerTagTest, FindsTheFirstClosedElement) {
    struct Case {
        const char* text;
        std::optional<std::string> expected;
    };
    const Case cases[] = {
        {"<voice> Samantha \n</voice>", "Samantha"},
        {"<voice></voice>", std::nullopt},
        {"<voice>  \t\n </voice>", std::nullopt},
        {"<voice>Samantha", std::nullopt},
        {"</voice>x<voice>Tom</voice>", "Tom"},
        {"<Voice>Samantha</Voice>", std::nullopt},
        {"<voice>Anna</voice><voice>Petra</voice>", "Anna"},
        {"", std::nullopt},
        {"<voice>\xC2\xA0"
         "Am\xC3\xA9lie\xC2\x85</voice>",
         "Am\xC3\xA9lie"},
    };
    for (const auto& c : cases) EXPECT_EQ(VoiceStore::brokerTag("voice", c.text), c.expected) << c.text;
    EXPECT_EQ(VoiceStore::brokerTag("rate", "<voice>A</voice><rate> 22050 </rate>"), "22050");
}

// Only the explanation's list of groups is built; the rest is fixed text.
TEST(ContainerStatusTest, NamesEveryEntitledGroup) {
    EXPECT_TRUE(ContainerStatus(ContainerStatus::NoContainer{{"A", "B"}})
                    .explanation()
                    ->starts_with("The app is entitled to A, B but"));
}

TEST(ByteCountTest, FormatsFileSizesInDecimalUnits) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "Zero KB"},         {1, "1 byte"},         {532, "532 bytes"},   {999, "999 bytes"},
        {1000, "1 KB"},         {1499, "1 KB"},        {1500, "2 KB"},       {999499, "999 KB"},
        {999500, "1 MB"},       {12345678, "12.3 MB"}, {1000000, "1 MB"},    {1250000000, "1.25 GB"},
        {1200000000, "1.2 GB"}, {999950000, "1 GB"},   {-532, "-532 bytes"}, {3000000000000, "3 TB"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(formatByteCount(bytes), text) << bytes;
}

TEST(VoiceIdTest, ParsesReleaseAndPlainLocaleOnly) {
    auto id = VoiceId::parse("ios6/en-US");
    ASSERT_TRUE(id);
    EXPECT_EQ(id->release.name, "ios6");
    EXPECT_EQ(id->locale, "en-US");
    EXPECT_EQ(id->text(), "ios6/en-US");
    for (const char* bad : {"ios6", "ios8/en-US", "ios6/", "ios6/..", "ios6/en/US", "/en-US", "iOS6/en-US"}) {
        EXPECT_FALSE(VoiceId::parse(bad)) << bad;
    }
}

}  // namespace
}  // namespace velmora
