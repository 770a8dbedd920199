// Runs the window tests offscreen, in a container of their own, with the user's locale fixed and
// the test catalog server as the catalog.
#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <QGuiApplication>

#include "CatalogServer.h"
#include "app/DesktopLook.h"
#include "store/Bundle.h"
#include "support/Entitlement.h"
#include "support/Files.h"

const std::filesystem::path& velmora::test::world() {
    static const TempDir dir;
    return dir.path();
}

int main(int argc, char** argv) {
    using namespace velmora::test;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    entitleProcess(world(), "group.test.enhanced");
    // The compact data that names Samantha on the enhanced voices screen.
    const auto resources = velmora::Bundle::main().folder() / "PlugIns/Fixture.appex/Resources";
    std::filesystem::remove_all(resources.parent_path());
    writeFile(resources / "ios5/TTSResources/en-US/broker.hdr", brokerHeader("Samantha"));
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en", "US"), status);
    CatalogServer::shared();

    QGuiApplication application(argc, argv);
    velmora::applyDesktopLook();
    ::testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    CatalogServer::shared().release();
    return result;
}
