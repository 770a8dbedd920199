// A manager that goes away while a real install runs: the install finishes on its worker thread,
// the pack lands, the staging folder is left empty, and nothing touches the manager afterwards
// (the sanitizer build reports any such touch).
#include <QSignalSpy>
#include <QTest>
#include <chrono>
#include <thread>

#include "Fixtures.h"
#include "app/EnhancedVoiceManager.h"
#include "app/WorkerThreads.h"
#include "enhanced/ServedVoice.h"
#include "support/Files.h"

namespace velmora::test {

class ManagerLifetimeTest : public QObject {
    Q_OBJECT

private slots:
    void installOutlivesItsManager() {
        namespace fs = std::filesystem;
        const std::string archive = makeZip({"v/broker.hdr.asset", "Tessa", "v/voice.dat", "voice"});
        // The archive trickles out, so that the transfer is still running when the manager goes.
        LoopbackServer server([&archive](httplib::Server& s) {
            s.Get("/voice.zip", [&archive](const httplib::Request&, httplib::Response& response) {
                response.set_content_provider(
                    archive.size(), "application/zip",
                    [&archive](std::size_t offset, std::size_t, httplib::DataSink& sink) {
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
};

}  // namespace velmora::test

int main(int argc, char** argv) {
    velmora::test::TestWorld::entitle("group.test.enhanced");
    QCoreApplication application(argc, argv);
    velmora::test::ManagerLifetimeTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ManagerLifetimeTest.moc"
