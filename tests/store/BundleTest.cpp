#include <gtest/gtest.h>

#include "store/Bundle.h"
#include "support/Files.h"

namespace velmora {
namespace {
namespace fs = std::filesystem;
using test::TempDir;

TEST(BundleTest, ResourcesComeFromTheFirstPlugInElseTheApplication) {
    TempDir app;
    auto application = *Bundle::open(app.path());
    EXPECT_EQ(Bundle::chooseResourcesBundle(application).folder(), app.path()) << "no PlugIns folder";

    fs::create_directories(app / "PlugIns/Readme.txt");
    EXPECT_EQ(Bundle::chooseResourcesBundle(application).folder(), app.path()) << "no .appex entry";

    test::writeFile(app / "PlugIns/A.appex", "a file cannot be opened as a bundle");
    EXPECT_EQ(Bundle::chooseResourcesBundle(application).folder(), app.path()) << "first .appex unusable";

    fs::remove(app / "PlugIns/A.appex");
    fs::create_directories(app / "PlugIns/B.appex/Resources");
    auto chosen = Bundle::chooseResourcesBundle(application);
    EXPECT_EQ(chosen.folder(), app / "PlugIns/B.appex");
    EXPECT_EQ(chosen.resourceFolder(), app / "PlugIns/B.appex/Resources");
    EXPECT_EQ(application.resourceFolder(), std::nullopt);
}

TEST(BundleTest, MainBundleIsTheFolderOfTheRunningExecutable) {
    EXPECT_TRUE(fs::exists(Bundle::main().folder() / "store_test"));
    EXPECT_FALSE(Bundle::open(Bundle::main().folder() / "store_test")) << "a file is not a bundle";
}

}  // namespace
}  // namespace velmora
