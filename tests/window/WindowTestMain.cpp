// Runs the window tests offscreen, in a container of their own, with the user's locale fixed and
// the test catalog server as the catalog.
#include <gtest/gtest.h>

#include <QGuiApplication>

#include "CatalogServer.h"
#include "app/DesktopLook.h"
#include "support/Files.h"
#include "support/TestWorld.h"

int main(int argc, char** argv) {
    using namespace velmora::test;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    TestWorld::entitle("group.test.enhanced");
    // The compact data that names Samantha on the enhanced voices screen.
    TestWorld::writeCompactData({{"ios5/TTSResources/en-US/broker.hdr", brokerHeader("Samantha")}});
    TestWorld::useUsEnglish();
    CatalogServer::shared();

    QGuiApplication application(argc, argv);
    velmora::applyDesktopLook();
    ::testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    CatalogServer::shared().release();
    return result;
}
