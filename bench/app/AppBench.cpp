// The GUI thread while the enhanced voice manager installs a large archive from a loopback
// server: a 1 ms heartbeat timer measures the longest gap between its ticks (the longest stall),
// and the worker threads' count of posted jobs gives the events queued to the GUI thread per
// second of download.
#include <httplib.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>
#include <vector>

#include "app/EnhancedVoiceManager.h"
#include "app/WorkerThreads.h"
#include "enhanced/Sha1.h"
#include "support/ServeBytes.h"
#include "zip/MappedFile.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

double millisecondsBetween(Clock::time_point a, Clock::time_point b) {
    return std::chrono::duration<double, std::milli>(b - a).count();
}

// Ticks every millisecond on the GUI thread and keeps the gaps between ticks.
class Heartbeat {
public:
    Heartbeat() {
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setInterval(1);
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            const auto now = Clock::now();
            gaps_.push_back(millisecondsBetween(last_, now));
            last_ = now;
        });
    }
    void start() {
        gaps_.clear();
        last_ = Clock::now();
        timer_.start();
    }
    void stop() { timer_.stop(); }
    double longest() const { return gaps_.empty() ? 0 : *std::ranges::max_element(gaps_); }
    // The longest gap among the ticks so far, and the number of ticks, to split a run in phases.
    std::size_t ticks() const { return gaps_.size(); }
    double longestBefore(std::size_t tick) const {
        return tick == 0 ? 0 : *std::max_element(gaps_.begin(), gaps_.begin() + static_cast<long>(tick));
    }
    double percentile(double p) const {
        if (gaps_.empty()) return 0;
        std::vector<double> sorted = gaps_;
        std::ranges::sort(sorted);
        return sorted[static_cast<std::size_t>(p * static_cast<double>(sorted.size() - 1))];
    }

private:
    QTimer timer_;
    Clock::time_point last_;
    std::vector<double> gaps_;
};

// Times every event the GUI thread handles (timer ticks, posted jobs): the longest one is the
// thread's own stall, whatever the scheduler adds on a busy machine.
class TimedApplication : public QCoreApplication {
public:
    using QCoreApplication::QCoreApplication;
    bool notify(QObject* receiver, QEvent* event) override {
        if (depth_++ > 0) return finish(QCoreApplication::notify(receiver, event));
        const auto start = Clock::now();
        const bool handled = QCoreApplication::notify(receiver, event);
        longestEvent = std::max(longestEvent, millisecondsBetween(start, Clock::now()));
        return finish(handled);
    }
    double longestEvent = 0;

private:
    bool finish(bool handled) {
        --depth_;
        return handled;
    }
    int depth_ = 0;
};

struct Round {
    double downloadSeconds = 0;
    double installSeconds = 0;
    std::uint64_t jobsDuringDownload = 0;
    std::uint64_t jobs = 0;
    double longestStall = 0;
    double p99 = 0;
    double guiCpuMilliseconds = 0;  // processor time the GUI thread used during the install
    double longestStallInDownload = 0;
    double longestEvent = 0;
};

double threadCpuMilliseconds() {
    rusage usage{};
    ::getrusage(RUSAGE_THREAD, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
}

Round installOnce(const velmora::EnhancedVoice& voice, velmora::WorkerThreads& workers,
                  Heartbeat& heartbeat) {
    velmora::EnhancedServices services = velmora::EnhancedServices::real();
    services.fetchCatalog = [voice](std::stop_token) { return std::vector{voice}; };
    velmora::EnhancedVoiceManager manager(services, workers);
    manager.load();
    while (manager.isLoading()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);

    Round round;
    QEventLoop loop;
    const auto start = Clock::now();
    const auto jobsBefore = workers.postedJobs();
    QObject::connect(&manager, &velmora::EnhancedVoiceManager::stateChanged, [&](const QString&) {
        const auto state = manager.state(voice);
        if (state.is<velmora::VoiceState::Unpacking>()) {
            round.downloadSeconds = millisecondsBetween(start, Clock::now()) / 1000;
            round.jobsDuringDownload = workers.postedJobs() - jobsBefore;
            round.longestStallInDownload = heartbeat.longestBefore(heartbeat.ticks());
        }
        if (state.is<velmora::VoiceState::Installed>() || state.is<velmora::VoiceState::Failed>())
            loop.quit();
    });
    auto* application = static_cast<TimedApplication*>(QCoreApplication::instance());
    application->longestEvent = 0;
    const double cpuBefore = threadCpuMilliseconds();
    heartbeat.start();
    manager.install(voice);
    loop.exec();
    heartbeat.stop();
    round.guiCpuMilliseconds = threadCpuMilliseconds() - cpuBefore;
    round.longestEvent = application->longestEvent;
    const velmora::VoiceState outcome = manager.state(voice);
    if (const auto* failed = std::get_if<velmora::VoiceState::Failed>(&outcome.value)) {
        std::fprintf(stderr, "install failed: %s\n", failed->message.c_str());
        std::exit(1);
    }
    round.installSeconds = millisecondsBetween(start, Clock::now()) / 1000;
    round.jobs = workers.postedJobs() - jobsBefore;
    round.longestStall = heartbeat.longest();
    round.p99 = heartbeat.percentile(0.99);
    return round;
}

}  // namespace

