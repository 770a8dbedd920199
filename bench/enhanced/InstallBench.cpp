// Installs one voice archive served from loopback with velmora-cli, and does the same by hand
// with the tools a user would type (curl -o, sha1sum, unzip -q, mv), in the same run on the
// same files. Prints wall time and peak memory of each.
#include <fcntl.h>
#include <httplib.h>
#include <openssl/evp.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "enhanced/Sha1.h"
#include "support/ServeBytes.h"
#include "zip/MappedFile.h"

namespace fs = std::filesystem;

namespace {

struct Run {
    double seconds = 0;
    std::chrono::steady_clock::time_point ended;
    long peakKb = 0;      // VmHWM: resident set, mapped file pages included
    long peakAnonKb = 0;  // largest RssAnon seen: memory the process allocated itself
};

long statusField(pid_t pid, const std::string& field) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with(field + ":")) return std::stol(line.substr(field.size() + 1));
    }
    return 0;
}

// Runs a program to its end, sampling its anonymous memory every two milliseconds.
Run runProgram(const std::vector<std::string>& command, const std::vector<std::string>& environment = {}) {
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        const int quiet = ::open("/dev/null", O_WRONLY);
        ::dup2(quiet, STDOUT_FILENO);
        for (const auto& variable : environment) ::putenv(const_cast<char*>(variable.c_str()));
        std::vector<char*> argv;
        for (const auto& argument : command) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    Run run;
    int status = 0;
    rusage usage{};
    while (::wait4(child, &status, WNOHANG, &usage) == 0) {
        run.peakAnonKb = std::max(run.peakAnonKb, statusField(child, "RssAnon"));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    run.ended = std::chrono::steady_clock::now();
    run.seconds = std::chrono::duration<double>(run.ended - start).count();
    run.peakKb = usage.ru_maxrss;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::cerr << command[0] << " failed\n";
        std::exit(1);
    }
    return run;
}

std::string catalogFor(const std::string& archiveUrl, const fs::path& archive) {
    const auto digest = velmora::Sha1::ofFile(archive);
    std::string base64(64, '\0');
    base64.resize(static_cast<std::size_t>(EVP_EncodeBlock(
        reinterpret_cast<unsigned char*>(base64.data()),
        reinterpret_cast<const unsigned char*>(digest.data()), static_cast<int>(digest.size()))));
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Assets</key><array><dict>"
           "<key>FormatVersion</key><string>4</string><key>Language</key><string>en-US</string>"
           "<key>__BaseURL</key><string>" +
           archiveUrl +
           "</string><key>__RelativePath</key><string></string>"
           "<key>_Measurement</key><data>" +
           base64 +
           "</data>"
           "<key>_DownloadSize</key><integer>" +
           std::to_string(fs::file_size(archive)) +
           "</integer>"
           "</dict></array></dict></plist>";
}

struct Comparison {
    Run ours;
    double oursAfterLastByte = 0;  // from the server's last byte to the end of our install
    Run peer;
    std::vector<Run> peerSteps;
};

Comparison compareOnce(const fs::path& work, const std::string& url, const velmora::bench::Serving& serving) {
    Comparison result;
    const fs::path groups = work / "groups";
    fs::remove_all(groups);
    result.ours = runProgram(
        {VELMORA_CLI, "install", "ios6/en-US"},
        {"VELMORA_APP_GROUPS_ROOT=" + groups.string(), "VELMORA_CATALOG_URL=" + url + "/catalog.xml"});
    result.oursAfterLastByte =
        std::chrono::duration<double>(result.ours.ended - serving.lastByteSent.load()).count();
    const fs::path peer = work / "peer";
    fs::remove_all(peer);
    fs::create_directories(peer);
    const std::string zip = (peer / "voice.zip").string();
    result.peerSteps = {
        runProgram({"curl", "-s", "-f", "-o", zip, url + "/voice.zip"}),
        runProgram({"sha1sum", zip}),
        runProgram({"unzip", "-q", zip, "-d", (peer / "unpacked").string()}),
        runProgram({"mv", (peer / "unpacked/voice").string(), (peer / "installed").string()}),
    };
    for (const Run& step : result.peerSteps) {
        result.peer.seconds += step.seconds;
        result.peer.peakKb = std::max(result.peer.peakKb, step.peakKb);
        result.peer.peakAnonKb = std::max(result.peer.peakAnonKb, step.peakAnonKb);
    }
    return result;
}

// `bytesPerSecond` 0 serves as fast as loopback goes.
void benchArchive(const fs::path& work, int megabytes, int rounds, double bytesPerSecond = 0) {
    const fs::path archive = work / ("voice-" + std::to_string(megabytes) + "MB.zip");
    if (!fs::exists(archive))
        runProgram({"python3", MAKE_ARCHIVE, archive.string(), std::to_string(megabytes)});
    const velmora::MappedFile bytes = velmora::MappedFile::open(archive);
    httplib::Server server;
    const int port = server.bind_to_any_port("127.0.0.1");
    const std::string url = "http://127.0.0.1:" + std::to_string(port);
    const std::string catalog = catalogFor(url + "/voice.zip", archive);
    server.Get("/catalog.xml", [&](const httplib::Request&, httplib::Response& response) {
        response.set_content(catalog, "application/xml");
    });
    velmora::bench::Serving serving;
    serving.bytesPerSecond = bytesPerSecond;
    velmora::bench::serveBytes(server, "/voice.zip", bytes.bytes(), "application/zip", &serving);
    std::thread listener([&] { server.listen_after_bind(); });
    std::printf("archive %s: %.1f MB, served %s\n", archive.filename().c_str(),
                static_cast<double>(fs::file_size(archive)) / 1e6,
                bytesPerSecond > 0
                    ? ("at " + std::to_string(static_cast<int>(bytesPerSecond / 1e6)) + " MB/s").c_str()
                    : "as fast as loopback goes");
    std::printf("%-8s %10s %10s %12s %12s %14s %12s\n", "round", "ours s", "peer s", "ours/peer",
                "ours peak MB", "ours anon MB", "ours after last byte s");
    std::vector<double> ratios;
    for (int round = 1; round <= rounds; ++round) {
        const Comparison c = compareOnce(work, url, serving);
        ratios.push_back(c.ours.seconds / c.peer.seconds);
        std::printf(
            "%-8d %10.3f %10.3f %12.2f %12.1f %14.1f %12.3f   (curl %.3f, sha1sum %.3f, unzip %.3f, mv "
            "%.3f)\n",
            round, c.ours.seconds, c.peer.seconds, ratios.back(), c.ours.peakKb / 1024.0,
            c.ours.peakAnonKb / 1024.0, c.oursAfterLastByte, c.peerSteps[0].seconds, c.peerSteps[1].seconds,
            c.peerSteps[2].seconds, c.peerSteps[3].seconds);
    }
    std::ranges::sort(ratios);
    std::printf("median ours/peer: %.2f%s\n\n", ratios[ratios.size() / 2],
                bytesPerSecond > 0 ? "" : " (target at most 0.25)");
    server.stop();
    listener.join();
}

}  // namespace

int main(int argc, char** argv) {
    const fs::path work = argc > 1 ? fs::path(argv[1]) : fs::temp_directory_path() / "velmora-install-bench";
    fs::create_directories(work);
    // The larger archive is the one the target is about; the smaller shows that our peak memory
    // does not grow with the archive.
    benchArchive(work, 50, 5);
    benchArchive(work, 200, 5);
    // At the rate of a fast home line, what is left once the last byte has arrived.
    benchArchive(work, 200, 3, 100e6);
    return 0;
}
