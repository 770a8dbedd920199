// The application's controllers. The speech controller runs against the test provider on a private
// session bus that starts with no provider; the test registers one while the controller retries.
#include <QSignalSpy>
#include <QTest>
#include <filesystem>

#include "app/EnhancedVoiceManager.h"
#include "app/SelfTestSuites.h"
#include "app/SpeechController.h"
#include "enhanced/ServedVoice.h"
#include "speech/NullOutput.h"
#include "speech/ProviderControl.h"
#include "speech/TestProviderVoices.h"
#include "support/Files.h"
#include "support/ServedCatalog.h"

namespace velmora::test {
namespace {

namespace fs = std::filesystem;

fs::path serviceFile(const std::string& provider) {
    return fs::path(LATE_SERVICE_DIR) / (provider + ".service");
}

void registerProvider(const std::string& provider, const std::string& voiceSet) {
    writeFile(serviceFile(provider), "[D-BUS Service]\nName=" + provider + "\nExec=" TEST_PROVIDER " " +
                                         provider + " " + voiceSet + "\n");
}

void removeServices() {
    for (const auto& provider : {tonesProvider, chimesProvider}) fs::remove(serviceFile(provider));
}

std::string marked(const std::string& rest) { return std::string(VoiceList::marker) + rest; }

}  // namespace

class AppTest : public QObject {
    Q_OBJECT

    std::unique_ptr<WorkerThreads> workers_ = std::make_unique<WorkerThreads>();
    std::shared_ptr<SpeechSystem> system_ = std::make_shared<SpeechSystem>();
    std::unique_ptr<SpeechController> speech_ = std::make_unique<SpeechController>(
        system_,
        std::make_unique<Synthesizer>(system_, [](int, double) { return std::make_unique<NullOutput>(); }),
        *workers_, std::chrono::milliseconds(200));

private slots:
    void initTestCase() { removeServices(); }
    void cleanupTestCase() {
        speech_.reset();
        workers_.reset();
        removeServices();
    }

    // The flagged suites run speech first, each once, for whole case-sensitive flags anywhere.
    void selfTestSuitesRunAsFlagged() {
        const std::pair<std::vector<std::string>, QString> cases[] = {
            {{"-selftest"}, "1speech "},
            {{"-selftest-enhanced", "-enhanced-remove"}, "1enhanced(2) "},
            {{"-selftest-enhanced", "-platform", "offscreen", "-selftest"}, "1speech enhanced(4) "},
            {{"-selftest", "-selftest"}, "1speech "},
            {{"-enhanced-remove-all", "-enhanced-voice", "ios6/en-US"}, "0"},
            {{"-SELFTEST", "--selftest", "-selftest=1"}, "0"},
        };
        for (const auto& [arguments, expected] : cases) {
            std::string ran;
            const SelfTestSuites suites{
                [&ran] { ran += "speech "; },
                [&ran](const auto& all) { ran += "enhanced(" + std::to_string(all.size()) + ") "; }};
            const bool wanted = runSelfTests(suites, arguments);
            QCOMPARE(QString::fromStdString(std::to_string(wanted) + ran), expected);
        }
    }