int main(int argc, char** argv) {
    const fs::path work = argc > 1 ? fs::path(argv[1]) : fs::temp_directory_path() / "velmora-install-bench";
    fs::create_directories(work);
    ::setenv("VELMORA_APP_GROUPS_ROOT", (work / "app-bench-groups").c_str(), 1);
    ::setenv("VELMORA_ENTITLEMENTS", ENTITLEMENTS, 1);
    TimedApplication application(argc, argv);

    const fs::path archive = work / "voice-200MB.zip";
    if (!fs::exists(archive)) {
        const std::string command = std::string("python3 ") + MAKE_ARCHIVE + " " + archive.string() + " 200";
        if (std::system(command.c_str()) != 0) return 1;
    }
    const velmora::MappedFile bytes = velmora::MappedFile::open(archive);
    httplib::Server server;
    const int port = server.bind_to_any_port("127.0.0.1");
    velmora::bench::serveBytes(server, "/voice.zip", bytes.bytes(), "application/zip");
    // The server stands in for the network: it yields to the program's threads as the install does.
    std::thread listener([&] {
        ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 10);
        server.listen_after_bind();
    });

    const velmora::EnhancedVoice voice{*velmora::VoiceRelease::named("ios6"),
                                       "en-US",
                                       static_cast<std::int64_t>(fs::file_size(archive)),
                                       0,
                                       "http://127.0.0.1:" + std::to_string(port) + "/voice.zip",
                                       velmora::Sha1::ofFile(archive),
                                       "1.0"};
    std::printf("archive %s: %.1f MB\n", archive.filename().c_str(),
                static_cast<double>(voice.downloadSize) / 1e6);
    std::printf("%-6s %11s %10s %12s %14s %14s %9s %12s %12s %14s\n", "round", "download s", "install s",
                "jobs (dl)", "jobs/s of dl", "longest stall", "p99 gap", "GUI CPU ms", "stall in dl",
                "longest event");
    velmora::WorkerThreads workers;
    Heartbeat heartbeat;
    // The same heartbeat with nothing else to do: what the machine's own load costs the thread.
    heartbeat.start();
    QTimer::singleShot(2000, &application, &QCoreApplication::quit);
    QCoreApplication::exec();
    heartbeat.stop();
    std::printf("%-6s %11s %10s %12s %14s %11.2f ms %6.2f ms\n", "idle", "", "", "", "", heartbeat.longest(),
                heartbeat.percentile(0.99));
    double worst = 0;
    for (int i = 1; i <= 3; ++i) {
        const Round r = installOnce(voice, workers, heartbeat);
        worst = std::max(worst, r.longestStall);
        std::printf("%-6d %11.3f %10.3f %5llu (%4llu) %14.0f %11.2f ms %6.2f ms %12.1f %9.2f ms %11.3f ms\n",
                    i, r.downloadSeconds, r.installSeconds, static_cast<unsigned long long>(r.jobs),
                    static_cast<unsigned long long>(r.jobsDuringDownload),
                    static_cast<double>(r.jobsDuringDownload) / r.downloadSeconds, r.longestStall, r.p99,
                    r.guiCpuMilliseconds, r.longestStallInDownload, r.longestEvent);
    }
    std::printf("longest GUI-thread stall: %.2f ms (target at most 16 ms)\n", worst);
    server.stop();
    listener.join();
    fs::remove_all(work / "app-bench-groups");
    return 0;
}
