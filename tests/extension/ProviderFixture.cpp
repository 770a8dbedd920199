#include "ProviderFixture.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <system_error>

#include "store/BrokerHeader.h"
#include "store/VoiceStore.h"
#include "support/Files.h"

namespace velmora::test {
namespace fs = std::filesystem;

fs::path ProviderWorld::appexResources() {
    return fs::path(VELMORA_APPEX_DIR) / "Resources";
}

void ProviderWorld::prepare() {
    static TempDir world;
    const fs::path containers = world / "app-groups";
    const fs::path dataHome = world / "data";
    // This process resolves the container through the provider's own entitlements, so both
    // find the same folder.
    ::setenv("VELMORA_ENTITLEMENTS", (appexResources() / "velmora.entitlements").c_str(), 1);
    ::setenv("VELMORA_APP_GROUPS_ROOT", containers.c_str(), 1);
    ::setenv("XDG_DATA_HOME", dataHome.c_str(), 1);
    setActivationEnvironment("VELMORA_APP_GROUPS_ROOT", containers.string());
    setActivationEnvironment("XDG_DATA_HOME", dataHome.string());
}

double seconds(const std::vector<std::int16_t>& samples) {
    return static_cast<double>(samples.size()) / 22050.0;
}

double peak(const std::vector<std::int16_t>& samples) {
    int loudest = 0;
    for (const std::int16_t sample : samples) loudest = std::max(loudest, std::abs(static_cast<int>(sample)));
    return loudest / 32768.0;
}

ProviderTest::~ProviderTest() {
    for (const auto& pack : packs_) {
        std::error_code ignored;
        fs::permissions(pack / VoiceStore::headerName, fs::perms::owner_read | fs::perms::owner_write, ignored);
        fs::remove_all(pack, ignored);
    }
}

VoiceRelease ProviderTest::release(const std::string& name) {
    auto found = VoiceRelease::named(name);
    if (!found) throw std::invalid_argument("no release " + name);
    return *found;
}

std::string ProviderTest::voiceId(const std::string& releaseName, const std::string& locale) {
    auto folder = VoiceStore::compactDirectory(ProviderWorld::appexResources(), release(releaseName), locale);
    auto header = folder ? readLatin1File(*folder / VoiceStore::headerName) : std::nullopt;
    auto name = header ? VoiceStore::brokerTag("voice", *header) : std::nullopt;
    if (!name) throw std::invalid_argument("no compact voice for " + releaseName + "/" + locale);
    return "com.tarvenholt.Velmora.voice." + releaseName + "." + locale + "." + *name;
}

fs::path ProviderTest::installPack(const std::string& releaseName, const std::string& locale, const std::string& data) {
    auto pack = VoiceStore::directory(release(releaseName), locale);
    if (!pack) throw std::runtime_error("no shared container");
    fs::create_directories(*pack);
    writeFile(*pack / VoiceStore::headerName, brokerHeader("Samantha"));
    writeFile(*pack / "voice.dat", data);
    packs_.push_back(*pack);
    return *pack;
}

void ProviderTest::removePack(const std::string& releaseName, const std::string& locale) {
    VoiceStore::remove(release(releaseName), locale);
}

std::vector<std::int16_t> ProviderTest::speak(const ProviderClient::Request& request) {
    auto samples = client.speak(request);
    EXPECT_TRUE(samples.has_value()) << "the stream for \"" << request.text << "\" did not end";
    return samples.value_or(std::vector<std::int16_t>{});
}

}  // namespace velmora::test
