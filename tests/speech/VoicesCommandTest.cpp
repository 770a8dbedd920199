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
    const std::string missing = "velmora-cli: No speech provider offers the voice \"org.example.Missing\".\n";
    const struct {
        std::vector<std::string> arguments;
        std::string bus, out, err;
    } cases[] = {
        {{"voices"},
         "",
         "iPhone OS 3 \u2014 3 voices\n  alex\tit-IT\t" + m + "ios3.it-IT.alex\n  Tom 9\tit-IT\t" + m +
             "ios3.it-IT.Tom9\n  Tom 10\tit-IT\t" + m +
             "ios3.it-IT.Tom10\n"
             "iOS 4 \u2014 1 voice\n  Raw 16\ten-US\t" +
             m +
             "ios4.en-US.Raw16\n"
             "iOS 5 \u2014 1 voice\n  raw 32\tde-DE\t" +
             m +
             "ios5.de-DE.Raw32\n"
             "iOS 6 \u2014 1 voice\n  Framed 16\tfr-FR\t" +
             m +
             "ios6.fr-FR.Framed16\n"
             "iOS 7 \u2014 2 voices\n  Framed 32\ten-GB\t" +
             m +
             "ios7.en-GB.Framed32\n"
             "  Paced\ten-AU\t" +
             m + "ios7.en-AU.Paced\n",
         ""},
        {{"voices"}, "unix:path=/nonexistent/velmora-bus", "Voices not registered yet\n", ""},
        {{"speak", "--voice", raw16, "--rate", "0.7", "tone 2205"}, "", "", ""},
        {{"speak", "--voice", "org.example.Missing", "Hello"}, "", "", missing},
        {{"speak", "Hello"},
         "unix:path=/nonexistent/velmora-bus",
         "",
         "velmora-cli: No speech provider offers any voice.\n"},
        {{"speak", "--voice", raw16, "refuse"},
         "",
         "",
         "velmora-cli: The voice's provider did not speak the whole text.\n"},
        {{"speak", "--rate", "1.5", "Hello"},
         "",
         "",
         "velmora-cli: The rate must be between 0 and 1 (0.5 is normal speed).\n"},
        {{"render", "--voice", "org.example.Missing", "Hello"}, "", "", missing},
        {{"render", "--voice", "org.example.format.S24_32LE", "tone 5"},
         "",
         "",
         "velmora-cli: The voice's audio format \"audio/x-raw,format=S24_32LE,rate=8000\" cannot be read: "
         "its "
         "samples are S24_32LE, which this program cannot read.\n"},
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
