#include <gtest/gtest.h>

#include <filesystem>

#include "support/Files.h"
#include "support/Process.h"

namespace velmora {
namespace {

const std::string m = "com.tarvenholt.Velmora.voice.";
const std::string raw16 = m + "ios4.en-US.Raw16";

// Speech goes to the silent output, as no sound server answers; `bus` replaces the test's own bus.
// No locale is set, as on containers and CI machines (ICU's default is then en_US_POSIX).
test::ProcessResult cli(const std::vector<std::string>& arguments, const std::string& bus = "") {
    std::map<std::string, std::string> environment{{"PULSE_SERVER", "unix:/nonexistent/velmora-pulse"},
                                                   {"LANG", "C.UTF-8"},
                                                   {"LANGUAGE", ""},
                                                   {"LC_ALL", ""},
                                                   {"LC_COLLATE", ""},
                                                   {"LC_MESSAGES", ""}};
    if (!bus.empty()) environment["DBUS_SESSION_BUS_ADDRESS"] = bus;
    return test::runProcess(VELMORA_CLI, arguments, environment);
}

TEST(VoicesCommandTest, ListsVoicesAndSpeaksOrSaysWhyNot) {
    const auto says = [](const std::string& error) { return "velmora-cli: " + error + "\n"; };
    const std::string missing = says("No speech provider offers the voice \"org.example.Missing\".");
    const std::string noBus = "unix:path=/nonexistent/velmora-bus";
    const struct {
        std::vector<std::string> arguments;
        std::string bus, out, err;
    } cases[] = {
        // clang-format off
        {{"voices"}, "", test::readFile(test::expectedOutput("speech", "voices.txt")), ""},
        {{"voices"}, noBus, "Voices not registered yet\n", ""},
        {{"speak", "--voice", raw16, "--rate", "0.7", "tone 2205"}, "", "", ""},
        {{"speak", "--voice", "org.example.Missing", "Hello"}, "", "", missing},
        {{"speak", "Hello"}, noBus, "", says("No speech provider offers any voice.")},
        {{"speak", "--voice", raw16, "refuse"}, "", "", says("The voice's provider did not speak the whole text.")},
        {{"speak", "--rate", "1.5", "Hello"}, "", "", says("The rate must be between 0 and 1 (0.5 is normal speed).")},
        {{"render", "--voice", "org.example.Missing", "Hello"}, "", "", missing},
        {{"render", "--voice", "org.example.format.S24_32LE", "tone 5"}, "", "",
         says("The voice's audio format \"audio/x-raw,format=S24_32LE,rate=8000\" cannot be read: its samples are "
              "S24_32LE, which this program cannot read.")},
        // clang-format on
    };
    for (const auto& c : cases) {
        const test::ProcessResult result = cli(c.arguments, c.bus);
        EXPECT_EQ(std::tuple(result.exitStatus, result.out, result.err),
                  std::tuple(c.err.empty() ? 0 : 1, c.out, c.err))
            << c.arguments.front() << " " << c.arguments.back();
    }
}

TEST(VoicesCommandTest, RendersAndMeasuresOneUtterance) {
    test::TempDir dir;
    const test::ProcessResult first =
        cli({"render", "--voice", raw16, "--dump", (dir / "a.caf").string(), "tone 2205"});
    EXPECT_EQ(first.exitStatus, 0) << first.err;
    EXPECT_TRUE(first.out.starts_with("seconds: 0.100\npeak: 0.0305\nlatency: ")) << first.out;
    EXPECT_GT(std::filesystem::file_size(dir / "a.caf"), 2205u * 4);

    const auto signature = [](const std::string& out) { return out.substr(out.find("signature: ")); };
    EXPECT_EQ(signature(cli({"render", "--voice", raw16, "tone 2205"}).out), signature(first.out));
    EXPECT_NE(signature(cli({"render", "--voice", raw16, "tone 2206"}).out), signature(first.out));
    EXPECT_EQ(cli({"render", "--voice", raw16, "--ssml", "--pitch", "2", "<speak/>"}).exitStatus, 1);
}

}  // namespace
}  // namespace velmora