    // A manager that goes away while a real install runs: the install finishes on its worker
    // thread, the pack lands, the staging folder is left empty, and nothing touches the manager
    // afterwards (the sanitizer build reports any such touch).
    void installOutlivesItsManager() {
        const std::string archive = makeZip({"v/broker.hdr.asset", "Tessa", "v/voice.dat", "voice"});
        // The archive trickles out, so that the transfer is still running when the manager goes.
        LoopbackServer server([&archive](httplib::Server& s) {
            s.Get("/voice.zip", [&archive](const auto&, auto& response) {
                response.set_content_provider(archive.size(), "application/zip",
                                              [&archive](auto offset, auto, auto& sink) {
                                                  std::this_thread::sleep_for(std::chrono::milliseconds(10));
                                                  return sink.write(archive.data() + offset, 16);
                                              });
            });
        });
        const EnhancedVoice voice = servedVoice(server.url("/voice.zip"), archive);
        EnhancedServices services = EnhancedServices::real();
        services.fetchCatalog = [voice](std::stop_token) { return std::vector{voice}; };
        WorkerThreads workers;
        auto manager = std::make_unique<EnhancedVoiceManager>(services, workers);
        manager->load();
        QTRY_VERIFY(!manager->isLoading());
        QTRY_COMPARE(workers.running(), 0u);
        manager->install(QString::fromStdString(voice.id()));
        QTRY_VERIFY(fs::exists(staging()) && !fs::is_empty(staging()));
        manager.reset();
        QTRY_COMPARE_WITH_TIMEOUT(workers.running(), 0u, 30'000);
        QCoreApplication::processEvents();  // the reports posted to the gone manager
        QVERIFY(fs::is_empty(staging()));
        QCOMPARE(readFile(voices() / "ios6/en-US/broker.hdr"), std::string("Tessa"));
    }

    void retriesStopOnceVoicesAppear() {
        speech_->refresh();
        QTRY_VERIFY(workers_->postedJobs() > 0);
        QVERIFY(!speech_->hasVoices());
        registerProvider(tonesProvider, "tones");
        QTRY_VERIFY_WITH_TIMEOUT(speech_->hasVoices(), 4000);
        QCOMPARE(speech_->groups().size(), 4u);
        QCOMPARE(speech_->voices().front().name, std::string("Framed 16"));

        const auto posted = workers_->postedJobs();
        QTest::qWait(700);
        QCOMPARE(workers_->postedJobs(), posted);
    }

    void speaksTheGreetingOrTheTypedText() {
        const VoiceListModel& rows = *speech_->voiceList();
        QCOMPARE(rows.rowCount(), 5);

        const QString raw16 = QString::fromStdString(marked("ios4.en-US.Raw16"));
        QSignalSpy marks(&rows, &QAbstractItemModel::dataChanged);
        speech_->speakVoice(raw16, {}, "", 0.5);
        QCOMPARE(speech_->speakingVoiceText(), raw16);
        QCOMPARE(marks.count(), 1);
        QCOMPARE(marks.first().at(0).toModelIndex().row(), 0);
        QVERIFY(rows.index(0).data(VoiceListModel::SpeakingRole).toBool());
        QTRY_COMPARE(speech_->speakingVoiceText(), QString());  // finished
        QCOMPARE(std::get<0>(lastRequest(tonesProvider)), std::string("Hello! My name is Raw 16."));
        speech_->speakVoice(raw16, {}, " ", 0.5);
        QTRY_COMPARE(std::get<0>(lastRequest(tonesProvider)), std::string(" "));
        QTRY_COMPARE(speech_->speakingVoiceText(), QString());
    }

    // A cut-off utterance's cancel arrives after the next one began, and clears the mark too.
    void bothEndingsClearTheSpeakingVoice() {
        const auto voices = speech_->voices();
        const auto raw16 = std::ranges::find(voices, marked("ios4.en-US.Raw16"), &SpeechVoice::identifier);
        const auto raw32 = std::ranges::find(voices, marked("ios5.de-DE.Raw32"), &SpeechVoice::identifier);
        QSignalSpy changes(speech_.get(), &SpeechController::speakingVoiceChanged);
        speech_->speak("tone 220500", *raw16, 0.5);  // ten seconds
        QTRY_COMPARE(std::get<0>(lastRequest(tonesProvider)), std::string("tone 220500"));
        speech_->speak("tone 160000", *raw32, 0.5);  // ten seconds
        QCOMPARE(speech_->speakingVoice(), raw32->identifier);
        QTRY_COMPARE_WITH_TIMEOUT(speech_->speakingVoiceText(), QString(), 3000);
        QCOMPARE(changes.count(), 3);
        speech_->stop();
    }

    // A voice that a second provider lists too is spoken by the provider of the row chosen.
    void aRowSpeaksThroughItsOwnProvider() {
        registerProvider(chimesProvider, "chimes");
        const std::string raw16 = marked("ios4.en-US.Raw16");
        addVoice(chimesProvider, "Raw 16", raw16, "audio/x-raw,format=S16LE,rate=22050", {"en-US"});
        speech_->refresh();
        QTRY_COMPARE(std::ranges::count(speech_->voices(), raw16, &SpeechVoice::identifier), 2);
        for (const auto& [provider, text] :
             {std::pair(chimesProvider, "tone 101"), std::pair(tonesProvider, "tone 102")}) {
            speech_->speakVoice(QString::fromStdString(raw16), QString::fromStdString(provider), text, 0.5);
            QTRY_COMPARE(std::get<0>(lastRequest(provider)), std::string(text));
            QTRY_COMPARE(speech_->speakingVoiceText(), QString());
        }
    }
};

}  // namespace velmora::test

int main(int argc, char** argv) {
    velmora::test::TestWorld::entitle("group.test.enhanced");
    QCoreApplication application(argc, argv);
    velmora::test::AppTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "AppTest.moc"
