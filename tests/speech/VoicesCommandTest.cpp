#include <gtest/gtest.h>

#include <filesystem>

#include "support/Files.h"
#include "support/Process.h"

namespace velmora {
namespace {

test::ProcessResult cli(const std::vector<std::string>& arguments) {
    // No sound server: speech goes to the silent output.
    return test::runProcess(VELMORA_CLI, arguments, {{"PULSE_SERVER", "unix:/nonexistent/velmora-pulse"}});
}

TEST(VoicesCommandTest, ListsTheProvidersVoicesByRelease) {
    const std::string m = "com.tarvenholt.Velmora.voice.";
    const test::ProcessResult result = cli({"voices"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out, "iPhone OS 3 \u2014 1 voices\n"
                          "  Chime 10\tit-IT\t" + m + "ios3.it-IT.Chime10\n"
                          "iOS 4 \u2014 1 voices\n"
                          "  Raw 16\ten-US\t" + m + "ios4.en-US.Raw16\n"
                          "iOS 5 \u2014 1 voices\n"
                          "  raw 32\tde-DE\t" + m + "ios5.de-DE.Raw32\n"
                          "iOS 6 \u2014 1 voices\n"
                          "  Framed 16\tfr-FR\t" + m + "ios6.fr-FR.Framed16\n"
                          "iOS 7 \u2014 2 voices\n"
                          "  Framed 32\ten-GB\t" + m + "ios7.en-GB.Framed32\n"
                          "  Paced\ten-AU\t" + m + "ios7.en-AU.Paced\n");
}

TEST(VoicesCommandTest, SpeaksOrSaysWhyNot) {
    const std::string raw16 = "com.tarvenholt.Velmora.voice.ios4.en-US.Raw16";
    struct Case {
        std::vector<std::string> arguments;
        int exitStatus;
        std::string err;
    };
    const std::vector<Case> cases{
        {{"speak", "--voice", raw16, "--rate", "0.7", "tone 2205"}, 0, ""},
        {{"speak", "--voice", "org.example.Missing", "Hello"}, 1,
         "velmora-cli: No speech provider offers the voice \"org.example.Missing\".\n"},
        {{"speak", "--voice", raw16, "refuse"}, 1, "velmora-cli: The voice's provider did not speak the whole text.\n"},
        {{"speak", "--rate", "1.5", "Hello"}, 1, "velmora-cli: The rate must be between 0 and 1 (0.5 is normal speed).\n"},
    };
    for (const auto& c : cases) {
        const test::ProcessResult result = cli(c.arguments);
        EXPECT_EQ(result.exitStatus, c.exitStatus) << c.arguments.back();
        EXPECT_EQ(result.err, c.err) << c.arguments.back();
        EXPECT_EQ(result.out, "") << c.arguments.back();
    }
}

TEST(VoicesCommandTest, RendersAndMeasuresOneUtterance) {
    const std::string raw16 = "com.tarvenholt.Velmora.voice.ios4.en-US.Raw16";
    test::TempDir dir;
    const test::ProcessResult first = cli({"render", "--voice", raw16, "--dump", (dir / "a.caf").string(), "tone 2205"});
    EXPECT_EQ(first.exitStatus, 0) << first.err;
    EXPECT_TRUE(first.out.starts_with("seconds: 0.100\npeak: ")) << first.out;
    EXPECT_GT(std::filesystem::file_size(dir / "a.caf"), 2205u * 4);

    const test::ProcessResult second = cli({"render", "--voice", raw16, "tone 2205"});
    const auto signature = [](const std::string& out) { return out.substr(out.find("signature: ")); };
    EXPECT_EQ(signature(second.out), signature(first.out)) << "the same tone renders the same samples";
    EXPECT_NE(signature(cli({"render", "--voice", raw16, "tone 2206"}).out), signature(first.out));

    const test::ProcessResult refused = cli({"render", "--voice", raw16, "--ssml", "--pitch", "2", "<speak/>"});
    EXPECT_EQ(refused.exitStatus, 1);
    const test::ProcessResult missing = cli({"render", "--voice", "org.example.Missing", "Hello"});
    EXPECT_EQ(missing.err, "velmora-cli: No speech provider offers the voice \"org.example.Missing\".\n");
}

}  // namespace
}  // namespace velmora
