#include <gtest/gtest.h>

#include "app/BidiText.h"

namespace velmora {
namespace {

TEST(BidiTextTest, IsolatesRightToLeftRunsWithTheirBrackets) {
    const QString fsi(QChar(0x2068)), pdi(QChar(0x2069));
    const struct {
        const char* name;
        QString text;
        QString shown;
    } cases[] = {
        {"latin unchanged", "English (United States) — 1 KB download",
         "English (United States) — 1 KB download"},
        {"arabic name and region, then a size", "العربية (مصر) — 1 KB download",
         fsi + "العربية (مصر)" + pdi + " — 1 KB download"},
        {"hebrew inside a sentence", "Download עברית, 12.3 MB",
         "Download " + fsi + "עברית" + pdi + ", 12.3 MB"},
        {"bracket opened before the run stays out", "Remove (ערן)", "Remove (" + fsi + "ערן" + pdi + ")"},
        {"two runs apart", "עברית — 1 KB — العربية",
         fsi + "עברית" + pdi + " — 1 KB — " + fsi + "العربية" + pdi},
        {"numbers between right-to-left words stay inside", "מ 1 م", fsi + "מ 1 م" + pdi},
        {"empty", "", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Bidi::isolated(c.text).toStdString(), c.shown.toStdString()) << c.name;
}

}  // namespace
}  // namespace velmora
